// Arms and legs: their goals are met, bones keep their length, joints bend their own way, and nothing jumps.

#include <gtest/gtest.h>

#include "tests/limbrex/solvers/solver_fixture.h"

namespace
{

using namespace solver_test;

constexpr Weights kReach = {1, 0, 0, 0};
constexpr Weights kReachAndTurn = {1, 1, 0, 0};

// Rigs as they come: bent and straight in the stance, turned nodes, twist joints in line and beside, another unit of length.
std::vector<RigOptions> limb_rigs()
{
    std::vector<RigOptions> rigs(6);
    rigs[1].straightLimbs = true;
    rigs[2].awkwardRotations = rigs[2].armRolls = rigs[2].legRolls = true;
    rigs[3].leafRolls = 5;
    rigs[3].toes = true;
    rigs[4].scale = 100;
    rigs[4].fingerBases = rigs[4].toeBases = false;
    rigs[5].shoulders = false;
    rigs[5].parentOffsets = true;
    return rigs;
}

// Hinge limits: knee and elbow between straight and folded, no twist, no sideways bend.
RigOptions hinged()
{
    RigOptions options;
    options.limitedNodes = {LBXNodeLeftLeg, LBXNodeRightLeg,   LBXNodeLeftForeArm, LBXNodeRightForeArm,
                            LBXNodeLeftArm, LBXNodeRightUpLeg, LBXNodeSpine1,      LBXNodeNeck};
    options.beforeCharacterize = [nodes = options.limitedNodes](LBXCharacter* character)
    {
        for (const int node : nodes)
        {
            const float minimum[3] = {-0.7f, -0.6f, -0.8f}, maximum[3] = {0.7f, 0.8f, 0.6f};
            LBXSetNodeLimitsfv(character, node, minimum, maximum, nullptr, nullptr, 0x3F);
        }
    };
    return options;
}

}  // namespace

TEST(Limb, EndsReachEveryReachableGoalWithWholeBonesBentTheirOwnWay)
{
    Random random(20);
    for (const RigOptions& options : limb_rigs())
        for (int i = 0; i < 60; ++i)
        {
            Scene scene(options);
            scene.random_pose(random);
            scene.mask(kAllLimbs);
            Vec3 targets[4];
            for (int limb = 0; limb < 4; ++limb)
            {
                targets[limb] = scene.reachable(random, limb);
                scene.goal(kLimbs[limb].endEffector, targets[limb], random.rotation());
                scene.weigh(kLimbs[limb].endEffector, i % 2 ? kReach : kReachAndTurn);
            }
            const Pose before = scene.pose();
            scene.solve();
            for (int limb = 0; limb < 4; ++limb)
            {
                EXPECT_LT(distance(scene.at(kLimbs[limb].end), targets[limb]), 1e-4 * scene.limb_length(limb));
                EXPECT_GT(scene.bend(limb), -1e-3);
                if (i % 2 == 0) { EXPECT_LT(angle_between(scene.turn(kLimbs[limb].end), scene.goal(kLimbs[limb].endEffector).q), 1e-3); }
            }
            EXPECT_LT(worst_bone_drift(scene, before, scene.pose()), 1e-5);
        }
}

TEST(Limb, ExtremitiesReachTheirGoalsWithTheEndOrientedOrNot)
{
    Random random(21);
    for (int i = 0; i < 200; ++i)
    {
        Scene scene;
        scene.random_pose(random);
        scene.mask(kAllLimbs);
        const int limb = i % 4;
        const Limb& l = kLimbs[limb];
        const double tail = distance(scene.at(l.extremity), scene.at(l.end));
        const Vec3 from = scene.at(l.upper), now = scene.at(l.extremity) - from;
        const Vec3 target = from + rotated(about(random.direction(), random.number(0, 1)), unit(now)) *
                                       ((scene.limb_length(limb) - tail) * random.number(0.6, 0.95));
        scene.want(l.tipEffector, target, kReach);
        const bool turned = i % 8 >= 4;
        if (turned)
        {
            scene.goal(l.endEffector, {0, 0, 0}, mul(about(random.direction(), 0.6), scene.turn(l.end)));
            scene.weigh(l.endEffector, {0, 1, 0, 0});
        }
        const Pose before = scene.pose();
        scene.solve();
        EXPECT_LT(distance(scene.at(l.extremity), target), 1e-3 * scene.limb_length(limb)) << limb << turned;
        EXPECT_LT(worst_bone_drift(scene, before, scene.pose()), 1e-5);
        EXPECT_GT(scene.bend(limb), -1e-3);
    }
}

