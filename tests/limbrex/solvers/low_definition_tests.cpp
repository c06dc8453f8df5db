// The low-definition solve against a slow one, and what it promises.

#include <gtest/gtest.h>

#include "tests/limbrex/solvers/slow_body.h"

namespace
{

using namespace solver_test;

void slow_pull_hips(SlowPose& pose)
{
    const LBXEffectorSet* set = pose.scene.set.get();
    const auto reach = [&](int e) { return static_cast<double>(LBXGetEffectorReachT(set, e)); };
    const auto pull = [&](int e) { return reach(e) * LBXGetEffectorPull(set, e); };
    const double a = pull(LBXEffectorHips);
    const double wl = (1 - a) * pull(LBXEffectorLeftAnkle), wr = (1 - a) * pull(LBXEffectorRightAnkle);
    const double wh = a + (1 - wl) * (1 - wr) * (reach(LBXEffectorHips) - a);
    const double full_left = distance(pose.at(LBXNodeLeftFoot).t, pose.at(LBXNodeLeftUpLeg).t);
    const double full_right = distance(pose.at(LBXNodeRightFoot).t, pose.at(LBXNodeRightUpLeg).t);
    const auto excess = [&](int effector, int up_leg, double full)
    {
        const Vec3 d = pose.scene.goal(effector).t - pose.at(up_leg).t;
        return length(d) > full ? unit(d) * (length(d) - full) : Vec3{0, 0, 0};
    };
    const int count = static_cast<int>(std::lround(pose.value(LBXPropertyPullIterationCount)));
    for (int i = 0; i < count; ++i)
    {
        const Joint hips = pose.at(LBXNodeHips);
        const Vec3 h = pose.scene.goal(LBXEffectorHips).t - rotated(hips.q, pose.hips_offset()) - pose.hip_midpoint();
        const Vec3 step = excess(LBXEffectorLeftAnkle, LBXNodeLeftUpLeg, full_left) * wl +
                          excess(LBXEffectorRightAnkle, LBXNodeRightUpLeg, full_right) * wr + h * wh;
        pose.place(LBXNodeHips, {hips.t + step * (1 / std::max(1.0, wh + wl + wr)), hips.q});
    }
}

void slow_light_limb(SlowPose& pose, int limb)
{
    const Limb& l = kLimbs[limb];
    const BodyGoal goal = slow_goal(pose.scene, l.endEffector);
    if (goal.reachT > 0)
    {
        const Vec3 u = pose.at(l.upper).t, t = lerp(pose.at(l.end).t, goal.t, goal.reachT) - u;
        pose.turn_by(l.upper, shortest_arc(pose.at(l.end).t - u, t));
        const Vec3 upper = pose.at(l.middle).t - u, lower = pose.at(l.end).t - pose.at(l.middle).t;
        const double a = length(upper), b = length(lower), d = std::min(length(t), a + b);
        const double interior = kPi - std::acos(std::min(1.0, std::max(-1.0, dot(upper, lower) / a / b)));
        const double wanted = std::acos(std::min(1.0, std::max(-1.0, (a * a + b * b - d * d) / (2 * a * b))));
        const Vec3 normal = cross(upper, lower);
        const Vec3 axis =
            length(normal) > 1e-6 * a * b ? normal : rotated(pose.at(pose.scene.parent(l.middle)).q, pose.scene.bend_axis_local(limb));
        pose.turn_by(l.middle, about(axis, interior - wanted));
        pose.turn_by(l.upper, shortest_arc(pose.at(l.end).t - u, t));
    }
    if (goal.reachR > 0) pose.turn_to(l.end, blend(pose.at(l.end).q, goal.q, goal.reachR));
}

void slow_solve(SlowPose& pose)
{
    const BodyGoals body = slow_goals(pose.scene);
    slow_place_hips(pose, body.hips);
    slow_pull_hips(pose);
    slow_turn_chest(pose, body.end, body.origin.resist);
    slow_reach_chest(pose, body.end, body.origin.resist, 0, 1);
    for (const int limb : {2, 3, 0, 1}) slow_light_limb(pose, limb);
    const BodyGoal head = slow_goal(pose.scene, LBXEffectorHead);
    if (head.reachR > 0) pose.turn_to(LBXNodeHead, blend(pose.at(LBXNodeHead).q, head.q, head.reachR));
}

}  // namespace

