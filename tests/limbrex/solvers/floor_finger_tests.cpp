// Fingers and toes go to their tips' goals, and stay on or above their floors.
#include "tests/limbrex/solvers/floor_fixture.h"

namespace solver_test
{
namespace
{

constexpr int kFingers = 5;
constexpr double kTouch = 1e-5;

// One finger or toe of an extremity: thumb or big toe is number 0.
struct Finger
{
    int extremity, number, joints;
    int node(int joint) const { return LBX_NODE_FINGER(extremity, number, joint + 1); }  // from 0
    int tip() const { return node(joints - 1); }
    int effector() const { return LBXEffectorLeftHandThumb + 6 * extremity + number; }
};

struct FingerScene : FloorScene
{
    using FloorScene::FloorScene;
    Vec3 base(const Finger& finger) const { return at(finger.node(0)); }
    double length(const Finger& finger) const
    {
        double sum_of_bones = 0.0;
        for (int joint = 1; joint < finger.joints; ++joint) sum_of_bones += distance(at(finger.node(joint)), at(finger.node(joint - 1)));
        return sum_of_bones;
    }
    // Curled about the axis across the palm, as a hand that is half closed.
    void half_closed(double curl)
    {
        pose_by(
            [&](int node)
            {
                for (int hand = 0; hand < 2; ++hand)
                    for (int number = 1; number < kFingers; ++number)
                        for (int joint = 1; joint <= 3; ++joint)
                            if (node == LBX_NODE_FINGER(hand, number, joint)) return about({0, 0, hand == 0 ? -1.0 : 1.0}, curl);
                return identity();
            });
    }
    void solve_fingers() { stages(kPrepare | kFingerStage); }
};

RigOptions with_joints(int joints)
{
    RigOptions options;
    options.fingerTips = joints == 4;
    options.toes = joints == 2;
    return options;
}

TEST(FingerSolve, TwoJointsPointAtTheirGoalAndReachOneAtTheirLength)
{
    FingerScene scene(with_joints(2));
    Random random(21);
    for (int i = 0; i < 100; ++i)
    {
        scene.random_pose(random, 0.2);
        const Finger toe = {2 + random.index(2), random.index(kFingers), 2};
        const Vec3 forward = double_math::unit(scene.at(toe.tip()) - scene.base(toe));
        const Vec3 way = double_math::unit(forward + random.vector(0.6));
        const double stretch = random.coin() ? 1.0 : random.number(0.3, 3.0);
        const Vec3 goal = scene.base(toe) + way * (stretch * scene.length(toe));
        scene.want(toe.effector(), goal, {1, 0, 0, 0});
        const Pose before = scene.pose();
        scene.solve_fingers();
        EXPECT_NEAR(distance(scene.at(toe.tip()), scene.base(toe) + way * scene.length(toe)), 0.0, 2e-6) << i;
        for (const int moved : changed_nodes(scene, before, scene.pose())) EXPECT_TRUE(moved == toe.node(0) || moved == toe.tip()) << moved;
    }
}

TEST(FingerSolve, ThreeAndFourJointsReachWhatTheyCanAndPointAtTheRest)
{
    for (const int joints : {3, 4})
    {
        FingerScene scene(with_joints(joints));
        Random random(22);
        for (int i = 0; i < 150; ++i)
        {
            scene.half_closed(random.number(0.1, 0.7));
            const Finger finger = {random.index(2), 1 + random.index(4), joints};
            const Vec3 base = scene.base(finger);
            const Vec3 now = scene.at(finger.tip()) - base;
            const bool far = i % 5 == 0;
            const double reach = scene.length(finger) * (far ? random.number(1.05, 4.0) : random.number(0.55, 0.97));
            const Vec3 goal = base + double_math::unit(double_math::unit(now) + random.vector(0.5)) * reach;
            scene.want(finger.effector(), goal, {1, 0, 0, 0});
            const Pose before = scene.pose();
            scene.solve_fingers();
            EXPECT_LT(worst_bone_drift(scene, before, scene.pose()), 1e-4);
            if (far)
            {
                const Vec3 tip = scene.at(finger.tip()) - base;
                EXPECT_LT(std::acos(std::min(1.0, dot(double_math::unit(tip), double_math::unit(goal - base)))), 2.0 * kDegree) << i;
                EXPECT_GT(length(tip), 0.98 * scene.length(finger)) << "straight, " << i;
            }
            else
                EXPECT_NEAR(distance(scene.at(finger.tip()), goal), 0.0, 0.01 * scene.length(finger)) << joints << " joints, " << i;
        }
    }
}

TEST(FingerSolve, HalfAReachIsHalfTheWayAndNoneIsNoBit)
{
    FingerScene scene(with_joints(3));
    scene.half_closed(0.4);
    const Finger finger = {kLeftHand, 2, 3};
    const std::vector<char> start = scene.bytes();
    const Vec3 from = scene.at(finger.tip());
    const Vec3 goal = from + Vec3{-0.015, 0.01, 0.004};
    const auto solved = [&](float reach, int mode)
    {
        scene.restore(start);
        scene.mode(LBXPropertyFingerSolving, mode);
        scene.want(finger.effector(), goal, {reach, 1, 1, 0});
        scene.stages(kPrepare);
        const std::vector<char> before = scene.bytes();
        scene.stages(kFingerStage);
        EXPECT_EQ(scene.bytes() == before, reach == 0.0f || mode != 1);
        return scene.at(finger.tip());
    };
    EXPECT_NEAR(distance(solved(1.0f, 1), goal), 0.0, 3e-4);
    EXPECT_NEAR(distance(solved(0.5f, 1), lerp(from, goal, 0.5)), 0.0, 3e-4);
    EXPECT_NEAR(distance(solved(0.0f, 1), from), 0.0, 1e-6);
    EXPECT_NEAR(distance(solved(1.0f, 0), from), 0.0, 1e-6) << "switched off";
    scene.mask(LBXSolvingStepAllButStretch & ~static_cast<uint32_t>(LBXSolvingStepLeftHandFingers));
    scene.restore(start);
    scene.mode(LBXPropertyFingerSolving, 1);
    scene.solve_fingers();
    EXPECT_NEAR(distance(scene.at(finger.tip()), from), 0.0, 1e-6) << "not in the mask";
}

TEST(FingerSolve, AGoalThatMovesALittleTurnsNoJointByMuch)
{
    FingerScene scene(with_joints(3));
    scene.half_closed(0.35);
    const std::vector<char> start = scene.bytes();
    const Finger finger = {kRightHand, 1, 3};
    const Vec3 from = scene.at(finger.tip());
    Pose last;
    // Around a circle that passes near full length, and through the finger's own tip.
    for (int i = 0; i <= 720; ++i)
    {
        scene.restore(start);
        const double angle = i * 0.5 * kDegree;
        const double radius = 0.25 * scene.length(finger);
        scene.want(finger.effector(), from + Vec3{radius * (std::cos(angle) - 1.0), radius * std::sin(angle), 0.0}, {1, 0, 0, 0});
        scene.solve_fingers();
        const Pose now = scene.pose();
        if (i > 0) { EXPECT_LT(largest_joint_turn(scene, last, now), 6.0 * kDegree) << i; }
        last = now;
    }
}

TEST(FingerSolve, JointLimitsHold)
{
    RigOptions options = with_joints(3);
    const Finger finger = {kLeftHand, 1, 3};
    for (int joint = 0; joint < 3; ++joint) options.limitedNodes.push_back(finger.node(joint));
    options.beforeCharacterize = [&](LBXCharacter* character)
    {
        const float minimum[3] = {-0.2f, -0.2f, -0.2f}, maximum[3] = {0.2f, 0.2f, 0.2f};
        for (int joint = 0; joint < 3; ++joint) LBXSetNodeLimitsfv(character, finger.node(joint), minimum, maximum, nullptr, nullptr, 0x3F);
    };
    FingerScene scene(options);
    scene.want(finger.effector(), scene.base(finger) + Vec3{0.0, -0.03, 0.0}, {1, 0, 0, 0});
    scene.solve_fingers();
    for (int joint = 0; joint < 2; ++joint)
    {
        const double turn = angle_of(scene.local_turn(finger.node(joint)));
        EXPECT_LT(turn, 0.2 * std::sqrt(3.0) + 1e-3) << joint;
        EXPECT_GT(turn, 0.1) << "it tries, " << joint;
    }
}

TEST(FingerContact, TipsStandOnOrAboveTheFloorWhateverTheRollStiffness)
{
    for (const bool toes : {false, true})
    {
        FingerScene scene(with_joints(toes ? 2 : 3));
        Random random(23);
        const int joints = toes ? 2 : 3;
        for (const double stiffness : {0.0, 0.3, 0.7, 1.0})
            for (int i = 0; i < 60; ++i)
            {
                scene.half_closed(random.number(0.0, 0.6));
                scene.floors_away();
                const int extremity = (toes ? 2 : 0) + random.index(2);
                const ContactNames& names = names_of(extremity);
                scene.enable(extremity, i % 2);  // with the whole extremity, and the fingers alone
                scene.mode(names.fingerContact, 1);
                scene.value(names.fingerMode, i % 3);
                scene.value(names.rollStiffness, stiffness);
                Plane plane = tilted_plane(random, random.number(0, 0.3));
                double lowest = 1e9, lowest_base = 1e9, shortest = 1e9;
                for (int number = 0; number < kFingers; ++number)
                {
                    const Finger finger = {extremity, number, joints};
                    lowest = std::min(lowest, plane.height(scene.at(finger.tip())));
                    lowest_base = std::min(lowest_base, plane.height(scene.base(finger)));
                    shortest = std::min(shortest, scene.length(finger));
                }
                // Into the finger by a part of its length, and the bases above or barely in it.
                const double into = std::min(lowest + random.number(0.0, 0.6) * shortest, lowest_base + 0.3 * shortest);
                plane.t = plane.t + plane.up() * into;
                scene.floor(extremity, plane);
                scene.stages(kPrepare | kFloorStage);
                for (int number = 0; number < kFingers; ++number)
                {
                    const Finger finger = {extremity, number, joints};
                    EXPECT_GT(plane.height(scene.at(finger.tip())), -0.01 * scene.length(finger))
                        << "extremity " << extremity << " finger " << number << " stiffness " << stiffness << " case " << i;
                }
                if (i % 2 == 1) { EXPECT_GT(scene.lowest(extremity, plane), -kTouch); }
            }
    }
}

TEST(FingerContact, FingersAboveTheFloorKeepTheirBits)
{
    FingerScene scene(with_joints(3));
    scene.half_closed(0.3);
    scene.floors_away();
    scene.mode(LBXPropertyHandFingerContact, 1);
    scene.stages(kPrepare);
    const std::vector<char> before = scene.bytes();
    scene.stages(kFloorStage);
    EXPECT_EQ(scene.bytes(), before);
}

}  // namespace
}  // namespace solver_test
