// What each kind asks of its effector. The final solve is switched off, so the goals are read as the stack left them; places and turns are
// odd on purpose, and expected values follow from the unit's own world pose.
#include <algorithm>
#include <limits>

#include "tests/plugin/character_fixture.h"

namespace test_engine
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kWrist = LBXEffectorLeftWrist;
constexpr double kAngleTolerance_deg = 0.05;
constexpr Quat4 kBend = {0, 0, 0.70710678f, 0.70710678f};

class EffectorConstraint : public CharacterTest
{
protected:
    EffectorConstraint()
    {
        keepGoals();
        // The forearm is bent a quarter about the solver's z, so the wrist is not turned as in the stance.
        const float bent[9] = {0, 1, 0, -1, 0, 0, 0, 0, 1};
        std::copy_n(bent, 9, unit->localPoses[rig.nodeIndex("LeftForeArm")].rotation);
        unit->place(kAwkwardPlace, awkward_turn());
        engine.update(world);
        animated = effector(kWrist);
        // The solver frame in the world, worked out from the unit's placement: its turn, then y up to z up.
        solverToWorld = quat_product(awkward_turn(), kYUpToZUp);
    }
    Transform goalAfterUpdate()
    {
        engine.update(world);
        return effector(kWrist);
    }
    Transform animated;
    Quat4 solverToWorld;
};

TEST_F(EffectorConstraint, EffectorsStartOnTheAnimatedPose)
{
    EXPECT_THAT(animated.position, Near3(world_position(*unit, rig.nodeIndex("LeftHand")), 1e-4));
    EXPECT_NEAR(turn_between_deg(animated.rotation, quat_product(solverToWorld, kBend)), 0.0, kAngleTolerance_deg);
    EXPECT_NEAR(turn_between_deg(effector(LBXEffectorRightWrist).rotation, solverToWorld), 0.0, kAngleTolerance_deg);
}

TEST_F(EffectorConstraint, ReachPositionTakesUnitAxesOrTheWorld)
{
    engine.call("character_push_reach_position", {unit, kWrist, Vec3{1, 2, 3}, false, 1.0, 0.0, 1});
    EXPECT_THAT(goalAfterUpdate().position, Near3(unit_point_to_world(*unit, {1, 2, 3}), 1e-4));

    const Vec3 point_world = {3.0f, -19.5f, 2.0f};
    engine.call("character_push_reach_position", {unit, kWrist, point_world, true, 1.0, 0.0, 2});
    EXPECT_THAT(goalAfterUpdate().position, Near3(point_world, 1e-4)) << "the upper of two wins";
    EXPECT_NEAR(turn_between_deg(effector(kWrist).rotation, animated.rotation), 0.0, kAngleTolerance_deg);

    engine.call("character_reach_position_set_position", {unit, 2, Vec3{4, -19, 1}});
    EXPECT_THAT(goalAfterUpdate().position, Near3(Vec3{4, -19, 1}, 1e-4));
}

TEST_F(EffectorConstraint, ReachOrientationTurnsByScriptAnglesInTheSolverFrame)
{
    const float s = std::sin(0.5f * 40.0f * 3.14159265f / 180.0f), c = std::cos(0.5f * 40.0f * 3.14159265f / 180.0f);
    engine.call("character_push_reach_orientation", {unit, kWrist, Vec3{}, false, 1.0, 0.0, 1});
    const struct
    {
        Vec3 angles;
        Quat4 solver;
    } cases[] = {
        {{40, 0, 0}, {s, 0, 0, c}}, {{0, 40, 0}, {0, -s, 0, c}}, {{0, 0, 40}, {0, 0, s, c}}, {{40, 0, 40}, {s * c, s * s, s * c, c * c}}};
    for (const auto& example : cases)
    {
        engine.call("character_reach_orientation_set_orientation", {unit, 1, example.angles});
        const Transform goal = goalAfterUpdate();
        EXPECT_NEAR(turn_between_deg(goal.rotation, quat_product(solverToWorld, example.solver)), 0.0, kAngleTolerance_deg);
        EXPECT_THAT(goal.position, Near3(animated.position, 1e-5));
    }
    engine.call("character_reach_orientation_set_orientation", {unit, 1, Vec3{50, 60, 70}});
    const Quat4 q = goalAfterUpdate().rotation;
    EXPECT_NEAR(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3], 1.0f, 1e-5f) << "three angles at once still make a rotation";

    // In the world: no angles mean an effector turned back by the root, so its stance axes lie along the world's.
    engine.call("character_pop", {unit});
    engine.call("character_push_reach_orientation", {unit, kWrist, Vec3{}, true, 1.0, 0.0, 1});
    EXPECT_NEAR(turn_between_deg(goalAfterUpdate().rotation, {0, 0, 0, 1}), 0.0, kAngleTolerance_deg);
}

