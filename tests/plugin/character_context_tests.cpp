// How contexts come and go: declared, automatic, refused, and gone with everything that pointed at them.
#include <algorithm>

#include "tests/plugin/character_fixture.h"

namespace test_engine
{

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class CharacterContexts : public ::testing::Test
{
protected:
    CharacterContexts() : world(engine.addWorld()), rig(biped())
    {
        engine.addResource("rig", rig.compile());
        engine.call("enable", {true});
    }
    EngineUnit& declared(const std::string& resource_name = "rig")
    {
        EngineUnit& unit = spawn_biped(engine, world, rig);
        engine.call("character_declare_context", {&unit, resource_name});
        return unit;
    }
    // A context answers how many constraints it has.
    bool hasContext(EngineUnit& unit) { return engine.call("character_num_constraints", {&unit}).size() == 1; }

    Engine engine;
    EngineWorld& world;
    TestRig rig;
};

TEST_F(CharacterContexts, ADeclaredContextIsCompletedByItsFirstEvaluation)
{
    EngineUnit& unit = declared();
    EXPECT_THAT(engine.takeLog(), ElementsAre("info: Character evaluation context is ready (declared)"));
    EXPECT_EQ(engine.ask<Vec3>("character_get_node_position", {&unit, LBXNodeHips, 0}), (Vec3{0, 1, 0})) << "until then the stance";
    engine.update(world);
    EXPECT_THAT(engine.takeLog(), ElementsAre("info: Character evaluation context is ready (was declared; cache built)"));
    engine.update(world);
    engine.call("character_declare_context", {&unit, "rig"});
    EXPECT_THAT(engine.takeLog(), ElementsAre("info: Useless 'character_declare_context' call (unit already has a context)"));
}

TEST_F(CharacterContexts, ASpawnedUnitGetsOneWhenARigBearsItsName)
{
    engine.call("enable", {false});
    EngineUnit& early = spawn_biped(engine, world, rig, "rig");
    engine.call("enable", {true});
    EXPECT_FALSE(hasContext(early)) << "spawned while the plugin was disabled";
    engine.takeLog();
    EngineUnit& unit = spawn_biped(engine, world, rig, "rig");
    EXPECT_THAT(engine.takeLog(),
                ElementsAre("info: Creating new character solving context", "info: Character evaluation context is ready"));
    EXPECT_TRUE(hasContext(unit));
    EXPECT_EQ(engine.ask<std::string>("character_get_debug_name", {&unit}), "test biped");

    std::vector<uint8_t> wrong_version = rig.compile();
    wrong_version[4] = 2;
    engine.addResource("wrong", wrong_version);
    EngineUnit& refused = spawn_biped(engine, world, rig, "wrong");
    EXPECT_FALSE(hasContext(refused));
}

TEST_F(CharacterContexts, DeclaringSaysWhatIsWrong)
{
    EngineUnit& unit = spawn_biped(engine, world, rig);
    engine.call("character_declare_context", {&unit, ""});
    engine.call("character_declare_context", {&unit});
    const std::string unspecified = "error: character_declare_context: unspecified resource name (null or empty)";
    EXPECT_THAT(engine.takeLog(), ElementsAre(unspecified, unspecified));
    engine.call("character_declare_context", {&unit, "content/ghost"});
    EXPECT_THAT(engine.takeLog(),
                ElementsAre("error: character_declare_context: cannot find the specified .character resource (content/ghost) for unit",
                            "error: Don't forget to specify the resource full path (without extension) ex: content/models/robot"));
    engine.call("character_delete_context", {&unit});
    EXPECT_THAT(engine.takeLog(), ElementsAre("info: 'character_delete_context' called on unknown unit"));
    engine.call("character_declare_context", {Nil(), "rig"});
    engine.call("character_delete_context", {3.0});
    EXPECT_THAT(engine.takeLog(), IsEmpty());
}

TEST_F(CharacterContexts, ARigThatTheUnitDoesNotFitIsLoggedOnceAndCostsNothing)
{
    TestRig strange = rig;
    strange.mapping[4].name = "no such node";
    engine.addResource("strange", strange.compile());
    EngineUnit& unit = declared("strange");
    engine.call("character_push_pin", {&unit, 3, 1, 1.0, 0.0, 1});
    engine.takeLog();
    for (int frame = 0; frame < 3; ++frame) engine.update(world);
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: Data is not coherent."));
    EXPECT_FALSE(unit.changed(0));

    // All nodes are found, the last one's parent is not.
    strange = rig;
    strange.parentOffsets = {{LBXNodeHead, {"Neck", "no such parent"}}};
    engine.addResource("strange parents", strange.compile());
    EngineUnit& orphan = declared("strange parents");
    engine.call("character_push_pin", {&orphan, 3, 1, 1.0, 0.0, 1});
    engine.takeLog();
    for (int frame = 0; frame < 3; ++frame) engine.update(world);
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: Character unknown parent data is not coherent (parent 1 index, NodeID 17)"));
    EXPECT_FALSE(orphan.changed(0));
}

TEST_F(CharacterContexts, ARigWithoutReferenceWorksInTheWorldItself)
{
    TestRig rootless = rig;
    rootless.mapping.erase(rootless.mapping.begin());
    engine.addResource("rootless", rootless.compile());
    EngineUnit& unit = declared("rootless");
    engine.takeLog();
    unit.place({5, 6, 7}, {0, 0, 0, 1});
    engine.update(world);
    EXPECT_THAT(engine.takeLog(), ElementsAre("warning: Could not find reference node index on Character",
                                              "warning: Limbrex wont be able to manipulate that Character",
                                              "info: Character evaluation context is ready (was declared; cache built)"));
    EXPECT_THAT(engine.ask<Vec3>("character_get_node_position", {&unit, LBXNodeHips, 0}), Near3(Vec3{0, 1, 0}, 1e-5));
}

TEST_F(CharacterContexts, AnEmptyParentNameIsNoParent)
{
    TestRig plain = rig;
    plain.parentOffsets = {{LBXNodeLeftHand, {""}}};
    engine.addResource("plain", plain.compile());
    EngineUnit& unit = declared("plain");
    engine.call("character_push_pin", {&unit, 3, 1, 1.0, 0.0, 1});
    engine.takeLog();
    engine.update(world);
    EXPECT_THAT(engine.takeLog(), ElementsAre("info: Character evaluation context is ready (was declared; cache built)"));
    EXPECT_TRUE(unit.changed(0));
}

TEST_F(CharacterContexts, ADamagedRigMakesNoContextAndSaysWhy)
{
    struct Damage
    {
        size_t offset;
        uint8_t value;
    };
    // High bytes of counts and offsets, a node id of 255, the magic.
    for (const Damage& damage :
         {Damage{15, 0x7F}, Damage{11, 0x40}, Damage{19, 0x80}, Damage{23, 1}, Damage{31, 0xFF}, Damage{128, 0xFF}, Damage{0, 0}})
    {
        std::vector<uint8_t> bytes = rig.compile();
        bytes[damage.offset] = damage.value;
        const std::string name = "damaged " + std::to_string(damage.offset);
        engine.addResource(name, bytes);
        engine.takeLog();
        const size_t blocks = engine.liveBlocks();
        EngineUnit& unit = declared(name);
        const std::vector<std::string> log = engine.takeLog();
        ASSERT_EQ(log.size(), 1u) << name;
        EXPECT_THAT(log[0], HasSubstr("error: ")) << name;
        EXPECT_FALSE(hasContext(unit)) << name;
        EXPECT_EQ(engine.liveBlocks(), blocks) << name;
    }
}

TEST_F(CharacterContexts, EveryAllocationMayFailAndNothingLeaks)
{
    declared();  // the world's list exists from here on
    const size_t blocks = engine.liveBlocks();
    size_t failures = 0;
    for (size_t after = 0;; ++after)
    {
        EngineUnit& unit = spawn_biped(engine, world, rig);
        engine.failAllocations(after);
        engine.call("character_declare_context", {&unit, "rig"});
        const bool made = hasContext(unit);
        engine.update(world);
        engine.call("character_push_pin", {&unit, 3, 1, 1.0, 0.0, 1});
        engine.update(world);
        const bool complete = engine.ask<int>("character_num_constraints", {&unit}) == 1;
        engine.failAllocations(SIZE_MAX);
        if (made) engine.call("character_delete_context", {&unit});
        EXPECT_EQ(engine.liveBlocks(), blocks) << after;
        if (complete) break;
        ++failures;
        ASSERT_LT(after, 100u);
    }
    EXPECT_GT(failures, 7u) << "record, library objects, stack, tables and a push each had their turn";
}

TEST_F(CharacterContexts, DestroyingASourceClearsEveryLinkToIt)
{
    EngineUnit& source = declared();
    EngineUnit& follower = declared();
    EngineWorld& elsewhere = engine.addWorld();
    EngineUnit& distant = spawn_biped(engine, elsewhere, rig);
    engine.call("character_declare_context", {&distant, "rig"});
    engine.takeLog();
    EXPECT_EQ(engine.ask<int>("character_get_source", {&follower}), -1);
    engine.call("character_set_source", {&follower, &source});
    engine.call("character_set_source", {&distant, &source});
    EXPECT_EQ(engine.ask<int>("character_get_source", {&follower}), 1) << "first of its world, counted from 1";
    EXPECT_EQ(engine.ask<int>("character_get_source", {&distant}), 1);

    engine.call("character_delete_context", {&source});
    EXPECT_EQ(engine.ask<int>("character_get_source", {&follower}), -1);
    EXPECT_EQ(engine.ask<int>("character_get_source", {&distant}), -1);
    engine.update(world);
    engine.update(elsewhere);

    engine.call("character_set_source", {&follower, &distant});
    EXPECT_EQ(engine.ask<int>("character_get_source", {&follower}), 1);
    engine.call("character_set_source", {&follower, &source});
    EXPECT_EQ(engine.ask<int>("character_get_source", {&follower}), -1) << "a unit without a context clears the link";
    EXPECT_THAT(engine.takeLog(), Contains("info: Character evaluation context is ready (was declared; cache built)").Times(2));
    engine.call("character_set_source", {&source, &follower});
    EXPECT_EQ(engine.ask<int>("character_get_source", {&source}), 0) << "the index of -1";
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_set_source: cannot find context for source unit",
                                              "error: character_get_source: cannot find context for unit"));
}

