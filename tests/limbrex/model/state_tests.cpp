// One node at a time, and the life of a state.
#include <gtest/gtest.h>

#include <cfenv>
#include <cstdlib>
#include <limits>

#include "limbrex/limbrex_debug.h"
#include "tests/limbrex/model/pose_oracle.h"

namespace
{

using namespace pose_oracle;

TEST(State, TakesSixteenBytesAndNinetySixForEveryUsedNodeTheReferenceAndTheSpare)
{
    LBXCharacterDefinition definition{};
    EXPECT_EQ(LBXCharacterStateGetSizeFromDefinition(&definition), 96u * 2 + 16);  // the reference has a slot in any case
    definition.nodeFlags[LBXNodeHips] = LBXNodeUsed;
    definition.nodeFlags[LBXNodeHead] = LBXNodeHasLimits;  // not used: does not count
    EXPECT_EQ(LBXCharacterStateGetSizeFromDefinition(&definition), 96u * 3 + 16);
    definition.nodeFlags[LBXNodeReference] = LBXNodeUsed | LBXNodeHasParentOffset;
    EXPECT_EQ(LBXCharacterStateGetSizeFromDefinition(&definition), 96u * 3 + 16);
    for (uint32_t kind = 0; kind < kAwkwardKinds; ++kind)
    {
        const Rig rig = awkward_rig(kind);
        const StateOwner state(LBXCharacterStateCreate(rig.character, std::malloc));
        const size_t size = 96 * (rig.nodes.size() + 1) + 16;
        EXPECT_EQ(LBXCharacterStateGetSize(rig.character), size);
        EXPECT_EQ(LBXCharacterStateGetSizeFromDefinition(&rig.definition), size);
        EXPECT_EQ(LBXCharacterStateGetSizeFromState(state.get()), size);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(state.get()) % 16, 0u);
        for (size_t i = 0; i < rig.nodes.size(); ++i)
        {
            const Transform identity{{0, 0, 0, 0}, {0, 0, 0, 1}, {1, 1, 1, 1}};
            EXPECT_TRUE(same_bits(&entries(state.get())[i].global, &identity, sizeof(identity)));
            EXPECT_TRUE(same_bits(&entries(state.get())[i].local, &identity, sizeof(identity)));
        }
    }
}

TEST(State, IsRefusedWhereThereIsNoMemoryOrNoAlignment)
{
    const Rig rig = limbrex_test::make_rig();
    EXPECT_EQ(LBXCharacterStateCreate(rig.character, [](size_t) -> void* { return nullptr; }), nullptr);
    EXPECT_EQ(LBXCharacterStateCreate(rig.character, nullptr), nullptr);
    EXPECT_EQ(LBXCharacterStateCreate(nullptr, std::malloc), nullptr);
    EXPECT_EQ(LBXCharacterStateInit(rig.character, nullptr), nullptr);
    const size_t size = LBXCharacterStateGetSize(rig.character);
    std::vector<unsigned char> memory(size + 32, 0xA5);
    unsigned char* aligned = memory.data() + (16 - reinterpret_cast<uintptr_t>(memory.data()) % 16) % 16;
    for (int shift = 1; shift < 16; ++shift) EXPECT_EQ(LBXCharacterStateInit(rig.character, aligned + shift), nullptr);
    for (const unsigned char byte : memory) ASSERT_EQ(byte, 0xA5);
    LBXCharacterState* state = LBXCharacterStateInit(rig.character, aligned);
    ASSERT_EQ(static_cast<void*>(state), static_cast<void*>(aligned));
    EXPECT_EQ(LBXCharacterStateGetSizeFromState(state), size);
    EXPECT_EQ(aligned[size], 0xA5);  // and not a byte more is written
    LBXCharacterStateDestroy(nullptr, std::free);
}