TEST_F(EffectorConstraint, OffsetPositionMovesWhatTheConstraintsBelowLeft)
{
    engine.call("character_push_reach_position", {unit, kWrist, Vec3{1, 1, 1}, false, 1.0, 0.0, 1});
    engine.call("character_push_offset_position", {unit, kWrist, Vec3{0, 0.5f, -0.25f}, false, 0.1, 0.0, 2});
    EXPECT_THAT(goalAfterUpdate().position, Near3(unit_point_to_world(*unit, {1, 1.5f, 0.75f}), 1e-4)) << "in full at any weight";

    engine.call("character_offset_position_set_world_space", {unit, 2, true});
    const Vec3 base = unit_point_to_world(*unit, {1, 1, 1});
    EXPECT_THAT(goalAfterUpdate().position, Near3(Vec3{base[0], base[1] + 0.5f, base[2] - 0.25f}, 1e-4));
}

TEST_F(EffectorConstraint, OffsetRotationUsesTheAxisAtItsLength)
{
    engine.call("character_push_offset_rotation", {unit, kWrist, Vec3{0, 0, 1}, 90.0, false, 1.0, 0.0, 1});
    const float half = 0.70710678f;
    EXPECT_NEAR(turn_between_deg(goalAfterUpdate().rotation, quat_product(quat_product(solverToWorld, {0, half, 0, half}), kBend)), 0.0,
                kAngleTolerance_deg)
        << "up in the unit's axes is the solver's y";
    engine.call("character_offset_rotation_set_axis", {unit, 1, Vec3{0, 0, 2}});
    EXPECT_NEAR(turn_between_deg(goalAfterUpdate().rotation, animated.rotation), 126.87, kAngleTolerance_deg);
    engine.call("character_offset_rotation_set_axis", {unit, 1, Vec3{0, 0, 0}});
    EXPECT_NEAR(turn_between_deg(goalAfterUpdate().rotation, animated.rotation), 0.0, kAngleTolerance_deg) << "no axis, no turn";

    engine.call("character_offset_rotation_set_axis", {unit, 1, Vec3{1, 0, 0}});
    engine.call("character_offset_rotation_set_angle", {unit, 1, -60.0});
    engine.call("character_offset_rotation_set_world_space", {unit, 1, true});
    const Quat4 world_turn = {-0.5f, 0, 0, 0.8660254f};
    EXPECT_NEAR(turn_between_deg(goalAfterUpdate().rotation, quat_product(world_turn, animated.rotation)), 0.0, kAngleTolerance_deg);
    EXPECT_THAT(effector(kWrist).position, Near3(animated.position, 1e-5));
}

TEST_F(EffectorConstraint, WorldPinHoldsItsPointWhileTheUnitWalks)
{
    engine.call("character_push_pin", {unit, kWrist, 1, 1.0, 0.0, 1});
    EXPECT_THAT(goalAfterUpdate().position, Near3(animated.position, 1e-5));
    for (int step = 1; step <= 5; ++step)
    {
        unit->place({kAwkwardPlace[0] + 0.3f * static_cast<float>(step), kAwkwardPlace[1], kAwkwardPlace[2]}, awkward_turn());
        EXPECT_THAT(goalAfterUpdate().position, Near3(animated.position, 1e-4)) << step;
    }
    const auto animated_now = [this] { return world_position(*unit, rig.nodeIndex("LeftHand")); };
    engine.call("character_pin_set_world_space", {unit, 1, false});
    EXPECT_THAT(goalAfterUpdate().position, Near3(animated_now(), 1e-4)) << "follows the animation again";

    engine.call("character_pin_set_world_space", {unit, 1, true});
    engine.update(world);
    const Vec3 captured = animated_now();
    unit->place(kAwkwardPlace, awkward_turn());
    EXPECT_THAT(goalAfterUpdate().position, Near3(captured, 1e-4)) << "captures anew when it takes effect again";

    engine.call("character_pin_set_effector", {unit, 1, LBXEffectorHead});
    engine.update(world);
    const Vec3 head = world_position(*unit, rig.nodeIndex("Head"));
    unit->place({9, 9, 9}, {0, 0, 0, 1});
    EXPECT_THAT(goalAfterUpdate().position, Near3(animated_now(), 1e-4));
    EXPECT_THAT(effector(LBXEffectorHead).position, Near3(head, 1e-4)) << "another effector is captured where it is then";
}

