// Collars: they turn toward their effector, share the turn, and follow the arm without costing the hand its goal.

#include <gtest/gtest.h>

#include "tests/limbrex/solvers/solver_fixture.h"

using namespace solver_test;

TEST(Shoulders, TurnTowardTheirEffectorByTheirStiffness)
{
    double turned[3];
    for (int k = 0; k < 3; ++k)
    {
        Scene scene;
        const float stiffness[] = {0.0f, 0.5f, 1.0f};
        for (int axis = 0; axis < 3; ++axis) scene.value(LBXPropertyCollarStiffnessX + axis, stiffness[k]);
        const Vec3 collar = scene.at(LBXNodeLeftShoulder), arm = scene.at(LBXNodeLeftArm) - collar;
        const Vec3 wanted = rotated(about({0, 0.5, 1}, 0.4), arm);
        scene.want(LBXEffectorLeftShoulder, collar + wanted, {1, 0, 0, 0});
        scene.mask(LBXSolvingStepLeftShoulder);
        scene.solve();
        turned[k] = angle_of(shortest_arc(arm, scene.at(LBXNodeLeftArm) - collar));
        if (k == 0) { EXPECT_LT(distance(unit(scene.at(LBXNodeLeftArm) - collar), unit(wanted)), 1e-5); }
    }
    EXPECT_NEAR(turned[1], 0.5 * turned[0], 0.03);
    EXPECT_LT(turned[2], 1e-3);
}

TEST(Shoulders, ShareTheTurnWithTheExtraCollar)
{
    for (const double ratio : {0.0, 0.3, 1.0})
    {
        RigOptions options;
        options.shoulderExtras = true;
        Scene scene(options);
        scene.value(LBXPropertyExtraCollarRatio, ratio);
        const Vec3 collar = scene.at(LBXNodeLeftShoulder), arm = scene.at(LBXNodeLeftArm) - collar;
        const Vec3 wanted = rotated(about({0, 0, 1}, 0.4), arm);
        const double angle = angle_of(shortest_arc(arm, wanted));
        scene.want(LBXEffectorLeftShoulder, collar + wanted, {1, 0, 0, 0});
        scene.mask(LBXSolvingStepLeftShoulder);
        scene.solve();
        EXPECT_NEAR(angle_of(scene.turn(LBXNodeLeftShoulder)), (1 - ratio) * angle, 1e-3);
        EXPECT_NEAR(angle_of(scene.local_turn(LBXNodeLeftShoulderExtra)), ratio * angle, 1e-3);
    }
}

TEST(Shoulders, TheCorrectionLeavesTheHandAsNearItsGoalAsItWas)
{
    Random random(76);
    for (int i = 0; i < 300; ++i)
    {
        RigOptions options;
        options.shoulderExtras = i % 3 == 0;
        double missed[2];
        const bool tip = i % 2 == 0;
        const uint32_t seed = static_cast<uint32_t>(random.engine());
        for (int k = 0; k < 2; ++k)
        {
            Scene scene(options);
            Random own(seed);
            scene.random_pose(own, 0.3);
            scene.value(LBXPropertyShoulderCorrection, k ? own.number(0.2, 1) : 0);
            scene.value(LBXPropertyExtraCollarRatio, 0.5);
            if (i % 4 == 1) scene.value(LBXPropertyCollarStiffnessY, 0.5);
            const int limb = 2 + i % 2;
            const Limb& l = kLimbs[limb];
            const int end = tip ? l.extremity : l.end;
            Random goals(seed + 1);
            const Vec3 target = scene.reachable(goals, limb, 0.1, 0.999);
            scene.want(tip ? l.tipEffector : l.endEffector, target, {1, 0, 0, 0});
            scene.solve();
            missed[k] = distance(scene.at(end), target);
        }
        EXPECT_LT(missed[1], missed[0] + 2e-3 * 0.53) << i << " before " << missed[0];
    }
}
