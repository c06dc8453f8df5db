// Heads that follow a point or another character. The character stands at the origin of the world and faces -y.
#include <limits>

#include "constraints/look_at_constraint.h"
#include "tests/plugin/character_fixture.h"
#include "tests/plugin/kind_fixture.h"

namespace test_engine
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr float kHeadHeight = 1.65f;
constexpr double kTolerance_deg = 0.02;
constexpr float kAnySpeed = 1000.0f;
constexpr Vec4 kSolverUp = {0, 1, 0, 0};

Vec4 unit_vector(double heading_deg, double pitch_deg)
{
    // Heading 0 is the character's forward, positive to its left (+x).
    const double heading = heading_deg * M_PI / 180.0, pitch = pitch_deg * M_PI / 180.0;
    return {static_cast<float>(std::sin(heading) * std::cos(pitch)), static_cast<float>(-std::cos(heading) * std::cos(pitch)),
            static_cast<float>(std::sin(pitch)), 0.0f};
}

class LookAt : public KindTest
{
protected:
    LookAt()
    {
        context.rootPosition = kZero4;
        context.rootRotation = {kYUpToZUp[0], kYUpToZUp[1], kYUpToZUp[2], kYUpToZUp[3]};
        context.inverseRootRotation = conjugate(context.rootRotation);
        look.blendAlpha = 0.75f;
        look.maxTurnSpeed = kAnySpeed;
        head_world = solver_to_world(context, goal(LBXEffectorHead).translation);
    }
    void lookToward(double heading_deg, double pitch_deg, float distance = 3.0f)
    {
        startFrame();
        look.target.position = add3(head_world, scale3(unit_vector(heading_deg, pitch_deg), distance));
        look.evaluate(context, 1.0f);
    }
    Vec4 face() { return rotate(rotation_to_world(context, goal(LBXEffectorHead).rotation), {0, 0, 1, 0}); }
    double headingOfFace_deg() { return std::atan2(face().x, -face().y) * 180.0 / M_PI; }
    double pitchOfFace_deg() { return std::asin(face().z) * 180.0 / M_PI; }
    // How far the ear line is off the horizontal.
    double roll() { return static_cast<double>(rotate(rotation_to_world(context, goal(LBXEffectorHead).rotation), {1, 0, 0, 0}).z); }

    LookAtConstraint look;
    Vec4 head_world;
};

TEST_F(LookAt, TurnsTheHeadAboutTheVerticalThenUp)
{
    EXPECT_NEAR(head_world.z, kHeadHeight, 1e-4f);
    const EffectorGoal before = goal(LBXEffectorHead);
    lookToward(30.0, 0.0);
    EXPECT_THAT(goal(LBXEffectorHead).rotation, NearTurn(axis_turn(kSolverUp, 30.0), kTolerance_deg));
    EXPECT_THAT(goal(LBXEffectorHead).translation, NearPoint(before.translation, 1e-6));
    EXPECT_THAT(weights(LBXEffectorHead), ElementsAre(0, 0.75f, 0, 0));
    EXPECT_THAT(weights(LBXEffectorChestEnd), ::testing::Each(0.0f)) << "without a contribution the chest is left alone";

    // The second pass takes the height of the wanted direction over a horizontal of length one: sin 40 over 1.
    lookToward(-70.0, 40.0);
    EXPECT_NEAR(headingOfFace_deg(), -70.0, kTolerance_deg);
    EXPECT_NEAR(pitchOfFace_deg(), std::atan(std::sin(40.0 * M_PI / 180.0)) * 180.0 / M_PI, kTolerance_deg);
    EXPECT_NEAR(roll(), 0.0, 1e-5);
    EXPECT_THAT(look.lookDirection, NearPoint(unit_vector(-70.0, 40.0), 1e-5)) << "the look itself travels all the way";
}

TEST_F(LookAt, InTheHorizontalOnlyNeverPitches)
{
    look.xyOnly = true;
    lookToward(20.0, 60.0);
    EXPECT_NEAR(headingOfFace_deg(), 20.0, kTolerance_deg);
    EXPECT_NEAR(pitchOfFace_deg(), 0.0, kTolerance_deg);
    EXPECT_THAT(look.lookDirection, NearPoint(unit_vector(20.0, 0.0), 1e-5));
}

