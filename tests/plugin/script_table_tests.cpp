// The functions that scripts find: their names, their order, and the ones that have nothing to do.
#include <algorithm>
#include <set>

#include "tests/plugin/test_engine.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test_engine
{

namespace
{

TEST(ScriptTable, BeginsWithTheSwitchesThenCharactersThenCreatures)
{
    Engine engine;
    const std::vector<std::string>& names = engine.functionNames();
    ASSERT_GE(names.size(), 5u);
    EXPECT_THAT(std::vector<std::string>(names.begin(), names.begin() + 5),
                ::testing::ElementsAre("enable", "is_enabled", "enable_x_rays", "enable_collisions_debug", "reveal_all"));
    const auto begins = [](const char* prefix) { return [prefix](const std::string& name) { return name.rfind(prefix, 0) == 0; }; };
    const auto first_creature = std::find_if(names.begin(), names.end(), begins("creature_"));
    EXPECT_TRUE(std::all_of(names.begin() + 5, first_creature, begins("character_")));
    EXPECT_TRUE(std::all_of(first_creature, names.end(), begins("creature_")));
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
}

TEST(ScriptTable, ThePluginIsDisabledUntilAScriptEnablesIt)
{
    Engine engine;
    EXPECT_FALSE(engine.ask<bool>("is_enabled", {}));
    engine.call("enable", {true});
    EXPECT_TRUE(engine.ask<bool>("is_enabled", {}));
    engine.call("enable", {false});
    EXPECT_FALSE(engine.ask<bool>("is_enabled", {}));
}

TEST(ScriptTable, IdleCreatureFunctionsGiveNoValueAndNoMessage)
{
    Engine engine;
    for (const char* name : {"creature_dump", "creature_num_chains", "creature_push_chain_pin", "creature_get_chain_node_position",
                             "creature_pop", "creature_stats_get_section_last_section_err_q_reach", "creature_num_constraints"})
    {
        ASSERT_TRUE(engine.offers(name)) << name;
        EXPECT_TRUE(engine.call(name, {Nil(), 1, 2.0}).empty()) << name;
    }
    EXPECT_TRUE(engine.takeLog().empty());
}

}  // namespace

}  // namespace test_engine
