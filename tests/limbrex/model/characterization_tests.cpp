// Joint frames and bend axes drawn by hand on a symmetric figure, and what is not one.

#include <gtest/gtest.h>

#include <cmath>

#include "tests/limbrex/model/stick_figure.h"
#include "tests/support/t_stance_rig.h"

namespace
{

using double_math::Random;
using double_math::Vec3;
using limbrex_test::bend_axis_of;
using limbrex_test::CharacterOwner;
using limbrex_test::create;
using limbrex_test::frame_of;
using limbrex_test::NodeFrame;
using limbrex_test::set_stance;
using stick_figure::build;
using stick_figure::expect_vec;
using stick_figure::Figure;
using stick_figure::kRadians;
using stick_figure::straight_figure;

void expect_axes(const LBXCharacter* character, const char* name, const Vec3& x, const Vec3& y, const Vec3& z)
{
    const NodeFrame frame = frame_of(character, LBXGetNodeIdFromName(name));
    EXPECT_LT(double_math::largest_difference(frame.axes(), double_math::from_columns(x, y, z)), 1e-6) << name;
}
Vec3 stance_angles_deg(const LBXCharacter* character, const char* name)
{
    const float stance[4] = {0, 0, 0, 1};
    float angles[4];
    LBXDebugAnglesFromRotation(character, LBXGetNodeIdFromName(name), stance, angles);
    return {angles[0] / kRadians, angles[1] / kRadians, angles[2] / kRadians};
}

}  // namespace

