// Rotations and joint angles, both ways, against plain matrices in double precision.

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/rig_queries.h"
#include "tests/support/solver_objects.h"

namespace
{

using double_math::angle_between;
using double_math::Mat3;
using double_math::matrix_of;
using double_math::Quat;
using double_math::Random;
using double_math::Vec3;
using limbrex_test::CharacterOwner;
using limbrex_test::create;

constexpr double kPi = double_math::kPi;

// One joint whose frame, order and bounds are set at will: Spine on Hips, in a stance without turns.
struct Joint
{
    CharacterOwner character;

    Joint()
    {
        LBXCharacterDefinition definition{};
        definition.nodeFlags[LBXNodeHips] = LBXNodeUsed;
        definition.nodeFlags[LBXNodeSpine] = LBXNodeUsed | LBXNodeHasLimits;
        character = create(definition);
        set_order(0);
    }
    void set_order(int code) const { LBXSetNodeRotationOrder(character.get(), LBXNodeSpine, code); }
    void set_frame(const Quat& pre, const Quat& post) const
    {
        LBXSetNodeLimitsPreRotationdv(character.get(), LBXNodeSpine, pre.data());
        LBXSetNodeLimitsPostRotationdv(character.get(), LBXNodeSpine, post.data());
    }
    Quat rotation(const Vec3& angles) const
    {
        const float a[3] = {static_cast<float>(angles[0]), static_cast<float>(angles[1]), static_cast<float>(angles[2])};
        float q[4] = {};
        LBXDebugRotationFromAngles(character.get(), LBXNodeSpine, a, q);
        return {q[0], q[1], q[2], q[3]};
    }
    Vec3 angles(const Quat& rotation) const
    {
        const float q[4] = {static_cast<float>(rotation[0]), static_cast<float>(rotation[1]), static_cast<float>(rotation[2]),
                            static_cast<float>(rotation[3])};
        float a[4] = {NAN, NAN, NAN, NAN};
        LBXDebugAnglesFromRotation(character.get(), LBXNodeSpine, q, a);
        EXPECT_EQ(a[3], 0.0f);
        return {a[0], a[1], a[2]};
    }
};

struct Order
{
    size_t first, second, last;
};
constexpr Order kOrders[6] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}, {1, 0, 2}, {2, 0, 1}, {2, 1, 0}};

// What the angles stand for: three turns, or a twist about x and then a swing whose axis lies across it.
Mat3 turned_by(int code, const Vec3& a)
{
    if (code == 12)
    {
        const double sy = std::sin(a[1] / 2), cy = std::cos(a[1] / 2), sz = std::sin(a[2] / 2), cz = std::cos(a[2] / 2);
        return matrix_of(Quat{0, sy, sz, cy * cz}) * double_math::turn(0, a[0]);
    }
    const Order& order = kOrders[code / 2];
    return double_math::turn(order.last, a[order.last]) *
           (double_math::turn(order.second, a[order.second]) * double_math::turn(order.first, a[order.first]));
}

void expect_angles(const Vec3& found, const Vec3& expected, double tolerance, int code)
{
    for (size_t i = 0; i < 3; ++i)
    {
        const double difference = std::remainder(found[i] - expected[i], 2 * kPi);
        EXPECT_NEAR(difference, 0.0, tolerance)
            << "code " << code << ", angle " << i << " of " << expected[0] << ", " << expected[1] << ", " << expected[2];
    }
}

}  // namespace

TEST(JointAngles, MakeTheRotationOfTheirMatricesInEveryOrder)
{
    const Joint joint;
    Random random(300);
    for (int code = 0; code <= 12; ++code)
    {
        joint.set_order(code);
        for (int i = 0; i < 1000; ++i)
        {
            const Quat pre = random.rotation();
            const Quat post = random.rotation();
            joint.set_frame(pre, post);
            const Vec3 angles = random.vector(3.1);
            const Quat q = joint.rotation(angles);
            ASSERT_NEAR(double_math::length(q), 1.0, 1e-6);
            const Mat3 expected = matrix_of(pre) * (turned_by(code, angles) * double_math::transposed(matrix_of(post)));
            ASSERT_LT(angle_between(matrix_of(q), expected), 1e-3) << "code " << code;
        }
    }
}

