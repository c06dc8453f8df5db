// Constraints that steer the solve itself: options, a solve in the middle of the stack, stages, inverted limbs.
#include "constraints/invert_joint_constraint.h"
#include "constraints/lod_constraint.h"
#include "constraints/partial_solving_constraint.h"
#include "constraints/property_constraint.h"
#include "constraints/solve_constraint.h"
#include "tests/plugin/character_fixture.h"
#include "tests/plugin/kind_fixture.h"

namespace test_engine
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr float kStep_s = 1.0f / 30.0f;

class SolverControl : public KindTest
{};

TEST_F(SolverControl, APropertyHoldsWhileItIsOnTheStackAndUnknownIdsSetNothing)
{
    PropertyConstraint property;
    property.propertyId = LBXPropertyPullIterationCount;
    property.propertyValue = 3.0f;
    property.evaluate(context, kStep_s);
    EXPECT_EQ(LBXPropertyGetValue(context.propertySet, LBXPropertyPullIterationCount), 3.0f);
    EXPECT_EQ(text(property), "(property 142 value changed to 3.000000)");
    EXPECT_EQ(property.alpha, 0.0f) << "nothing blends";

    startFrame();
    std::vector<float> defaults;
    for (int id = 0; id < LBXLastPropertyId; ++id) defaults.push_back(LBXPropertyGetValue(context.propertySet, id));
    for (const int id : {-1, -2000000000, 252, 2000000000})
    {
        property.propertyId = id;
        property.evaluate(context, kStep_s);
    }
    for (int id = 0; id < LBXLastPropertyId; ++id)
        EXPECT_EQ(LBXPropertyGetValue(context.propertySet, id), defaults[static_cast<size_t>(id)]);
}

TEST_F(SolverControl, ASolveStartsAfreshFromTheSolvedPose)
{
    EffectorGoal reach = goal(LBXEffectorLeftWrist);
    reach.translation = add3(reach.translation, {-0.1f, -0.15f, 0.1f, 0.0f});
    write_goal(context, LBXEffectorLeftWrist, reach);
    write_weights(context, LBXEffectorLeftWrist, 1.0f, 0.5f, 0.25f);
    LBXPropertySetValue(context.propertySet, LBXPropertyShoulderCorrection, 0.5f);
    LBXSetEffectorSetSolvingStep(context.effectorSet, LBXSolvingStepAllButStretch & ~uint32_t{LBXSolvingStepHead});
    SolveConstraint constraint;
    constraint.evaluate(context, kStep_s);

    EXPECT_THAT(node(LBXNodeLeftHand).translation, NearPoint(reach.translation, 1e-3)) << "the pose is solved";
    EXPECT_THAT(goal(LBXEffectorLeftWrist).translation, NearPoint(node(LBXNodeLeftHand).translation, 1e-5)) << "goals stand on it";
    for (int effector = 0; effector < LBXLastEffectorId; ++effector) EXPECT_THAT(weights(effector), ::testing::Each(0.0f));
    EXPECT_EQ(LBXPropertyGetValue(context.propertySet, LBXPropertyShoulderCorrection), 0.0f) << "options are the defaults again";
    EXPECT_EQ(LBXGetEffectorSetSolvingStep(context.effectorSet), 0x21FFFFu);
    EXPECT_EQ(text(constraint), "(high definition - effectors reset)");
}

TEST_F(SolverControl, ALevelOfDetailDecidesTheSolvesAboveItAndOutlivesItself)
{
    SolveConstraint constraint;
    {
        LodConstraint lod;
        lod.lowDefinitionSolve = true;
        lod.evaluate(context, kStep_s);
        EXPECT_EQ(text(lod), "(LOD settings: high definition retarget, low definition solve)");
    }
    constraint.evaluate(context, kStep_s);
    EXPECT_TRUE(constraint.usedLowDefinition);
    EXPECT_EQ(text(constraint), "(low definition - effectors reset)");
    LodConstraint().evaluate(context, kStep_s);
    constraint.evaluate(context, kStep_s);
    EXPECT_FALSE(constraint.usedLowDefinition);
}

