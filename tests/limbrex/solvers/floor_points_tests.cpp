// Where soles and palms touch.
#include "tests/limbrex/solvers/floor_fixture.h"

namespace solver_test
{
namespace
{

void expect_points(const FloorScene& scene, int extremity, const std::vector<Vec3>& wanted)
{
    const std::vector<Vec3> points = scene.points(extremity);
    for (size_t i = 0; i < wanted.size(); ++i)
        EXPECT_NEAR(distance(points[i], wanted[i]), 0.0, 2e-6)
            << "extremity " << extremity << " point " << i << ": " << points[i][0] << " " << points[i][1] << " " << points[i][2];
}

TEST(ContactPoints, AFlatFootHasAllSixOnTheGroundInnerEdgeFirst)
{
    FloorScene scene;
    // Left ankle at (0.10, 0.09, -0.015): 6 cm back, 12.5 cm to the ball, 8 cm on to the tip, 4 cm in, 5 cm out, 9 cm down.
    expect_points(scene, kLeftFoot,
                  {{0.06, 0, -0.075}, {0.15, 0, -0.075}, {0.06, 0, 0.11}, {0.15, 0, 0.11}, {0.06, 0, 0.19}, {0.15, 0, 0.19}});
    expect_points(scene, kRightFoot,
                  {{-0.06, 0, -0.075}, {-0.15, 0, -0.075}, {-0.06, 0, 0.11}, {-0.15, 0, 0.11}, {-0.06, 0, 0.19}, {-0.15, 0, 0.19}});
    EXPECT_EQ(scene.counting(kLeftFoot), 6u);
}

TEST(ContactPoints, PalmsRunAlongTheFingersWithTheThumbsSideInside)
{
    FloorScene scene;
    // Wrist at (0.71, 1.42, -0.02), fingers along x, thumb in front.
    expect_points(
        scene, kLeftHand,
        {{0.70, 1.40, 0.015}, {0.70, 1.40, -0.065}, {0.77, 1.40, 0.015}, {0.77, 1.40, -0.065}, {0.89, 1.40, 0.015}, {0.89, 1.40, -0.065}});
    expect_points(scene, kRightHand, {{-0.70, 1.40, 0.015}, {-0.70, 1.40, -0.065}, {-0.77, 1.40, 0.015}, {-0.77, 1.40, -0.065}});
}

TEST(ContactPoints, TheContactTypeSaysWhichJointCarriesThem)
{
    FloorScene scene;
    // Foot and toes each turned by themselves: 90 degrees nose up at the ankle, toes turned back to level.
    const Quat nose_up = about({1, 0, 0}, -0.5 * kPi);
    scene.pose_by(
        [&](int node)
        {
            if (node == LBXNodeLeftFoot) return nose_up;
            return node == LBXNodeLeftToeBase ? conj(nose_up) : identity();
        });
    const Vec3 ankle = scene.at(LBXNodeLeftFoot);
    const Vec3 toe = scene.at(LBXNodeLeftToeBase);
    const Vec3 to_toe = scene.stance(LBXNodeLeftToeBase) - scene.stance(LBXNodeLeftFoot);
    const auto on_ankle = [&](double x, double z) { return ankle + rotated(nose_up, {x, -0.09, z}); };
    const auto on_toe = [&](double x, double z) { return toe + Vec3{x, -0.09, z}; };

    scene.value(LBXPropertyFootContactType, 0);
    expect_points(scene, kLeftFoot,
                  {on_ankle(-0.04, -0.06), on_ankle(0.05, -0.06), on_ankle(-0.04, 0.125), on_ankle(0.05, 0.125),
                   on_toe(-0.04, 0.205) - to_toe, on_toe(0.05, 0.205) - to_toe});
    scene.value(LBXPropertyFootContactType, 4);  // unknown ones are carried as normal ones, but only the sole counts
    expect_points(scene, kLeftFoot, {on_ankle(-0.04, -0.06)});
    EXPECT_EQ(scene.counting(kLeftFoot), 4u);

    scene.value(LBXPropertyFootContactType, 1);
    expect_points(scene, kLeftFoot,
                  {on_ankle(-0.04, -0.06), on_ankle(0.05, -0.06), on_ankle(-0.04, 0.125), on_ankle(0.05, 0.125), on_ankle(-0.04, 0.205)});
    EXPECT_EQ(scene.counting(kLeftFoot), 4u);

    scene.value(LBXPropertyFootContactType, 1.6);  // 2
    expect_points(scene, kLeftFoot,
                  {on_toe(-0.04, -0.06), on_toe(0.05, -0.06), on_toe(-0.04, 0.125), on_toe(0.05, 0.125), on_toe(-0.04, 0.205)});

    scene.value(LBXPropertyFootContactType, 3);
    const double r = std::sqrt(0.5);
    expect_points(scene, kLeftFoot,
                  {on_toe(r * (-0.04 - 0.06), r * (-0.06 + 0.04)), on_toe(r * (0.05 - 0.06), r * (-0.06 - 0.05)),
                   on_toe(r * (-0.04 + 0.125), r * (0.125 + 0.04)), on_toe(r * (0.05 + 0.125), r * (0.125 - 0.05))});
    EXPECT_EQ(scene.counting(kLeftFoot), 4u);
}

TEST(ContactPoints, WithoutABaseEverythingRidesOnTheEnd)
{
    RigOptions bare;
    bare.toeBases = bare.fingerBases = false;
    FloorScene scene(bare);
    for (const int type : {0, 1, 2, 3})
    {
        scene.value(LBXPropertyFootContactType, type);
        expect_points(scene, kLeftFoot,
                      {{0.06, 0, -0.075}, {0.15, 0, -0.075}, {0.06, 0, 0.11}, {0.15, 0, 0.11}, {0.06, 0, 0.19}, {0.15, 0, 0.19}});
    }
    expect_points(scene, kLeftHand, {{0.70, 1.40, 0.015}});  // the forearm says where the hand points
    bare.hands = false;
    EXPECT_EQ(FloorScene(bare).counting(kLeftHand), 0u);
}

TEST(ContactPoints, ScaleWithTheJointThatCarriesThem)
{
    FloorScene scene;
    const float t[3] = {0.1f, 0.09f, -0.015f}, q[4] = {0, 0, 0, 1}, s[3] = {2, 1, 0.5f};
    LBXSetNodeStateTQSfv(scene.character(), scene.state.get(), LBXNodeLeftFoot, t, q, s);
    expect_points(scene, kLeftFoot, {{0.02, 0, -0.045}, {0.20, 0, -0.045}, {0.02, 0, 0.0475}, {0.20, 0, 0.0475}});
}

}  // namespace
}  // namespace solver_test
