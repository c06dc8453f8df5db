// Knees and elbows turned round.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "tests/limbrex/model/stick_figure.h"
#include "tests/support/t_stance_rig.h"

namespace
{

using double_math::Mat3;
using double_math::Vec3;
using limbrex_test::bend_axis_of;
using limbrex_test::CharacterOwner;
using limbrex_test::frame_of;
using limbrex_test::NodeFrame;
using stick_figure::build;
using stick_figure::expect_vec;
using stick_figure::straight_figure;

}  // namespace

TEST(LimbInversion, TurnsTheBendRoundAndTogglingTwiceRestoresEveryBit)
{
    limbrex_test::RigOptions options;
    options.awkwardRotations = true;
    options.limitedNodes = {LBXNodeLeftLeg, LBXNodeRightForeArm};
    options.beforeCharacterize = [](LBXCharacter* character)
    {
        const float minimum[3] = {-1, -1, -1}, maximum[3] = {1, 1, 1}, q[4] = {0.5f, 0.5f, 0.5f, 0.5f}, none[4] = {0, 0, 0, 1};
        LBXSetNodeLimitsfv(character, LBXNodeLeftLeg, minimum, maximum, q, none, 63);
    };
    const limbrex_test::Rig rig = limbrex_test::make_rig(options);
    LBXCharacter* character = rig.character;
    const std::vector<char> before(reinterpret_cast<const char*>(character),
                                   reinterpret_cast<const char*>(character) + LBXCharacterGetSize(character));
    const int joints[4][2] = {{LBXNodeLeftUpLeg, LBXNodeLeftLeg},
                              {LBXNodeRightUpLeg, LBXNodeRightLeg},
                              {LBXNodeLeftArm, LBXNodeLeftForeArm},
                              {LBXNodeRightArm, LBXNodeRightForeArm}};
    for (int limb = 0; limb < 4; ++limb)
    {
        const Vec3 plain = bend_axis_of(character, limb);
        const NodeFrame upper = frame_of(character, joints[limb][0]);
        const NodeFrame middle = frame_of(character, joints[limb][1]);
        EXPECT_FALSE(LBXGetLimbInverted(character, limb));
        LBXSetLimbInverted(character, limb, true);
        LBXSetLimbInverted(character, limb, true);
        EXPECT_TRUE(LBXGetLimbInverted(character, limb));
        expect_vec(bend_axis_of(character, limb), plain * -1.0, 0.0, "bend axis");

        // The bone direction of the frame is mirrored front to back; what remains is a rotation.
        const auto mirror = [](Vec3 v) { return Vec3{v[0], v[1], -v[2]}; };
        const Mat3 middle_now = double_math::matrix_of(frame_of(character, joints[limb][1]).pre);
        const Mat3 upper_now = double_math::matrix_of(frame_of(character, joints[limb][0]).pre);
        EXPECT_NEAR(double_math::length(frame_of(character, joints[limb][1]).pre), 1.0, 1e-6);
        expect_vec(double_math::column(middle_now, 0), mirror(double_math::column(double_math::matrix_of(middle.pre), 0)), 1e-5, "middle");
        expect_vec(double_math::column(middle_now, 2), double_math::column(double_math::matrix_of(middle.pre), 2), 1e-5,
                   "middle, bend axis of the frame");
        const Vec3 upper_bone = double_math::column(double_math::matrix_of(upper.pre), 0);
        expect_vec(double_math::column(upper_now, 0), limb < 2 ? mirror(upper_bone) : upper_bone, 1e-5, "upper");
        LBXSetLimbInverted(character, limb, false);
        EXPECT_EQ(frame_of(character, joints[limb][0]).pre, upper.pre);
        EXPECT_EQ(frame_of(character, joints[limb][1]).pre, middle.pre);
    }
    EXPECT_EQ(std::memcmp(before.data(), character, before.size()), 0);
}

TEST(LimbInversion, MayBeAskedForBeforeCharacterizingAndIgnoresOtherNumbers)
{
    const CharacterOwner early = build(straight_figure());
    const CharacterOwner late = build(straight_figure());
    LBXSetLimbInverted(early.get(), 0, true);
    LBXCharacterize(early.get());
    LBXCharacterize(late.get());
    LBXSetLimbInverted(late.get(), 0, true);
    expect_vec(bend_axis_of(early.get(), 0), {-1, 0, 0}, 1e-6, "asked for early");
    EXPECT_EQ(bend_axis_of(early.get(), 0), bend_axis_of(late.get(), 0));
    EXPECT_EQ(frame_of(early.get(), LBXNodeLeftLeg).pre, frame_of(late.get(), LBXNodeLeftLeg).pre);
    EXPECT_EQ(frame_of(early.get(), LBXNodeLeftUpLeg).pre, frame_of(late.get(), LBXNodeLeftUpLeg).pre);
    for (const int limb : {-1, 4, 1 << 30})
    {
        LBXSetLimbInverted(late.get(), limb, true);
        EXPECT_FALSE(LBXGetLimbInverted(late.get(), limb));
    }
    LBXSetLimbInverted(nullptr, 0, true);
    EXPECT_FALSE(LBXGetLimbInverted(nullptr, 0));
    const CharacterOwner bodiless = build({{"Hips", {0, 0, 0}}});
    LBXCharacterize(bodiless.get());
    LBXSetLimbInverted(bodiless.get(), 2, true);
    EXPECT_TRUE(LBXGetLimbInverted(bodiless.get(), 2));
}
