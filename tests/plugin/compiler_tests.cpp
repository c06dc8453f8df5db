// What the data compilers make of source texts, byte for byte.
#include <cmath>
#include <cstring>

#include "host/murmur.h"
#include "resources/character_compiler.h"
#include "resources/compiled_creature.h"
#include "resources/creature_compiler.h"
#include "resources/host_services.h"
#include "resources/output_buffer.h"
#include "tests/plugin/plugin_services.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plugin_test
{

namespace
{

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

uint32_t hash_of(const std::string& name) { return static_cast<uint32_t>(limbrex_host::murmur64(name) >> 32); }

// Words of a block by byte offset, as the engine's other tools read them.
struct Block
{
    std::vector<uint8_t> bytes;

    uint32_t word(size_t offset) const
    {
        uint32_t value = 0;
        EXPECT_LE(offset + 4, bytes.size());
        if (offset + 4 <= bytes.size()) std::memcpy(&value, bytes.data() + offset, 4);
        return value;
    }
    float real(size_t offset) const
    {
        const uint32_t bits = word(offset);
        float value;
        std::memcpy(&value, &bits, 4);
        return value;
    }
    std::vector<uint32_t> words(size_t offset, size_t count) const
    {
        std::vector<uint32_t> result;
        for (size_t i = 0; i < count; ++i) result.push_back(word(offset + 4 * i));
        return result;
    }
    std::vector<float> reals(size_t offset, size_t count) const
    {
        std::vector<float> result;
        for (size_t i = 0; i < count; ++i) result.push_back(real(offset + 4 * i));
        return result;
    }
    std::string text(size_t offset, size_t size) const { return {reinterpret_cast<const char*>(bytes.data()) + offset, size}; }
};

class Compilers : public ::testing::Test
{
protected:
    Compilers() { acquire_host_services(PluginServices::get_api); }
    static Block character(const std::string& json) { return {compile(compile_character, json)}; }
    static Block creature(const std::string& json) { return {compile(compile_creature, json)}; }

    PluginServices services;
};

TEST_F(Compilers, AnEmptySourceBecomesAHeaderAlone)
{
    const Block block = character("{}");
    ASSERT_EQ(block.bytes.size(), 128u);
    EXPECT_THAT(block.words(0, 10), ElementsAre(0xBD25BE6Fu, 1u, 128u, 0u, 128u, 0u, 128u, 0u, 128u, 0u));
    EXPECT_THAT(block.words(40, 22), Each(0u));
    EXPECT_THAT(services.log, ElementsAre("info: Compiling a character", "info: A new character has been compiled"));

    const Block creature_block = creature("{}");
    ASSERT_EQ(creature_block.bytes.size(), 92u);
    EXPECT_THAT(creature_block.words(0, 15),
                ElementsAre(0xBC26BE6Fu, 1u, 92u, 0u, 92u, 0u, 92u, 0u, 92u, 0u, 92u, 0u, 92u, 0u, 0xFFFFFFFFu));
    EXPECT_THAT(creature_block.words(60, 8), Each(0u));
}

TEST_F(Compilers, ACharacterIsLaidOutSectionAfterSection)
{
    const Block block = character(R"({
        "limits": [{"nodeID": 9, "pr_qx": 1, "pr_qy": 2, "pr_qz": 3, "pr_qw": 4, "po_qx": 5, "po_qy": 6, "po_qz": 7, "po_qw": 8,
            "xmi": -10, "ymi": -11.5, "zmi": -12, "xma": 10, "yma": 11, "zma": 12, "xmia": 0, "ymia": 1, "zmia": 0.5, "xmaa": 2,
            "ymaa": 0, "zmaa": -1, "ord": 12}],
        "parent_offsets": [{"nodeID": 8, "parents": ["twist", "carrier"]}],
        "t_stance": [{"tx": 2, "ty": 0.5, "tz": -3, "qx": 0.1, "qy": 0.2, "qz": 0.3, "qw": 0.4, "sx": 1, "sy": 2, "sz": 3},
                     {"tx": 4, "ty": 5, "tz": 6, "qx": 0, "qy": 0, "qz": 0, "qw": 1, "sx": 1, "sy": 1, "sz": 1}],
        "bones_mapping": [{"bone": "root", "id": 0}, {"id": 3, "bone": "Hips"}],
        "unit_name": "robot",
        "contact_foot_type": 2, "contact_foot_bottom_to_ankle": 1, "contact_foot_back_to_ankle": 2, "contact_foot_middle_to_ankle": 3,
        "contact_foot_front_to_middle": 4, "contact_foot_in_to_ankle": 5, "contact_foot_out_to_ankle": 6.5,
        "contact_hand_type": -1, "contact_hand_bottom_to_wrist": 7, "contact_hand_back_to_wrist": 8, "contact_hand_middle_to_wrist": 9,
        "contact_hand_front_to_middle": 10, "contact_hand_in_to_wrist": 11, "contact_hand_out_to_wrist": 12})");
    ASSERT_EQ(block.bytes.size(), 128u + 2 * 8 + 2 * 48 + 76 + 68);
    EXPECT_THAT(block.words(8, 8), ElementsAre(128u, 2u, 144u, 2u, 240u, 1u, 316u, 1u));
    EXPECT_EQ(block.word(40), 2u);
    EXPECT_THAT(block.reals(44, 6), ElementsAre(1, 2, 3, 4, 5, 6.5f));
    EXPECT_EQ(block.word(68), 0xFFFFFFFFu);
    EXPECT_THAT(block.reals(72, 6), ElementsAre(7, 8, 9, 10, 11, 12));
    EXPECT_EQ(block.text(96, 32), "robot" + std::string(27, '\0'));
    EXPECT_THAT(block.words(128, 4), ElementsAre(0u, hash_of("root"), 3u, hash_of("Hips")));
    EXPECT_THAT(block.reals(144, 12), ElementsAre(2, 0.5f, -3, 1, 0.1f, 0.2f, 0.3f, 0.4f, 1, 2, 3, 1));
    EXPECT_THAT(block.reals(192, 4), ElementsAre(4, 5, 6, 1));
    EXPECT_EQ(block.word(240), 8u);
    EXPECT_THAT(block.words(244, 12), Each(0u));
    EXPECT_THAT(block.words(292, 6), ElementsAre(hash_of("twist"), hash_of("carrier"), 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu));
    EXPECT_EQ(block.word(316), 9u);
    EXPECT_THAT(block.reals(320, 14), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, -10, -11.5f, -12, 10, 11, 12));
    EXPECT_EQ(block.word(376), 0b101110u);
    EXPECT_EQ(block.word(380), 12u);
}