TEST_F(LookAt, TheLookTravelsAtMostItsSpeed)
{
    look.maxTurnSpeed = static_cast<float>(90.0 * M_PI / 180.0);
    look.target.position = {0, -3, kHeadHeight, 0};
    look.lookDirection = unit_vector(45.0, 0.0);
    Vec4 previous = look.lookDirection;
    for (int frame = 1; frame <= 4; ++frame)
    {
        startFrame();
        look.evaluate(context, 0.1f);
        EXPECT_NEAR(std::acos(dot3(previous, look.lookDirection)) * 180.0 / M_PI, 9.0, 0.05);
        EXPECT_NEAR(headingOfFace_deg(), 45.0 - 9.0 * frame, 0.05);
        previous = look.lookDirection;
    }
    for (int frame = 0; frame < 2; ++frame) look.evaluate(context, 0.1f);
    EXPECT_THAT(look.lookDirection, NearPoint(Vec4{0, -1, 0, 0}, 1e-5)) << "and stops on the target";
    look.maxTurnSpeed = 0.0f;
    look.target.position = {3, 0, kHeadHeight, 0};
    look.evaluate(context, 0.1f);
    EXPECT_THAT(look.lookDirection, NearPoint(Vec4{0, -1, 0, 0}, 1e-5));
}

TEST_F(LookAt, LimitsHoldTheHeadNearWhereItPointed)
{
    look.limitsEnabled = true;
    look.horizontalLimit = static_cast<float>(30.0 * M_PI / 180.0);
    look.verticalLimit = static_cast<float>(10.0 * M_PI / 180.0);
    for (const double side : {1.0, -1.0})
    {
        lookToward(side * 179.0, 0.0);
        EXPECT_NEAR(headingOfFace_deg(), side * 30.0, kTolerance_deg);
        lookToward(side * 20.0, side * 60.0);
        EXPECT_NEAR(headingOfFace_deg(), side * 20.0, kTolerance_deg);
        EXPECT_NEAR(pitchOfFace_deg(), side * 10.0, kTolerance_deg);
    }
    EXPECT_THAT(text(look), StartsWith("(look at) limits_enabled: true (horizontal: 30.0000"));
    look.limitsEnabled = false;
    EXPECT_THAT(text(look), StartsWith("(look at) limits_enabled: false (horizontal: 30.0000"));
}

TEST_F(LookAt, TheChestTakesItsShareOfTheHeadsRotation)
{
    look.xyOnly = true;
    look.chestContribution = 0.5f;
    lookToward(60.0, 0.0);
    EXPECT_THAT(goal(LBXEffectorChestEnd).rotation, NearTurn(axis_turn(kSolverUp, 30.0), kTolerance_deg));
    EXPECT_THAT(weights(LBXEffectorChestEnd), ElementsAre(0, 0.75f, 0, 0));
}

TEST_F(LookAt, DegenerateDirectionsGiveNoTurnAndNoNan)
{
    constexpr float huge = std::numeric_limits<float>::max();
    look.chestContribution = huge;
    look.limitsEnabled = true;
    look.horizontalLimit = look.verticalLimit = huge;
    const Vec4 targets[] = {head_world,
                            add3(head_world, {0, 0, 2, 0}),
                            add3(head_world, {0, 0, -2, 0}),
                            add3(head_world, {0, 2, 0, 0}),
                            add3(head_world, {0, -2, 0, 0}),
                            {huge, huge, -huge, 0},
                            {1e-30f, 0, 0, 0}};
    for (const bool xy_only : {false, true})
    {
        for (const Vec4& target : targets)
        {
            for (const float step_s : {0.0f, 0.03f, -1.0f, huge})
            {
                look.xyOnly = xy_only;
                look.target.position = target;
                startFrame();
                look.evaluate(context, step_s);
                EXPECT_TRUE(is_finite4(goal(LBXEffectorHead).rotation));
                EXPECT_NEAR(length4(goal(LBXEffectorHead).rotation), 1.0f, 1e-4f);
                EXPECT_TRUE(is_finite4(goal(LBXEffectorChestEnd).rotation));
                EXPECT_NEAR(length3(look.lookDirection), 1.0f, 1e-4f);
                solve();
                EXPECT_TRUE(is_finite4(node(LBXNodeHead).rotation));
                LBXGetCharacterizeState(context.character, context.state);
            }
        }
    }
    // The look starts along +y, straight behind this head: nothing says which way to turn.
    LookAtConstraint behind;
    behind.maxTurnSpeed = kAnySpeed;
    behind.target.position = add3(head_world, {0, 2, 0, 0});
    startFrame();
    behind.evaluate(context, 1.0f);
    EXPECT_THAT(goal(LBXEffectorHead).rotation, NearTurn(kIdentityRotation, kTolerance_deg));
}

