// Goals of hands and feet below their floors are raised before the body is solved.
#include "tests/limbrex/solvers/floor_fixture.h"

namespace solver_test
{
namespace
{

constexpr int kEnds[4] = {LBXEffectorLeftWrist, LBXEffectorRightWrist, LBXEffectorLeftAnkle, LBXEffectorRightAnkle};
constexpr int kTips[4] = {LBXEffectorLeftHand, LBXEffectorRightHand, LBXEffectorLeftFoot, LBXEffectorRightFoot};

struct Heights
{
    double end, tip;
};

struct ClampScene : FloorScene
{
    using FloorScene::FloorScene;
    // Heights of both goals over the plane after the stage, from those before it.
    Heights clamp(int extremity, const Plane& plane, Heights before)
    {
        const Vec3 along = rotated(plane.q, {0.3, 0, -0.2});
        goal(kEnds[extremity], plane.t + along + plane.up() * before.end);
        goal(kTips[extremity], plane.t - along + plane.up() * before.tip);
        floor(extremity, plane);
        stages(kFloorClampStage);
        const Vec3 sideways = goal(kEnds[extremity]).t - plane.t - along;
        EXPECT_NEAR(length(sideways - plane.up() * dot(sideways, plane.up())), 0.0, 1e-5);  // up the floor's axis and nowhere else
        return {plane.height(goal(kEnds[extremity]).t), plane.height(goal(kTips[extremity]).t)};
    }
};

TEST(FloorClamp, StiffGoalsRiseTogetherAndFreeOnesEachOnTheirOwn)
{
    ClampScene scene;
    scene.enable_all();
    scene.contact_behaviour(2.0f);
    Random random(7);
    for (int extremity = 0; extremity < 4; ++extremity)
    {
        const ContactNames& names = names_of(extremity);
        Plane plane = tilted_plane(random, 0.4);
        plane.t = random.vector(1.0);
        scene.value(names.stiffness, 1.0);
        const Heights stiff = scene.clamp(extremity, plane, {0.25, -3.0});
        EXPECT_NEAR(stiff.end, 3.25, 1e-5);
        EXPECT_NEAR(stiff.tip, 0.0, 1e-5);

        scene.value(names.stiffness, 0.0);
        const Heights apart = scene.clamp(extremity, plane, {0.25, -3.0});
        EXPECT_NEAR(apart.end, 0.25, 1e-5);
        EXPECT_NEAR(apart.tip, 0.0, 1e-5);

        for (int i = 0; i < 20; ++i)
        {
            const double w = random.number(0, 1);
            const Heights before = {random.number(-1, 1), random.number(-1, 1)};
            const double end_floor = std::max(0.0, before.end);
            const double tip_floor = std::max(0.0, before.tip);
            const double depth = std::max(end_floor - before.end, tip_floor - before.tip);
            scene.value(names.stiffness, w);
            const Heights after = scene.clamp(extremity, plane, before);
            EXPECT_NEAR(after.end, end_floor + (before.end + depth - end_floor) * w, 1e-5);
            EXPECT_NEAR(after.tip, tip_floor + (before.tip + depth - tip_floor) * w, 1e-5);
        }
    }
}

TEST(FloorClamp, LiftsAlongTheFloorsOwnAxisAlsoWhenTheFloorIsAWall)
{
    ClampScene scene;
    scene.enable_all();
    scene.contact_behaviour(2.0f);
    const Plane wall = {{0, 0, 0.5}, about({1, 0, 0}, 0.5 * kPi)};  // its up axis is +z
    scene.goal(LBXEffectorLeftAnkle, {0.1, 0.2, 0.3});
    scene.goal(LBXEffectorLeftFoot, {0.1, 0.1, 0.6});
    scene.floor(kLeftFoot, wall);
    scene.stages(kFloorClampStage);
    const Vec3 ankle = scene.goal(LBXEffectorLeftAnkle).t;
    EXPECT_NEAR(ankle[0], 0.1, 1e-6);
    EXPECT_NEAR(ankle[1], 0.2, 1e-6);
    EXPECT_NEAR(ankle[2], 0.5, 1e-6);
    EXPECT_NEAR(scene.goal(LBXEffectorLeftFoot).t[2], 0.6, 1e-6);
}

TEST(FloorClamp, RunsOnlyWhenContactsAreAlwaysKeptInStepAndEnabled)
{
    const Plane high = {{0, 5, 0}, identity()};
    const auto moved = [&](float behaviour, bool enabled, uint32_t mask)
    {
        FloorScene scene;
        scene.contact_behaviour(behaviour);
        if (enabled) scene.enable_all();
        scene.mask(mask);
        for (int extremity = 0; extremity < 4; ++extremity) scene.floor(extremity, high);
        const Joint before = scene.goal(LBXEffectorLeftAnkle);
        scene.stages(kFloorClampStage);
        return scene.goal(LBXEffectorLeftAnkle).t != before.t;
    };
    EXPECT_TRUE(moved(2.0f, true, ~0u));
    EXPECT_TRUE(moved(2.4f, true, LBXSolvingStepFloorClamp));
    EXPECT_FALSE(moved(2.0f, false, ~0u));
    EXPECT_FALSE(moved(2.0f, true, ~0u & ~static_cast<uint32_t>(LBXSolvingStepFloorClamp)));
    for (const float other : {0.0f, 1.0f, 3.0f}) EXPECT_FALSE(moved(other, true, ~0u)) << other;
}

TEST(FloorClamp, AGoalOfAMissingBaseTakesNoPart)
{
    RigOptions bare;
    bare.toeBases = false;
    ClampScene scene(bare);
    scene.enable_all();
    scene.contact_behaviour(2.0f);
    scene.value(LBXPropertyParamFootContactStiffness, 1.0);
    EXPECT_NEAR(scene.clamp(kLeftFoot, {}, {0.5, -3.0}).end, 0.5, 1e-6);
}

}  // namespace
}  // namespace solver_test