TEST(JointAngles, ComeBackFromTheRotationTheyMade)
{
    const Joint joint;
    Random random(301);
    for (int code = 0; code <= 12; ++code)
    {
        joint.set_order(code);
        for (int i = 0; i < 2000; ++i)
        {
            joint.set_frame(random.rotation(), random.rotation());
            Vec3 angles = random.vector(3.1);
            if (code == 12)
            {
                angles[1] *= 0.8;  // close to half a turn both swings say nearly the same
                angles[2] *= 0.8;
            }
            else
            {
                angles[kOrders[code / 2].second] *= 0.48;  // the middle angle: within a quarter turn
            }
            expect_angles(joint.angles(joint.rotation(angles)), angles, 2e-3, code);
            if (HasFailure()) return;
        }
    }
    joint.set_frame({0, 0, 0, 1}, {0, 0, 0, 1});
    for (const int code : {0, 12})
    {
        joint.set_order(code);
        expect_angles(joint.angles(joint.rotation({0.3, 0.2, -0.1})), {0.3, 0.2, -0.1}, 1e-4, code);
        expect_angles(joint.angles({0, 0, 0, 1}), {0, 0, 0}, 1e-6, code);
    }
}

TEST(JointAngles, AnyRotationIsRebuiltFromItsAngles)
{
    const Joint joint;
    Random random(302);
    for (int code = 0; code <= 12; ++code)
    {
        joint.set_order(code);
        for (int i = 0; i < 5000; ++i)
        {
            joint.set_frame(random.rotation(), random.rotation());
            const Quat q = random.rotation();
            const Vec3 angles = joint.angles(q);
            ASSERT_LT(angle_between(matrix_of(joint.rotation(angles)), matrix_of(q)), 4e-3) << "code " << code;
            // Opposite quaternions are one rotation.
            expect_angles(joint.angles({-q[0], -q[1], -q[2], -q[3]}), angles, 2e-3, code);
            if (HasFailure()) return;
        }
    }
}

TEST(JointAngles, AtTheGimbalOneOuterTurnTakesAllAndTheOtherIsNothing)
{
    const Joint joint;
    Random random(303);
    for (int code = 0; code <= 11; ++code)
    {
        joint.set_order(code);
        const Order& order = kOrders[code / 2];
        const bool first_keeps = code < 2 || code >= 10;
        for (int i = 0; i < 500; ++i)
        {
            const double middle = (random.coin() ? 1.0 : -1.0) * (kPi / 2 - (i % 2 == 0 ? 0.0 : 1e-3));
            Vec3 angles{};
            angles[order.second] = middle;
            angles[order.first] = random.number(-3.1, 3.1);
            angles[order.last] = random.number(-3.1, 3.1);
            const Quat q = joint.rotation(angles);
            const Vec3 found = joint.angles(q);
            ASSERT_NEAR(std::fabs(found[order.second]), kPi / 2, 1e-6);
            ASSERT_EQ(found[order.second] > 0.0, middle > 0.0);
            ASSERT_EQ(found[first_keeps ? order.last : order.first], 0.0);
            ASSERT_LT(angle_between(matrix_of(joint.rotation(found)), matrix_of(q)), 4e-3) << "code " << code;
        }
    }
}