TEST_F(LookAt, RecordsTheHeadAndTheWantedDirection)
{
    context.debugPoints.count = context.debugSegments.count = 0;
    lookToward(30.0, 0.0);
    ASSERT_EQ(context.debugPoints.count, 1);
    ASSERT_EQ(context.debugSegments.count, 1) << "a position has no context of its own to mark";
    EXPECT_EQ(context.debugPoints.entries[0].colour, 0xaf0000u);
    EXPECT_THAT(solver_to_world(context, context.debugPoints.entries[0].position), NearPoint(head_world, 1e-5));
    const DebugSegment& line = context.debugSegments.entries[0];
    EXPECT_EQ(line.inUnitFrame, 1);
    EXPECT_THAT(solver_to_world(context, line.end), NearPoint(add3(head_world, unit_vector(30.0, 0.0)), 1e-5));
    for (int frame = 0; frame < 40; ++frame) lookToward(30.0, 0.0);
    EXPECT_EQ(context.debugPoints.count, 16);
    EXPECT_EQ(context.debugSegments.count, 16);
}

// ---- At other characters, from a script -------------------------------------------------------------------------------------------

class LookAtUnit : public CharacterTest
{
protected:
    LookAtUnit() { keepGoals(); }
    void push(Value target, Value target_effector, double alpha = 1.0, double time = 0.0)
    {
        engine.call("character_push_look_at", {unit, target, target_effector, Vec3{5, -5, kHeadHeight}, false, true, 0.0, 100000.0, false,
                                               90.0, 45.0, alpha, time, 1});
    }
    // The unit faces -y; positive to its left.
    double heading_deg()
    {
        const Quat4 q = effector(LBXEffectorHead).rotation;
        const Matrix3 axes = matrix_from_quat(q);
        return std::atan2(axes.m[2][0], -axes.m[2][1]) * 180.0 / M_PI;
    }
    double headingAfterUpdate_deg(float step_s = 1.0f / 30.0f)
    {
        engine.update(world, step_s);
        return heading_deg();
    }
    static double headingTo_deg(const Vec3& from, const Vec3& to)
    {
        return std::atan2(static_cast<double>(to[0]) - from[0], -(static_cast<double>(to[1]) - from[1])) * 180.0 / M_PI;
    }
};

TEST_F(LookAtUnit, FollowsAnEffectorOfTheOtherCharacterAndThenLetsGo)
{
    EngineUnit& other = addCharacter();
    engine.takeLog();
    push(&other, LBXEffectorLeftWrist + 0.9);
    for (const float x : {-2.0f, 0.5f, 2.0f})
    {
        other.place({x, -3, 0}, {0, 0, 0, 1});
        engine.update(world);  // the other's goals are of this frame or of the last
        const double heading = headingAfterUpdate_deg();
        EXPECT_NEAR(heading, headingTo_deg({0, 0, 0}, {x + 0.71f, -3, 0}), 0.05);
    }
    EXPECT_THAT(engine.call("character_look_at_set_target_unit", {unit, 1, &other, LBXEffectorHead}), IsEmpty());
    EXPECT_NEAR(headingAfterUpdate_deg(), headingTo_deg({0, 0, 0}, {2.0f, -3, 0}), 0.05);

    engine.call("character_delete_context", {&other});
    EXPECT_NEAR(headingAfterUpdate_deg(), 0.0, 0.05) << "no character any more";
    engine.call("character_declare_context", {&other, "rig"});
    EXPECT_NEAR(headingAfterUpdate_deg(), 0.0, 0.05) << "declared, not yet evaluated when the first one looks";
    EXPECT_NEAR(headingAfterUpdate_deg(), headingTo_deg({0, 0, 0}, {2.0f, -3, 0}), 0.05);

    engine.deleteUnit(other);
    EXPECT_NEAR(headingAfterUpdate_deg(), 0.0, 0.05);
    engine.takeLog();
    engine.call("character_look_at_set_target_unit", {unit, 1, Nil(), 3});
    EXPECT_NEAR(headingAfterUpdate_deg(), 45.0, 0.05) << "without a unit the position counts";
    engine.call("character_look_at_set_target_position", {unit, 1, Vec3{-3, -3, 1}});
    EXPECT_NEAR(headingAfterUpdate_deg(), -45.0, 0.05);
    EXPECT_THAT(engine.takeLog(), IsEmpty());
}