TEST(State, StanceReadsBackExactlyAndIsStoredAsNoTurnAtAll)
{
    for (uint32_t kind = 0; kind < kAwkwardKinds; ++kind)
    {
        const Rig rig = awkward_rig(kind);
        Random random(kind);
        const StateOwner state = random_pose(random, rig);
        LBXGetCharacterizeState(rig.character, state.get());
        for (const int node : rig.nodes)
        {
            Transform stance, stored;
            LBXGetCharacterizeNodeStateTQSfv(rig.character, node, stance.t, stance.q, stance.s);
            const Transform read = node_global(rig.character, state.get(), node);
            for (int i = 0; i < 4; ++i)
            {
                EXPECT_EQ(read.t[i], stance.t[i]) << node;
                EXPECT_EQ(read.q[i], stance.q[i]) << node;
                EXPECT_EQ(read.s[i], stance.s[i]) << node;
            }
            LBXDebugGetStoredNodeTQ(rig.character, state.get(), node, stored.t, stored.q);
            const float none[4] = {0, 0, 0, 1};
            EXPECT_TRUE(same_bits(stored.q, none, sizeof(none))) << node;
            for (int i = 0; i < 3; ++i) EXPECT_EQ(stored.t[i], node == LBXNodeReference ? 0.0f : stance.t[i]);
        }
        EXPECT_LT(worst_local(rig, state.get()), 1e-5);
    }
}

TEST(State, NodeComesBackAsItWasSetWhateverTheStanceAndNothingElseMoves)
{
    for (uint32_t kind = 0; kind < kAwkwardKinds; ++kind)
    {
        const Rig rig = awkward_rig(kind);
        Random random(10 + kind);
        const StateOwner state = random_pose(random, rig);
        for (const int node : rig.nodes)
        {
            std::vector<Transform> before;
            for (const int other : rig.nodes) before.push_back(node_global(rig.character, state.get(), other));
            Transform goal = random.transform();
            goal.s[1] *= 1.5f;  // a node's own scale may differ by axis
            goal.t[3] = 7.0f;   // neither of these is read
            goal.s[3] = 7.0f;
            LBXSetNodeStateTQSfv(rig.character, state.get(), node, goal.t, goal.q, goal.s);
            goal.t[3] = 0.0f;
            goal.s[3] = 1.0f;
            EXPECT_LT(difference(node_global(rig.character, state.get(), node), goal), 2e-6f) << node;
            for (size_t i = 0; i < rig.nodes.size(); ++i)
            {
                if (rig.nodes[i] == node) continue;
                const Transform after = node_global(rig.character, state.get(), rig.nodes[i]);
                EXPECT_TRUE(same_bits(&after, &before[i], sizeof(after))) << node << " moved " << rig.nodes[i];
            }
        }
        EXPECT_LT(worst_local(rig, state.get()), 1e-5);
    }
}

TEST(State, ReferenceIsStoredAsWhatCarriesItsStanceToThePose)
{
    const Rig rig = awkward_rig(1);
    Random random(3);
    const StateOwner state = random_pose(random, rig);
    Transform stance, stored;
    LBXGetCharacterizeNodeStateTQSfv(rig.character, LBXNodeReference, stance.t, stance.q, stance.s);
    stored = entries(state.get())[0].global;
    const Matrix carried = matrix_of(stance) * matrix_of(stored);
    EXPECT_LT(largest_difference(carried, matrix_of(node_global(rig.character, state.get(), LBXNodeReference))), 1e-5);
}

