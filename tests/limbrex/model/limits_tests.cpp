// Limit records: set, carried into the stance, read back, and what they mean for the pose of a rig with turned joints and parent offsets.

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/rig_queries.h"
#include "tests/support/solver_objects.h"
#include "tests/support/t_stance_rig.h"

namespace
{

using double_math::angle_between;
using double_math::Mat3;
using double_math::matrix_of;
using double_math::Quat;
using double_math::Random;
using double_math::Vec3;

struct Limits
{
    Vec3 minimum{}, maximum{};
    Quat pre{0, 0, 0, 1}, post{0, 0, 0, 1};
    uint32_t mask = 0;
    int order = -1;
};
Limits random_limits(Random& random)
{
    Limits limits;
    for (size_t i = 0; i < 3; ++i)
    {
        limits.minimum[i] = random.number(-1.5, 0.0);
        limits.maximum[i] = random.number(0.0, 1.5);
    }
    limits.pre = random.rotation();
    limits.post = random.rotation();
    limits.mask = static_cast<uint32_t>(random.index(64));
    limits.order = random.index(13);
    return limits;
}
void set_limits(LBXCharacter* character, int node, const Limits& l)
{
    LBXSetNodeLimitsdv(character, node, l.minimum.data(), l.maximum.data(), l.pre.data(), l.post.data(), l.mask);
    LBXSetNodeRotationOrder(character, node, l.order);
}
Limits get_limits(const LBXCharacter* character, int node)
{
    Limits l;
    double minimum[4], maximum[4], pre[4], post[4];
    LBXGetNodeLimitsdv(character, node, minimum, maximum, pre, post, &l.mask, &l.order);
    for (size_t i = 0; i < 3; ++i)
    {
        l.minimum[i] = minimum[i];
        l.maximum[i] = maximum[i];
    }
    for (size_t i = 0; i < 4; ++i)
    {
        l.pre[i] = pre[i];
        l.post[i] = post[i];
    }
    return l;
}
void expect_limits(const Limits& found, const Limits& expected)
{
    for (size_t i = 0; i < 3; ++i)
    {
        EXPECT_NEAR(found.minimum[i], expected.minimum[i], 1e-6);
        EXPECT_NEAR(found.maximum[i], expected.maximum[i], 1e-6);
    }
    for (size_t i = 0; i < 4; ++i)
    {
        EXPECT_NEAR(found.pre[i], expected.pre[i], 2e-6);
        EXPECT_NEAR(found.post[i], expected.post[i], 2e-6);
    }
    EXPECT_EQ(found.mask, expected.mask);
    EXPECT_EQ(found.order, expected.order);
}

const std::vector<int> kLimited = {LBXNodeHips, LBXNodeSpine1, LBXNodeLeftLeg, LBXNodeRightForeArm, LBXNodeHead, LBX_NODE_FINGER(0, 1, 2)};

limbrex_test::RigOptions awkward_options(uint32_t seed)
{
    limbrex_test::RigOptions options;
    options.awkwardRotations = true;
    options.parentOffsets = true;
    options.limitedNodes = kLimited;
    options.seed = seed;
    return options;
}

}  // namespace

TEST(Limits, AreReadBackAsSetBeforeAndAfterTheStanceTookThem)
{
    Random random(400);
    for (uint32_t seed = 1; seed <= 20; ++seed)
    {
        std::vector<Limits> set;
        for (size_t i = 0; i < kLimited.size(); ++i) set.push_back(random_limits(random));
        limbrex_test::RigOptions options = awkward_options(seed);
        options.beforeCharacterize = [&set](LBXCharacter* character)
        {
            for (size_t i = 0; i < kLimited.size(); ++i) set_limits(character, kLimited[i], set[i]);
        };
        const limbrex_test::Rig rig = limbrex_test::make_rig(options);
        for (size_t i = 0; i < kLimited.size(); ++i) expect_limits(get_limits(rig.character, kLimited[i]), set[i]);
    }
}

TEST(Limits, ReadingUsesTheParentOffsetOfTheMoment)
{
    Random random(401);
    const Limits limits = random_limits(random);
    limbrex_test::RigOptions options = awkward_options(3);
    options.beforeCharacterize = [&limits](LBXCharacter* character) { set_limits(character, LBXNodeHead, limits); };
    const limbrex_test::Rig rig = limbrex_test::make_rig(options);
    double t[4], q[4], s[4];
    LBXGetParentOffsetTQSdv(rig.character, LBXNodeHead, t, q, s);
    const Quat now = random.rotation();
    LBXSetParentOffsetTQSdv(rig.character, LBXNodeHead, t, now.data(), s);
    const Mat3 expected = double_math::transposed(matrix_of(now)) * (matrix_of({q[0], q[1], q[2], q[3]}) * matrix_of(limits.pre));
    EXPECT_LT(angle_between(matrix_of(get_limits(rig.character, LBXNodeHead).pre), expected), 1e-5);
}

