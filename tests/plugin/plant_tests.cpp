// What plant asks of feet, hands, hips and chest. Heights are worked out by hand; the rig stands in its stance with its soles at height 0.
#include <array>
#include <limits>

#include "constraints/plant_constraint.h"
#include "tests/plugin/character_fixture.h"
#include "tests/plugin/ground_fixture.h"

namespace test_engine
{

namespace
{

class PlantTest : public GroundTest
{
protected:
    PlantTest()
    {
        plant.feetEnabled = true;
        plant.relative = true;
        plant.rayUpLength = plant.rayDownLength = 2.0f;
        plant.chestWeight = 0.25f;
        plant.hipsWeight = 0.5f;
        for (int i = 0; i < LBXLastEffectorId; ++i) animated[i] = goal(i);
    }
    void frame(float step_s = 0.1f)
    {
        beginFrame();
        plant.evaluate(context, step_s);
    }
    // Reach T, reach R, pull, resist.
    std::array<float, 4> weights(int effector) const
    {
        const LBXEffectorSet* set = context.effectorSet;
        return {LBXGetEffectorReachT(set, effector), LBXGetEffectorReachR(set, effector), LBXGetEffectorPull(set, effector),
                LBXGetEffectorResist(set, effector)};
    }
    Vec3 raised(int effector, float height) const { return {animated[effector][0], animated[effector][1] + height, animated[effector][2]}; }

