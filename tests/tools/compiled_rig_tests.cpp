#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "tools/rig/compiled_rig.h"

namespace
{

using namespace limbrex_tools;

// A block written field by field: Reference and Hips, one parent list, one limit.
class Block
{
public:
    Block()
    {
        for (const uint32_t word : {0xBD25BE6Fu, 1u, 128u, 2u, 144u, 2u, 240u, 1u, 316u, 1u}) { put(word); }
        put(int32_t{2});
        for (const float size : {0.08f, 0.05f, 0.13f, 0.07f, 0.04f, 0.045f}) { put(size); }
        put(int32_t{1});
        for (const float size : {0.02f, 0.0f, 0.09f, 0.08f, 0.03f, 0.035f}) { put(size); }
        bytes += std::string("walker") + std::string(26, '\0');
        for (const uint32_t word : {0u, 0xAAAA0000u, 1u, 0xAAAA0001u}) { put(word); }
        for (const float height : {0.0f, 0.9f})
        {
            for (const float v : {0.0f, height, 0.0f, 1.0f, 0.0f, 0.6f, 0.0f, 0.8f, 1.0f, 1.0f, 1.0f, 1.0f}) { put(v); }
        }
        put(uint32_t{1});
        bytes += std::string(48, '\0');
        for (const uint32_t hash : {7u, 8u, kNoParentHash, kNoParentHash, kNoParentHash, kNoParentHash}) { put(hash); }
        put(uint32_t{1});
        for (const float v : {0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 0.0f, 0.0f, 0.0f, -0.5f, -0.6f, -0.7f, 0.5f, 0.6f, 0.7f}) { put(v); }
        put(uint32_t{63});
        put(uint32_t{12});
    }

    template <class Value>
    void put(Value value)
    {
        bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    }

    template <class Value>
    void set(size_t at, Value value)
    {
        std::memcpy(bytes.data() + at, &value, sizeof value);
    }

    std::string bytes;
};

std::string faults_of(const std::string& bytes)
{
    std::vector<std::string> faults;
    read_compiled_rig(bytes, faults);
    std::string text;
    for (const std::string& fault : faults) { text += fault + "\n"; }
    return text;
}

TEST(CompiledRig, EveryFieldIsReadFromItsPlace)
{
    const Block block;
    std::vector<std::string> faults;
    const CompiledRig rig = read_compiled_rig(block.bytes, faults);
    EXPECT_TRUE(faults.empty()) << faults.front();
    EXPECT_EQ(block.bytes.size(), 128u + 2 * 8 + 2 * 48 + 76 + 68);
    EXPECT_EQ(rig.unitName, "walker");
    EXPECT_EQ(rig.footContactType, 2);
    EXPECT_EQ(rig.handContactType, 1);
    EXPECT_EQ(rig.footContact[5], 0.045f);
    EXPECT_EQ(rig.handContact[0], 0.02f);
    EXPECT_EQ(rig.mapping[1].nameHash, 0xAAAA0001u);
    EXPECT_EQ(rig.stance[1].translation[1], 0.9f);
    EXPECT_EQ(rig.stance[1].rotation[3], 0.8f);
    EXPECT_EQ(rig.parents[0].nameHashes[1], 8u);
    EXPECT_EQ(rig.parents[0].nameHashes[2], kNoParentHash);
    EXPECT_EQ(rig.limits[0].postRotation[0], 1.0f);
    EXPECT_EQ(rig.limits[0].minimum[2], -0.7f);
    EXPECT_EQ(rig.limits[0].maximum[0], 0.5f);
    EXPECT_EQ(rig.limits[0].rotationOrder, 12u);
}

TEST(CompiledRig, ABlockCutAnywhereIsReported)
{
    const Block block;
    for (size_t length = 0; length < block.bytes.size(); ++length) { EXPECT_NE(faults_of(block.bytes.substr(0, length)), "") << length; }
}

TEST(CompiledRig, EveryMutationThatMattersIsNamed)
{
    const auto mutated = [](size_t at, auto value)
    {
        Block block;
        block.set(at, value);
        return faults_of(block.bytes);
    };
    EXPECT_NE(mutated(0, 0x12345678u).find("begins with 0x12345678"), std::string::npos);
    EXPECT_NE(mutated(4, 2u).find("version 2"), std::string::npos);
    EXPECT_NE(mutated(8, 0xFFFFFFF0u).find("mapping: 2 records"), std::string::npos);
    EXPECT_NE(mutated(12, 0xFFFFFFFFu).find("there are 212 nodes"), std::string::npos);
    EXPECT_NE(mutated(16, 4u).find("T-stance: 2 records"), std::string::npos);
    EXPECT_NE(mutated(12, 1u).find("2 stances for 1 mappings"), std::string::npos);
    EXPECT_NE(mutated(28, 0x10000000u).find("parent offsets: 268435456 records"), std::string::npos);
    EXPECT_NE(mutated(136, 212).find("212 is no node id"), std::string::npos);
    EXPECT_NE(mutated(136, 0).find("Reference is mapped twice"), std::string::npos);
    EXPECT_NE(mutated(128, 5).find("no bone plays Reference"), std::string::npos);
    EXPECT_NE(mutated(240, 9).find("LeftArm is not mapped"), std::string::npos);
    EXPECT_NE(mutated(316, -1).find("limits 0: -1 is no node id"), std::string::npos);
    EXPECT_NE(mutated(144, std::nanf("")).find("T-stance 0: holds numbers"), std::string::npos);
    EXPECT_NE(mutated(144 + 28, 3.0f).find("T-stance 0: the rotation has length"), std::string::npos);
}

TEST(CompiledRig, ANameThatFillsItsFieldNeedsNoClosingZero)
{
    Block block;
    block.bytes.replace(96, 32, std::string(32, 'n'));
    std::vector<std::string> faults;
    EXPECT_EQ(read_compiled_rig(block.bytes, faults).unitName, std::string(32, 'n'));
    EXPECT_TRUE(faults.empty());
}

}  // namespace
