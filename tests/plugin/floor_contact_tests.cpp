// What floor contact hands to the solver: planes, shapes of soles and palms, and how planes move from frame to frame.
#include <algorithm>
#include <cmath>

#include "constraints/floor_contact_constraint.h"
#include "tests/plugin/character_fixture.h"
#include "tests/plugin/ground_fixture.h"

namespace test_engine
{

namespace
{

enum FloorContactIndex
{
    kLeftHand = 0,
    kRightHand = 1,
    kLeftFoot = 2,
    kRightFoot = 3
};

class FloorContactTest : public GroundTest
{
protected:
    explicit FloorContactTest(const limbrex_test::RigOptions& options = {}) : GroundTest(options)
    {
        floor.feetEnabled = true;
        floor.rayUpLength = floor.rayDownLength = 2.0f;
    }
    void frame(float step_s = 1.0f / 30.0f)
    {
        beginFrame();
        floor.evaluate(context, step_s);
    }
    float mode(int property) const { return static_cast<float>(LBXPropertyGetMode(context.propertySet, property)); }
    float value(int property) const { return LBXPropertyGetValue(context.propertySet, property); }
    Vec3 debugPoint(int i) const
    {
        const Vec4 p = context.debugPoints.entries[i].position;
        return {p.x, p.y, p.z};
    }

