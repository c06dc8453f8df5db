// Damaged blocks are refused with a reason, or do no harm.
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "resources/character_compiler.h"
#include "resources/compiled_character.h"
#include "resources/host_services.h"
#include "tests/plugin/plugin_services.h"
#include "tests/plugin/test_engine.h"
#include "tests/plugin/test_rig.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plugin_test
{

namespace
{

using ::testing::HasSubstr;

// A block as it lies among an engine's other data: what follows it is not ours.
struct Loaded
{
    explicit Loaded(std::vector<uint8_t> block) : bytes(std::move(block)) { bytes.resize(bytes.size() + size_t{212} * 80, 0xEE); }

    void word(size_t offset, uint32_t value) { std::memcpy(bytes.data() + offset, &value, 4); }
    void real(size_t offset, float value) { std::memcpy(bytes.data() + offset, &value, 4); }
    const CompiledCharacter* header() const { return reinterpret_cast<const CompiledCharacter*>(bytes.data()); }
    // "" for a block that is accepted.
    std::string problem() const
    {
        char text[256] = "nothing said";
        return check_compiled_character(header(), text, sizeof text) ? "" : text;
    }

    std::vector<uint8_t> bytes;
};

std::vector<uint8_t> rich_block()
{
    const PluginServices services;
    acquire_host_services(PluginServices::get_api);
    return compile(compile_character, R"({
        "bones_mapping": [{"bone": "root", "id": 0}, {"id": 1, "bone": "Hips"}, {"id": 211, "bone": "last"}],
        "t_stance": [{"tx": 0, "qw": 1, "sx": 1, "sy": 1, "sz": 1}, {"ty": 1, "qw": 1, "sx": 1, "sy": 1, "sz": 1}],
        "parent_offsets": [{"nodeID": 1, "parents": ["carrier"]}],
        "limits": [{"nodeID": 1, "pr_qw": 1, "po_qw": 1, "xmi": -1, "xma": 1}, {"nodeID": 9, "pr_qw": 1, "po_qw": 1}]})");
}
constexpr size_t kMappings = 128, kStances = kMappings + size_t{3} * 8, kParentOffsets = kStances + size_t{2} * 48,
                 kLimits = kParentOffsets + 76;

TEST(CompiledCharacter, SoundBlocksAreAccepted)
{
    EXPECT_EQ(Loaded(rich_block()).problem(), "");
    Loaded twice(rich_block());
    twice.word(kMappings + 16, 1);
    EXPECT_EQ(twice.problem(), "") << "a node that is mapped twice";
    Loaded fewer(rich_block());
    fewer.word(36, 1);
    EXPECT_EQ(fewer.problem(), "") << "the last array may end early";
    PluginServices services;
    acquire_host_services(PluginServices::get_api);
    EXPECT_EQ(Loaded(compile(compile_character, "{}")).problem(), "");
    EXPECT_EQ(Loaded(compile(compile_character, example_rig("hops.character"))).problem(), "");
}

TEST(CompiledCharacter, EveryHeaderWordThatDisagreesIsNamed)
{
    const std::vector<uint8_t> block = rich_block();
    const struct
    {
        size_t offset;
        uint32_t value;
        const char* reason;
    } damages[] = {{0, 0, "magic 00000000"},
                   {4, 2, "version 2"},
                   {8, 132, "the mapping array should begin at byte 128, the header says 132"},
                   {8, 0xFFFFFFFFu, "mapping array"},
                   {12, 213, "213 mapping records"},
                   {12, 4, "stance array"},
                   {12, 0x20000003u, "mapping records"},  // times 8 it wraps around to 3
                   {16, 0, "stance array"},
                   {20, 1, "parent offset array"},
                   {20, 0x80000002u, "stance records"},
                   {24, kParentOffsets + 4, "parent offset array"},
                   {28, 0, "limits array"},
                   {32, kLimits - 4, "limits array"},
                   {36, 213, "213 limits records"},
                   {36, 0xFFFFFFFFu, "limits records"}};
    for (const auto& damage : damages)
    {
        Loaded damaged(block);
        damaged.word(damage.offset, damage.value);
        EXPECT_THAT(damaged.problem(), HasSubstr(damage.reason)) << damage.offset << " " << damage.value;
    }
    EXPECT_FALSE(check_compiled_character(nullptr, nullptr, 0));
}

TEST(CompiledCharacter, MoreStancesThanMappingsAreRefused)
{
    PluginServices services;
    acquire_host_services(PluginServices::get_api);
    const Loaded block(compile(compile_character, R"({"bones_mapping": [{"id": 0, "bone": "a"}], "t_stance": [{}, {}]})"));
    EXPECT_THAT(block.problem(), HasSubstr("2 stance records for 1 mapping records"));
}

TEST(CompiledCharacter, NodesThatDoNotExistAndNumbersThatAreNotFiniteAreRefused)
{
    const std::vector<uint8_t> block = rich_block();
    for (uint32_t id : {212u, 0x7FFFFFFFu, 0xFFFFFFFFu})
    {
        for (size_t offset : {kMappings, kMappings + 16, kParentOffsets, kLimits, kLimits + 68})
        {
            Loaded damaged(block);
            damaged.word(offset, id);
            EXPECT_THAT(damaged.problem(), HasSubstr("does not exist")) << offset;
        }
    }
    Loaded unmapped(block);
    unmapped.word(kParentOffsets, 17);
    EXPECT_THAT(unmapped.problem(), HasSubstr("node 17, which is not mapped"));
    for (float value : {std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::infinity()})
    {
        for (size_t offset : {size_t{44}, size_t{64}, size_t{72}, size_t{92}, kStances, kStances + 44, kStances + 48, kLimits + 4,
                              kLimits + 56, kLimits + 68 + 32})
        {
            Loaded damaged(block);
            damaged.real(offset, value);
            EXPECT_THAT(damaged.problem(), HasSubstr("not finite")) << offset;
        }
    }
}

// Whatever the check lets through is built, driven by a constraint and evaluated; the unit's nodes stay finite.
TEST(CompiledCharacter, WhatIsNotRefusedDoesNoHarm)
{
    using namespace test_engine;
    Engine engine;
    EngineWorld& world = engine.addWorld();
    engine.call("enable", {true});
    TestRig rig = biped();
    rig.parentOffsets.push_back({8, {"y_up", "unit"}});
    const std::vector<uint8_t> block = rig.compile();
    std::mt19937 random(7);
    int accepted = 0;
    int moved = 0;
    for (int round = 0; round < 400; ++round)
    {
        Loaded damaged(block);
        const int changes = 1 + static_cast<int>(random() % 3);
        for (int i = 0; i < changes; ++i)
        {
            // Mostly the records, sometimes the header.
            const size_t offset = (random() % 8 == 0 ? random() % 128 : 128 + random() % (block.size() - 128)) & ~size_t{3};
            const uint32_t values[] = {
                static_cast<uint32_t>(random()), 0u, static_cast<uint32_t>(random() % 212), 0x7F7FFFFFu, 0x00000001u, 0x80000000u};
            damaged.word(offset, values[random() % 6]);
        }
        const std::string name = "damaged " + std::to_string(round);
        engine.addResource(name, damaged.bytes);
        EngineUnit& unit = spawn_biped(engine, world, rig);
        engine.call("character_declare_context", {&unit, name});
        engine.call("character_push_reach_position", {&unit, 4, Vec3{0.5f, -0.4f, 1.2f}, true, 1.0, 0.0, 1});
        engine.update(world);
        engine.update(world);
        accepted += damaged.problem().empty() ? 1 : 0;
        moved += unit.changed(0) ? 1 : 0;
        for (const LocalPose& pose : unit.localPoses)
        {
            for (float value : pose.rotation) ASSERT_TRUE(std::isfinite(value)) << name;
            for (float value : pose.translation) ASSERT_TRUE(std::isfinite(value)) << name;
        }
        engine.deleteUnit(unit);
        engine.takeLog();
    }
    EXPECT_GT(accepted, 50);
    EXPECT_GT(moved, 50) << "most damages leave a rig that can be solved";
}

}  // namespace

}  // namespace plugin_test
