// Hips, spine and chest placed once, without the pull of the limbs.

#include <gtest/gtest.h>

#include "tests/limbrex/solvers/slow_body.h"

namespace
{

using namespace solver_test;

constexpr uint32_t kSpineOnly = LBXSolvingStepSpine;

const std::vector<RigOptions> kBodies = {rig_with(1, 1), rig_with(2, 0),   rig_with(3, 2),
                                         rig_with(5, 3), rig_with(10, 10), rig_with(4, 1, false)};

}  // namespace

TEST(BodyPlacement, FollowsTheFormulasStepByStep)
{
    Random random(10);
    double worst_place = 0, worst_turn = 0;
    for (const RigOptions& options : kBodies)
        for (int i = 0; i < 40; ++i)
        {
            Scene scene(options);
            scene.random_pose(random, 0.3);
            for (int k = 0; k < 6; ++k)
                scene.value((k < 3 ? LBXPropertyHipsTOffsetX : LBXPropertyChestTOffsetX - 3) + k, i % 2 ? random.number(-0.05, 0.05) : 0);
            if (i % 4 == 3)
            {
                scene.value(LBXPropertySnSReachChestEnd, random.number(0, 1));
                scene.value(LBXPropertySnSScaleSpineChildren, random.number(0, 1));
            }
            scene.place_effectors();
            for (const int effector : {LBXEffectorHips, LBXEffectorChestOrigin, LBXEffectorChestEnd})
            {
                const Joint now = scene.goal(effector);
                Quat turned = mul(about(random.direction(), random.number(0, 0.8)), now.q);
                if (random.coin()) turned = scaled(turned, -1);  // the same rotation, the other sign
                scene.goal(effector, now.t + random.vector(0.15), turned);
                scene.weigh(effector, {static_cast<float>(random.number(0.1, 1)), static_cast<float>(random.number(0.1, 1)), 0,
                                       static_cast<float>(random.number(0, 1))});
            }
            SlowPose slow(scene);
            const bool with_spine = i % 5 != 0;
            slow_place_body(slow, slow_goals(scene), with_spine);
            scene.mask(with_spine ? kSpineOnly : 0x400000u);  // some bit, but none of the body's
            scene.stages(kPrepare | kBody);
            const Distance apart = distance_between(slow, scene);
            worst_place = std::max(worst_place, apart.place);
            worst_turn = std::max(worst_turn, apart.turn);
        }
    EXPECT_LT(worst_place, 5e-4);
    EXPECT_LT(worst_turn, 2e-3);
}

TEST(BodyPlacement, SpreadsTheChestsTurnOverTheSpineByTheResistOfItsOrigin)
{
    for (const int nodes : {1, 2, 3, 6, 10})
        for (const double resist : {0.0, 0.35, 1.0})
        {
            Scene scene(rig_with(nodes, 1));
            const double angle = 0.9;
            const Vec3 axis = double_math::unit(Vec3{0.3, 0.8, -0.2});
            scene.goal(LBXEffectorChestEnd, scene.goal(LBXEffectorChestEnd).t, about(axis, angle));
            scene.weigh(LBXEffectorChestEnd, {0, 1, 0, 0});
            scene.weigh(LBXEffectorChestOrigin, {0, 0, 0, static_cast<float>(resist)});
            scene.mask(kSpineOnly);
            scene.solve();
            const double n = nodes - 1, b = 2 * n * resist + 0.5;
            for (int k = 0; k < nodes; ++k)
            {
                const int node = k == 0 ? LBXNodeSpine : LBXNodeSpine1 + k - 1;
                EXPECT_LT(angle_between(scene.turn(node), about(axis, angle * (b + k) / (b + n))), 5e-4)
                    << nodes << ' ' << resist << ' ' << k;
            }
            EXPECT_LT(angle_between(scene.turn(LBXNodeHips), identity()), 1e-6);
        }
}