TEST(Limits, EachOperationChangesItsOwnPart)
{
    const limbrex_test::Rig rig = limbrex_test::make_rig(
        []
        {
            limbrex_test::RigOptions options;
            options.limitedNodes = kLimited;
            return options;
        }());
    LBXCharacter* c = rig.character;
    const float low[3] = {-1, -2, -3}, high[3] = {1, 2, 3};
    const float turn[4] = {0.5f, 0.5f, 0.5f, 0.5f}, none[4] = {0, 0, 0, 1};
    LBXSetNodeLimitsfv(c, LBXNodeHead, low, high, none, none, 0xFFFFFFFFu);
    EXPECT_EQ(get_limits(c, LBXNodeHead).mask, 63u) << "only six bits mean anything";
    LBXSetNodeLimitsMinfv(c, LBXNodeHead, high, 0x3Au);
    EXPECT_EQ(get_limits(c, LBXNodeHead).mask, 0x3Au) << "minimum x and z off, maxima as they were";
    EXPECT_EQ(get_limits(c, LBXNodeHead).minimum, (Vec3{1, 2, 3}));
    LBXSetNodeLimitsMaxfv(c, LBXNodeHead, low, 0x15u);
    EXPECT_EQ(get_limits(c, LBXNodeHead).mask, 0x12u);
    EXPECT_EQ(get_limits(c, LBXNodeHead).maximum, (Vec3{-1, -2, -3}));
    LBXSetNodeLimitsPreRotationfv(c, LBXNodeHead, turn);
    LBXSetNodeLimitsPostRotationfv(c, LBXNodeHead, turn);
    EXPECT_EQ(get_limits(c, LBXNodeHead).pre[0], 0.5);
    EXPECT_EQ(get_limits(c, LBXNodeHead).post[3], 0.5);
    EXPECT_EQ(get_limits(c, LBXNodeHead).mask, 0x12u);

    LBXSetNodeRotationOrder(c, LBXNodeHead, 7);
    for (const int refused : {-1, 13, 1 << 20}) LBXSetNodeRotationOrder(c, LBXNodeHead, refused);
    EXPECT_EQ(get_limits(c, LBXNodeHead).order, 7);

    // The caller's word keeps its other bits, and outputs may be left out.
    uint32_t mask = 0x80000000u;
    LBXGetNodeLimits(c, LBXNodeHead, nullptr, nullptr, nullptr, nullptr, &mask, nullptr);
    EXPECT_EQ(mask, 0x80000012u);
    float out[4] = {9, 9, 9, 9};
    LBXGetNodeLimits(c, LBXNodeHead, out, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(out[3], 0.0f);
    EXPECT_EQ(out[0], 1.0f);

    // Null parts stay as they are; nodes without a record and unknown nodes are passed over.
    LBXSetNodeLimitsfv(c, LBXNodeHead, nullptr, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(get_limits(c, LBXNodeHead).mask, 0x12u);
    for (const int node : {static_cast<int>(LBXNodeNeck), static_cast<int>(LBXNodeSpine9), -1, 212})
    {
        LBXSetNodeLimitsfv(c, node, low, high, turn, turn, 63);
        LBXSetNodeRotationOrder(c, node, 5);
        LBXSetNodeTranslationLimit(c, node, 0.0f, 1.0f, true);
        const Limits untouched = get_limits(c, node);
        EXPECT_EQ(untouched.order, -1);
        EXPECT_EQ(untouched.mask, 0u);
    }
    LBXSetNodeLimitsfv(nullptr, LBXNodeHead, low, high, turn, turn, 63);
    LBXSetNodeTranslationLimit(nullptr, LBXNodeHead, 0.0f, 1.0f, true);
    LBXGetNodeLimits(nullptr, LBXNodeHead, out, out, out, out, &mask, nullptr);
}

TEST(Limits, CarriedIntoTheStanceMeasureTheLocalRotationThatTheRigHas)
{
    Random random(402);
    for (uint32_t seed = 1; seed <= 10; ++seed)
    {
        const Limits limits = [&random]
        {
            Limits l = random_limits(random);
            l.order = random.coin() ? 12 : 2 * random.index(6);
            return l;
        }();
        limbrex_test::RigOptions options = awkward_options(seed);
        options.beforeCharacterize = [&limits](LBXCharacter* character)
        {
            for (const int node : kLimited) set_limits(character, node, limits);
        };
        const limbrex_test::Rig rig = limbrex_test::make_rig(options);
        const auto state = limbrex_test::make_state(rig.character);

        // The same record on a joint that stands straight in its stance tells what rotation the angles mean in the rig's own local space.
        LBXCharacterDefinition definition{};
        definition.nodeFlags[LBXNodeHips] = LBXNodeUsed;
        definition.nodeFlags[LBXNodeHead] = LBXNodeUsed | LBXNodeHasLimits;
        const auto plain = limbrex_test::create(definition);
        set_limits(plain.get(), LBXNodeHead, limits);

        for (const int node : kLimited)
        {
            const float angles[3] = {static_cast<float>(random.number(-1.2, 1.2)), static_cast<float>(random.number(-1.2, 1.2)),
                                     static_cast<float>(random.number(-1.2, 1.2))};
            float record[12] = {0.1f, 0.2f, 0.3f, 0, 0, 0, 0, 1, 1, 1, 1, 1};
            LBXDebugRotationFromAngles(plain.get(), LBXNodeHead, angles, record + 4);
            const int32_t ids[2] = {node, -2};
            const LBXDataDescription description{1, 0, 16, 32, 48, ids};
            LBXSetCharacterStateTransformTQS(rig.character, state.get(), &description, record);

            float t[4], own[4], parent[4] = {0, 0, 0, 1};
            LBXDebugGetStoredNodeTQ(rig.character, state.get(), node, t, own);
            LBXDebugGetStoredNodeTQ(rig.character, state.get(), LBXGetParentNodeId(rig.character, node), t, parent);
            const Quat p = {-parent[0], -parent[1], -parent[2], parent[3]};
            const double q[4] = {own[0], own[1], own[2], own[3]};
            const float local[4] = {static_cast<float>(p[3] * q[0] + p[0] * q[3] + p[1] * q[2] - p[2] * q[1]),
                                    static_cast<float>(p[3] * q[1] + p[1] * q[3] + p[2] * q[0] - p[0] * q[2]),
                                    static_cast<float>(p[3] * q[2] + p[2] * q[3] + p[0] * q[1] - p[1] * q[0]),
                                    static_cast<float>(p[3] * q[3] - p[0] * q[0] - p[1] * q[1] - p[2] * q[2])};
            float found[4];
            LBXDebugAnglesFromRotation(rig.character, node, local, found);
            for (int i = 0; i < 3; ++i) EXPECT_NEAR(found[i], angles[i], 1e-3) << "node " << node << ", order " << limits.order;
        }
    }
}

TEST(Limits, CarryTheBendAxisToWhereItPointsAtAnglesOfNothing)
{
    Random random(403);
    for (uint32_t seed = 1; seed <= 10; ++seed)
    {
        Limits limits = random_limits(random);
        limbrex_test::RigOptions options;
        options.seed = seed;
        const limbrex_test::Rig free_rig = limbrex_test::make_rig(options);
        const Vec3 plain = limbrex_test::bend_axis_of(free_rig.character, 0);

        options.limitedNodes = {LBXNodeLeftLeg};
        for (const uint32_t mask : {0u, 1u, 32u})
        {
            limits.mask = mask;
            options.beforeCharacterize = [&limits](LBXCharacter* character) { set_limits(character, LBXNodeLeftLeg, limits); };
            const limbrex_test::Rig rig = limbrex_test::make_rig(options);
            const Vec3 expected = mask == 0 ? plain : matrix_of(limits.pre) * (double_math::transposed(matrix_of(limits.post)) * plain);
            const Vec3 found = limbrex_test::bend_axis_of(rig.character, 0);
            for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(found[i], expected[i], 2e-6) << mask;
        }
    }
}

namespace
{

// Runs the part of the solve that walks the limits on a pose whose Spine1 has the given local rotation; answers its angles afterwards.
Vec3 limited_angles(LBXCharacter* character, const Vec3& angles)
{
    const float a[3] = {static_cast<float>(angles[0]), static_cast<float>(angles[1]), static_cast<float>(angles[2])};
    float record[12] = {0.0f, 0.1f, 0.0f, 0, 0, 0, 0, 1, 1, 1, 1, 1};
    LBXDebugRotationFromAngles(character, LBXNodeSpine1, a, record + 4);
    const int32_t ids[2] = {LBXNodeSpine1, -2};
    const LBXDataDescription description{1, 0, 16, 32, 48, ids};
    const auto state = limbrex_test::make_state(character);
    const auto set = limbrex_test::make_effector_set();
    const auto properties = limbrex_test::make_property_set();
    LBXSetCharacterStateTransformTQS(character, state.get(), &description, record);
    LBXDebugSolveStages(character, state.get(), set.get(), properties.get(), 1);
    LBXGetCharacterStateTransformTQS(character, state.get(), &description, record);
    float found[4];
    LBXDebugAnglesFromRotation(character, LBXNodeSpine1, record + 4, found);
    return {found[0], found[1], found[2]};
}

}  // namespace

TEST(Limits, HoldOnlyTheAnglesWhoseBoundIsActive)
{
    limbrex_test::RigOptions options;
    options.limitedNodes = {LBXNodeSpine1};
    const limbrex_test::Rig rig = limbrex_test::make_rig(options);
    const auto held = [&rig](const Vec3& minimum, const Vec3& maximum, uint32_t mask, const Vec3& angles)
    {
        LBXSetNodeLimitsMindv(rig.character, LBXNodeSpine1, minimum.data(), mask);
        LBXSetNodeLimitsMaxdv(rig.character, LBXNodeSpine1, maximum.data(), mask);
        return limited_angles(rig.character, angles);
    };
    const auto expect_near = [](const Vec3& found, const Vec3& expected)
    {
        for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(found[i], expected[i], 5e-4) << i;
    };
    for (const int order : {0, 12})
    {
        LBXSetNodeRotationOrder(rig.character, LBXNodeSpine1, order);
        expect_near(held({-0.5, 0, 0}, {}, 1, {-0.7, 0.2, 3.0}), {-0.5, 0.2, 3.0});
        expect_near(held({-0.1, -0.1, -0.1}, {0.1, 0.1, 0.1}, 0, {-0.7, 0.2, 1.0}), {-0.7, 0.2, 1.0});
        expect_near(held({-0.1, -0.1, -0.1}, {0.1, 0.1, 0.1}, 63, {-0.7, 0.05, 1.0}), {-0.1, 0.05, 0.1});
        expect_near(held({-0.1, -0.1, -0.1}, {0.1, 0.1, 0.1}, 0x22, {-0.7, -0.3, 1.0}), {-0.7, -0.1, 0.1});
        expect_near(held({0.4, 0, 0}, {0.2, 0, 0}, 9, {0.0, 0.0, 0.0}), {0.2, 0, 0});  // crossed bounds: raised, then lowered
    }
}

TEST(ParentOffsets, ExistForEveryUsedNodeAndComeBackAsSet)
{
    const limbrex_test::Rig rig = limbrex_test::make_rig();
    Random random(404);
    for (const int node : rig.nodes)
    {
        const double t[3] = {random.number(-1, 1), 2, 3}, s[3] = {1, 2, -0.0};
        const Quat q = random.rotation();
        LBXSetParentOffsetTQSdv(rig.character, node, t, q.data(), s);
        double t4[4], q4[4], s4[4];
        LBXGetParentOffsetTQSdv(rig.character, node, t4, q4, s4);
        EXPECT_NEAR(t4[0], t[0], 1e-7);
        EXPECT_EQ(t4[3], 0.0);
        for (size_t i = 0; i < 4; ++i) EXPECT_NEAR(q4[i], q[i], 1e-7);
        EXPECT_EQ(s4[1], 2.0);
        EXPECT_EQ(s4[3], 1.0);
        float tf[4], qf[4], sf[4];
        LBXGetParentOffsetTQSfv(rig.character, node, tf, qf, sf);
        EXPECT_EQ(static_cast<double>(tf[0]), t4[0]);
        LBXSetParentOffsetTQSfv(rig.character, node, tf, qf, nullptr);
        LBXGetParentOffsetTQSfv(rig.character, node, nullptr, nullptr, sf);
        EXPECT_EQ(sf[1], 2.0f);
    }
    float kept[4] = {7, 7, 7, 7};
    const float t[4] = {1, 1, 1, 1};
    for (const int node : {static_cast<int>(LBXNodeSpine9), -1, 212})
    {
        LBXSetParentOffsetTQSfv(rig.character, node, t, t, t);
        LBXGetParentOffsetTQSfv(rig.character, node, kept, kept, kept);
    }
    LBXSetParentOffsetTQSfv(nullptr, 1, t, t, t);
    LBXGetParentOffsetTQSfv(nullptr, 1, kept, kept, kept);
    for (const float v : kept) EXPECT_EQ(v, 7.0f);
    // A Reference that the definition does not use takes a slot, but no offset.
    LBXCharacterDefinition hips_alone{};
    hips_alone.nodeFlags[LBXNodeHips] = LBXNodeUsed;
    const auto character = limbrex_test::create(hips_alone);
    LBXSetParentOffsetTQSfv(character.get(), LBXNodeReference, t, t, t);
    LBXGetParentOffsetTQSfv(character.get(), LBXNodeReference, kept, kept, kept);
    EXPECT_EQ(kept[0], 7.0f);
    EXPECT_EQ(LBXGetNodeFlags(character.get(), LBXNodeReference), 1u);
}