TEST_F(EffectorConstraint, RelativePinFollowsItsNodeFromTheSecondFrame)
{
    EngineUnit& carrier = spawn_biped(engine, world, rig);
    const int node = static_cast<int>(rig.nodeIndex("Head"));
    carrier.place({1, 2, 3}, {0, 0, 0, 1});
    engine.call("character_push_relative_pin", {unit, kWrist, &carrier, node, 1.0, 1.0, 1.0, 1.0, 0.0, 1});
    EXPECT_THAT(goalAfterUpdate().position, Near3(animated.position, 1e-5)) << "the first frame only records";

    // The carrier turns a quarter about z and moves: so does the wrist's goal, about the carrier.
    const float half = 0.70710678f;
    carrier.place({5, 5, 5}, {0, 0, half, half});
    const auto carried = [](const Vec3& p) { return Vec3{5 - (p[1] - 2), 5 + (p[0] - 1), 5 + (p[2] - 3)}; };
    const Transform goal = goalAfterUpdate();
    EXPECT_THAT(goal.position, Near3(carried(animated.position), 2e-4));
    EXPECT_NEAR(turn_between_deg(goal.rotation, quat_product({0, 0, half, half}, animated.rotation)), 0.0, kAngleTolerance_deg);

    engine.call("character_relative_pin_refresh", {unit, 1});
    EXPECT_THAT(goalAfterUpdate().position, Near3(animated.position, 1e-5)) << "the frame of a refresh leaves the effector alone";
    EXPECT_THAT(goalAfterUpdate().position, Near3(animated.position, 2e-4)) << "and the record is of where it was then";

    engine.deleteUnit(carrier);
    EXPECT_THAT(goalAfterUpdate().position, Near3(animated.position, 1e-5)) << "a deleted carrier lets go";
    EXPECT_THAT(engine.takeLog(), IsEmpty());
    engine.call("character_push_relative_pin", {unit, kWrist, &carrier, node, 1.0, 1.0, 1.0, 1.0, 0.0, 2});
    engine.call("character_push_relative_pin", {unit, kWrist, Nil(), node, 1.0, 1.0, 1.0, 1.0, 0.0, 2});
    const std::string refused = "error: character_push_relative_pin: attempted to access a deleted unit as relative pinning reference";
    EXPECT_THAT(engine.takeLog(), ElementsAre(refused, refused));
    EXPECT_EQ(constraintCount(), 1);
}

TEST_F(EffectorConstraint, RelativePinSurvivesNodesThatDoNotExist)
{
    EngineUnit& carrier = spawn_biped(engine, world, rig);
    for (const int node : {-1, static_cast<int>(rig.nodes.size()), 2000000000, -2000000000})
    {
        engine.call("character_push_relative_pin", {unit, kWrist, &carrier, node, 1.0, 1.0, 1.0, 1.0, 0.0, 1});
        EXPECT_THAT(goalAfterUpdate().position, Near3(animated.position, 1e-5));
        EXPECT_THAT(goalAfterUpdate().position, Near3(animated.position, 1e-5));
        engine.call("character_pop_all", {unit});
    }
    carrier.worldPoses[12] = std::numeric_limits<float>::quiet_NaN();
    carrier.localPoses[0].translation[0] = std::numeric_limits<float>::quiet_NaN();
    engine.call("character_push_relative_pin", {unit, kWrist, &carrier, 0, 1.0, 1.0, 1.0, 1.0, 0.0, 1});
    EXPECT_THAT(goalAfterUpdate().position, Near3(animated.position, 1e-5));
}