TEST_F(LookAtUnit, WaitsForATargetThatIsNotYetBuilt)
{
    engine.call("character_set_solve_flags", {unit, false, true});
    EngineUnit& other = spawn_biped(engine, world, rig);
    other.place({2, -2, 0}, {0, 0, 0, 1});
    engine.call("enable", {false});
    engine.call("character_declare_context", {&other, "rig"});
    engine.call("enable", {true});
    push(&other, LBXEffectorHead, 1.0, 4.0);
    engine.update(world, 1.0f);
    const double waiting = heading_deg();
    engine.update(world, 1.0f);
    const double quarter = heading_deg();
    EXPECT_NEAR(waiting, 0.0, 0.05);
    EXPECT_GT(quarter, 1.0);
    for (int frame = 0; frame < 2; ++frame) engine.update(world, 1.0f);
    EXPECT_LT(quarter, 0.6 * heading_deg()) << "the weight did not travel while there was nothing to look at";
}

TEST_F(LookAtUnit, ACharacterMayLookAtItself)
{
    for (const int target : {LBXEffectorHead, LBXEffectorLeftWrist, LBXEffectorHips})
    {
        push(unit, target);
        const double heading = headingAfterUpdate_deg();
        EXPECT_TRUE(std::isfinite(heading));
        if (target == LBXEffectorLeftWrist) { EXPECT_NEAR(heading, 90.0, 0.1) << "a hand held out to the left"; }
        engine.call("character_pop", {unit});
    }
}

TEST_F(LookAtUnit, TheLineOfSightIsRecordedWithTheOneWhoIsLookedAt)
{
    EngineUnit& other = addCharacter();  // evaluated after the one it looks at, whose list is then complete
    unit->place(kAwkwardPlace, awkward_turn());
    other.place({2, -24, 0}, {0, 0, 0, 1});
    engine.takeLog();
    engine.call("character_push_look_at",
                {&other, unit, LBXEffectorLeftWrist, Vec3{}, false, true, 0.0, 1e6, false, 90.0, 45.0, 1.0, 0.0, 1});
    engine.update(world);
    const Vec3 wrist = world_position(*unit, rig.nodeIndex("LeftHand"));
    ASSERT_EQ(engine.ask<int>("character_num_markers", {unit}), 1);
    EXPECT_THAT(engine.ask<Vec3>("character_get_marker_position", {unit, 1}), Near3(wrist, 1e-4));
    ASSERT_EQ(engine.ask<int>("character_num_lines", {unit}), 1);
    const std::vector<Value> sight = engine.call("character_get_line_position", {unit, 1});
    ASSERT_EQ(sight.size(), 2u);
    EXPECT_THAT(std::get<Vec3>(sight[0]), Near3(Vec3{2, -24, kHeadHeight}, 1e-4)) << "the other's head, in the world";
    EXPECT_THAT(std::get<Vec3>(sight[1]), Near3(Vec3{2, -25, kHeadHeight}, 1e-4)) << "where its face pointed in the animation";

    ASSERT_EQ(engine.ask<int>("character_num_markers", {&other}), 1);
    EXPECT_THAT(engine.ask<Vec3>("character_get_marker_position", {&other, 1}), Near3(Vec3{2, -24, kHeadHeight}, 1e-4));
    ASSERT_EQ(engine.ask<int>("character_num_lines", {&other}), 1);
    const std::vector<Value> wanted = engine.call("character_get_line_position", {&other, 1});
    ASSERT_EQ(wanted.size(), 2u);
    const double x = static_cast<double>(wrist[0]) - 2, y = static_cast<double>(wrist[1]) + 24, length = std::hypot(x, y);
    EXPECT_THAT(std::get<Vec3>(wanted[0]), Near3(Vec3{2, -24, kHeadHeight}, 1e-4));
    EXPECT_THAT(std::get<Vec3>(wanted[1]),
                Near3(Vec3{static_cast<float>(2 + x / length), static_cast<float>(-24 + y / length), kHeadHeight}, 1e-4));
    engine.call("character_pop", {&other});
    engine.update(world);
    EXPECT_EQ(engine.ask<int>("character_num_lines", {unit}), 0);
    EXPECT_EQ(engine.ask<int>("character_num_markers", {&other}), 0);
}

