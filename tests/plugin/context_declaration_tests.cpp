// Scripts declare and delete contexts; the shared library's own compilers make the rigs, through its one symbol.
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/engine.h"
#include "tests/plugin/plugin_services.h"

namespace plugin_test
{

namespace
{

using limbrex_host::HostEngine;
using limbrex_host::HostNodeTree;
using limbrex_host::HostUnit;
using limbrex_host::HostWorld;
using limbrex_host::LogEntry;
using limbrex_host::script_unit;
using limbrex_host::script_value;
using limbrex_host::ScriptValue;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Declaration : public ::testing::Test
{
protected:
    Declaration()
    {
        limbrex_host::EngineOptions options;
        options.plugin = LIMBREX_PLUGIN_PATH;
        std::string error;
        EXPECT_TRUE(engine.start(options, error)) << error;
        EXPECT_TRUE(engine.resources.compile("character", "rigs/hops", example_rig("hops.character"), "hops", error)) << error;
        EXPECT_TRUE(engine.resources.compile("creature", "rigs/squid", R"({"chains": []})", "squid", error)) << error;
        world = &engine.add_world("world");
        unit = &spawn();
    }
    ~Declaration() override
    {
        engine.stop();
        EXPECT_EQ(engine.lost_blocks(), 0u);
    }

    HostUnit& spawn()
    {
        HostNodeTree tree;
        limbrex_host::add_node(tree, "root", -1, {{1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}, {1, 1, 1}, 0});
        HostUnit& spawned = engine.spawn(*world, "unit", "no rig of its own", std::move(tree), {0, 0, 0}, 0.0f);
        engine.log.clear();
        return spawned;
    }

    // What the plugin logs during a call.
    std::vector<std::string> call(const std::string& function, const std::vector<ScriptValue>& arguments)
    {
        engine.log.clear();
        std::vector<ScriptValue> results;
        EXPECT_TRUE(engine.script.call_registered("Limbrex." + function, arguments, results));
        EXPECT_THAT(results, IsEmpty());
        std::vector<std::string> texts;
        for (const LogEntry& entry : engine.log.entries())
        {
            if (entry.system == "limbrex plugin")
                texts.push_back(std::string(limbrex_host::log_level_name(entry.level)) + ": " + entry.text);
        }
        return texts;
    }
    ScriptValue caller() const { return script_unit(unit->referenceId); }
    static ScriptValue name(const std::string& text) { return script_value(text); }
    uint64_t live() const { return engine.memory.find_allocator("LBX")->liveBlocks; }

    HostEngine engine;
    HostWorld* world = nullptr;
    HostUnit* unit = nullptr;
};

TEST_F(Declaration, ACharacterIsDeclaredOnceAndDeletedOnce)
{
    EXPECT_THAT(call("character_delete_context", {caller()}), ElementsAre("info: 'character_delete_context' called on unknown unit"));
    const uint64_t before = live();
    EXPECT_THAT(call("character_declare_context", {caller(), name("rigs/hops")}),
                ElementsAre("info: Character evaluation context is ready (declared)"));
    const uint64_t declared = live();
    EXPECT_GT(declared, before);
    EXPECT_THAT(call("character_declare_context", {caller(), name("rigs/hops")}),
                ElementsAre("info: Useless 'character_declare_context' call (unit already has a context)"));
    EXPECT_EQ(live(), declared);
    EXPECT_THAT(call("character_delete_context", {caller()}), IsEmpty());
    EXPECT_EQ(live(), before + 1) << "the emptied list keeps its array";
}

TEST_F(Declaration, WhatIsMissingIsSaidForEachKind)
{
    const char* remedy = "error: Don't forget to specify the resource full path (without extension) ex: content/models/robot";
    for (const std::vector<ScriptValue>& arguments :
         {std::vector<ScriptValue>{caller()}, {caller(), name("")}, {caller(), script_value(true)}})
    {
        EXPECT_THAT(call("character_declare_context", arguments),
                    ElementsAre("error: character_declare_context: unspecified resource name (null or empty)"));
        EXPECT_THAT(call("creature_declare_context", arguments),
                    ElementsAre("error: creaturer_declare_context: unspecified resource name (null or empty)"));
    }
    EXPECT_THAT(
        call("character_declare_context", {caller(), name("rigs/squid")}),
        ElementsAre("error: character_declare_context: cannot find the specified .character resource (rigs/squid) for unit", remedy));
    EXPECT_THAT(call("creature_declare_context", {caller(), name("rigs/hops")}),
                ElementsAre("error: creature_declare_context: cannot find the specified .creature resource (rigs/hops) for unit", remedy));
    EXPECT_THAT(call("creature_delete_context", {caller()}), ElementsAre("info: 'creature_delete_context' called on unknown unit"));
    // A name longer than a message is cut, not overrun.
    const std::vector<std::string> cut = call("character_declare_context", {caller(), name(std::string(5000, 'x'))});
    ASSERT_EQ(cut.size(), 2u);
    EXPECT_LT(cut[0].size(), 1100u);
}

TEST_F(Declaration, ACreatureIsRefusedOnceForEachUnit)
{
    EXPECT_THAT(call("creature_declare_context", {caller(), name("rigs/squid")}),
                ElementsAre("error: Creature contexts are not built in this version: the unit keeps its animation"));
    EXPECT_THAT(call("creature_declare_context", {caller(), name("rigs/squid")}), IsEmpty());
    unit = &spawn();
    EXPECT_EQ(call("creature_declare_context", {caller(), name("rigs/squid")}).size(), 1u);
}

TEST_F(Declaration, DeletedUnitsAndOtherValuesAreNoUnits)
{
    const ScriptValue gone = caller();
    engine.remove_unit(*unit);
    for (const char* function :
         {"character_declare_context", "character_delete_context", "creature_declare_context", "creature_delete_context"})
    {
        for (const ScriptValue& value : {gone, script_value(3.5), name("unit"), script_unit(0), ScriptValue{}})
        {
            EXPECT_THAT(call(function, {value, name("rigs/hops")}), IsEmpty()) << function;
        }
        EXPECT_THAT(call(function, {}), IsEmpty()) << function;
    }
}

}  // namespace

}  // namespace plugin_test