    FloorContactConstraint floor;
};

TEST_F(FloorContactTest, FeetStandOnTheGroundBelowTheirBalls)
{
    ground = step_at(0.0f, 0.1f, -0.2f);  // the right foot's half lies higher
    frame();
    const Vec3 left = goal(LBXEffectorLeftFoot), right = goal(LBXEffectorRightFoot);
    EXPECT_THAT(floorContact(kLeftFoot).position, Near3(Vec3{left[0], -0.2f, left[2]}, 1e-5));
    EXPECT_THAT(floorContact(kRightFoot).position, Near3(Vec3{right[0], 0.1f, right[2]}, 1e-5));
    EXPECT_THAT(floorContact(kLeftFoot).up(), Near3(Vec3{0, 1, 0}, 1e-6));
    EXPECT_EQ(floorContact(kLeftHand).position, (Vec3{0, 0, 0})) << "hands are off";

    ASSERT_EQ(context.debugPoints.count, 2);
    EXPECT_EQ(debugPoint(0), floorContact(kLeftFoot).position);
    EXPECT_EQ(debugPoint(1), floorContact(kRightFoot).position);
    EXPECT_EQ(context.debugPoints.entries[0].colour, 0xff0000u);
    EXPECT_EQ(context.debugPoints.entries[0].position.w, 1.0f);
}

TEST_F(FloorContactTest, TheSolverLearnsTheShapeOfSolesAndPalms)
{
    ground = plane(0.0f);
    frame();
    EXPECT_EQ(mode(LBXPropertyFloorContact), 1);
    const float feet[] = {value(LBXPropertyFootContactType),   value(LBXPropertyFootBottomToAnkle), value(LBXPropertyFootBackToAnkle),
                          value(LBXPropertyFootMiddleToAnkle), value(LBXPropertyFootFrontToMiddle), value(LBXPropertyFootInToAnkle),
                          value(LBXPropertyFootOutToAnkle)};
    EXPECT_THAT(feet, ::testing::ElementsAre(1.0f, 0.01f, 0.02f, 0.03f, 0.04f, 0.05f, 0.07f));
    EXPECT_EQ(mode(LBXPropertyHandFloorContact), 0);

    floor.feetEnabled = false;
    floor.handsEnabled = true;
    frame();
    EXPECT_EQ(mode(LBXPropertyFloorContact), 0);
    EXPECT_EQ(mode(LBXPropertyHandFloorContact), 1);
    const float hands[] = {value(LBXPropertyHandContactType),   value(LBXPropertyHandBottomToWrist), value(LBXPropertyHandBackToWrist),
                           value(LBXPropertyHandMiddleToWrist), value(LBXPropertyHandFrontToMiddle), value(LBXPropertyHandInToWrist),
                           value(LBXPropertyHandOutToWrist)};
    EXPECT_THAT(hands, ::testing::ElementsAre(2.0f, 0.11f, 0.12f, 0.13f, 0.14f, 0.15f, 0.16f));
    EXPECT_EQ(context.debugPoints.count, 0) << "hands leave no points";
}

TEST_F(FloorContactTest, HandsFindTheGroundBelowThem)
{
    floor.feetEnabled = false;
    floor.handsEnabled = true;
    floor.rayCount = 4;
    ground = step_at(0.0f, 0.7f, 0.9f);
    frame();
    const Vec3 left = goal(LBXEffectorLeftHand), right = goal(LBXEffectorRightHand);
    EXPECT_THAT(floorContact(kLeftHand).position, Near3(Vec3{left[0], 0.9f, left[2] + 0.0125f}, 1e-5));
    EXPECT_THAT(floorContact(kRightHand).position, Near3(Vec3{right[0], 0.7f, right[2] + 0.0125f}, 1e-5))
        << "0, 90 and 180 degrees on a circle of 5 cm: the mean is a quarter of it ahead";
    EXPECT_EQ(rays.size(), 8u);
}

TEST_F(FloorContactTest, TheCircleOfAFootIsAThirdOfItsWidth)
{
    floor.rayCount = 2;
    ground = plane(0.0f);
    frame();
    ASSERT_EQ(rays.size(), 4u);
    EXPECT_NEAR(rays[1].origin[0] - rays[0].origin[0], (0.05f + 0.07f) / 3.0f, 1e-6f);
}

TEST_F(FloorContactTest, GoalsAndWeightsStayAsTheyAre)
{
    beginFrame();
    Vec3 before[LBXLastEffectorId];
    for (int i = 0; i < LBXLastEffectorId; ++i) before[i] = goal(i);
    ground = plane(0.5f);
    floor.handsEnabled = true;
    frame();
    for (int i = 0; i < LBXLastEffectorId; ++i)
    {
        EXPECT_EQ(goal(i), before[i]) << i;
        EXPECT_EQ(LBXGetEffectorReachT(context.effectorSet, i) + LBXGetEffectorReachR(context.effectorSet, i) +
                      LBXGetEffectorPull(context.effectorSet, i) + LBXGetEffectorResist(context.effectorSet, i),
                  0.0f)
            << i;
    }
}

TEST_F(FloorContactTest, WithoutWeightNothingHappensAndWithAnyAllOfIt)
{
    ground = plane(0.1f);
    floor.handsEnabled = true;
    floor.blendAlpha = 0.0f;
    frame();
    EXPECT_TRUE(rays.empty());
    EXPECT_EQ(mode(LBXPropertyFloorContact) + mode(LBXPropertyHandFloorContact), 0.0f);
    EXPECT_EQ(context.debugPoints.count, 0);

    floor.blendAlpha = 1.0f;
    floor.blendTime = 10.0f;
    frame(0.1f);
    EXPECT_EQ(floor.alpha, 0.01f);
    EXPECT_NEAR(floorContact(kLeftFoot).position[1], 0.1f, 1e-6f);
}

TEST_F(FloorContactTest, OverNothingThePlaneLiesFarBelow)
{
    floor.smoothing = 0.01f;
    frame();
    EXPECT_EQ(floorContact(kLeftFoot).position, (Vec3{0, -1000, 0}));
    EXPECT_EQ(context.debugPoints.count, 2);
    ground = plane(0.3f);
    frame();
    EXPECT_NEAR(floorContact(kLeftFoot).position[1], 0.3f, 1e-6f) << "the first hit sets the height, it does not climb to it";
}

TEST_F(FloorContactTest, AStepDownArrivesAsFastAsSmoothingAllows)
{
    floor.smoothing = 0.01f;
    ground = plane(0.1f);
    frame();
    ground = plane(0.0f);
    for (int i = 1; i <= 10; ++i)
    {
        frame();
        EXPECT_NEAR(floorContact(kLeftFoot).position[1], 0.1f - 0.01f * static_cast<float>(i), 1e-5f) << "frame " << i;
        EXPECT_EQ(floorContact(kLeftFoot).position[0], goal(LBXEffectorLeftFoot)[0]) << "only the height is smoothed";
    }
    frame();
    EXPECT_EQ(floorContact(kLeftFoot).position[1], 0.0f);

    // Without a hit the memory stays, so the ground comes back where it was left.
    ground = nullptr;
    frame();
    EXPECT_EQ(floorContact(kLeftFoot).position[1], -1000.0f);
    ground = plane(0.1f);
    frame();
    EXPECT_NEAR(floorContact(kLeftFoot).position[1], 0.01f, 1e-6f);
}

TEST_F(FloorContactTest, TiltArrivesByItsShareOfHalfATurn)
{
    const float degrees_a_frame = 180.0f * 0.02f;
    floor.smoothing = 0.02f;
    ground = ramp(0.0f);
    frame();
    ground = ramp(15.0f);
    for (int i = 1; i <= 6; ++i)
    {
        frame();
        const float tilt_deg = std::acos(std::min(1.0f, floorContact(kLeftFoot).up()[1])) * 180.0f / 3.14159265f;
        EXPECT_NEAR(tilt_deg, std::min(15.0f, degrees_a_frame * static_cast<float>(i)), 0.02f) << "frame " << i;
    }
    // And back the same way round.
    ground = ramp(0.0f);
    frame();
    EXPECT_NEAR(std::acos(floorContact(kLeftFoot).up()[1]) * 180.0f / 3.14159265f, 15.0f - degrees_a_frame, 0.02f);
}

TEST_F(FloorContactTest, SoftGroundNeverLeavesTheRotationsOrJumps)
{
    // Ground that tilts at random: turns stay below the limit and rotations stay unit quaternions for a thousand frames.
    floor.smoothing = 0.01f;
    Quat4 last = {0, 0, 0, 1};
    uint32_t seed = 1;
    for (int i = 0; i < 1000; ++i)
    {
        seed = seed * 1664525u + 1013904223u;
        const float slope_deg = static_cast<float>(seed >> 8) / 16777216.0f * 120.0f - 60.0f;
        ground = ramp(slope_deg);
        frame();
        const Quat4 q = floorContact(kLeftFoot).rotation;
        EXPECT_NEAR(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3], 1.0f, 1e-5f);
        const double allowed_deg = i == 0 ? 180.0 : 1.8 + 0.15;
        EXPECT_LE(turn_between_deg(last, q), allowed_deg) << "frame " << i;
        last = q;
    }
}

TEST_F(FloorContactTest, ItDescribesItself)
{
    DescriptionText description;
    floor.describe(description);
    EXPECT_STREQ(description.text, "(floor contact)");
    EXPECT_STREQ(floor.typeName(), "floor contact");
    EXPECT_EQ(static_cast<int>(floor.typeId()), 2);
}

limbrex_test::RigOptions without_bases()
{
    limbrex_test::RigOptions options;
    options.toeBases = options.fingerBases = false;
    return options;
}

class FloorContactWithoutBases : public FloorContactTest
{
protected:
    FloorContactWithoutBases() : FloorContactTest(without_bases()) {}
};

TEST_F(FloorContactWithoutBases, AnklesAndWristsAreProbedInstead)
{
    floor.handsEnabled = true;
    ground = plane(0.0f);
    frame();
    const struct
    {
        int contact, effector;
    } rows[] = {{kLeftHand, LBXEffectorLeftWrist},
                {kRightHand, LBXEffectorRightWrist},
                {kLeftFoot, LBXEffectorLeftAnkle},
                {kRightFoot, LBXEffectorRightAnkle}};
    for (const auto& row : rows)
    {
        const Vec3 end = goal(row.effector);
        EXPECT_THAT(floorContact(row.contact).position, Near3(Vec3{end[0], 0.0f, end[2]}, 1e-5));
    }
}

}  // namespace

}  // namespace test_engine