TEST_F(Compilers, NamesThatDoNotFitAreCut)
{
    const std::string forty = "0123456789012345678901234567890123456789";
    EXPECT_EQ(character(R"({"unit_name": ")" + forty + R"("})").text(96, 32), forty.substr(0, 32));
    EXPECT_EQ(character(R"({"unit_name": ")" + forty.substr(0, 32) + R"("})").text(96, 32), forty.substr(0, 32));
    EXPECT_EQ(creature(R"({"unit_name": ")" + forty + R"("})").text(60, 32), forty.substr(0, 32));
    const Block block =
        character(R"({"parent_offsets": [{"nodeID": 1, "parents": ["a", "", "c", "d", "e", "f", "g"]}, {"nodeID": 2, "parents": []}]})");
    EXPECT_THAT(block.words(180, 6), ElementsAre(hash_of("a"), 0xFFFFFFFFu, hash_of("c"), hash_of("d"), hash_of("e"), hash_of("f")));
    EXPECT_THAT(block.words(256, 6), Each(0xFFFFFFFFu));
}

TEST_F(Compilers, MissingAndMistypedMembersAreNeutral)
{
    const Block block = character(R"({"bones_mapping": [{}, {"id": "three", "bone": 3}, {"id": 2.6, "bone": "a"}, {"id": -2.5, "bone": "b"},
                                                        {"id": 1e30, "bone": "c"}, {"id": true, "bone": null}],
        "t_stance": [{}, {"tx": "1", "qw": [1], "sx": null, "sy": false}], "parent_offsets": [{"parents": "name"}], "limits": [{"xmia": true}],
        "unit_name": 7, "contact_foot_type": 1.5, "contact_hand_type": "flat", "contact_foot_in_to_ankle": "wide"})");
    ASSERT_EQ(block.word(12), 6u);
    const uint32_t none = hash_of("");
    EXPECT_THAT(block.words(128, 12),
                ElementsAre(0u, none, 0u, none, 3u, hash_of("a"), static_cast<uint32_t>(-2), hash_of("b"), 0u, hash_of("c"), 0u, none));
    for (size_t i : {0u, 1u}) EXPECT_THAT(block.reals(176 + 48 * i, 12), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1));
    EXPECT_THAT(block.words(272, 13), Each(0u));
    EXPECT_THAT(block.words(324, 6), Each(0xFFFFFFFFu));
    EXPECT_THAT(block.reals(352, 8), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1));
    EXPECT_EQ(block.word(408), 0u);
    EXPECT_THAT(block.words(96, 8), Each(0u));
    EXPECT_EQ(block.word(40), 2u) << "a number of halves goes to the even side";
    EXPECT_EQ(block.word(68), 0u);

    // Sections that are no arrays, and arrays of something else than objects.
    const Block odd = character(R"({"bones_mapping": {"id": 1}, "t_stance": 3, "parent_offsets": "none", "limits": null})");
    EXPECT_EQ(odd.bytes.size(), 128u);
    const Block numbers = character(R"({"bones_mapping": [4, 5], "limits": []})");
    EXPECT_THAT(numbers.words(128, 4), ElementsAre(0u, none, 0u, none));
    // The first of two members of one name counts.
    EXPECT_EQ(character(R"({"contact_foot_type": 3, "contact_foot_type": 4})").word(40), 3u);
}

