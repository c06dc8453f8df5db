// Neck and head.

#include <gtest/gtest.h>

#include "tests/limbrex/solvers/slow_body.h"

namespace
{

using namespace solver_test;

int neck_node(int k) { return k == 0 ? LBXNodeNeck : LBXNodeNeck1 + k - 1; }

}  // namespace

TEST(Head, TheNeckTakesItsShareOfTheHeadsTurnByItsStiffness)
{
    for (const int nodes : {1, 2, 4, 10})
        for (const double stiffness : {0.0, 0.5, 1.0})
        {
            Scene scene(rig_with(2, nodes));
            scene.value(LBXPropertyParamCtrlNeckStiffness, stiffness);
            scene.mask(LBXSolvingStepHead);
            const Vec3 axis = double_math::unit(Vec3{0.2, 0.9, 0.3});
            const double angle = 1.1;
            scene.goal(LBXEffectorHead, scene.at(LBXNodeHead), about(axis, angle));
            scene.weigh(LBXEffectorHead, {0, 1, 0, 0});
            scene.solve();
            const double step = angle * std::pow(1 - stiffness, 4) / (nodes + 1);
            for (int k = 0; k < nodes; ++k)
                EXPECT_LT(angle_between(scene.turn(neck_node(k)), about(axis, step * (k + 1))), 3e-4)
                    << nodes << ' ' << stiffness << ' ' << k;
            EXPECT_LT(angle_between(scene.turn(LBXNodeHead), about(axis, angle)), 1e-5);
        }
}

TEST(Head, ReachesAGoalThatItsNeckBridgesAndKeepsItsBones)
{
    Random random(40);
    double total = 0;
    for (int i = 0; i < 200; ++i)
    {
        Scene scene(rig_with(3, 2 + i % 4));
        scene.random_pose(random, 0.3);
        scene.mask(LBXSolvingStepHead);
        const Vec3 base = scene.at(LBXNodeNeck), now = scene.at(LBXNodeHead) - base;
        const Vec3 target = base + rotated(about(random.direction(), random.number(0, 0.6)), now) * random.number(0.9, 0.99);
        scene.want(LBXEffectorHead, target, {1, 0, 0, 0});
        const Pose before = scene.pose();
        scene.solve();
        // A nearly straight neck closes in slowly: the last of its twenty passes leaves a little, seldom more than a hundredth.
        const double left = distance(scene.at(LBXNodeHead), target) / length(now);
        EXPECT_LT(left, 0.1);
        total += left;
        EXPECT_LT(worst_bone_drift(scene, before, scene.pose()), 1e-5);
        EXPECT_EQ(scene.at(LBXNodeNeck), before[LBXNodeNeck].t);
    }
    EXPECT_LT(total / 200, 0.01);
}

TEST(Head, StretchRecordsLetTheNeckGrowOnlyWhenAsked)
{
    RigOptions options = rig_with(2, 2);
    options.limitedNodes = {LBXNodeNeck1};
    options.beforeCharacterize = [](LBXCharacter* character) { LBXSetNodeTranslationLimit(character, LBXNodeNeck1, 0.5f, 2.0f, false); };
    for (const bool stretch : {false, true})
    {
        Scene scene(options);
        scene.value(LBXPropertySnSReachHead, stretch ? 1 : 0);
        scene.mask(LBXSolvingStepHead);
        const Vec3 base = scene.at(LBXNodeNeck), now = scene.at(LBXNodeHead) - base;
        scene.want(LBXEffectorHead, base + now * 1.3, {1, 0, 0, 0});
        scene.solve();
        EXPECT_EQ(distance(scene.at(LBXNodeHead), base) > 1.2 * length(now), stretch);
    }
}

TEST(Head, WithoutANeckOnlyTheHeadItselfTurns)
{
    Scene scene(rig_with(2, 0));
    const Quat wanted = about({0, 1, 0}, 0.8);
    scene.goal(LBXEffectorHead, {1, 2, 3}, wanted);
    scene.weigh(LBXEffectorHead, {1, 1, 0, 0});
    scene.mask(LBXSolvingStepHead);
    const Pose before = scene.pose();
    scene.solve();
    EXPECT_LT(angle_between(scene.turn(LBXNodeHead), wanted), 1e-5);
    EXPECT_EQ(changed_nodes(scene, before, scene.pose()), std::set<int>{LBXNodeHead});
}

TEST(Head, ASlowGoalNeverMakesTheNeckJump)
{
    for (const double away : {0.2, 0.6})
    {
        Scene scene(rig_with(3, 3));
        const auto start = scene.bytes();
        const Vec3 head = scene.at(LBXNodeHead);
        scene.mask(LBXSolvingStepHead);
        Pose before;
        for (int step = 0; step <= 500; ++step)
        {
            scene.restore(start);
            const double a = step * 0.01;
            scene.want(LBXEffectorHead, head + Vec3{away * std::cos(a), 0.3 * away * std::sin(3 * a) - 0.05, away * std::sin(a)},
                       {1, 0, 0, 0});
            scene.solve();
            if (step > 0) { EXPECT_LT(largest_joint_turn(scene, before, scene.pose()), 8 * kDegree) << away << ' ' << step; }
            before = scene.pose();
        }
    }
}

TEST(Head, ALimitedNeckFollowsAGoalWithoutJumps)
{
    Random random(21);
    for (int i = 0; i < 40; ++i)
    {
        RigOptions options = rig_with(3, 2 + random.index(4));
        for (const int node : {LBXNodeNeck, LBXNodeNeck1}) options.limitedNodes.push_back(node);
        options.beforeCharacterize = [&random](LBXCharacter* character)
        {
            for (const int node : {LBXNodeNeck, LBXNodeNeck1})
            {
                const float w = 0.3f + static_cast<float>(random.number(0, 0.6));
                const float minimum[3] = {-w, -w, -w}, maximum[3] = {w, w, w};
                LBXSetNodeLimitsfv(character, node, minimum, maximum, nullptr, nullptr, 0x3F);
            }
        };
        Scene scene(options);
        scene.random_pose(random, 0.3);
        scene.mask(LBXSolvingStepHead);
        const auto start = scene.bytes();
        const Vec3 goal = scene.at(LBXNodeHead) + random.vector(0.08);
        const Vec3 way = random.direction();
        Pose before;
        for (int step = 0; step < 100; ++step)
        {
            scene.restore(start);
            scene.want(LBXEffectorHead, goal + way * (1e-5 * step), {1, 0, 0, 0});
            scene.solve();
            if (step > 0) { EXPECT_LT(largest_joint_turn(scene, before, scene.pose()), 1.0 * kDegree) << i << ' ' << step; }
            before = scene.pose();
        }
    }
}
