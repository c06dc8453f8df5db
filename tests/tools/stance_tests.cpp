#include <gtest/gtest.h>

#include "host/animation/import.h"
#include "tests/tools/body_fixture.h"
#include "tools/rig/rig_init.h"

namespace
{

using namespace limbrex_host;
using namespace limbrex_tests;
using namespace limbrex_tools;

RigInitResult init(const Asset& asset, RigInitOptions options = {})
{
    RigInitResult result;
    std::string error;
    options.unitName = "body";
    EXPECT_TRUE(init_rig(asset, options, result, error)) << error;
    return result;
}

Asset body_asset(Skeleton skeleton)
{
    Asset asset;
    asset.skeleton = std::move(skeleton);
    return asset;
}

const StanceElement& stance_of(const RigInitResult& rig, int node)
{
    for (const MappedBone& bone : rig.source.bones)
    {
        if (bone.node == node) { return bone.stance; }
    }
    static const StanceElement missing;
    ADD_FAILURE() << "no stance for " << LBXGetNodeNameFromId(node);
    return missing;
}

void expect_at(const StanceElement& stance, double x, double y, double z, double tolerance = 1e-5)
{
    EXPECT_NEAR(stance.translation[0], x, tolerance);
    EXPECT_NEAR(stance.translation[1], y, tolerance);
    EXPECT_NEAR(stance.translation[2], z, tolerance);
}

void expect_rotation(const StanceElement& stance, const Quatd& expected)
{
    const Quatd q{stance.rotation[0], stance.rotation[1], stance.rotation[2], stance.rotation[3]};
    EXPECT_LT(angle_between(q, expected), 1e-5);
}

void expect_turn_below(const StanceElement& stance, double degrees)
{
    EXPECT_LT(2.0 * std::acos(std::min(1.0, std::fabs(stance.rotation[3]))), degrees * 0.0174533);
}

Vec3d way(const RigInitResult& rig, int from, int to)
{
    const auto& a = stance_of(rig, from).translation;
    const auto& b = stance_of(rig, to).translation;
    return {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
}

// Every bone of both arms and legs exactly along its axis of the T.
void expect_straight_limbs(const RigInitResult& rig)
{
    const std::tuple<int, int, Vec3d> bones[] = {
        {LBXNodeLeftArm, LBXNodeLeftForeArm, {1, 0, 0}},    {LBXNodeLeftForeArm, LBXNodeLeftHand, {1, 0, 0}},
        {LBXNodeRightArm, LBXNodeRightForeArm, {-1, 0, 0}}, {LBXNodeRightForeArm, LBXNodeRightHand, {-1, 0, 0}},
        {LBXNodeLeftUpLeg, LBXNodeLeftLeg, {0, -1, 0}},     {LBXNodeLeftLeg, LBXNodeLeftFoot, {0, -1, 0}},
        {LBXNodeRightUpLeg, LBXNodeRightLeg, {0, -1, 0}},   {LBXNodeRightLeg, LBXNodeRightFoot, {0, -1, 0}},
    };
    for (const auto& [from, to, direction] : bones)
    {
        EXPECT_LT(angle_between_deg(way(rig, from, to), direction), 0.01) << LBXGetNodeNameFromId(from);
    }
}

const Quatd kQuarterAboutZ = axis_angle({0, 0, 1}, 1.5707963267948966);
const Quatd kQuarterAboutY = axis_angle({0, 1, 0}, 1.5707963267948966);

TEST(Stance, ATRestPoseIsTakenAsItIsOnTheFloorBelowTheHips)
{
    Skeleton skeleton = plain_body();
    skeleton.joints[0].rest.translation = {3.0f, 7.0f, -2.0f};
    const RigInitResult rig = init(body_asset(skeleton));
    EXPECT_FALSE(rig.stance.straightened);
    // Toe joints lie 0.97 below the hips, the sole 2 % of the leg's 0.85 below them.
    expect_at(stance_of(rig, LBXNodeHips), 0.0, 0.97 + 0.017, 0.0);
    expect_at(stance_of(rig, LBXNodeLeftHand), 0.73, 0.987 + 0.45, 0.0);
    expect_at(stance_of(rig, LBXNodeReference), 0.0, 0.0, 0.0);
    for (const MappedBone& bone : rig.source.bones) { expect_rotation(bone.stance, {}); }
    EXPECT_NEAR(rig.source.foot.bottom, 0.07 + 0.017, 1e-5);
    EXPECT_NEAR(rig.source.foot.middle, 0.13, 1e-5);
    EXPECT_NEAR(rig.source.hand.middle, 0.09, 1e-5);
    EXPECT_NEAR(rig.source.hand.front, 0.03, 1e-5);
}

TEST(Stance, HangingArmsAreRaisedByAQuarterTurnWithPalmsDown)
{
    Skeleton skeleton = plain_body();
    set_rest_offset(skeleton, "LeftForeArm", 0.0f, -0.3f, 0.0f);
    set_rest_offset(skeleton, "LeftHand", 0.0f, -0.25f, 0.0f);
    set_rest_offset(skeleton, "RightForeArm", 0.0f, -0.3f, 0.0f);
    set_rest_offset(skeleton, "RightHand", 0.0f, -0.25f, 0.0f);
    set_rest_offset(skeleton, "LeftHandIndex1", 0.0f, -0.09f, 0.0f);
    set_rest_offset(skeleton, "RightHandIndex1", 0.0f, -0.09f, 0.0f);
    const RigInitResult rig = init(body_asset(skeleton));
    EXPECT_TRUE(rig.stance.straightened);
    expect_straight_limbs(rig);
    for (const int node : {LBXNodeLeftArm, LBXNodeLeftForeArm, LBXNodeLeftHand}) { expect_rotation(stance_of(rig, node), kQuarterAboutZ); }
    for (const int node : {LBXNodeRightArm, LBXNodeRightForeArm, LBXNodeRightHand})
    {
        expect_rotation(stance_of(rig, node), conjugate(kQuarterAboutZ));
    }
    expect_rotation(stance_of(rig, LBXNodeLeftShoulder), {});
    expect_rotation(stance_of(rig, LBXNodeHead), {});
}

TEST(Stance, ABentElbowSaysWhereItsHingeIs)
{
    // Upper arm down, forearm forward: the T needs the upper arm up by a quarter turn and the elbow opened by another.
    Skeleton skeleton = plain_body();
    set_rest_offset(skeleton, "LeftForeArm", 0.0f, -0.3f, 0.0f);
    set_rest_offset(skeleton, "LeftHand", 0.0f, 0.0f, 0.25f);
    const RigInitResult rig = init(body_asset(skeleton));
    expect_straight_limbs(rig);
    expect_rotation(stance_of(rig, LBXNodeLeftArm), kQuarterAboutZ);
    expect_rotation(stance_of(rig, LBXNodeLeftForeArm), mul(kQuarterAboutY, kQuarterAboutZ));

    // Arm out to the side but rolled half round, so that the elbow bends backwards: the stance takes the roll out.
    Skeleton rolled = plain_body();
    set_rest_offset(rolled, "LeftHand", 0.0f, 0.0f, -0.25f);
    expect_rotation(stance_of(init(body_asset(rolled)), LBXNodeLeftArm), axis_angle({1, 0, 0}, 3.14159265358979));
}

TEST(Stance, SplayedLegsAreClosedAndFeetStayFlat)
{
    Skeleton skeleton = plain_body();
    for (const float side : {1.0f, -1.0f})
    {
        const std::string name = side > 0 ? "Left" : "Right";
        set_rest_offset(skeleton, name + "Leg", side * 0.3f, -0.3f, 0.0f);
        set_rest_offset(skeleton, name + "Foot", side * 0.3f, -0.3f, 0.0f);
        set_rest_offset(skeleton, name + "ToeBase", side * 0.1f, -0.07f, 0.1f);
    }
    const RigInitResult rig = init(body_asset(skeleton));
    expect_straight_limbs(rig);
    EXPECT_NEAR(way(rig, LBXNodeLeftFoot, LBXNodeLeftToeBase).x, 0.0, 1e-6);
    EXPECT_NEAR(way(rig, LBXNodeLeftFoot, LBXNodeLeftToeBase).y, -0.07, 1e-6);
    EXPECT_NEAR(way(rig, LBXNodeLeftFoot, LBXNodeLeftToeBase).z, 0.1 * std::sqrt(2.0), 1e-6);
    expect_rotation(stance_of(rig, LBXNodeRightFoot), axis_angle({0, 1, 0}, 0.785398163397448));
}

TEST(Stance, ABodyThatFacesElsewhereIsTurnedToFacePlusZ)
{
    Skeleton skeleton = plain_body();
    const Quatd quarter = axis_angle({0, 1, 0}, 1.5707963267948966);  // faces +x
    skeleton.joints[0].rest.rotation = to_floats(quarter);
    const RigInitResult rig = init(body_asset(skeleton));
    EXPECT_NEAR(rig.stance.turned_deg, -90.0, 1e-9);
    EXPECT_FALSE(rig.stance.straightened);
    EXPECT_NEAR(way(rig, LBXNodeRightHand, LBXNodeLeftHand).x, 1.46, 1e-5);
    expect_rotation(stance_of(rig, LBXNodeHips), {});
    expect_rotation(stance_of(rig, LBXNodeReference), {});
}

TEST(Stance, BoneLengthsSurviveStraightening)
{
    Skeleton skeleton = plain_body();
    set_rest_offset(skeleton, "Spine1", 0.0f, 0.05f, 0.3f);
    set_rest_offset(skeleton, "LeftForeArm", 0.1f, -0.2f, 0.13f);
    set_rest_offset(skeleton, "RightLeg", 0.0f, -0.1f, 0.4f);
    const RigInitResult rig = init(body_asset(skeleton));
    expect_straight_limbs(rig);
    EXPECT_LT(angle_between_deg(way(rig, LBXNodeSpine, LBXNodeSpine1), {0, 1, 0}), 30.0);
    for (const Joint& joint : skeleton.joints)
    {
        if (joint.parent < 0) { continue; }
        const auto j = static_cast<size_t>(joint_index(skeleton, joint.name));
        const double length_m = length(rig.stance.joints[j].position - rig.stance.joints[static_cast<size_t>(joint.parent)].position);
        EXPECT_NEAR(length_m, length(to_vec3d(joint.rest.translation)), 1e-6) << joint.name;
    }
}

TEST(Stance, TheBoxersRestPoseAndItsStraightenedFramesAgree)
{
    Asset asset;
    std::string error;
    ASSERT_TRUE(import_asset("/usr/share/assimp/models/BVH/Boxing_Toes.bvh", asset, error)) << error;
    const RigInitResult rest = init(asset);
    expect_straight_limbs(rest);
    for (const size_t frame : {0u, 300u, 1500u})
    {
        SCOPED_TRACE(frame);
        RigInitOptions options;
        options.frame = frame;
        const RigInitResult built = init(asset, options);
        EXPECT_TRUE(built.stance.straightened);
        expect_straight_limbs(built);
        EXPECT_TRUE(measure_stance(node_positions(built.mapping, built.stance.joints)).empty());
        // The rest pose has no rotations at all. A pose made from a guard must come near it, rolls of limbs included.
        for (const int node : {LBXNodeHips, LBXNodeLeftUpLeg, LBXNodeRightUpLeg}) { expect_turn_below(stance_of(built, node), 15.0); }
        for (const int node : {LBXNodeLeftArm, LBXNodeRightArm, LBXNodeLeftLeg, LBXNodeRightLeg})
        {
            expect_turn_below(stance_of(built, node), 45.0);
        }
    }
}

TEST(Stance, FramesAndReferencesThatDoNotExistAreRefused)
{
    Asset asset = body_asset(plain_body());
    RigInitResult result;
    std::string error;
    RigInitOptions options;
    options.frame = 0;
    EXPECT_FALSE(init_rig(asset, options, result, error));
    EXPECT_NE(error.find("no clip"), std::string::npos);
    options.frame.reset();
    options.reference = "LeftHand";
    EXPECT_FALSE(init_rig(asset, options, result, error));
    EXPECT_NE(error.find("cannot be the reference"), std::string::npos);
    EXPECT_FALSE(init_rig(Asset{}, RigInitOptions{}, result, error));
}

TEST(Stance, MoreThanSixJointsInBetweenAreRefusedWithTheirNames)
{
    Skeleton skeleton;
    for (int i = 0; i < 7; ++i) { skeleton.joints.push_back({"above" + std::to_string(i), i - 1, {}, false}); }
    for (const Joint& joint : plain_body().joints) { skeleton.joints.push_back({joint.name, joint.parent + 7, joint.rest, false}); }
    RigInitResult result;
    std::string error;
    EXPECT_FALSE(init_rig(body_asset(skeleton), {}, result, error));
    EXPECT_NE(error.find("7 unmapped joints"), std::string::npos) << error;
    EXPECT_NE(error.find("above6"), std::string::npos);
}

}  // namespace