TEST(LowDefinition, FollowsTheFormulasStepByStep)
{
    Random random(50);
    for (int i = 0; i < 150; ++i)
    {
        RigOptions options = rig_with(1 + i % 4, i % 3, i % 5 != 0);
        options.armRolls = options.legRolls = i % 6 == 0;
        Scene scene(options);
        scene.random_pose(random, 0.3);
        scene.value(LBXPropertyPullIterationCount, i % 7);
        const auto weight = [&random] { return static_cast<float>(random.number(0, 1)); };
        for (const int effector : {LBXEffectorHips, LBXEffectorChestEnd, LBXEffectorHead, LBXEffectorLeftAnkle, LBXEffectorRightAnkle,
                                   LBXEffectorLeftWrist, LBXEffectorRightWrist})
        {
            const Joint now = scene.goal(effector);
            scene.goal(effector, now.t + random.vector(0.25), mul(about(random.direction(), random.number(0, 0.7)), now.q));
            if (random.index(4) != 0) scene.weigh(effector, {weight(), weight(), weight(), weight()});
        }
        scene.weigh(LBXEffectorChestOrigin, {0, 0, 0, weight()});
        SlowPose slow(scene);
        slow_solve(slow);
        scene.solve_low();
        const Distance apart = distance_between(slow, scene);
        EXPECT_LT(apart.place, 2e-3) << i;
        EXPECT_LT(apart.turn, 5e-3) << i;
    }
}

TEST(LowDefinition, LiftedHipsPullNoLegThatStillReaches)
{
    // The leg's length is that of the pose with the hips in place: raised hips carry the feet, which then reach down to their goals.
    Scene scene;
    scene.value(LBXPropertyPullIterationCount, 30);
    const Vec3 lift = {0, 0.15, 0};
    scene.want(LBXEffectorHips, scene.goal(LBXEffectorHips).t + lift, {0.5f, 0, 0, 0});
    for (const int ankle : {LBXEffectorLeftAnkle, LBXEffectorRightAnkle}) scene.weigh(ankle, {1, 0, 1, 0});
    const double ground = scene.at(LBXNodeLeftFoot)[1], hips = scene.at(LBXNodeHips)[1];
    scene.solve_low();
    EXPECT_LT(scene.at(LBXNodeHips)[1], hips + 0.01);
    EXPECT_NEAR(scene.at(LBXNodeLeftFoot)[1], ground, 0.01);
}

TEST(LowDefinition, ReachesFromAwkwardPosesAndStraightLimbs)
{
    Random random(51);
    for (int i = 0; i < 120; ++i)
    {
        RigOptions options;
        options.straightLimbs = i % 2 == 0;
        options.leafRolls = i % 3 == 0 ? 2 : 0;
        Scene scene(options);
        if (i % 4) scene.random_pose(random);
        Vec3 targets[4];
        for (int limb = 0; limb < 4; ++limb)
        {
            targets[limb] = scene.reachable(random, limb);
            scene.want(kLimbs[limb].endEffector, targets[limb], {1, 0, 0, 0});
        }
        const Pose before = scene.pose();
        scene.solve_low();
        for (int limb = 0; limb < 4; ++limb)
        {
            EXPECT_LT(distance(scene.at(kLimbs[limb].end), targets[limb]), 1e-3 * scene.limb_length(limb));
            if (options.straightLimbs && i % 4 == 0)
            {
                EXPECT_GT(scene.bend(limb), 0);  // a straight limb bends about its own axis
            }
        }
        EXPECT_LT(worst_bone_drift(scene, before, scene.pose()), 1e-5);
    }
}

TEST(LowDefinition, BitsSwitchTheirStepsAndTheHipsGoAnyway)
{
    Scene scene;
    Random random(52);
    scene.random_pose(random);
    const Vec3 hips = scene.goal(LBXEffectorHips).t + Vec3{0.1, 0, 0.2};
    scene.want(LBXEffectorHips, hips, {1, 0, 0, 0});
    scene.want(LBXEffectorLeftWrist, {0, 0, 0}, {1, 1, 0, 0});
    scene.want(LBXEffectorChestEnd, {0, 0, 0}, {1, 1, 0, 0});
    scene.goal(LBXEffectorHead, {0, 0, 0}, random.rotation());
    scene.weigh(LBXEffectorHead, {1, 1, 0, 0});
    scene.mask(0);
    const Pose before = scene.pose();
    scene.solve_low();
    EXPECT_LT(distance((scene.at(LBXNodeLeftUpLeg) + scene.at(LBXNodeRightUpLeg)) * 0.5, hips), 1e-5);
    const Vec3 travel = scene.at(LBXNodeHips) - before[LBXNodeHips].t;
    for (const int node : scene.rig.nodes)
    {
        if (node == LBXNodeReference) continue;
        EXPECT_LT(distance(scene.at(node), before[static_cast<size_t>(node)].t + travel), 1e-5);
    }
}