TEST_F(EffectorConstraint, FieldsReadBackAsTheyWereSet)
{
    engine.call("character_push_offset_rotation", {unit, kWrist, Vec3{1, 2, 3}, 45.0, true, 1.0, 0.0, 1});
    EXPECT_EQ(engine.ask<int>("character_offset_rotation_get_effector", {unit, 1}), kWrist);
    EXPECT_EQ(engine.ask<Vec3>("character_offset_rotation_get_axis", {unit, 1}), (Vec3{1, 2, 3}));
    EXPECT_EQ(engine.ask<double>("character_offset_rotation_get_angle", {unit, 1}), 45.0);
    EXPECT_TRUE(engine.ask<bool>("character_offset_rotation_is_world_space", {unit, 1}));
    engine.call("character_offset_rotation_set_effector", {unit, 1, 43});
    engine.call("character_offset_rotation_set_axis", {unit, 1, Vec3{4, 5, 6}});
    engine.call("character_offset_rotation_set_angle", {unit, 1, -10.5});
    engine.call("character_offset_rotation_set_world_space", {unit, 1, false});
    EXPECT_EQ(engine.ask<int>("character_offset_rotation_get_effector", {unit, 1}), 43);
    EXPECT_EQ(engine.ask<Vec3>("character_offset_rotation_get_axis", {unit, 1}), (Vec3{4, 5, 6}));
    EXPECT_EQ(engine.ask<double>("character_offset_rotation_get_angle", {unit, 1}), -10.5);
    EXPECT_FALSE(engine.ask<bool>("character_offset_rotation_is_world_space", {unit, 1}));

    engine.call("character_push_offset_position", {unit, 7, Vec3{1, 2, 3}, false, 1.0, 0.0, 2});
    engine.call("character_offset_position_set_vector", {unit, 2, Vec3{7, 8, 9}});
    engine.call("character_offset_position_set_effector", {unit, 2, 0});
    EXPECT_EQ(engine.ask<Vec3>("character_offset_position_get_vector", {unit, 2}), (Vec3{7, 8, 9}));
    EXPECT_EQ(engine.ask<int>("character_offset_position_get_effector", {unit, 2}), 0);
    EXPECT_FALSE(engine.ask<bool>("character_offset_position_is_world_space", {unit, 2}));

    engine.call("character_push_pin", {unit, 2, 5, 1.0, 0.0, 3});
    EXPECT_TRUE(engine.ask<bool>("character_pin_is_world_space", {unit, 3})) << "any number but 0 means the world";
    EXPECT_THAT(engine.takeLog(), IsEmpty());
}

TEST_F(EffectorConstraint, EffectorsThatDoNotExistAndNumbersThatAreNotFiniteChangeNothing)
{
    const Vec3 v = {1, 2, 3};
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    EngineUnit& other = spawn_biped(engine, world, rig);
    for (const int bad : {-1, 44, 2000000000, -2000000000})
    {
        const auto refused = [this](const std::string& function, std::initializer_list<Value> arguments)
        {
            EXPECT_THAT(engine.call(function, arguments), IsEmpty()) << function;
            EXPECT_THAT(engine.takeLog(), ElementsAre("error: " + function + ": wrong inputs"));
        };
        refused("character_push_pull", {unit, bad, 1.0, 0.0, 1});
        refused("character_push_resist", {unit, bad, 1.0, 0.0, 1});
        refused("character_push_reach_position", {unit, bad, v, true, 1.0, 0.0, 1});
        refused("character_push_reach_orientation", {unit, bad, v, true, 1.0, 0.0, 1});
        refused("character_push_offset_position", {unit, bad, v, true, 1.0, 0.0, 1});
        refused("character_push_offset_rotation", {unit, bad, v, 1.0, true, 1.0, 0.0, 1});
        refused("character_push_pin", {unit, bad, 1, 1.0, 0.0, 1});
        refused("character_push_relative_pin", {unit, bad, &other, 0, 1.0, 1.0, 1.0, 1.0, 0.0, 1});
        refused("character_get_effector_transform", {unit, bad});
    }
    engine.call("character_push_pull", {unit, 3, nan, 0.0, 1});
    engine.call("character_push_reach_position", {unit, 3, Vec3{0, inf, 0}, true, 1.0, 0.0, 1});
    engine.call("character_push_offset_rotation", {unit, 3, v, 1e300, true, 1.0, 0.0, 1});
    engine.call("character_push_relative_pin", {unit, 3, &other, 0, 1.0, nan, 1.0, 1.0, 0.0, 1});
    EXPECT_EQ(engine.takeLog().size(), 4u);
    EXPECT_EQ(constraintCount(), 0);

    engine.call("character_push_offset_rotation", {unit, kWrist, v, 30.0, true, 1.0, 0.0, 1});
    engine.call("character_offset_rotation_set_effector", {unit, 1, 44});
    engine.call("character_offset_rotation_set_axis", {unit, 1, Vec3{0, inf, 0}});
    engine.call("character_offset_rotation_set_angle", {unit, 1, nan});
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_offset_rotation_set_effector: wrong inputs",
                                              "error: character_offset_rotation_set_axis: wrong inputs",
                                              "error: character_offset_rotation_set_angle: wrong inputs"));
    EXPECT_EQ(engine.ask<int>("character_offset_rotation_get_effector", {unit, 1}), kWrist);
    EXPECT_EQ(engine.ask<Vec3>("character_offset_rotation_get_axis", {unit, 1}), v);
    EXPECT_EQ(engine.ask<double>("character_offset_rotation_get_angle", {unit, 1}), 30.0);
}