TEST(BodyPlacement, HipsLandOnTheirEffectorAndStayWhereNothingAsks)
{
    Random random(11);
    for (int i = 0; i < 50; ++i)
    {
        Scene scene;
        scene.random_pose(random);
        scene.mask(kSpineOnly);
        scene.stages(kPrepare);
        const auto before = scene.bytes();
        scene.stages(kBody);
        EXPECT_EQ(scene.bytes(), before);

        const Quat hips = scene.turn(LBXNodeHips);
        const Vec3 target = random.vector(1);
        scene.want(LBXEffectorHips, target, {1, 0, 0, 0});
        scene.solve();
        const Vec3 middle = (scene.at(LBXNodeLeftUpLeg) + scene.at(LBXNodeRightUpLeg)) * 0.5;
        EXPECT_LT(distance(middle, target), 2e-6);
        EXPECT_LT(angle_between(hips, scene.turn(LBXNodeHips)), 1e-6);
    }
}

TEST(BodyPlacement, StretchRecordsLetTheSpineGrowTowardTheChestsGoalAndRestOtherwise)
{
    RigOptions options = rig_with(3, 1);
    options.limitedNodes = {LBXNodeSpine, LBXNodeSpine1, LBXNodeSpine2};
    options.beforeCharacterize = [](LBXCharacter* character)
    {
        for (const int node : {LBXNodeSpine, LBXNodeSpine1, LBXNodeSpine2}) LBXSetNodeTranslationLimit(character, node, 0.8f, 1.3f, false);
    };
    double reached[2];
    for (int k = 0; k < 2; ++k)
    {
        Scene scene(options);
        scene.value(LBXPropertySnSReachChestEnd, k);
        scene.value(LBXPropertySnSScaleSpine, 1);
        const Vec3 up = {0, 0.08, 0};
        scene.want(LBXEffectorChestEnd, scene.goal(LBXEffectorChestEnd).t + up, {1, 0, 0, 0});
        const Pose before = scene.pose();
        scene.mask(kSpineOnly);
        scene.solve();
        reached[k] = scene.at(LBXNodeNeck)[1] - before[LBXNodeNeck].t[1];
        float t[4], q[4], s[4];
        LBXGetNodeStateTQSfv(scene.character(), scene.state.get(), LBXNodeSpine1, t, q, s);
        EXPECT_NEAR(s[1], k ? 1 + 0.08 / (before[LBXNodeLeftShoulder].t[1] - before[LBXNodeSpine].t[1]) : 1.0, 1e-4);
        // Scales grow with the factor. A rest length counts its parent's scale: grown for the first node above Spine, not yet for the others.
        const int chain[] = {LBXNodeHips, LBXNodeSpine, LBXNodeSpine1, LBXNodeSpine2};
        const double parent_scale[] = {1.0, s[1], 1.0}, minimum = 0.8f, maximum = 1.3f;
        for (size_t i = 0; i < 3; ++i)
        {
            const double rest = distance(scene.stance(chain[i + 1]), scene.stance(chain[i]));
            EXPECT_NEAR(distance(scene.at(chain[i + 1]), scene.at(chain[i])),
                        slow_stretched(rest * parent_scale[i], minimum, maximum, rest, s[1], k, true), 1e-5);
        }
    }
    EXPECT_LT(reached[0], 1e-6);
    EXPECT_GT(reached[1], 0.03);
}

TEST(BodyPlacement, TheChestReachesAGoalOnItsSphereAboutTheHips)
{
    Random random(12);
    for (int i = 0; i < 100; ++i)
    {
        Scene scene;
        scene.random_pose(random, 0.2);
        const Vec3 h = scene.at(LBXNodeHips), now = scene.goal(LBXEffectorChestEnd).t - h;
        const Vec3 target = h + rotated(about(random.direction(), random.number(0, 0.5)), now);
        scene.want(LBXEffectorChestEnd, target, {1, 0, 0, 0});
        scene.mask(kSpineOnly);
        scene.solve();
        scene.place_effectors();
        // The last turn is about Spine, which lies above the hips: one placement leaves a little.
        EXPECT_LT(distance(scene.goal(LBXEffectorChestEnd).t, target), 0.2 * distance(target, h + now) + 1e-4);
    }
}
