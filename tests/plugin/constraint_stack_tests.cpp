// The stack as scripts see it: order, capacity, lookups, blend weights and every message.
#include <limits>

#include "tests/plugin/character_fixture.h"

namespace test_engine
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ConstraintStack : public CharacterTest
{
protected:
    void pushPull(int id) { engine.call("character_push_pull", {unit, LBXEffectorLeftWrist, 1.0, 0.0, id}); }
};

TEST_F(ConstraintStack, HoldsThirtyTwoAndDropsTheNextSilently)
{
    for (int id = 0; id < 33; ++id) pushPull(id);
    EXPECT_EQ(constraintCount(), 32);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {unit, 31}), 32) << "script indices count from 1";
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {unit, 32}), -1);
    EXPECT_THAT(engine.takeLog(), IsEmpty());

    engine.call("character_pop", {unit});
    pushPull(77);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {unit, 77}), 32);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {unit, 31}), -1);
}

TEST_F(ConstraintStack, PopsTheTopAndAnEmptyStackStaysEmptyWithoutAWord)
{
    engine.call("character_pop", {unit});
    EXPECT_EQ(constraintCount(), 0);
    const size_t blocks_before = engine.liveBlocks();
    for (int id : {5, 6, 5}) pushPull(id);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {unit, 5}), 1) << "the lower of two";
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {unit, 6}), 2);
    engine.call("character_pop", {unit});
    EXPECT_EQ(constraintCount(), 2);
    engine.call("character_pop_all", {unit});
    EXPECT_EQ(constraintCount(), 0);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {unit, 5}), -1);
    EXPECT_EQ(engine.liveBlocks(), blocks_before) << "popped constraints give their memory back";
    EXPECT_THAT(engine.takeLog(), IsEmpty());
}

TEST_F(ConstraintStack, TellsTheKindOfEveryConstraintByItsNumber)
{
    EngineUnit& target = addCharacter();
    const Vec3 v = {0, 0, 1};
    engine.call("character_push_pull", {unit, 3, 1.0, 0.0, 1});
    engine.call("character_push_resist", {unit, 3, 1.0, 0.0, 1});
    engine.call("character_push_reach_position", {unit, 3, v, true, 1.0, 0.0, 1});
    engine.call("character_push_reach_orientation", {unit, 3, v, true, 1.0, 0.0, 1});
    engine.call("character_push_offset_position", {unit, 3, v, true, 1.0, 0.0, 1});
    engine.call("character_push_offset_rotation", {unit, 3, v, 10.0, true, 1.0, 0.0, 1});
    engine.call("character_push_pin", {unit, 3, 1, 1.0, 0.0, 1});
    engine.call("character_push_relative_pin", {unit, 3, &target, 2, 1.0, 1.0, 1.0, 1.0, 0.0, 1});
    engine.call("character_push_lod", {unit, false, true});
    const int expected[] = {9, 16, 5, 6, 7, 8, 10, 15, 17};
    ASSERT_EQ(constraintCount(), 9);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(engine.ask<int>("character_get_constraint_type", {unit, i + 1}), expected[i]);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {unit, -1}), 9) << "a level of detail has no id";
}

TEST_F(ConstraintStack, NamesTheFunctionWhenAUnitHasNoContext)
{
    EngineUnit& stranger = spawn_biped(engine, world, rig);
    for (const char* function : {"character_pop", "character_pop_all", "character_set_blend_alpha", "character_set_blend_time",
                                 "character_num_constraints", "character_get_constraint_type"})
    {
        EXPECT_THAT(engine.call(function, {&stranger, 1, 0.5}), IsEmpty());
        EXPECT_THAT(engine.takeLog(), ElementsAre("error: " + std::string(function) + ": cannot find context for unit"));
    }
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {&stranger, 1}), -1);
    engine.call("character_push_pull", {&stranger, 3, 1.0, 0.0, 1});
    EXPECT_THAT(engine.takeLog(), IsEmpty()) << "lookups and pushes are silent";
}

TEST_F(ConstraintStack, RefusesIndicesOutsideTheStack)
{
    pushPull(1);
    for (const int index : {0, 2, -7, std::numeric_limits<int>::max(), std::numeric_limits<int>::min() + 1})
    {
        for (const char* function : {"character_set_blend_alpha", "character_set_blend_time", "character_get_constraint_type"})
        {
            EXPECT_THAT(engine.call(function, {unit, index, 0.5}), IsEmpty());
            EXPECT_THAT(engine.takeLog(), ElementsAre("error: " + std::string(function) + ": constraint index out of range"));
        }
        EXPECT_THAT(engine.call("character_pin_get_effector", {unit, index}), IsEmpty());
        EXPECT_THAT(engine.takeLog(), ElementsAre("error: check_index_and_constraint: constraint index out of range",
                                                  "error: character_pin_get_effector: wrong inputs"));
    }
}