// The same kinds with the solve on: the weights that they write carry their goals into the pose.
class SolvedConstraint : public EffectorConstraint
{
protected:
    SolvedConstraint()
    {
        engine.call("character_set_solve_flags", {unit, false, false});
        rest = unit->localPoses;
    }
    // Every frame starts from the same animated pose, wherever the unit stands.
    Transform solved(const Vec3& place)
    {
        unit->localPoses = rest;
        unit->place(place, awkward_turn());
        return goalAfterUpdate();
    }
    static Vec3 shifted(float x, float y, float z) { return {kAwkwardPlace[0] + x, kAwkwardPlace[1] + y, kAwkwardPlace[2] + z}; }
    std::vector<LocalPose> rest;
};

TEST_F(SolvedConstraint, AWristReachesItsOrientation)
{
    engine.call("character_push_reach_orientation", {unit, kWrist, Vec3{0, 0, 50}, false, 1.0, 0.0, 1});
    const float s = std::sin(0.5f * 50.0f * 3.14159265f / 180.0f), c = std::cos(0.5f * 50.0f * 3.14159265f / 180.0f);
    EXPECT_NEAR(turn_between_deg(solved(kAwkwardPlace).rotation, quat_product(solverToWorld, {0, 0, s, c})), 0.0, 1.0);
    engine.call("character_set_blend_alpha", {unit, 1, 0.0});
    EXPECT_NEAR(turn_between_deg(solved(kAwkwardPlace).rotation, animated.rotation), 0.0, 0.1);

    engine.call("character_pop", {unit});
    engine.call("character_push_offset_rotation", {unit, kWrist, Vec3{0, 0, 1}, 20.0, false, 1.0, 0.0, 1});
    EXPECT_NEAR(turn_between_deg(solved(kAwkwardPlace).rotation, animated.rotation), 20.0, 1.0);
}

TEST_F(SolvedConstraint, APinnedWristStaysAndAnUnpinnedOneGoesAlong)
{
    engine.call("character_push_pin", {unit, kWrist, 1, 1.0, 0.0, 1});
    solved(kAwkwardPlace);
    EXPECT_THAT(solved(shifted(0.05f, -0.04f, 0.03f)).position, Near3(animated.position, 0.01));
    engine.call("character_set_blend_alpha", {unit, 1, 0.0});
    EXPECT_GT(distance(solved(shifted(0.05f, -0.04f, 0.03f)).position, animated.position), 0.06);
}

TEST_F(SolvedConstraint, AGluedWristFollowsItsCarrierByItsFactors)
{
    EngineUnit& carrier = spawn_biped(engine, world, rig);
    engine.call("character_push_relative_pin", {unit, kWrist, &carrier, 0, 1.0, 0.0, 0.0, 1.0, 0.0, 1});
    solved(kAwkwardPlace);
    carrier.place({0.04f, -0.05f, 0.03f}, {0, 0, 0, 1});
    const Vec3 carried = {animated.position[0] + 0.04f, animated.position[1] - 0.05f, animated.position[2] + 0.03f};
    EXPECT_THAT(solved(kAwkwardPlace).position, Near3(carried, 0.01));
    engine.call("character_set_blend_alpha", {unit, 1, 0.0});
    EXPECT_THAT(solved(kAwkwardPlace).position, Near3(animated.position, 1e-3)) << "weight 0 asks for nothing";
}

TEST_F(SolvedConstraint, AResistingChestOriginChangesHowTheSpineBends)
{
    engine.call("character_push_lod", {unit, false, true});
    const Vec3 aside = unit_point_to_world(*unit, {0.25f, -0.3f, 1.2f});
    engine.call("character_push_reach_position", {unit, LBXEffectorChestEnd, aside, true, 1.0, 0.0, 1});
    engine.call("character_push_resist", {unit, LBXEffectorChestOrigin, 0.0, 0.0, 2});
    const int resist = 3;
    const auto middle = [this]
    {
        solved(kAwkwardPlace);
        return engine.ask<Vec3>("character_get_node_position", {unit, LBXNodeSpine1, 0});
    };
    const Vec3 free = middle();
    EXPECT_EQ(middle(), free) << "the same frame gives the same pose";
    engine.call("character_set_blend_alpha", {unit, resist, 1.0});
    EXPECT_GT(distance(middle(), free), 0.005);
    engine.call("character_set_blend_alpha", {unit, resist, 0.0});
    EXPECT_EQ(middle(), free);
}

}  // namespace

}  // namespace test_engine