TEST(State, AllFormsOfOneNodeAgree)
{
    const Rig rig = awkward_rig(2);
    Random random(5);
    const StateOwner state = random_pose(random, rig);
    const StateOwner twin = random_pose(random, rig);
    LBXCharacterStateCopy(twin.get(), state.get());
    for (const int node : rig.nodes)
    {
        const Transform goal = random.transform();
        double t[4], q[4], s[4];
        for (int i = 0; i < 4; ++i) t[i] = goal.t[i], q[i] = goal.q[i], s[i] = goal.s[i];
        LBXSetNodeStateTQSfv(rig.character, state.get(), node, goal.t, goal.q, goal.s);
        LBXSetNodeStateTQSdv(rig.character, twin.get(), node, t, q, s);
        const Transform single = node_global(rig.character, state.get(), node);
        LBXGetNodeStateTQSdv(rig.character, twin.get(), node, t, q, s);
        for (int i = 0; i < 4; ++i)
        {
            EXPECT_EQ(t[i], static_cast<double>(single.t[i]));
            EXPECT_EQ(q[i], static_cast<double>(single.q[i]));
            EXPECT_EQ(s[i], static_cast<double>(single.s[i]));
        }
        // Into a buffer at odd places, with a byte in front; out of it again elsewhere.
        unsigned char buffer[64];
        std::memset(buffer, 0xC3, sizeof(buffer));
        const LBXDataDescription odd = {0, 33, 1, 17, 0, nullptr};
        LBXGetNodeStateTQSBuffer(rig.character, state.get(), node, &odd, buffer);
        EXPECT_TRUE(same_bits(buffer + 33, single.t, 16));
        EXPECT_TRUE(same_bits(buffer + 1, single.q, 16));
        EXPECT_TRUE(same_bits(buffer + 17, single.s, 16));
        EXPECT_EQ(buffer[0], 0xC3);
        EXPECT_EQ(buffer[49], 0xC3);
        LBXSetNodeStateTQSBuffer(rig.character, twin.get(), node, &odd, buffer);
        EXPECT_LT(difference(node_global(rig.character, twin.get(), node), single), 2e-6f);

        Transform plain{};
        LBXSetNodeStateTQfv(rig.character, state.get(), node, goal.t, goal.q);
        LBXGetNodeStateTQfv(rig.character, state.get(), node, plain.t, plain.q);
        const Transform unscaled = node_global(rig.character, state.get(), node);
        EXPECT_TRUE(same_bits(plain.q, unscaled.q, 16));
        for (const float scale : unscaled.s) EXPECT_NEAR(scale, 1.0f, 1e-6f);
        LBXSetNodeStateTQdv(rig.character, twin.get(), node, t, q);
        LBXGetNodeStateTQdv(rig.character, twin.get(), node, t, q);
        for (int i = 0; i < 4; ++i) EXPECT_NEAR(q[i], static_cast<double>(plain.q[i]), 2e-6);
    }
}

TEST(State, NegativeZeroScaleIsStoredAsZeroAndAStanceWithoutScaleGivesNoNaN)
{
    limbrex_test::RigOptions options;
    options.beforeCharacterize = [](LBXCharacter* character)
    {
        const float t[3] = {0, 1, 0}, q[4] = {0, 0, 0, 1}, s[3] = {0, 1e-41f, 1};
        LBXSetCharacterizeNodeStateTQSfv(character, LBXNodeHips, t, q, s);
    };
    const Rig rig = limbrex_test::make_rig(options);
    const StateOwner state = limbrex_test::make_state(rig.character);
    const float t[3] = {1, 2, 3}, q[4] = {0, 0, 0, 1}, s[3] = {-0.0f, -0.0f, 2.0f};
    LBXSetNodeStateTQSfv(rig.character, state.get(), LBXNodeHead, t, q, s);
    const Transform head = node_global(rig.character, state.get(), LBXNodeHead);
    EXPECT_FALSE(std::signbit(head.s[0]));
    EXPECT_FALSE(std::signbit(head.s[1]));
    EXPECT_EQ(head.s[2], 2.0f);
    const float one[3] = {1, 1, 1};
    LBXSetNodeStateTQSfv(rig.character, state.get(), LBXNodeHips, t, q, one);
    const std::vector<int32_t> ids = list_of(rig.nodes);
    std::vector<Transform> locals(rig.nodes.size());
    const LBXDataDescription description = described(1, ids);
    LBXGetCharacterStateTransformTQS(rig.character, state.get(), &description, locals.data());
    for (const Transform& local : locals)
        for (int i = 0; i < 4; ++i) EXPECT_TRUE(std::isfinite(local.t[i]) && std::isfinite(local.q[i]) && std::isfinite(local.s[i]));
}