TEST_F(ConstraintStack, RefusesAccessorsOfAnotherKind)
{
    pushPull(1);
    engine.call("character_push_pin", {unit, 4, 1, 1.0, 0.0, 2});
    EXPECT_THAT(engine.call("character_offset_rotation_set_axis", {unit, 2, Vec3{1, 0, 0}}), IsEmpty());
    EXPECT_THAT(engine.takeLog(),
                ElementsAre("error: check_index_and_constraint: constraint type does not match; at index 1, looked for 8, found 10",
                            "error: character_offset_rotation_set_axis: wrong inputs"));
    EXPECT_THAT(engine.call("character_pin_get_effector", {unit, 2}), ElementsAre(::testing::VariantWith<int>(4)));

    EngineUnit& stranger = spawn_biped(engine, world, rig);
    EXPECT_THAT(engine.call("character_pin_get_effector", {&stranger, 1}), IsEmpty());
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: check_index_and_constraint: cannot find character context for unit",
                                              "error: character_pin_get_effector: cannot find context for unit"));
}

// How far the left wrist has come toward its goal, 0 to 1, read from the solved pose.
class BlendWeight : public CharacterTest
{
protected:
    BlendWeight()
    {
        engine.update(world);
        start = effector(LBXEffectorLeftWrist).position;
        goal = {start[0] - 0.15f, start[1] - 0.05f, start[2] - 0.1f};
    }
    void pushReach(double alpha, double time_s)
    {
        engine.call("character_push_reach_position", {unit, LBXEffectorLeftWrist, goal, true, alpha, time_s, 1});
    }
    // The animation does not move, so every frame starts from the same pose.
    double shareAfter(float step_s)
    {
        for (size_t i = 0; i < rest.size(); ++i) unit->localPoses[i] = rest[i];
        engine.update(world, step_s);
        return 1.0 - distance(effector(LBXEffectorLeftWrist).position, goal) / distance(start, goal);
    }
    std::vector<LocalPose> rest = unit->localPoses;
    Vec3 start, goal;
};

TEST_F(BlendWeight, ReachesItsTargetAtOnceWithoutATimeAndInEvenStepsWithOne)
{
    pushReach(1.0, 0.0);
    const double full = shareAfter(0.5f);
    EXPECT_GT(full, 0.9);
    engine.call("character_pop", {unit});

    pushReach(1.0, 2.0);
    double previous = -1e-3;
    for (int frame = 1; frame <= 3; ++frame)
    {
        const double share = shareAfter(0.5f);
        EXPECT_GT(share, previous) << frame;
        EXPECT_LT(share, full - 0.01) << frame;
        previous = share;
    }
    EXPECT_NEAR(shareAfter(0.5f), full, 1e-4);
    EXPECT_NEAR(shareAfter(0.5f), full, 1e-4);
}

TEST_F(BlendWeight, FallsAtTheSameSpeedAndStopsOnTheTarget)
{
    // The weight that a fresh constraint reaches in one frame without a time tells what each blended frame must show.
    std::vector<double> share_of_weight;
    for (const double weight : {0.0, 0.25, 0.5, 0.75, 1.0})
    {
        pushReach(weight, 0.0);
        share_of_weight.push_back(shareAfter(0.5f));
        engine.call("character_pop", {unit});
    }
    pushReach(0.375, 2.0);
    EXPECT_NEAR(shareAfter(0.5f), share_of_weight[1], 1e-4);
    const double risen = shareAfter(0.5f);
    EXPECT_LT(risen, share_of_weight[2] - 0.01) << "a whole step would pass the target";
    EXPECT_NEAR(shareAfter(0.5f), risen, 1e-6);
    engine.call("character_pop", {unit});

    pushReach(1.0, 2.0);
    for (size_t quarter = 1; quarter <= 4; ++quarter) EXPECT_NEAR(shareAfter(0.5f), share_of_weight[quarter], 1e-4) << quarter;
    engine.call("character_set_blend_alpha", {unit, 1, 0.375});
    EXPECT_NEAR(shareAfter(0.5f), share_of_weight[3], 1e-4);
    EXPECT_NEAR(shareAfter(0.5f), share_of_weight[2], 1e-4);
    const double stopped = shareAfter(0.5f);
    EXPECT_LT(stopped, share_of_weight[2]);
    EXPECT_GT(stopped, share_of_weight[1]) << "stops at 0.375, not a whole step below";
    EXPECT_NEAR(shareAfter(0.5f), stopped, 1e-6);
    engine.call("character_set_blend_time", {unit, 1, 0.0});
    engine.call("character_set_blend_alpha", {unit, 1, 0.0});
    EXPECT_NEAR(shareAfter(0.5f), share_of_weight[0], 1e-4);
    EXPECT_EQ(constraintCount(), 1) << "a faded constraint stays until it is popped";
}

TEST_F(BlendWeight, IgnoresNumbersThatAreNotFinite)
{
    pushReach(1.0, 0.0);
    const double full = shareAfter(0.5f);
    for (const double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), 1e300})
    {
        engine.call("character_set_blend_alpha", {unit, 1, bad});
        engine.call("character_set_blend_time", {unit, 1, bad});
        EXPECT_THAT(engine.takeLog(),
                    ElementsAre("error: character_set_blend_alpha: wrong inputs", "error: character_set_blend_time: wrong inputs"));
        EXPECT_NEAR(shareAfter(0.5f), full, 1e-6);
    }
}

}  // namespace

}  // namespace test_engine
