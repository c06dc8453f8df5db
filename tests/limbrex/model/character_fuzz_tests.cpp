// Every character operation with wild ids, missing arguments and numbers that are none, in any order.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "tests/support/rig_queries.h"
#include "tests/support/solver_objects.h"

namespace
{

using double_math::Random;
using limbrex_test::CharacterOwner;
using limbrex_test::create;

struct WildCaller
{
    Random random;
    float in[4][4];
    float out[4][8];  // four numbers and a guard each

    const float* input(size_t i)
    {
        constexpr float odd[] = {0.0f, -0.0f, 1.0f, -1.0f, 1e30f, -1e-30f, 3e38f, NAN, INFINITY, -INFINITY};
        for (float& v : in[i]) v = random.coin() ? static_cast<float>(random.number(-2, 2)) : odd[random.index(10)];
        return random.index(8) == 0 ? nullptr : in[i];
    }
    float* output(size_t i)
    {
        for (float& v : out[i]) v = 77.0f;
        return random.index(8) == 0 ? nullptr : out[i];
    }
    bool guards_hold() const
    {
        for (const auto& block : out)
            for (size_t i = 4; i < 8; ++i)
            {
                if (block[i] != 77.0f) return false;
            }
        return true;
    }
    int id()
    {
        if (random.index(6) == 0) return static_cast<int>(random.engine());
        return random.index(222) - 5;
    }
    void set(LBXCharacter* c)
    {
        const auto mask = static_cast<uint32_t>(random.engine());
        switch (random.index(11))
        {
        case 0: LBXSetCharacterizeNodeStateTQSfv(c, id(), input(0), input(1), input(2)); break;
        case 1: LBXSetParentOffsetTQSfv(c, id(), input(0), input(1), input(2)); break;
        case 2: LBXSetLimbInverted(c, id() % 6, random.coin()); break;
        case 3: LBXSetNodeLimitsfv(c, id(), input(0), input(1), input(2), input(3), mask); break;
        case 4: LBXSetNodeLimitsMinfv(c, id(), input(0), mask); break;
        case 5: LBXSetNodeLimitsMaxfv(c, id(), input(0), mask); break;
        case 6: LBXSetNodeLimitsPreRotationfv(c, id(), input(0)); break;
        case 7: LBXSetNodeLimitsPostRotationfv(c, id(), input(0)); break;
        case 8: LBXSetNodeRotationOrder(c, id(), id()); break;
        case 9: LBXSetNodeTranslationLimit(c, id(), static_cast<float>(random.number(-1, 2)), NAN, random.coin()); break;
        default: LBXCharacterize(c); break;
        }
    }
    void get(const LBXCharacter* c)
    {
        uint32_t word = 0;
        int order = 0;
        switch (random.index(8))
        {
        case 0: LBXGetCharacterizeNodeStateTQSfv(c, id(), output(0), output(1), output(2)); break;
        case 1: LBXGetParentOffsetTQSfv(c, id(), output(0), output(1), output(2)); break;
        case 2: LBXGetNodeLimits(c, id(), output(0), output(1), output(2), output(3), &word, &order); break;
        case 3: LBXDebugGetNodeFrame(c, id(), output(0), output(1), &order, output(2), output(3), &word); break;
        case 4: LBXDebugAnglesFromRotation(c, id(), input(0), output(0)); break;
        case 5: LBXDebugRotationFromAngles(c, id(), input(0), output(0)); break;
        case 6: LBXDebugGetLimbBendAxis(c, id(), output(0)); break;
        default:
            EXPECT_GE(LBXGetChildNodeCount(c, id()), 0);
            EXPECT_LT(LBXGetChildNodeId(c, id(), id()), 212);
            EXPECT_LT(LBXGetParentNodeId(c, id()), 212);
            EXPECT_LE(LBXGetNodeFlags(c, id()), 7u);
            LBXGetLimbInverted(c, id());
            break;
        }
    }
};

}  // namespace

TEST(CharacterFuzz, NothingIsWrittenOutsideTheBlockOrTheOutputs)
{
    WildCaller caller{Random(500), {}, {}};
    for (int i = 0; i < 40; ++i)
    {
        LBXCharacterDefinition definition{};
        for (uint32_t& flags : definition.nodeFlags) flags = static_cast<uint32_t>(caller.random.engine());
        const CharacterOwner original = create(definition);
        // On a copy between two walls of known bytes.
        const size_t size = LBXCharacterGetSize(original.get());
        constexpr size_t wall = 256;
        std::vector<char> memory(size + 2 * wall + 16, 0x5A);
        char* start = memory.data() + (16 - reinterpret_cast<uintptr_t>(memory.data()) % 16) % 16 + wall;
        std::memcpy(start, original.get(), size);
        auto* character = reinterpret_cast<LBXCharacter*>(start);
        for (int k = 0; k < 400; ++k)
        {
            for (auto& block : caller.out)
                for (float& v : block) v = 77.0f;
            caller.set(caller.random.index(20) == 0 ? nullptr : character);
            caller.get(caller.random.index(20) == 0 ? nullptr : character);
            ASSERT_TRUE(caller.guards_hold());
        }
        for (size_t k = 0; k < wall; ++k)
        {
            ASSERT_EQ(start[-static_cast<ptrdiff_t>(k) - 1], 0x5A);
            ASSERT_EQ(start[size + k], 0x5A);
        }
        EXPECT_EQ(LBXCharacterGetSize(character), size);
        for (int node = 1; node < LBXLastNodeId; ++node)
        {
            ASSERT_EQ(LBXGetParentNodeId(character, node), LBXGetParentNodeId(original.get(), node))
                << "nothing a caller sets changes the hierarchy";
        }
    }
}