    PlantConstraint plant;
    Vec3 animated[LBXLastEffectorId];
};

using Weights = std::array<float, 4>;

TEST_F(PlantTest, RelativeMovesFeetAndHipsByTheGroundsHeight)
{
    ground = step_at(0.0f, 0.1f, 0.3f);  // right foot on 0.1, left foot on 0.3
    frame();
    EXPECT_THAT(goal(LBXEffectorLeftAnkle), Near3(raised(LBXEffectorLeftAnkle, 0.3f), 1e-6));
    EXPECT_THAT(goal(LBXEffectorRightAnkle), Near3(raised(LBXEffectorRightAnkle, 0.1f), 1e-6));
    EXPECT_THAT(goal(LBXEffectorHips), Near3(raised(LBXEffectorHips, 0.2f), 1e-6));
    EXPECT_EQ(weights(LBXEffectorLeftAnkle), (Weights{1, 1, 1, 0}));
    EXPECT_EQ(weights(LBXEffectorRightAnkle), (Weights{1, 1, 1, 0}));
    EXPECT_EQ(weights(LBXEffectorHips), (Weights{1, 0.5f, 0, 0.5f}));
    EXPECT_EQ(weights(LBXEffectorChestEnd), (Weights{0, 0.25f, 0, 0.25f}));
    EXPECT_EQ(goal(LBXEffectorChestEnd), animated[LBXEffectorChestEnd]);
    EXPECT_EQ(context.debugPoints.count, 2);
    EXPECT_EQ(context.debugPoints.entries[0].colour, 0xff0000u);
    EXPECT_NEAR(context.debugPoints.entries[0].position.y, 0.3f, 1e-6f);
    for (const int untouched : {LBXEffectorLeftWrist, LBXEffectorLeftFoot, LBXEffectorHead, LBXEffectorLeftKnee})
    {
        EXPECT_EQ(weights(untouched), (Weights{0, 0, 0, 0}));
        EXPECT_EQ(goal(untouched), animated[untouched]);
    }
}

TEST_F(PlantTest, LevelGroundAtTheRootsHeightChangesNothing)
{
    placeRoot({3, -2, 5}, 70.0f);
    ground = plane(5.0f);
    plant.rayCount = 5;
    frame();
    for (int i = 0; i < LBXLastEffectorId; ++i) EXPECT_THAT(goal(i), Near3(animated[i], 1e-5)) << i;
}

TEST_F(PlantTest, DepthIsTakenOffTheHeightsThatMoveThings)
{
    ground = plane(0.2f);
    plant.depth = 0.05f;
    frame();
    EXPECT_THAT(goal(LBXEffectorLeftAnkle), Near3(raised(LBXEffectorLeftAnkle, 0.15f), 1e-6));
    EXPECT_THAT(goal(LBXEffectorHips), Near3(raised(LBXEffectorHips, 0.15f), 1e-6));

    plant.relative = false;
    frame();
    EXPECT_THAT(goal(LBXEffectorLeftAnkle), Near3(Vec3{animated[LBXEffectorLeftAnkle][0], 0.2f, animated[LBXEffectorLeftAnkle][2]}, 1e-6))
        << "onto the ground itself";
    EXPECT_EQ(weights(LBXEffectorLeftAnkle), (Weights{1, 0, 0, 0}));
    EXPECT_THAT(goal(LBXEffectorHips), Near3(raised(LBXEffectorHips, 0.15f), 1e-6));
}

TEST_F(PlantTest, AFootOverNothingStaysAndSoDoTheHips)
{
    ground = [](const Ray& ray, RayHit& hit) { return ray.origin[0] > 0.0f && plane(0.2f)(ray, hit); };
    frame();
    EXPECT_THAT(goal(LBXEffectorLeftAnkle), Near3(raised(LBXEffectorLeftAnkle, 0.2f), 1e-6));
    EXPECT_EQ(goal(LBXEffectorRightAnkle), animated[LBXEffectorRightAnkle]);
    EXPECT_EQ(weights(LBXEffectorRightAnkle), (Weights{0, 0, 0, 0}));
    EXPECT_EQ(goal(LBXEffectorHips), animated[LBXEffectorHips]);
    EXPECT_EQ(weights(LBXEffectorHips), (Weights{0, 0, 0, 0}));
    EXPECT_EQ(weights(LBXEffectorChestEnd), (Weights{0, 0, 0, 0}));
    EXPECT_EQ(context.debugPoints.count, 0);
}

TEST_F(PlantTest, HandsMoveTheChestsEnd)
{
    plant.feetEnabled = false;
    plant.handsEnabled = true;
    plant.smoothing = 0.001f;
    ground = step_at(0.0f, 0.2f, 0.6f);
    frame();
    ground = step_at(0.0f, 0.4f, 0.8f);
    frame();
    EXPECT_THAT(goal(LBXEffectorLeftWrist), Near3(raised(LBXEffectorLeftWrist, 0.8f), 1e-6)) << "hands are not smoothed";
    EXPECT_THAT(goal(LBXEffectorRightWrist), Near3(raised(LBXEffectorRightWrist, 0.4f), 1e-6));
    EXPECT_THAT(goal(LBXEffectorChestEnd), Near3(raised(LBXEffectorChestEnd, 0.6f), 1e-6));
    EXPECT_EQ(weights(LBXEffectorLeftWrist), (Weights{1, 1, 1, 0}));
    EXPECT_EQ(weights(LBXEffectorChestEnd), (Weights{1, 0, 0, 0}));
    EXPECT_EQ(goal(LBXEffectorHips), animated[LBXEffectorHips]);
    EXPECT_EQ(context.debugPoints.count, 0);
}

TEST_F(PlantTest, SmoothingIsHeightASecondAndTheHipsFollowTheSmoothedFeet)
{
    plant.smoothing = 0.5f;
    ground = plane(0.0f);
    frame(0.1f);
    ground = plane(-0.2f);
    const float expected[] = {-0.05f, -0.1f, -0.125f, -0.2f, -0.2f};
    const float steps_s[] = {0.1f, 0.1f, 0.05f, 0.2f, 0.1f};
    for (int i = 0; i < 5; ++i)
    {
        frame(steps_s[i]);
        EXPECT_NEAR(goal(LBXEffectorLeftAnkle)[1], animated[LBXEffectorLeftAnkle][1] + expected[i], 1e-6f) << i;
        EXPECT_NEAR(goal(LBXEffectorHips)[1], animated[LBXEffectorHips][1] + expected[i], 1e-6f) << i;
    }
    ground = plane(0.3f);
    for (const float wild_step_s : {0.0f, -1.0f, std::numeric_limits<float>::quiet_NaN()})
    {
        frame(wild_step_s);
        EXPECT_NEAR(plant.smoothedHeight[0], -0.2f, 1e-6f) << "no time, no movement";
    }
}

TEST_F(PlantTest, WeightsFollowTheBlend)
{
    ground = plane(0.1f);
    plant.blendTime = 1.0f;
    frame(0.0f);
    EXPECT_TRUE(rays.empty()) << "at weight 0 nothing is cast";
    EXPECT_EQ(weights(LBXEffectorHips), (Weights{0, 0, 0, 0}));
    frame(0.5f);
    EXPECT_EQ(weights(LBXEffectorLeftAnkle), (Weights{0.5f, 0.5f, 0.5f, 0}));
    EXPECT_EQ(weights(LBXEffectorHips), (Weights{0.5f, 0.25f, 0, 0.25f}));
    EXPECT_EQ(weights(LBXEffectorChestEnd), (Weights{0, 0.125f, 0, 0.125f}));
    EXPECT_THAT(goal(LBXEffectorHips), Near3(raised(LBXEffectorHips, 0.1f), 1e-6)) << "goals move whole, reaching blends";
}

TEST_F(PlantTest, TheCircleOfAFootIsHalfItsWidthAndOfAHandFiveCentimetres)
{
    plant.handsEnabled = true;
    plant.rayCount = 2;
    ground = plane(0.0f);
    frame();
    ASSERT_EQ(rays.size(), 8u) << "two rays for each of four extremities";
    EXPECT_NEAR(rays[1].origin[0] - rays[0].origin[0], 0.06f, 1e-6f);
    EXPECT_NEAR(rays[5].origin[0] - rays[4].origin[0], 0.05f, 1e-6f);
    EXPECT_THAT(rays[0].origin, Near3(toWorld({animated[LBXEffectorLeftAnkle][0], animated[LBXEffectorLeftAnkle][1] + 2.0f,
                                               animated[LBXEffectorLeftAnkle][2]}),
                                      1e-5))
        << "always the ankles, toes or not";
}

TEST_F(PlantTest, ItDescribesItself)
{
    DescriptionText description;
    plant.describe(description);
    EXPECT_STREQ(description.text, "(plant)");
    EXPECT_STREQ(plant.typeName(), "plant");
    EXPECT_EQ(static_cast<int>(plant.typeId()), 12);
}

}  // namespace

}  // namespace test_engine