TEST_F(SolverControl, PartialSolvingClearsTheBitsOfFalseFlagsAndNoOthers)
{
    PartialSolvingConstraint partial;
    partial.evaluate(context, kStep_s);
    EXPECT_EQ(LBXGetEffectorSetSolvingStep(context.effectorSet), 0x218007u) << "all twelve stages off";
    EXPECT_EQ(text(partial), "(Partial solving: arms 0 0 legs 0 0 shoulders 0 0 hands 0 0 feet 0 0 head 0 spine 0)");

    const uint32_t bits[] = {0x20, 0x40, 0x80, 0x100, 0x8, 0x10, 0x200, 0x400, 0x800, 0x1000, 0x2000, 0x4000};
    for (int flag = 0; flag < 12; ++flag)
    {
        startFrame();
        for (bool& stage : partial.stages) stage = true;
        partial.stages[flag] = false;
        partial.evaluate(context, kStep_s);
        EXPECT_EQ(LBXGetEffectorSetSolvingStep(context.effectorSet), 0x21FFFFu & ~bits[flag]) << flag;
    }
    EXPECT_EQ(text(partial), "(Partial solving: arms 1 1 legs 1 1 shoulders 1 1 hands 1 1 feet 1 1 head 1 spine 0)");

    LBXSetEffectorSetSolvingStep(context.effectorSet, 0);
    for (bool& stage : partial.stages) stage = true;
    partial.evaluate(context, kStep_s);
    EXPECT_EQ(LBXGetEffectorSetSolvingStep(context.effectorSet), 0u) << "a true flag switches nothing on";
    SolveConstraint().evaluate(context, kStep_s);
    EXPECT_EQ(LBXGetEffectorSetSolvingStep(context.effectorSet), 0x21FFFFu) << "a solve switches all on again";
}

TEST_F(SolverControl, AnInvertedLimbStaysInvertedAndTheOthersDoNot)
{
    InvertJointConstraint invert;
    invert.limb = LBXLimbLeftArm;
    for (int frame = 0; frame < 2; ++frame) invert.evaluate(context, kStep_s);
    for (int limb = 0; limb < LBXLimbCount; ++limb)
    {
        EXPECT_EQ(LBXGetLimbInverted(context.character, limb), limb == LBXLimbLeftArm) << limb;
    }
    EXPECT_EQ(text(invert), "(inverting limb)");
}

// ---- From a script --------------------------------------------------------------------------------------------------------------

class SolverControlScript : public CharacterTest
{
protected:
    SolverControlScript() : animation(unit->localPoses) {}
    // The animation plays the same pose in every frame.
    void updateFromAnimation()
    {
        unit->localPoses = animation;
        engine.update(world);
    }
    Vec3 node(int id)
    {
        const auto results = engine.call("character_get_node_position", {unit, id, 0});
        return results.size() == 1 ? std::get<Vec3>(results[0]) : Vec3{};
    }
    std::vector<LocalPose> animation;
};

TEST_F(SolverControlScript, AReachAboveASolveStartsFromTheSolvedOffset)
{
    const Vec3 left = node(LBXNodeLeftHand);
    const Vec3 right = node(LBXNodeRightHand);
    const Vec3 right_goal = {right[0] + 0.15f, right[1] - 0.2f, right[2] - 0.1f};
    engine.call("character_push_offset_position", {unit, LBXEffectorLeftWrist, Vec3{-0.1f, -0.1f, 0.1f}, true, 1.0, 0.0, 1});
    engine.call("character_push_solve", {unit});
    engine.call("character_push_reach_position", {unit, LBXEffectorRightWrist, right_goal, true, 1.0, 0.0, 2});
    updateFromAnimation();
    EXPECT_THAT(node(LBXNodeLeftHand), Near3(Vec3{left[0] - 0.1f, left[1] - 0.1f, left[2] + 0.1f}, 2e-3)) << "kept by the final solve";
    EXPECT_THAT(node(LBXNodeRightHand), Near3(right_goal, 2e-3));

    // The offset's weight ended with the solve in the middle: a chest that is moved above it takes the left hand along.
    engine.call("character_pop", {unit});
    engine.call("character_push_offset_position", {unit, LBXEffectorHips, Vec3{0, 0, -0.2f}, true, 1.0, 0.0, 3});
    updateFromAnimation();
    EXPECT_LT(node(LBXNodeLeftHand)[2], left[2]);

    engine.call("character_pop_all", {unit});
    engine.call("character_push_offset_position", {unit, LBXEffectorLeftWrist, Vec3{-0.1f, -0.1f, 0.1f}, true, 1.0, 0.0, 1});
    engine.call("character_push_offset_position", {unit, LBXEffectorHips, Vec3{0, 0, -0.2f}, true, 1.0, 0.0, 3});
    updateFromAnimation();
    EXPECT_THAT(node(LBXNodeLeftHand), Near3(Vec3{left[0] - 0.1f, left[1] - 0.1f, left[2] + 0.1f}, 6e-3)) << "without it the hand is held";
}