TEST_F(CharacterContexts, FlagsAreKeptPerContextAndRevealedTogether)
{
    EngineUnit& first = declared();
    EngineUnit& second = declared();
    const auto flags = [this](EngineUnit& unit)
    {
        std::string text;
        for (const Value& value : engine.call("character_get_draw_rigs_flags", {&unit})) text += std::get<bool>(value) ? '1' : '0';
        return text;
    };
    EXPECT_EQ(flags(first), "000");
    engine.call("character_set_draw_rigs_flags", {&first, false, true, true});
    EXPECT_EQ(flags(first), "011");
    EXPECT_EQ(flags(second), "000");
    engine.call("reveal_all", {true});
    EXPECT_EQ(flags(first) + flags(second), "111111");
    EXPECT_EQ(flags(declared()), "000") << "declared afterwards";
    engine.call("reveal_all", {false});
    EXPECT_EQ(flags(first) + flags(second), "000000");

    EngineUnit& stranger = spawn_biped(engine, world, rig);
    engine.takeLog();
    EXPECT_THAT(engine.call("character_get_solve_flags", {&stranger}), IsEmpty());
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_set_solve_flags: cannot find context for unit"));
}

TEST_F(CharacterContexts, ANameThatFillsItsFieldIsReadWhole)
{
    rig.unitName = "0123456789abcdef0123456789abcdefXYZ";
    engine.addResource("long", rig.compile());
    EXPECT_EQ(engine.ask<std::string>("character_get_debug_name", {&declared("long")}), "0123456789abcdef0123456789abcdef");
}

}  // namespace

}  // namespace test_engine