TEST(JointAngles, HalfTurnsHaveAnglesToo)
{
    const Joint joint;
    joint.set_order(12);
    expect_angles(joint.angles({1, 0, 0, 0}), {kPi, 0, 0}, 1e-6, 12);
    Random random(304);
    for (int i = 0; i < 2000; ++i)
    {
        // The bone onto its opposite, and a hair beside it.
        const double a = random.number(-kPi, kPi);
        const double hair = i % 3 == 0 ? 0.0 : std::pow(10.0, random.number(-9.0, -2.0));
        const Quat q = {hair * random.number(-1, 1), std::cos(a), std::sin(a), hair * random.number(-1, 1)};
        const Vec3 angles = joint.angles(q);
        for (const double angle : angles) ASSERT_TRUE(std::isfinite(angle));
        ASSERT_LT(angle_between(matrix_of(joint.rotation(angles)), matrix_of(q)), 5e-3) << a << " " << hair;
    }
}

TEST(JointAngles, NothingIsNaNWhateverFiniteNumbersComeIn)
{
    const Joint joint;
    const float awkward[] = {0.0f, -0.0f, 1.0f, -1.0f, 1e-30f, 1e-20f, 1e10f, -1e19f, 3e38f, -3e38f};
    Random random(305);
    for (int code = 0; code <= 12; ++code)
    {
        joint.set_order(code);
        for (int i = 0; i < 4000; ++i)
        {
            const auto pick = [&] { return static_cast<double>(awkward[random.index(10)]); };
            if (i % 2 == 0) joint.set_frame(random.rotation(), random.rotation());
            if (i % 4 == 1) joint.set_frame({0, 0, 0, 0}, {0, 0, 0, 0});
            for (const double angle : joint.angles({pick(), pick(), pick(), pick()})) ASSERT_TRUE(std::isfinite(angle));
            for (const double component : joint.rotation({pick(), pick(), pick()})) ASSERT_TRUE(std::isfinite(component));
        }
    }
}

TEST(JointAngles, NodesWithoutARecordUseTheirBuiltInFrameAndUnusedNodesNothing)
{
    LBXCharacterDefinition definition{};
    for (const int node : {LBXNodeHips, LBXNodeLeftUpLeg, LBXNodeLeftLeg, LBXNodeLeftFoot}) definition.nodeFlags[node] = LBXNodeUsed;
    const CharacterOwner character = create(definition);
    limbrex_test::set_stance(character.get(), LBXNodeLeftUpLeg, {0, 1, 0});
    limbrex_test::set_stance(character.get(), LBXNodeLeftLeg, {0, 0.5, 0});
    LBXCharacterize(character.get());
    // The knee at no angles: the shin sixty degrees back, the first axis of its pre-rotation.
    const float none[3] = {0, 0, 0};
    float q[4];
    LBXDebugRotationFromAngles(character.get(), LBXNodeLeftLeg, none, q);
    const Vec3 shin = matrix_of(Quat{q[0], q[1], q[2], q[3]}) * Vec3{0, -1, 0};
    EXPECT_NEAR(shin[1], -0.5, 1e-5);
    EXPECT_NEAR(shin[2], -std::sqrt(0.75), 1e-5);

    float kept[4] = {7, 7, 7, 7};
    LBXDebugRotationFromAngles(character.get(), LBXNodeHead, none, kept);
    LBXDebugAnglesFromRotation(character.get(), LBXNodeHead, q, kept);
    LBXDebugAnglesFromRotation(nullptr, LBXNodeHips, q, kept);
    LBXDebugAnglesFromRotation(character.get(), LBXNodeHips, nullptr, kept);
    LBXDebugRotationFromAngles(character.get(), -5, none, kept);
    LBXDebugGetLimbBendAxis(character.get(), 4, kept);
    for (const float v : kept) EXPECT_EQ(v, 7.0f);
    EXPECT_FALSE(LBXDebugGetNodeFrame(character.get(), LBXNodeHead, kept, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_TRUE(LBXDebugGetNodeFrame(character.get(), LBXNodeHips, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_FALSE(LBXDebugGetNodeFrame(nullptr, LBXNodeHips, kept, nullptr, nullptr, nullptr, nullptr, nullptr));
}