TEST(Limb, MiddleJointsStandOnTheirGoalsWhenTheyPull)
{
    Random random(22);
    for (int i = 0; i < 120; ++i)
    {
        Scene scene;
        scene.random_pose(random);
        scene.mask(kAllLimbs);
        const int limb = i % 4;
        const Limb& l = kLimbs[limb];
        const Vec3 now = scene.at(l.middle) - scene.at(l.upper);
        const Vec3 target = scene.at(l.upper) + rotated(about(random.direction(), random.number(0, 1.2)), now);
        scene.want(l.middleEffector, target, {1, 0, 1, 0});
        scene.solve();
        EXPECT_LT(distance(scene.at(l.middle), target), 1e-4 * length(now));
        EXPECT_GT(scene.bend(limb), -1e-3);
    }
}

TEST(Limb, ElbowsPointAtTheirEffectorWhileTheHandStaysOnItsGoal)
{
    Random random(23);
    for (int i = 0; i < 100; ++i)
    {
        Scene scene;
        scene.random_pose(random);
        scene.mask(kAllLimbs);
        const int limb = i % 4;
        const Limb& l = kLimbs[limb];
        const Vec3 target = scene.reachable(random, limb, 0.5, 0.85);
        const Vec3 side = scene.at(l.middle) + random.vector(0.4);
        scene.want(l.endEffector, target, {1, 0, 1, 0});  // pulling: the end takes the whole limb
        scene.want(l.middleEffector, side, kReach);
        scene.solve();
        EXPECT_LT(distance(scene.at(l.end), target), 1e-4 * scene.limb_length(limb));
        // The joint lies in the half plane through the goal of the middle effector.
        const Vec3 line = unit(target - scene.at(l.upper));
        const auto off_line = [&](const Vec3& p)
        {
            const Vec3 v = p - scene.at(l.upper);
            return v - line * dot(v, line);
        };
        if (length(off_line(side)) < 0.05 || length(off_line(scene.at(l.middle))) < 0.1) continue;
        const double facing = dot(unit(off_line(side)), unit(off_line(scene.at(l.middle))));
        EXPECT_TRUE(facing > std::cos(0.02) || facing < -0.99999) << facing;  // a goal right behind the joint has no nearer side
    }
}

TEST(Limb, AStraightArmDoesNotSpinAboutItselfWhenItsElbowReaches)
{
    Random random(31);
    for (int i = 0; i < 20; ++i)
    {
        Scene scene;
        scene.random_pose(random, 0.3);
        scene.mask(LBXSolvingStepLeftArm);
        const auto start = scene.bytes();
        const Vec3 upper = scene.at(LBXNodeLeftArm);
        const Vec3 away = scene.at(LBXNodeLeftForeArm) - upper;
        const Vec3 step = random.direction() * 1e-6;
        for (double reach = 0.9; reach < 1.8; reach += 0.1)  // beyond 1.6 the carried end straightens the arm
        {
            Pose before;
            for (int k = 0; k < 5; ++k)
            {
                scene.restore(start);
                scene.want(LBXEffectorLeftElbow, upper + away * reach + step * k, {1, 0, 0, 0});
                scene.solve();
                if (k > 0) { EXPECT_LT(largest_joint_turn(scene, before, scene.pose()), 1.0 * kDegree) << reach; }
                before = scene.pose();
            }
        }
    }
}