TEST_F(Compilers, ASourceThatIsNoObjectCompilesLikeAnEmptyOne)
{
    const Block empty = character("{}");
    for (const std::vector<uint32_t>& tree : {std::vector<uint32_t>{5, 8, 2, 0}, std::vector<uint32_t>{0, 0}, std::vector<uint32_t>{}})
    {
        services.source = tree;
        CompileResult result = {};
        compile_character(&result, nullptr);
        ASSERT_NE(result.data, nullptr);
        EXPECT_EQ(result.size, 128u);
        EXPECT_EQ(std::memcmp(result.data, empty.bytes.data(), 128), 0);
        services.memory.deallocate(services.outputAllocator, result.data);
    }
}

TEST_F(Compilers, AReadFailureIsHandedBackAsItCame)
{
    services.sourceError = 0x1234567890u;
    for (CompileFunction compiler : {compile_character, compile_creature})
    {
        CompileResult result = {&result, 5, 6, {7, 8}, 9};
        const CompileResult* returned = compiler(&result, nullptr);
        EXPECT_EQ(returned->error, 0x1234567890u);
        EXPECT_EQ(returned->data, nullptr);
        EXPECT_EQ(returned->zero[0] + returned->zero[1], 0u);
    }
    EXPECT_TRUE(services.allocationSizes.empty());
}

TEST_F(Compilers, EveryAllocationOfAJobMayFail)
{
    const std::string source = example_rig("hops.character");
    const size_t all = [&]
    {
        EXPECT_FALSE(compile(compile_character, source).empty());
        return services.allocationSizes.size();
    }();
    ASSERT_GT(all, 4u);
    for (size_t failing = 1; failing <= all; ++failing)
    {
        services.log.clear();
        services.memory.fail_allocation(failing);
        CompileResult result = {};
        compile_character(&result, nullptr);
        EXPECT_EQ(result.data, nullptr);
        EXPECT_EQ(result.size, 0u);
        EXPECT_NE(result.error, 0u);
        EXPECT_THAT(services.log, ElementsAre("info: Compiling a character", ::testing::StartsWith("error: ")));
        EXPECT_EQ(services.memory.live_blocks(), 0u);
    }
}

TEST_F(Compilers, TheOutputGrowsToTwiceItsRoomAndTenOrToWhatIsNeeded)
{
    OutputBuffer buffer(services.outputAllocator, 128);
    const char bytes[1000] = {};
    buffer.append(bytes, 8);     // 136
    buffer.append(bytes, 130);   // 266, exactly full
    buffer.append(bytes, 1);     // 267
    buffer.append(bytes, 1000);  // 1267 is more than twice 542 and ten
    EXPECT_THAT(services.allocationSizes, ElementsAre(128u, 266u, 542u, 1267u));
    EXPECT_EQ(buffer.size(), 1267u);
    EXPECT_EQ(services.memory.live_blocks(), 1u);
}