TEST(State, UnusedAndUnknownNodesReadAndWriteAPlaceOfTheirOwn)
{
    const Rig rig = awkward_rig(0);
    Random random(8);
    const StateOwner state = random_pose(random, rig);
    std::vector<unsigned char> before = bytes_of(state.get());
    const Transform goal = random.transform();
    for (const int node : {static_cast<int>(LBXNodeHipsTranslation), -1, -2, 212, 100000, std::numeric_limits<int>::min()})
    {
        LBXSetNodeStateTQSfv(rig.character, state.get(), node, goal.t, goal.q, goal.s);
        EXPECT_LT(difference(node_global(rig.character, state.get(), node), goal), 2e-6f);
    }
    const std::vector<unsigned char> after = bytes_of(state.get());
    EXPECT_TRUE(same_bits(before.data() + 16 + 96, after.data() + 16 + 96, before.size() - 112));
}

TEST(State, CopyTakesEveryNodeButTheSpareAndRefusesAnotherRigsState)
{
    const Rig rig = awkward_rig(2);
    const Rig other = awkward_rig(0);
    Random random(9);
    const StateOwner from = random_pose(random, rig);
    const StateOwner to = random_pose(random, rig);
    const Transform spare = random.transform();
    LBXSetNodeStateTQSfv(rig.character, from.get(), -1, spare.t, spare.q, spare.s);
    const std::vector<unsigned char> source = bytes_of(from.get());
    std::vector<unsigned char> wanted = bytes_of(to.get());
    std::memcpy(wanted.data() + 112, source.data() + 112, source.size() - 112);
    LBXCharacterStateCopy(to.get(), from.get());
    EXPECT_EQ(bytes_of(to.get()), wanted);
    LBXCharacterStateCopy(to.get(), to.get());
    EXPECT_EQ(bytes_of(to.get()), wanted);

    const StateOwner foreign = random_pose(random, other);
    const std::vector<unsigned char> untouched = bytes_of(foreign.get());
    LBXCharacterStateCopy(foreign.get(), from.get());
    LBXSetNodeStateTQSfv(rig.character, foreign.get(), LBXNodeHips, spare.t, spare.q, spare.s);
    LBXGetCharacterizeState(rig.character, foreign.get());
    LBXCharacterStateCopy(nullptr, from.get());
    LBXCharacterStateCopy(foreign.get(), nullptr);
    EXPECT_EQ(bytes_of(foreign.get()), untouched);
}

TEST(State, ResultsDoNotDependOnTheCallersFloatModeWhichComesBack)
{
    const Rig rig = awkward_rig(1);
    Random random(11);
    const std::vector<int32_t> ids = list_of(rig.nodes);
    const std::vector<Transform> locals = random_locals(random, rig.nodes.size());
    const LBXDataDescription description = described(1, ids);
    const auto pose_in_mode = [&](int rounding)
    {
        const StateOwner state = limbrex_test::make_state(rig.character);
        std::fesetround(rounding);
        const unsigned before = __builtin_ia32_stmxcsr();
        LBXSetCharacterStateTransformTQS(rig.character, state.get(), &description, locals.data());
        LBXSetNodeStateTQSfv(rig.character, state.get(), LBXNodeHead, locals[0].t, locals[0].q, locals[0].s);
        const unsigned after = __builtin_ia32_stmxcsr();
        std::fesetround(FE_TONEAREST);
        EXPECT_EQ(before, after);
        return bytes_of(state.get());
    };
    EXPECT_EQ(pose_in_mode(FE_UPWARD), pose_in_mode(FE_TONEAREST));
}

}  // namespace