TEST_F(LookAtUnit, RefusesUnitsThatAreNoCharacters)
{
    EngineUnit& stranger = spawn_biped(engine, world, rig);
    EngineUnit& gone = addCharacter();
    engine.deleteUnit(gone);
    engine.takeLog();
    for (EngineUnit* target : {&stranger, &gone})
    {
        push(target, 15);
        EXPECT_THAT(
            engine.takeLog(),
            ElementsAre(
                "error: character_push_look_at: only CHARACTERIZED units can be set as target",
                "error: If the unit IS characterized, make sure it has been declared before that call (Limbrex Character flow node)",
                "error: If you want to look at a non characterized unit, rather use character_look_at_set_target_position."));
    }
    EXPECT_EQ(constraintCount(), 0);
    engine.call("character_push_look_at", {&stranger, &stranger, 15});
    EXPECT_THAT(engine.takeLog(), IsEmpty()) << "a push onto no character is silent";

    push(Nil(), std::nan(""));
    EXPECT_NEAR(headingAfterUpdate_deg(), 45.0, 0.05) << "without a unit its effector is not read";
    engine.call("character_look_at_set_target_unit", {unit, 1, &stranger, 15});
    EXPECT_THAT(engine.takeLog(),
                ElementsAre("error: character_look_at_set_target_unit: only CHARACTERIZED units can be set as target",
                            "error: If you want to look at a non characterized unit, rather use character_look_at_set_target_position."));
    EXPECT_NEAR(headingAfterUpdate_deg(), 45.0, 0.05);
}

TEST_F(LookAtUnit, RefusesEffectorsThatDoNotExistAndNumbersThatAreNotFinite)
{
    for (const double bad : {-1.0, 44.0, 1e30, -1e30, std::nan("")})
    {
        push(unit, bad);
        EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_push_look_at: wrong inputs")) << bad;
    }
    push(Nil(), 0, std::numeric_limits<double>::infinity());
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_push_look_at: wrong inputs"));
    EXPECT_EQ(constraintCount(), 0);

    push(unit, 3);
    engine.call("character_look_at_set_target_unit", {unit, 1, unit, 44.0});
    EXPECT_THAT(engine.takeLog(), ElementsAre(StartsWith("error: character_look_at_set_target_unit: wrong inputs (unit 0x")));
    engine.call("character_look_at_set_target_position", {unit, 1, Vec3{0, std::nanf(""), 0}});
    engine.call("character_look_at_set_chest_contribution", {unit, 1, std::nan("")});
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_look_at_set_target_position: wrong inputs",
                                              "error: character_look_at_set_chest_contribution: wrong inputs"));
    engine.call("character_look_at_set_target_unit", {unit, 2, unit, 3});
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: check_index_and_constraint: constraint index out of range",
                                              StartsWith("error: character_look_at_set_target_unit: wrong inputs (unit 0x")));
}

TEST_F(LookAtUnit, FieldsReadBackAsTheyWereSet)
{
    push(Nil(), 0);
    EXPECT_TRUE(engine.ask<bool>("character_look_at_is_xy_only", {unit, 1}));
    engine.call("character_look_at_set_xy_only", {unit, 1, false});
    EXPECT_FALSE(engine.ask<bool>("character_look_at_is_xy_only", {unit, 1}));
    EXPECT_EQ(engine.ask<double>("character_look_at_get_chest_contribution", {unit, 1}), 0.0);
    engine.call("character_look_at_set_chest_contribution", {unit, 1, 0.375});
    EXPECT_EQ(engine.ask<double>("character_look_at_get_chest_contribution", {unit, 1}), 0.375);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_type", {unit, 1}), 13);
}

}  // namespace

}  // namespace test_engine