TEST_F(Compilers, ACreatureIsLaidOutSectionAfterSection)
{
    const Block block = creature(R"({
        "unit_name": "squid", "reference": "root",
        "sections": [{"id": 7, "bone": "body", "parent": -1, "name": "trunk"}],
        "chains": [{"id": 1, "parent": 0, "bones": ["a", "b", "c"], "type": "LBXChainSolvingTypeQuadrupedLeg", "properties": [0.5, 2], "name": "arm"},
                   {"id": 2, "parent": 0, "bones": ["d", "e"], "type": "LBXChainSolvingTypeRope",
                    "properties": [1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17], "name": "rope"}],
        "unknown_parents": [{"bone": "d", "parents": ["x"]}],
        "limits": [{"bone": "b", "xmi": 1, "xma": 2, "xmia": 1, "pr_qw": 1, "po_qw": 1, "ord": 3}],
        "natural_pose": [{"bone": "a", "tx": 1, "qw": 1, "sx": 1, "sy": 1, "sz": 1}]})");
    const size_t chains = 92 + 44;
    const size_t unknown = chains + size_t{2} * 116;
    const size_t limits = unknown + 28;
    const size_t bones = limits + 68;
    const size_t pose = bones + size_t{5} * 4;
    ASSERT_EQ(block.bytes.size(), pose + 52);
    const auto u = [](size_t value) { return static_cast<uint32_t>(value); };
    EXPECT_THAT(block.words(8, 13),
                ElementsAre(92u, 1u, u(chains), 2u, u(bones), 5u, u(unknown), 1u, u(limits), 1u, u(pose), 1u, hash_of("root")));
    EXPECT_EQ(block.text(60, 6), std::string("squid\0", 6));
    EXPECT_THAT(block.words(92, 3), ElementsAre(7u, hash_of("body"), 0xFFFFFFFFu));
    EXPECT_EQ(block.text(104, 6), std::string("trunk\0", 6));
    EXPECT_THAT(block.words(chains, 3), ElementsAre(1u, 5u, 0u));
    std::vector<float> properties(16, -12356789.0f);
    properties[0] = 0.5f;
    properties[1] = 2.0f;
    EXPECT_THAT(block.reals(chains + 12, 16), ElementsAreArray(properties));
    EXPECT_THAT(block.words(chains + 76, 2), ElementsAre(0u, 3u));
    EXPECT_EQ(block.text(chains + 84, 4), std::string("arm\0", 4));
    EXPECT_THAT(block.words(chains + 116, 3), ElementsAre(2u, 2u, 0u)) << "a type that nobody knows is coplanar";
    EXPECT_THAT(block.reals(chains + 116 + 12, 16), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16));
    EXPECT_THAT(block.words(chains + 116 + 76, 2), ElementsAre(3u, 5u));
    EXPECT_THAT(block.words(unknown, 3), ElementsAre(hash_of("d"), hash_of("x"), 0xFFFFFFFFu));
    EXPECT_EQ(block.word(limits), hash_of("b"));
    EXPECT_EQ(block.real(limits + 36), 1.0f);
    EXPECT_THAT(block.words(limits + 60, 2), ElementsAre(1u, 3u));
    EXPECT_THAT(block.words(bones, 5), ElementsAre(hash_of("a"), hash_of("b"), hash_of("c"), hash_of("d"), hash_of("e")));
    EXPECT_EQ(block.word(pose), hash_of("a"));
    EXPECT_THAT(block.reals(pose + 4, 12), ElementsAre(1, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1, 1));
    EXPECT_THAT(services.log,
                ElementsAre("info: Compiling a creature", "error: Unknown creature chain type: LBXChainSolvingTypeRope (Chain index is 1)",
                            "info: A new creature has been compiled"));
}

TEST_F(Compilers, EverySolvingTypeHasItsNumber)
{
    uint32_t number = 0;
    for (const char* type : {"OneBoneIK", "TwoBonesIK", "Coplanar", "TentacleApprox", "TentacleCCD", "QuadrupedLeg"})
    {
        EXPECT_EQ(creature(R"({"chains": [{"type": "LBXChainSolvingType)" + std::string(type) + R"("}]})").word(96), number++) << type;
    }
}

}  // namespace

}  // namespace plugin_test