TEST(Characterization, FramesOfTheStraightFigureAreThoseDrawnByHand)
{
    const CharacterOwner character = build(straight_figure());
    ASSERT_TRUE(LBXCharacterize(character.get()));
    const LBXCharacter* c = character.get();
    expect_axes(c, "Hips", {0, 1, 0}, {0, 0, 1}, {1, 0, 0});
    expect_axes(c, "Spine", {0, 1, 0}, {0, 0, 1}, {1, 0, 0});
    expect_axes(c, "Spine1", {0, 1, 0}, {0, 0, 1}, {1, 0, 0});
    expect_axes(c, "Head", {0, 1, 0}, {0, 0, 1}, {1, 0, 0});
    expect_axes(c, "LeftUpLeg", {0, -1, 0}, {1, 0, 0}, {0, 0, 1});
    expect_axes(c, "RightUpLeg", {0, -1, 0}, {-1, 0, 0}, {0, 0, -1});
    expect_axes(c, "LeftLeg", {0, -1, 0}, {0, 0, -1}, {1, 0, 0});
    expect_axes(c, "RightLeg", {0, -1, 0}, {0, 0, -1}, {1, 0, 0});
    expect_axes(c, "LeftFoot", {0, 0, 1}, {0, -1, 0}, {1, 0, 0});
    expect_axes(c, "LeftShoulder", {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
    expect_axes(c, "RightShoulder", {-1, 0, 0}, {0, -1, 0}, {0, 0, 1});
    expect_axes(c, "LeftArm", {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
    expect_axes(c, "RightArm", {-1, 0, 0}, {0, 1, 0}, {0, 0, -1});
    expect_axes(c, "LeftForeArm", {1, 0, 0}, {0, 0, -1}, {0, 1, 0});
    expect_axes(c, "RightForeArm", {-1, 0, 0}, {0, 0, -1}, {0, -1, 0});
    expect_axes(c, "LeftHand", {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
    expect_axes(c, "LeftHandIndex1", {1, 0, 0}, {0, -1, 0}, {0, 0, -1});
    expect_axes(c, "LeftHandIndex2", {1, 0, 0}, {0, -1, 0}, {0, 0, -1});
    expect_axes(c, "RightHandIndex2", {-1, 0, 0}, {0, -1, 0}, {0, 0, 1});

    // A straight knee stands at its lower bound, a straight elbow at its upper one, on either side.
    for (const char* knee : {"LeftLeg", "RightLeg"}) expect_vec(stance_angles_deg(c, knee), {0, 0, -60}, 0.02, knee);
    for (const char* elbow : {"LeftForeArm", "RightForeArm"}) expect_vec(stance_angles_deg(c, elbow), {0, 0, 100}, 0.02, elbow);
    expect_vec(stance_angles_deg(c, "LeftHand"), {0, 0, 0}, 0.02, "hand");
}

TEST(Characterization, KneesBendBackwardsAndElbowsForwardsOnBothSides)
{
    const CharacterOwner character = build(straight_figure());
    LBXCharacterize(character.get());
    expect_vec(bend_axis_of(character.get(), 0), {1, 0, 0}, 1e-6, "left knee");
    expect_vec(bend_axis_of(character.get(), 1), {1, 0, 0}, 1e-6, "right knee");
    expect_vec(bend_axis_of(character.get(), 2), {0, -1, 0}, 1e-6, "left elbow");
    expect_vec(bend_axis_of(character.get(), 3), {0, 1, 0}, 1e-6, "right elbow");
    // Turning the lower bone about the axis moves ankles back and wrists forward.
    const Vec3 bones[4] = {{0, -1, 0}, {0, -1, 0}, {1, 0, 0}, {-1, 0, 0}};
    for (int limb = 0; limb < 4; ++limb)
    {
        const double forward = double_math::cross(bend_axis_of(character.get(), limb), bones[limb])[2];
        EXPECT_NEAR(forward, limb < 2 ? -1.0 : 1.0, 1e-6);
    }
    // Of any stance of this kind the sign holds.
    Random random(200);
    for (int i = 0; i < 200; ++i)
    {
        Figure figure = straight_figure();
        for (auto& [name, p] : figure) p = p + random.vector(0.05);
        const CharacterOwner shaken = build(figure);
        LBXCharacterize(shaken.get());
        EXPECT_GT(bend_axis_of(shaken.get(), 0)[0], 0.0);
        EXPECT_GT(bend_axis_of(shaken.get(), 1)[0], 0.0);
        EXPECT_LT(bend_axis_of(shaken.get(), 2)[1], 0.0);
        EXPECT_GT(bend_axis_of(shaken.get(), 3)[1], 0.0);
    }
}

TEST(Characterization, TheBodyOfTheFixtureIsBentTheWayItsAxesSay)
{
    limbrex_test::RigOptions everything;
    everything.spineNodes = everything.neckNodes = 10;
    everything.shoulderExtras = everything.fingerTips = everything.inHands = everything.toes = true;
    everything.hipsTranslation = everything.armRolls = everything.legRolls = true;
    everything.awkwardRotations = everything.parentOffsets = true;
    everything.leafRolls = 5;
    everything.scale = 100.0f;
    for (const auto& options : {limbrex_test::RigOptions{}, limbrex_test::sixty_nodes(), everything})
    {
        const limbrex_test::Rig rig = limbrex_test::make_rig(options);
        const int joints[4][3] = {{LBXNodeLeftUpLeg, LBXNodeLeftLeg, LBXNodeLeftFoot},
                                  {LBXNodeRightUpLeg, LBXNodeRightLeg, LBXNodeRightFoot},
                                  {LBXNodeLeftArm, LBXNodeLeftForeArm, LBXNodeLeftHand},
                                  {LBXNodeRightArm, LBXNodeRightForeArm, LBXNodeRightHand}};
        const auto at = [&rig](int node) -> Vec3
        {
            const auto& t = rig.stance[static_cast<size_t>(node)].t;
            return {t[0], t[1], t[2]};
        };
        for (int limb = 0; limb < 4; ++limb)
        {
            const Vec3 upper = double_math::unit(at(joints[limb][1]) - at(joints[limb][0]));
            const Vec3 lower = double_math::unit(at(joints[limb][2]) - at(joints[limb][1]));
            EXPECT_GT(double_math::dot(double_math::cross(bend_axis_of(rig.character, limb), upper), lower), 0.05) << limb;
        }
    }
    EXPECT_EQ(limbrex_test::make_rig(limbrex_test::sixty_nodes()).nodes.size(), 60u);
}

TEST(Characterization, ArmsThatHangLikeForeLegsBendInTheirOwnPlane)
{
    for (const std::string side : {"Left", "Right"})
    {
        const int limb = side == "Left" ? 2 : 3;
        const double x = side == "Left" ? 0.2 : -0.2;
        Figure figure = straight_figure();
        figure[side + "Arm"] = {x, 1.0, 0};
        figure[side + "ForeArm"] = {x, 0.6, 0};
        figure[side + "Hand"] = {x, 0.2, 0};
        CharacterOwner character = build(figure);
        LBXCharacterize(character.get());
        expect_vec(bend_axis_of(character.get(), limb), {-1, 0, 0}, 1e-6, side + ", straight: the elbow goes back, the hand forward");
        figure[side + "Hand"] = {x, 0.2, 0.1};
        character = build(figure);
        LBXCharacterize(character.get());
        expect_vec(bend_axis_of(character.get(), limb), {-1, 0, 0}, 1e-6, side + ", bent forwards");
        figure[side + "Hand"] = {x, 0.2, -0.1};
        character = build(figure);
        LBXCharacterize(character.get());
        expect_vec(bend_axis_of(character.get(), limb), {1, 0, 0}, 1e-6, side + ", bent backwards");
        LBXSetLimbInverted(character.get(), limb, true);
        expect_vec(bend_axis_of(character.get(), limb), {-1, 0, 0}, 1e-6, side + ", turned round");
    }
}

TEST(Characterization, CoincidentJointsAndNonFiniteStancesGiveSafeFrames)
{
    LBXCharacterDefinition definition{};
    for (uint32_t& flags : definition.nodeFlags) flags = LBXNodeUsed | LBXNodeHasLimits;
    for (const double v : {0.0, 5.0, 1e30, static_cast<double>(NAN), static_cast<double>(INFINITY)})
    {
        const CharacterOwner character = create(definition);
        for (int node = 0; node < LBXLastNodeId; ++node)
            set_stance(character.get(), node, {v, -v, v}, {0, 0, 0, std::isfinite(v) ? 1.0 : v});
        EXPECT_TRUE(LBXCharacterize(character.get()));
        for (int node = 0; node < LBXLastNodeId; ++node)
        {
            const NodeFrame frame = frame_of(character.get(), node);
            EXPECT_NEAR(double_math::length(frame.pre), 1.0, 1e-6);
            EXPECT_NEAR(double_math::length(frame.post), 1.0, 1e-6);
        }
        for (int limb = 0; limb < 4; ++limb) EXPECT_NEAR(double_math::length(bend_axis_of(character.get(), limb)), 1.0, 1e-5) << v;
    }
    // Twist and template rotations stay where the bone gives no direction.
    const CharacterOwner heap = create(definition);
    LBXCharacterize(heap.get());
    EXPECT_LT(double_math::largest_difference(frame_of(heap.get(), LBXNodeLeftLeg).axes(), double_math::turn(0, 0.0)), 1e-6);
    EXPECT_LT(double_math::largest_difference(frame_of(heap.get(), LBXNodeSpine).axes(), double_math::turn(0, 0.0)), 1e-6);
    EXPECT_FALSE(LBXCharacterize(nullptr));
}

TEST(Characterization, StanceIsStoredAsGivenWithItsFourthComponents)
{
    const CharacterOwner character = build(straight_figure());
    const float t[3] = {1, 2, 3}, q[4] = {0.5f, -0.5f, 0.5f, -0.5f}, s[3] = {2, 2, -0.0f};
    LBXSetCharacterizeNodeStateTQSfv(character.get(), LBXNodeHead, t, q, s);
    float t4[4], q4[4], s4[4];
    LBXGetCharacterizeNodeStateTQSfv(character.get(), LBXNodeHead, t4, q4, s4);
    EXPECT_EQ(t4[3], 0.0f);
    EXPECT_EQ(t4[2], 3.0f);
    EXPECT_EQ(q4[3], -0.5f);
    EXPECT_EQ(s4[0], 2.0f);
    EXPECT_EQ(s4[3], 1.0f);
    EXPECT_FALSE(std::signbit(s4[2])) << "a scale of -0 is stored as +0";
    double td[4], qd[4], sd[4];
    LBXGetCharacterizeNodeStateTQSdv(character.get(), LBXNodeHead, td, qd, sd);
    EXPECT_EQ(td[1], 2.0);
    EXPECT_EQ(sd[3], 1.0);
    // Unused and unknown nodes share one place that no used node has.
    LBXSetCharacterizeNodeStateTQSfv(character.get(), LBXNodeSpine9, t, q, s);
    LBXSetCharacterizeNodeStateTQSfv(character.get(), -77, t, q, s);
    LBXSetCharacterizeNodeStateTQSfv(character.get(), 100000, t, q, s);
    LBXSetCharacterizeNodeStateTQSfv(nullptr, 1, t, q, s);
    LBXSetCharacterizeNodeStateTQSfv(character.get(), LBXNodeHips, nullptr, q, s);
    LBXGetCharacterizeNodeStateTQSfv(character.get(), LBXNodeHips, t4, nullptr, nullptr);
    EXPECT_EQ(t4[1], 1.0f) << "untouched";
}