TEST_F(SolverControlScript, ElbowsOfInvertedArmsBendTheOtherWay)
{
    const auto elbow_beside_line = [this]
    {
        // How far the elbow lies in front (-y) of the line from shoulder to hand.
        const Vec3 root = node(LBXNodeLeftArm), elbow = node(LBXNodeLeftForeArm), hand = node(LBXNodeLeftHand);
        const float along = (elbow[0] - root[0]) / (hand[0] - root[0]);
        return root[1] + along * (hand[1] - root[1]) - elbow[1];
    };
    const Vec3 hand = node(LBXNodeLeftHand);
    engine.call("character_push_reach_position", {unit, LBXEffectorLeftWrist, Vec3{hand[0] - 0.2f, hand[1], hand[2]}, true, 1.0, 0.0, 1});
    updateFromAnimation();
    const float normal = elbow_beside_line();
    EXPECT_GT(std::fabs(normal), 0.05f);
    engine.call("character_push_invert", {unit, "Left Arm"});
    updateFromAnimation();
    EXPECT_LT(elbow_beside_line() * normal, -0.05f * 0.05f);
    engine.call("character_pop", {unit});
    updateFromAnimation();
    EXPECT_LT(elbow_beside_line() * normal, -0.05f * 0.05f) << "also after the constraint is gone";
}

TEST_F(SolverControlScript, LimbsAreNamedWithoutRegardToCase)
{
    for (const char* name : {"Left Leg", "ll", "LEFT BACK LEG", "left leg", "Right Leg", "RL", "right back leg", "Left Arm", "la",
                             "Left Front Leg", "RIGHT ARM", "Ra", "right Front leg"})
    {
        engine.call("character_push_invert", {unit, name});
        EXPECT_THAT(engine.takeLog(), IsEmpty()) << name;
        EXPECT_EQ(engine.ask<int>("character_get_constraint_type", {unit, 1}), 11) << name;
        engine.call("character_pop_all", {unit});
    }
    for (const Value& name : {Value("left"), Value("left leg "), Value("left le"), Value(""), Value(Nil()), Value(4.0)})
    {
        engine.call("character_push_invert", {unit, name});
        EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_push_invert: unrecognized limb name"));
    }
    EXPECT_EQ(constraintCount(), 0);
}

TEST_F(SolverControlScript, PushesOfSolvesAndPropertiesSayWhenAUnitHasNoContext)
{
    EngineUnit& stranger = spawn_biped(engine, world, rig);
    engine.call("character_push_solve", {&stranger});
    engine.call("character_push_property_value", {&stranger, 142, 3.0});
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_push_solve: cannot find context for unit",
                                              "error: character_push_property_value: cannot find context for unit"));
    engine.call("character_push_invert", {&stranger, "nonsense"});
    engine.call("character_push_partial_solving", {&stranger, true});
    EXPECT_THAT(engine.takeLog(), IsEmpty());

    engine.call("character_push_property_value", {unit, 142, std::nan("")});
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_push_property_value: wrong inputs"));
    engine.call("character_push_property_value", {unit, -5, 3.0});
    engine.call("character_push_property_value", {unit, 252, 3.0});
    engine.call("character_push_solve", {unit});
    engine.call("character_push_partial_solving", {unit, true, false});
    updateFromAnimation();
    EXPECT_THAT(engine.takeLog(), IsEmpty());
    const int types[] = {20, 20, 1, 18};
    ASSERT_EQ(constraintCount(), 4);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(engine.ask<int>("character_get_constraint_type", {unit, i + 1}), types[i]);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {unit, -1}), 1) << "none of them has an id";
}

TEST_F(SolverControlScript, AStageThatIsOffLeavesItsLimbAlone)
{
    const Vec3 hand = node(LBXNodeLeftHand);
    const auto reach_with = [&](bool left_arm)
    {
        engine.call("character_pop_all", {unit});
        engine.call("character_push_partial_solving", {unit, left_arm, true, true, true, true, true, true, true, true, true, true, true});
        engine.call("character_push_reach_position",
                    {unit, LBXEffectorLeftWrist, Vec3{hand[0] - 0.2f, hand[1], hand[2]}, true, 1.0, 0.0, 1});
        updateFromAnimation();
        return distance(node(LBXNodeLeftHand), hand);
    };
    EXPECT_GT(reach_with(true), 0.15);
    EXPECT_LT(reach_with(false), 0.01);
}

}  // namespace

}  // namespace test_engine
