// Hands and feet come to rest on their floors and take their limbs along.
#include "tests/limbrex/solvers/floor_fixture.h"

namespace solver_test
{
namespace
{

// A float's rounding at the size of a body, through a whole limb.
constexpr double kTouch = 1e-5;

struct Case
{
    int extremity;
    Plane plane;
};

// A pose with one extremity sunk into a floor of its own.
Case sink_one(FloorScene& scene, Random& random, int type, double stiffness)
{
    scene.random_pose(random, 0.3);
    scene.floors_away();
    scene.enable_all();
    for (const ContactNames* names : {&kHandNames, &kFootNames})
    {
        scene.value(names->type, type);
        scene.value(names->stiffness, stiffness);
        scene.value(names->pivot, random.index(4));
        scene.mode(names->automatic, random.index(2));
    }
    const int extremity = random.index(4);
    const Plane plane = sunk(scene, extremity, tilted_plane(random, random.number(0, 0.25 * kPi)), random.number(0, 0.08));
    scene.floor(extremity, plane);
    return {extremity, plane};
}

// Where the end joint would have to be further from its limb's root than the limb is long, or the floor lies over the whole limb, nothing helps.
bool at_full_length(const FloorScene& scene, int extremity)
{
    const Limb& limb = limb_of(extremity);
    return distance(scene.at(limb.end), scene.at(limb.upper)) > 0.999 * scene.limb_length(kLimbOfExtremity[extremity]);
}

TEST(FloorContact, NoPointIsBelowTheFloorAfterwards)
{
    FloorScene scene;
    Random random(11);
    int full_length = 0;
    for (int type = 0; type < 5; ++type)
        for (const double stiffness : {0.0, 0.25, 0.8, 1.0})
            for (int i = 0; i < 60; ++i)
            {
                const Case one = sink_one(scene, random, type, stiffness);
                const Pose before = scene.pose();
                scene.contact();
                ASSERT_TRUE(all_finite(scene));
                EXPECT_LT(worst_bone_drift(scene, before, scene.pose()), 1e-4);
                if (at_full_length(scene, one.extremity) && scene.lowest(one.extremity, one.plane) < -kTouch)
                    ++full_length;
                else
                    EXPECT_GT(scene.lowest(one.extremity, one.plane), -kTouch) << type << " " << stiffness << " " << i;
            }
    EXPECT_LT(full_length, 24);  // of 1200
}

TEST(FloorContact, AbilityToBendOrASingleJointChangesNothingAboutThat)
{
    RigOptions bare;
    bare.toeBases = bare.fingerBases = false;
    RigOptions awkward;
    awkward.awkwardRotations = awkward.armRolls = awkward.legRolls = true;
    for (const RigOptions& options : {bare, awkward})
    {
        FloorScene scene(options);
        Random random(12);
        for (int i = 0; i < 200; ++i)
        {
            const Case one = sink_one(scene, random, random.index(2), random.number(0, 1));
            scene.contact();
            if (at_full_length(scene, one.extremity)) continue;
            EXPECT_GT(scene.lowest(one.extremity, one.plane), -kTouch) << i;
        }
    }
}

TEST(FloorContact, WhatTouchesNothingKeepsItsBits)
{
    FloorScene scene;
    Random random(13);
    for (int i = 0; i < 40; ++i)
    {
        const Case one = sink_one(scene, random, i % 4, random.number(0, 1));
        scene.mode(LBXPropertyAutomaticToes, 0);
        scene.mode(LBXPropertyAutomaticFingers, 0);
        scene.mode(LBXPropertyFingerSolving, 0);  // which come down to a floor that is near
        scene.stages(kPrepare);
        scene.floor(one.extremity, sunk(scene, one.extremity, one.plane, -1e-5));
        const std::vector<char> before = scene.bytes();
        scene.stages(kFloorStage);
        EXPECT_EQ(scene.bytes(), before) << i;

        scene.floor(one.extremity, one.plane);  // sunk again, but switched off
        scene.mask(LBXSolvingStepAllButStretch & ~static_cast<uint32_t>(LBXSolvingStepFloorContact));
        scene.stages(kFloorStage);
        EXPECT_EQ(scene.bytes(), before) << i;
        scene.mask(LBXSolvingStepAllButStretch);
        scene.enable(kLeftHand, 0);
        scene.enable(kLeftFoot, 0);
        scene.stages(kFloorStage);
        EXPECT_EQ(scene.bytes(), before) << i;
    }
}

TEST(FloorContact, OnlyTheLimbThatTouchesMoves)
{
    FloorScene scene;
    Random random(14);
    for (int i = 0; i < 40; ++i)
    {
        const Case one = sink_one(scene, random, 0, 0.5);
        scene.stages(kPrepare);
        const Pose before = scene.pose();
        scene.stages(kFloorStage);
        for (const int node : changed_nodes(scene, before, scene.pose()))
        {
            int above = node;
            while (above >= 0 && above != limb_of(one.extremity).upper) above = scene.parent(above);
            EXPECT_EQ(above, limb_of(one.extremity).upper) << "node " << node;
        }
    }
}

TEST(FloorContact, AStiffFootIsLiftedAsOnePieceByItsDepthAlongTheFloorsAxis)
{
    FloorScene scene;
    Random random(15);
    for (int i = 0; i < 60; ++i)
    {
        const Case one = sink_one(scene, random, i % 2, 1.0);
        scene.stages(kPrepare);
        const Limb& limb = limb_of(one.extremity);
        const Joint end = scene.stored(limb.end);
        const Quat tip = scene.turn(limb.extremity);
        const double depth = -scene.lowest(one.extremity, one.plane);
        scene.stages(kFloorStage);
        if (at_full_length(scene, one.extremity)) continue;
        EXPECT_NEAR(distance(scene.at(limb.end), end.t + one.plane.up() * depth), 0.0, 2e-5) << i;
        EXPECT_LT(angle_between(scene.turn(limb.end), end.q), 1e-4);
        EXPECT_LT(angle_between(scene.turn(limb.extremity), tip), 1e-4);
    }
}

TEST(FloorContact, AFloorThatIsAWallPushesSideways)
{
    FloorScene scene;
    scene.pose_by([](int node) { return node == LBXNodeLeftUpLeg || node == LBXNodeRightUpLeg ? about({1, 0, 0}, -0.6) : identity(); });
    scene.floors_away();
    scene.enable(kLeftFoot);
    scene.value(LBXPropertyParamFootContactStiffness, 1.0);
    const Plane wall = sunk(scene, kLeftFoot, {{0, 0, 0}, about({1, 0, 0}, -0.5 * kPi)}, 0.05);  // up is -z: the toes stick in it
    EXPECT_NEAR(wall.up()[2], -1.0, 1e-9);
    scene.floor(kLeftFoot, wall);
    scene.stages(kPrepare);
    const Vec3 before = scene.at(LBXNodeLeftFoot);
    scene.stages(kFloorStage);
    EXPECT_NEAR(distance(scene.at(LBXNodeLeftFoot), before + Vec3{0, 0, -0.05}), 0.0, 2e-5);
}

TEST(FloorContact, AFreeFootTurnsOntoARampWithTheAnkleInItsPlace)
{
    FloorScene scene;
    scene.pose_by(
        [](int node)
        {
            return node == LBXNodeLeftLeg ? about({1, 0, 0}, 0.4)
                                          : (node == LBXNodeLeftUpLeg ? about({1, 0, 0}, -0.2)
                                                                      : (node == LBXNodeLeftFoot ? about({1, 0, 0}, -0.2) : identity()));
        });
    scene.floors_away();
    scene.enable(kLeftFoot);
    const double slope = 15.0 * kDegree;
    for (const double roll : {0.0, 0.5, -0.7})
    {
        // Rising forwards, and under the ankle where the flat floor was.
        Plane ramp = {{0, 0, 0}, mul(about({0, 1, 0}, roll), about({1, 0, 0}, -slope))};
        ramp.t = scene.at(LBXNodeLeftFoot) - ramp.up() * 0.09;
        scene.floor(kLeftFoot, ramp);
        const std::vector<char> start = scene.bytes();
        const Vec3 ankle = scene.at(LBXNodeLeftFoot);
        scene.contact();
        const Vec3 sole_up = rotated(scene.turn(LBXNodeLeftFoot), {0, 1, 0});
        EXPECT_LT(std::acos(std::min(1.0, dot(sole_up, ramp.up()))), 1.0 * kDegree) << roll;
        EXPECT_NEAR(distance(scene.at(LBXNodeLeftFoot), ankle), 0.0, 0.004) << roll;
        for (const Vec3& point : scene.points(kLeftFoot)) EXPECT_NEAR(ramp.height(point), 0.0, 0.005) << roll;
        scene.restore(start);
    }
}

TEST(FloorContact, BetweenStiffAndFreeTheFootIsBetween)
{
    FloorScene scene;
    Random random(16);
    for (int i = 0; i < 20; ++i)
    {
        sink_one(scene, random, 1, 0.0);
        scene.stages(kPrepare);
        const std::vector<char> start = scene.bytes();
        const auto turned = [&](double stiffness)
        {
            scene.restore(start);
            scene.value(kFootNames.stiffness, stiffness);
            scene.value(kHandNames.stiffness, stiffness);
            const Pose before = scene.pose();
            scene.stages(kFloorStage);
            double turn = 0.0;
            for (const Limb& limb : kLimbs) turn += angle_between(scene.turn(limb.end), before[static_cast<size_t>(limb.end)].q);
            return turn;
        };
        const double all = turned(0.0);
        EXPECT_NEAR(turned(0.5), 0.5 * all, 0.05 * all + 1e-4) << i;
        EXPECT_NEAR(turned(1.0), 0.0, 1e-4) << i;
    }
}

TEST(FloorContact, ThePivotKeepsItsPlaceAlongTheFloor)
{
    FloorScene scene;
    Random random(17);
    int toes_slid = 0;
    for (int i = 0; i < 60; ++i)
    {
        const Case one = sink_one(scene, random, i % 2, 0.0);
        scene.stages(kPrepare);
        const Limb& limb = limb_of(one.extremity);
        const std::vector<char> start = scene.bytes();
        const auto slide = [&](int pivot, int node)
        {
            scene.restore(start);
            scene.value(names_of(one.extremity).pivot, pivot);
            const Vec3 before = scene.at(node);
            scene.stages(kFloorStage);
            const Vec3 way = scene.at(node) - before;
            return length(way - one.plane.up() * dot(way, one.plane.up()));
        };
        const double free_toe = slide(0, limb.extremity);
        if (at_full_length(scene, one.extremity)) continue;
        toes_slid += free_toe > 1e-3 ? 1 : 0;
        EXPECT_NEAR(slide(1, limb.end), 0.0, 2e-5) << i;
        const double held_toe = slide(2, limb.extremity);
        if (at_full_length(scene, one.extremity)) continue;
        EXPECT_NEAR(held_toe, 0.0, 2e-5) << i;
    }
    EXPECT_GT(toes_slid, 5);  // so that holding them is worth something
}

TEST(FloorContact, ToesGiveWayUpwardsAndAutomaticOnesComeDownToTheFloor)
{
    FloorScene scene;
    scene.floors_away();
    scene.enable(kLeftFoot);
    scene.floor(kLeftFoot, {});
    const auto toe_bend = [&](double toes, int automatic)
    {
        scene.mode(LBXPropertyAutomaticToes, automatic);
        scene.pose_by([&](int node) { return node == LBXNodeLeftToeBase ? about({1, 0, 0}, -toes) : identity(); });
        scene.contact();
        EXPECT_GT(scene.lowest(kLeftFoot, {}), -kTouch);
        EXPECT_LT(angle_between(scene.turn(LBXNodeLeftFoot), identity()), 1e-3);
        return angle_of(scene.local_turn(LBXNodeLeftToeBase));
    };
    EXPECT_LT(toe_bend(-0.3, 0), 0.05);  // bent into the floor: they come up
    EXPECT_LT(toe_bend(-0.3, 1), 0.05);
    EXPECT_NEAR(toe_bend(0.3, 0), 0.3, 1e-4);  // lifted toes stay lifted
    EXPECT_LT(toe_bend(0.3, 1), 0.05);         // unless they are to lie down
}

TEST(FloorContact, AFootWhoseHeelLiftsKeepsItsSlopeAndItsToesBendToLieFlat)
{
    FloorScene scene;
    scene.floors_away();
    scene.enable(kLeftFoot);
    for (const double heel_up : {0.1, 0.25, 0.4})
        for (const double droop : {0.0, 0.15})
        {
            scene.pose_by(
                [&](int node)
                {
                    if (node == LBXNodeLeftUpLeg) return about({1, 0, 0}, -0.4);
                    if (node == LBXNodeLeftLeg) return about({1, 0, 0}, 0.8);
                    if (node == LBXNodeLeftFoot) return about({1, 0, 0}, heel_up - 0.4);
                    return node == LBXNodeLeftToeBase ? about({1, 0, 0}, droop) : identity();
                });
            const std::vector<Vec3> before = scene.points(kLeftFoot);
            const Plane plane = {{0, before[2][1], 0}, identity()};  // under the ball
            ASSERT_LT(plane.height(before[4]), -0.007);
            scene.floor(kLeftFoot, plane);
            scene.stages(kPrepare);
            const Joint foot = scene.stored(LBXNodeLeftFoot);
            scene.stages(kFloorStage);
            EXPECT_LT(angle_between(scene.turn(LBXNodeLeftFoot), foot.q), 0.2 * kDegree) << heel_up << ' ' << droop;
            EXPECT_NEAR(distance(scene.at(LBXNodeLeftFoot), foot.t), 0.0, 1e-3) << heel_up << ' ' << droop;
            for (const size_t tip : {4u, 5u}) EXPECT_NEAR(plane.height(scene.points(kLeftFoot)[tip]), 0.0, 1e-3) << heel_up << ' ' << droop;
        }
}

TEST(FloorContact, AGoalBelowTheFloorIsReachedAsFarAsTheFloorAllows)
{
    FloorScene scene;
    scene.pose_by([](int node) { return node == LBXNodeLeftLeg ? about({1, 0, 0}, 0.5) : identity(); });
    scene.floors_away();
    scene.enable(kLeftFoot);
    const Plane step = {{0, 0.1, 0}, identity()};
    scene.floor(kLeftFoot, step);
    const Vec3 goal = {0.12, 0.14, 0.05};  // within the leg's length, with the sole in the step
    scene.goal(LBXEffectorLeftAnkle, goal, identity());
    scene.weigh(LBXEffectorLeftAnkle, {1, 1, 1, 0});
    scene.mask(LBXSolvingStepLeftLeg | LBXSolvingStepFloorContact);
    scene.solve();
    EXPECT_NEAR(distance(scene.at(LBXNodeLeftFoot), {0.12, 0.19, 0.05}), 0.0, 1e-4);
    EXPECT_GT(scene.lowest(kLeftFoot, step), -kTouch);
}

TEST(FloorContact, AFirstTouchMovesNothingAlsoOfStraightSoftOrDirectedLimbs)
{
    RigOptions straight;
    straight.straightLimbs = true;
    struct Options
    {
        RigOptions rig;
        float knee_reach, knee_resist;
        double most_deg;
    };
    for (const Options& options : {Options{straight, 0, 0, 0.5}, Options{{}, 1e-6f, 0, 0.1}, Options{{}, 0, 1, 0.1}})
    {
        FloorScene scene(options.rig);
        scene.floors_away();
        scene.enable(kLeftFoot);
        scene.value(kFootNames.stiffness, 1.0);
        scene.value(LBXPropertyLeftLegMaxExtensionAngle, options.knee_resist > 0 ? 165.0 : 180.0);
        scene.weigh(LBXEffectorLeftKnee, {options.knee_reach, 0, 0, options.knee_resist});
        scene.want(LBXEffectorLeftKnee, scene.at(LBXNodeLeftLeg) + Vec3{0.3, 0, 0}, {options.knee_reach, 0, 0, options.knee_resist});
        scene.stages(kPrepare);
        const Pose before = scene.pose();
        scene.floor(kLeftFoot, sunk(scene, kLeftFoot, {}, 1e-6));
        scene.stages(kFloorStage);
        EXPECT_LT(largest_joint_turn(scene, before, scene.pose()), options.most_deg * kDegree) << options.knee_reach << options.knee_resist;
    }
}

TEST(FloorContact, AHandOnAFloorKeepsItsFingersAboveIt)
{
    FloorScene scene;
    scene.floors_away();
    scene.enable(kLeftHand);
    for (const double curl : {0.2, 0.5, 0.9})
    {
        scene.pose_by(
            [&](int node) {
                return node >= LBX_NODE_FINGER(0, 1, 1) && node <= LBX_NODE_FINGER(0, 4, 3) ? about({0, 0, 1}, -curl) : identity();
            });
        const Plane floor = sunk(scene, kLeftHand, {}, 0.0);
        scene.floor(kLeftHand, floor);
        const auto lowest_tip = [&]
        {
            double low = 1.0;
            for (int finger = 1; finger < 5; ++finger) low = std::min(low, floor.height(scene.at(LBX_NODE_FINGER(0, finger, 3))));
            return low;
        };
        EXPECT_LT(lowest_tip(), -0.002) << curl;
        scene.contact();
        EXPECT_GT(lowest_tip(), -1e-4) << curl;
        EXPECT_LT(lowest_tip(), 0.02) << curl;
    }
}

TEST(FloorContact, NothingThatIsFiniteBreaksIt)
{
    Random random(18);
    for (int i = 0; i < 300; ++i)
    {
        RigOptions options;
        options.toeBases = random.coin();
        options.fingerBases = random.coin();
        options.hands = i % 7 != 0;
        options.toes = random.coin();
        FloorScene scene(options);
        scene.random_pose(random);
        const auto wild = [&] { return std::pow(10.0, random.number(-30, 30)) * (random.coin() ? 1.0 : -1.0); };
        const auto length_or_wild = [&] { return random.coin() ? 0.0 : (random.coin() ? random.number(0, 0.3) : wild()); };
        for (int extremity = 0; extremity < 4; ++extremity)
        {
            scene.sizes(extremity,
                        {length_or_wild(), length_or_wild(), length_or_wild(), length_or_wild(), length_or_wild(), length_or_wild()});
            Plane plane = tilted_plane(random, random.number(0, 3));
            plane.q = scaled(plane.q, random.coin() ? wild() : random.number(0, 2));
            if (random.index(4) == 0) plane.q = {0, 0, 0, 0};
            plane.t = random.coin() ? random.vector(1.0) : Vec3{wild(), wild(), wild()};
            scene.floor(extremity, plane);
            const ContactNames& names = names_of(extremity);
            scene.value(names.type, random.coin() ? random.index(6) - 1 : wild());
            scene.value(names.stiffness, random.number(0, 1));
            scene.value(names.pivot, random.coin() ? random.index(4) : wild());
            scene.value(names.fingerMode, random.coin() ? random.index(4) : wild());
            scene.mode(names.automatic, random.index(2));
            scene.mode(names.fingerContact, random.index(2));
            scene.enable(extremity);
        }
        scene.contact_behaviour(2.0f);
        for (int effector = 0; effector < 44; ++effector)
            scene.weigh(effector, {static_cast<float>(random.number(0, 1)), static_cast<float>(random.number(0, 1)), 0.5f, 0.5f});
        scene.solve();
        ASSERT_TRUE(all_finite(scene)) << i;
    }
}

}  // namespace
}  // namespace solver_test