TEST(Limb, OnlyTheOrientationTurnsWhenNothingReachesForAPlace)
{
    Random random(24);
    for (int limb = 0; limb < 4; ++limb)
    {
        Scene scene;
        scene.random_pose(random);
        scene.mask(kAllLimbs);
        const Limb& l = kLimbs[limb];
        const Quat wanted = random.rotation();
        scene.goal(l.endEffector, {5, 5, 5}, wanted);
        scene.weigh(l.endEffector, {0, 1, 0, 0});
        const Pose before = scene.pose();
        scene.solve();
        EXPECT_LT(angle_between(scene.turn(l.end), wanted), 1e-4);
        for (const int node : {l.upper, l.middle, l.end}) EXPECT_EQ(scene.at(node), before[static_cast<size_t>(node)].t);
        EXPECT_LT(largest_move(scene, before, scene.pose()), 0.35);  // what hangs on the end goes with it, nothing else
    }
}

TEST(Limb, GoalsOutOfReachStraightenTheLimbTowardThem)
{
    Random random(25);
    for (const RigOptions& options : limb_rigs())
        for (int i = 0; i < 40; ++i)
        {
            Scene scene(options);
            scene.random_pose(random);
            scene.mask(kAllLimbs);
            const int limb = i % 4;
            const Limb& l = kLimbs[limb];
            const Vec3 now = unit(scene.at(l.end) - scene.at(l.upper));
            const Vec3 direction = rotated(about(random.direction(), random.number(0, 1.4)), now);
            const double full = scene.limb_length(limb);
            scene.want(l.endEffector, scene.at(l.upper) + direction * (full * random.number(1.05, 3)), kReach);
            scene.solve();
            EXPECT_LT(distance(scene.at(l.end), scene.at(l.upper) + direction * full), 1e-3 * full);
        }
}

TEST(Limb, AStraightLegWhoseToesAloneHaveAGoalBeginsToBendWithoutAJump)
{
    RigOptions options;
    options.straightLimbs = true;
    for (const double way : {1.0, -1.0})  // nearer, and out of reach
        for (double travel = 1e-6; travel < 0.05; travel *= 2.0)
        {
            Scene scene(options);
            scene.mask(LBXSolvingStepLeftLeg);
            const Vec3 target = scene.at(LBXNodeLeftToeBase) + Vec3{0, way * travel, 0};
            scene.goal(LBXEffectorLeftFoot, target);
            scene.weigh(LBXEffectorLeftFoot, kReach);
            scene.solve();
            // The law of cosines: the bend grows as the root of the travel. Away from the hip the foot points its toes.
            EXPECT_LT(scene.bend(0), way > 0.0 ? 4.0 * std::sqrt(travel) : 3e-3) << travel;
            EXPECT_GT(scene.bend(0), -1e-3);
            EXPECT_LT(std::fabs(scene.at(LBXNodeLeftFoot)[1] - scene.stance(LBXNodeLeftFoot)[1]), 2.0 * travel + 1e-5);
            EXPECT_LT(distance(scene.at(LBXNodeLeftToeBase), target), 1e-4);
        }
}

TEST(Limb, MaximumExtensionAngleKeepsAKneeFromStraightening)
{
    for (int limb = 0; limb < 4; ++limb)
    {
        Scene scene;
        Random random(26);
        scene.random_pose(random);
        scene.mask(kAllLimbs);
        scene.value(LBXPropertyLeftLegMaxExtensionAngle + limb, 150);
        scene.value(LBXPropertyCtrlResistMaximumExtensionLeftKnee + limb, 1);
        const Limb& l = kLimbs[limb];
        scene.want(l.endEffector, scene.at(l.upper) + unit(scene.at(l.end) - scene.at(l.upper)) * (2 * scene.limb_length(limb)), kReach);
        scene.weigh(l.middleEffector, {0, 0, 0, 1});
        scene.solve();
        EXPECT_GT(scene.bend(limb), 25 * kDegree) << limb;
    }
}

