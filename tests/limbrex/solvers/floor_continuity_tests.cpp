// A floor that moves a little moves the body a little, and a body that rests stays.
#include "tests/limbrex/solvers/floor_fixture.h"

namespace solver_test
{
namespace
{

// Standing with bent knees that point a little outwards, as captured ones do; the foot pitched toes down and rolled.
void stand(const FloorScene& scene, double pitch, double roll = 0.0)
{
    scene.pose_by(
        [&](int node)
        {
            if (node == LBXNodeLeftUpLeg || node == LBXNodeRightUpLeg) return mul(about({0, 1, 0}, 0.2), about({1, 0, 0.2}, -0.5));
            if (node == LBXNodeLeftLeg || node == LBXNodeRightLeg) return about({1, 0.15, 0.1}, 0.9);
            if (node == LBXNodeLeftFoot || node == LBXNodeRightFoot) return mul(about({1, 0, 0}, -0.4 + pitch), about({0, 0, 1}, roll));
            return identity();
        });
}

struct Steps
{
    double turn = 0.0;  // largest of any joint from one floor to the next, radians
    double move = 0.0;  // and of any joint's place
};

// Solves the same pose over one floor after the other.
template <class PlaneAt>
Steps sweep(FloorScene& scene, int steps, PlaneAt plane_at)
{
    scene.stages(kPrepare);
    const std::vector<char> start = scene.bytes();
    Steps worst;
    Pose last;
    for (int i = 0; i <= steps; ++i)
    {
        scene.restore(start);
        scene.floor(kLeftFoot, plane_at(static_cast<double>(i) / steps));
        scene.stages(kFloorStage);
        const Pose now = scene.pose();
        if (i > 0)
        {
            worst.turn = std::max(worst.turn, largest_joint_turn(scene, last, now));
            worst.move = std::max(worst.move, largest_move(scene, last, now));
        }
        last = now;
    }
    return worst;
}

struct Kind
{
    int type;
    double stiffness;
    int automatic;
    double pitch, roll;  // of the foot
};
// Every way a foot may come to the floor: flat, heel first, toes first, on an edge; soles of every carrier; stiff, free and between.
std::vector<Kind> kinds()
{
    std::vector<Kind> all;
    for (const int type : {0, 1, 2, 3})
        for (const double stiffness : {0.0, 0.4, 1.0})
            for (const double pitch : {-0.5, 0.0, 0.4, 0.9, 1.3, 1.7})
                for (const double roll : {0.0, 0.4}) all.push_back({type, stiffness, type % 2, pitch, roll});
    return all;
}
void use(FloorScene& scene, const Kind& kind)
{
    scene.floors_away();
    scene.enable(kLeftFoot);
    scene.value(LBXPropertyFootContactType, kind.type);
    scene.value(LBXPropertyParamFootContactStiffness, kind.stiffness);
    scene.mode(LBXPropertyAutomaticToes, kind.automatic);
    stand(scene, kind.pitch, kind.roll);
}

TEST(FloorContinuity, AFloorThatRisesThroughTheFootLiftsItWithoutAJump)
{
    FloorScene scene;
    for (const Kind& kind : kinds())
    {
        use(scene, kind);
        const double lowest = scene.lowest(kLeftFoot, {});
        constexpr int kCount = 400;
        const double step = 0.2 / kCount;  // half a millimetre
        const Steps worst = sweep(scene, kCount, [&](double s) { return Plane{{0, lowest - 0.02 + 0.2 * s, 0}, identity()}; });
        // Half a millimetre at the end of a toe of 8 cm is a third of a degree; toes that point down steeply turn by more.
        EXPECT_LT(worst.turn, 1.6 * kDegree) << kind.type << ' ' << kind.stiffness << ' ' << kind.pitch << ' ' << kind.roll;
        EXPECT_LT(worst.move, 2.0 * step) << kind.type << ' ' << kind.stiffness << ' ' << kind.pitch << ' ' << kind.roll;
    }
}

TEST(FloorContinuity, AFloorThatTiltsUnderTheFootTurnsItWithoutAJump)
{
    FloorScene scene;
    for (const Kind& kind : kinds())
        for (const Vec3& axis : {Vec3{1, 0, 0}, Vec3{0, 0, 1}, Vec3{1, 0, 1}})
        {
            use(scene, kind);
            const Vec3 middle = {scene.at(LBXNodeLeftFoot)[0], scene.lowest(kLeftFoot, {}) + 0.01, scene.at(LBXNodeLeftFoot)[2] + 0.04};
            constexpr int kCount = 240;
            const Steps worst = sweep(scene, kCount, [&](double s) { return Plane{middle, about(axis, (60.0 * s - 30.0) * kDegree)}; });
            EXPECT_LT(worst.turn, 1.6 * kDegree)
                << kind.type << ' ' << kind.stiffness << ' ' << kind.pitch << ' ' << kind.roll << ' ' << axis[0];
            EXPECT_LT(worst.move, 0.004) << kind.type << ' ' << kind.stiffness << ' ' << kind.pitch << ' ' << kind.roll << ' ' << axis[0];
        }
}

TEST(FloorContinuity, AHeelThatLiftsRollsOverItsToes)
{
    // The foot pitches from toes up to standing on its tips, the joint of its ball held over a level floor.
    FloorScene scene;
    scene.floors_away();
    scene.enable(kLeftFoot);
    constexpr int kCount = 360;
    constexpr double kPitchStep = 2.2 / kCount;
    Pose last;
    double largest = 0.0;
    for (int i = 0; i <= kCount; ++i)
    {
        stand(scene, -0.5 + kPitchStep * i);
        scene.stages(kPrepare);
        scene.floor(kLeftFoot, {{0, scene.at(LBXNodeLeftToeBase)[1] - 0.06, 0}, identity()});
        scene.stages(kFloorStage);
        const Pose now = scene.pose();
        if (i > 0) largest = std::max(largest, largest_joint_turn(scene, last, now));
        last = now;
    }
    EXPECT_LT(largest, 4.0 * kPitchStep);
}

TEST(FloorContinuity, WhatRestsStaysWhereItIs)
{
    FloorScene scene;
    Random random(31);
    for (const Kind& kind : kinds())
    {
        use(scene, kind);
        const Plane plane = sunk(scene, kLeftFoot, tilted_plane(random, 0.2), 0.03);
        scene.floor(kLeftFoot, plane);
        scene.contact();
        Pose last = scene.pose();
        for (int again = 0; again < 3; ++again)
        {
            scene.stages(kPrepare | kFloorStage);
            const Pose now = scene.pose();
            EXPECT_LT(largest_move(scene, last, now), 2e-4) << kind.type << ' ' << kind.stiffness << ' ' << kind.pitch << ' ' << again;
            EXPECT_LT(largest_joint_turn(scene, last, now), 0.3 * kDegree)
                << kind.type << ' ' << kind.stiffness << ' ' << kind.pitch << ' ' << again;
            last = now;
        }
    }
}

}  // namespace
}  // namespace solver_test