TEST(Limb, ASweepThroughTheStraightLimbAndOutOfReachNeverJumps)
{
    for (const RigOptions& options : limb_rigs())
        for (const Weights& weights : {kReach, Weights{1, 0, 1, 0}, Weights{0.5f, 0, 0, 0}})
            for (int limb = 0; limb < 4; ++limb)
            {
                Scene scene(options);
                Random random(27);
                scene.random_pose(random, 0.2);
                scene.mask(kAllLimbs);
                const auto start = scene.bytes();
                const Limb& l = kLimbs[limb];
                const double full = scene.limb_length(limb);
                const Vec3 upper = scene.at(l.upper), now = unit(scene.at(l.end) - upper);
                const Vec3 across = unit(cross(now, scene.bend_axis(limb)));
                Pose before;
                double worst = 0;
                for (int step = 0; step <= 800; ++step)
                {
                    const double s = step / 800.0;  // in from beyond, past the shoulder's side, out again
                    const Vec3 goal =
                        upper + (now * std::cos(2.0 * s) + across * std::sin(2.0 * s)) * (full * (1.2 - 0.9 * std::sin(kPi * s)));
                    scene.restore(start);
                    scene.want(l.endEffector, goal, weights);
                    scene.solve();
                    const Pose pose = scene.pose();
                    if (step > 0) worst = std::max(worst, largest_joint_turn(scene, before, pose));
                    before = pose;
                }
                // Near the straight limb the joint turns by the root of eight times the part of its length that the goal has come nearer.
                EXPECT_LT(worst, 1.05 * std::sqrt(8 * 0.9 * kPi / 800))
                    << "limb " << limb << " reach " << weights.reachT << " seed " << options.seed;
            }
}

TEST(Limb, JointLimitsHoldThroughEverything)
{
    Random random(28);
    Scene scene(hinged());
    for (int i = 0; i < 150; ++i)
    {
        scene.random_pose(random, 0.5);
        for (int limb = 0; limb < 4; ++limb)
        {
            scene.want(kLimbs[limb].endEffector, scene.at(kLimbs[limb].end) + random.vector(0.5), {1, 0, random.coin() ? 1.0f : 0.0f, 0});
            const Weights middle = {i % 3 == 0 ? 0.5f : 0.0f, 0.5f, 0, 0}, tip = {i % 3 == 1 ? 0.7f : 0.0f, 0, 0, 0};
            scene.want(kLimbs[limb].middleEffector, scene.at(kLimbs[limb].middle) + random.vector(0.2), middle);
            scene.want(kLimbs[limb].tipEffector, scene.at(kLimbs[limb].extremity) + random.vector(0.3), tip);
        }
        scene.want(LBXEffectorHead, scene.at(LBXNodeHead) + random.vector(0.2), {1, 0.5f, 0.3f, 0});
        scene.value(LBXPropertyShoulderCorrection, 0.5);
        scene.solve();
        for (const int node : hinged().limitedNodes)
        {
            float q[4], angles[4];
            const Quat local = scene.local_turn(node);
            for (size_t k = 0; k < 4; ++k) q[k] = static_cast<float>(local[k]);
            LBXDebugAnglesFromRotation(scene.character(), node, q, angles);
            const double low[3] = {-0.7, -0.6, -0.8}, high[3] = {0.7, 0.8, 0.6};
            // Blends of two passes are not held again, so only a single reach counts for the limbs' own joints.
            const bool blended = i % 3 != 2 && node != LBXNodeSpine1 && node != LBXNodeNeck;
            for (int axis = 0; axis < 3 && !blended; ++axis)
            {
                EXPECT_GT(angles[axis], low[axis] - 0.1 * kDegree) << LBXGetNodeNameFromId(node) << axis;
                EXPECT_LT(angles[axis], high[axis] + 0.1 * kDegree) << LBXGetNodeNameFromId(node) << axis;
            }
        }
    }
}

TEST(Limb, StretchGrowsWithTheReachRatioBetweenItsStartAndStop)
{
    for (int limb = 0; limb < 4; ++limb)
        for (const double ratio : {0.7, 0.95, 1.05, 2.0})
            for (const bool on : {true, false})
            {
                Scene scene;
                Random random(29);
                scene.random_pose(random, 0.1);
                scene.mask(LBXSolvingStepLeftArmStretch | LBXSolvingStepRightArmStretch | LBXSolvingStepLeftLegStretch |
                           LBXSolvingStepRightLegStretch);
                constexpr int kReachOfLimb[] = {LBXPropertySnSReachLeftAnkle, LBXPropertySnSReachRightAnkle, LBXPropertySnSReachLeftWrist,
                                                LBXPropertySnSReachRightWrist};
                scene.value(kReachOfLimb[limb], 1);
                if (!on) scene.value(LBXPropertyStretchStopArmsAndLegs, 1.0);
                if (!on) scene.value(LBXPropertyStretchStartArmsAndLegs, 1.0);
                const Limb& l = kLimbs[limb];
                const double before = scene.limb_length(limb);
                scene.want(l.endEffector, scene.at(l.upper) + unit(scene.at(l.end) - scene.at(l.upper)) * (before * ratio), kReach);
                scene.solve();
                const double held = std::min(ratio, 1.1);  // start 0.9, stop 1.1, at most a tenth longer
                const double expected = on && held > 0.9 ? 1 + (held - 0.9) / 0.2 * 0.1 : 1.0;
                EXPECT_NEAR(scene.limb_length(limb) / before, expected, 1e-4) << limb << ' ' << ratio << on;
            }
}

TEST(Limb, InvertedKneesBendTheOtherWay)
{
    Random random(30);
    for (int limb = 0; limb < 4; ++limb)
    {
        Scene scene;
        LBXSetLimbInverted(scene.rig.character, limb, true);
        for (int i = 0; i < 20; ++i)
        {
            scene.random_pose(random, 0.2);
            scene.mask(kAllLimbs);
            const Vec3 target = scene.reachable(random, limb, 0.5, 0.9);
            scene.want(kLimbs[limb].endEffector, target, kReach);
            scene.solve();
            EXPECT_GT(scene.bend(limb), 0.1);
            EXPECT_LT(distance(scene.at(kLimbs[limb].end), target), 1e-4);
        }
    }
}

TEST(Limb, RealisticModesAreContinuousInTheirWeightAndKeepTheGoal)
{
    Random random(31);
    for (int i = 0; i < 12; ++i)
    {
        Scene scene;
        scene.random_pose(random);
        scene.mask(kAllLimbs);
        const auto start = scene.bytes();
        const int limb = i % 2;
        const Vec3 target = scene.reachable(random, limb, 0.5, 0.9);
        scene.goal(kLimbs[limb].endEffector, target, mul(about(random.direction(), 0.8), scene.turn(kLimbs[limb].end)));
        scene.weigh(kLimbs[limb].endEffector, kReachAndTurn);
        Pose before;
        for (int step = 0; step <= 100; ++step)
        {
            scene.restore(start);
            scene.value(LBXPropertyRealisticLeftKneeSolving + limb, step / 100.0);
            scene.solve();
            EXPECT_LT(distance(scene.at(kLimbs[limb].end), target), 2e-4);
            EXPECT_LT(angle_between(scene.turn(kLimbs[limb].end), scene.goal(kLimbs[limb].endEffector).q), 1e-3);
            if (step > 0) { EXPECT_LT(largest_joint_turn(scene, before, scene.pose()), 3 * kDegree); }
            before = scene.pose();
        }
        // Kill pitch takes the whole twist away again.
        scene.restore(start);
        LBXPropertySetMode(scene.properties.get(), limb == 0 ? LBXPropertyLeftKneeKillPitch : LBXPropertyRightKneeKillPitch, 1);
        scene.solve();
        const Pose killed = scene.pose();
        scene.restore(start);
        scene.value(LBXPropertyRealisticLeftKneeSolving + limb, 0);
        scene.solve();
        EXPECT_LT(largest_joint_turn(scene, killed, scene.pose()), 0.01 * kDegree);
    }
}
