// One frame of a character: what is read, what is written, what is left alone.
#include <cstring>
#include <limits>
#include <random>

#include "tests/plugin/character_fixture.h"

namespace test_engine
{

namespace
{

using ::testing::IsEmpty;

class CharacterEvaluation : public CharacterTest
{
protected:
    void pushReach(const Vec3& goal = {0.4f, -0.5f, 1.2f})
    {
        engine.call("character_push_reach_position", {unit, LBXEffectorLeftWrist, goal, true, 1.0, 0.0, 1});
    }
    std::vector<uint8_t> poseBytes() const
    {
        std::vector<uint8_t> bytes(unit->localPoses.size() * sizeof(LocalPose));
        std::memcpy(bytes.data(), unit->localPoses.data(), bytes.size());
        return bytes;
    }
    // True when an update leaves every pose and every flag of the unit as it was.
    bool untouchedByUpdate()
    {
        const std::vector<uint8_t> before = poseBytes();
        engine.update(world);
        bool untouched = before == poseBytes();
        for (const uint32_t word : unit->changedWords) untouched = untouched && word == 0;
        return untouched;
    }
    bool isMapped(size_t node_index) const { return node_index >= 2; }
};

TEST_F(CharacterEvaluation, WritesNothingWithoutAConstraintAndMarksEveryMappedNodeWithOne)
{
    EXPECT_TRUE(untouchedByUpdate());
    pushReach();
    unit->localPoses[5].scale[1] = 2.5f;
    engine.update(world);
    EXPECT_TRUE(unit->changed(0)) << "some node changed";
    for (size_t i = 0; i < unit->localPoses.size(); ++i) EXPECT_EQ(unit->changed(i + 1), isMapped(i)) << rig.nodes[i].name;
    EXPECT_EQ(unit->localPoses[5].scale[1], 2.5f) << "the engine keeps its scales";
}

TEST_F(CharacterEvaluation, TheSolvedPoseReachesAGoalAndKeepsBonesAndRotationsSound)
{
    const Vec3 goal = {0.45f, -0.35f, 1.25f};
    pushReach(goal);
    engine.update(world);
    unit->propagate();
    EXPECT_THAT(world_position(*unit, rig.nodeIndex("LeftHand")), Near3(goal, 0.01));
    for (const LocalPose& pose : unit->localPoses)
    {
        Matrix3 axes;
        for (int k = 0; k < 9; ++k) axes.m[k / 3][k % 3] = pose.rotation[k];
        Matrix3 transposed;
        for (int k = 0; k < 9; ++k) transposed.m[k % 3][k / 3] = pose.rotation[k];
        EXPECT_LT(largest_difference(multiply(axes, transposed), matrix_from_quat({0, 0, 0, 1})), 1e-4);
    }
    const float* forearm = unit->localPoses[rig.nodeIndex("LeftForeArm")].translation;
    EXPECT_NEAR(std::hypot(std::hypot(forearm[0], forearm[1]), forearm[2]), 0.28f, 1e-4f);
}

TEST_F(CharacterEvaluation, SwitchesTurnOffTheSolveOrTheWritingOrAll)
{
    pushReach();
    const std::vector<LocalPose> animated = unit->localPoses;
    engine.call("character_set_solve_flags", {unit, true, false});
    engine.update(world);
    EXPECT_TRUE(unit->changed(0)) << "without a solve the animated pose itself is written";
    for (size_t i = 0; i < animated.size(); ++i)
    {
        for (int k = 0; k < 9; ++k) EXPECT_NEAR(unit->localPoses[i].rotation[k], animated[i].rotation[k], 1e-5f);
        for (int k = 0; k < 3; ++k) EXPECT_NEAR(unit->localPoses[i].translation[k], animated[i].translation[k], 1e-5f);
    }
    engine.call("character_set_solve_flags", {unit, false, true});
    EXPECT_TRUE(untouchedByUpdate());
    const std::vector<Value> flags = engine.call("character_get_solve_flags", {unit});
    ASSERT_EQ(flags.size(), 2u);
    EXPECT_FALSE(std::get<bool>(flags[0]));
    EXPECT_TRUE(std::get<bool>(flags[1]));

    engine.call("character_set_solve_flags", {unit, false, false});
    engine.call("enable", {false});
    EXPECT_TRUE(untouchedByUpdate());
    EXPECT_EQ(constraintCount(), 1) << "a disabled plugin keeps its stacks";
    engine.call("enable", {true});
    EXPECT_FALSE(untouchedByUpdate());
}

TEST_F(CharacterEvaluation, NumbersThatAreNotFiniteLeaveTheUnitUntouched)
{
    pushReach();
    engine.update(world);
    const std::vector<LocalPose> sound = unit->localPoses;
    const size_t leg = rig.nodeIndex("RightLeg");
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()})
    {
        for (float* number : {&unit->localPoses[leg].translation[1], &unit->localPoses[leg].rotation[4], &unit->localPoses[leg].scale[2],
                              &unit->localPoses[0].translation[0]})
        {
            const float before = *number;
            *number = bad;
            EXPECT_TRUE(untouchedByUpdate());
            *number = before;
            EXPECT_FALSE(untouchedByUpdate()) << "the next sound frame is solved again";
            unit->localPoses = sound;
        }
    }
    // Finite numbers beyond all measure may not become anything else on the way through.
    unit->localPoses[leg].translation[1] = 3e38f;
    unit->localPoses[rig.nodeIndex("Hips")].translation[1] = 3e38f;
    engine.update(world);
    for (const LocalPose& pose : unit->localPoses)
    {
        for (const float number : pose.rotation) EXPECT_TRUE(std::isfinite(number));
        for (const float number : pose.translation) EXPECT_TRUE(std::isfinite(number));
    }
    unit->localPoses = sound;
    EXPECT_FALSE(untouchedByUpdate());
    for (const float number : unit->localPoses[leg].rotation) EXPECT_TRUE(std::isfinite(number)) << "and leave no trace in later frames";
}

TEST_F(CharacterEvaluation, AUnitThatLostNodesIsLeftAlone)
{
    pushReach();
    unit->localPoses.resize(10);
    unit->parents.resize(10);
    EXPECT_TRUE(untouchedByUpdate());
}

// Local pose -> library -> local pose, and the library's globals against matrices in double precision.
TEST_F(CharacterEvaluation, RotationsPassBothWaysWhateverTheirTrace)
{
    pushReach();
    engine.call("character_set_solve_flags", {unit, true, false});
    std::mt19937 random(7);
    std::normal_distribution<float> normal;
    int negative_traces = 0;
    for (int round = 0; round < 200; ++round)
    {
        Matrix3 global[64];
        std::vector<Matrix3> local(unit->localPoses.size());
        for (size_t i = 0; i < unit->localPoses.size(); ++i)
        {
            // Half turns about every axis come first; Reference stays at its stance.
            Quat4 q = {normal(random), normal(random), normal(random), normal(random)};
            if (round < 8) q = {round & 1 ? 1.0f : 0.0f, round & 2 ? 1.0f : 0.0f, round & 4 ? 1.0f : 0.0f, round == 0 ? 1.0f : 1e-4f};
            if (i <= rig.nodeIndex("Reference")) q = {0, 0, 0, 1};
            if (i == 1) q = kYUpToZUp;
            const float length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
            for (float& component : q) component /= length;
            local[i] = matrix_from_quat(q);
            for (int k = 0; k < 9; ++k) unit->localPoses[i].rotation[k] = static_cast<float>(local[i].m[k / 3][k % 3]);
            if (local[i].m[0][0] + local[i].m[1][1] + local[i].m[2][2] < 0.0) ++negative_traces;
            global[i] = unit->parents[i] < 0 ? local[i] : multiply(local[i], global[unit->parents[i]]);
        }
        engine.update(world);
        for (size_t i = 0; i < unit->localPoses.size(); ++i)
        {
            Matrix3 written;
            for (int k = 0; k < 9; ++k) written.m[k / 3][k % 3] = unit->localPoses[i].rotation[k];
            ASSERT_LT(largest_difference(written, local[i]), 1e-5) << rig.nodes[i].name << " in round " << round;
        }
        for (const Mapped& mapped : rig.mapping)
        {
            const std::vector<Value> results = engine.call("character_get_node_transform", {unit, mapped.nodeId, 0});
            ASSERT_EQ(results.size(), 2u);
            const size_t i = rig.nodeIndex(mapped.name);
            ASSERT_LT(largest_difference(matrix_from_quat(std::get<Quat4>(results[1])), global[i]), 2e-5) << mapped.name;
            ASSERT_THAT(std::get<Vec3>(results[0]), Near3(world_position(*unit, i), 2e-5)) << mapped.name;
        }
    }
    EXPECT_GT(negative_traces, 500) << "the branch for large turns was taken";
}

TEST_F(CharacterEvaluation, QueriesTellThePoseBeforeAndAfterTheSolve)
{
    pushReach();
    unit->localPoses[rig.nodeIndex("Hips")].translation[0] = 0.07f;  // off the stance
    unit->propagate();
    const Vec3 before = world_position(*unit, rig.nodeIndex("LeftHand"));
    engine.update(world);
    EXPECT_THAT(engine.ask<Vec3>("character_get_node_position", {unit, LBXNodeLeftHand, 1}), Near3(before, 1e-5));
    unit->propagate();
    const Vec3 after = world_position(*unit, rig.nodeIndex("LeftHand"));
    EXPECT_GT(distance(before, after), 0.05);
    EXPECT_THAT(engine.ask<Vec3>("character_get_node_position", {unit, LBXNodeLeftHand, 0}), Near3(after, 1e-4));
    EXPECT_THAT(engine.ask<Vec3>("character_get_node_position", {unit, LBXNodeLeftHand, 7}), Near3(after, 1e-4));

    EXPECT_EQ(engine.ask<int>("character_get_node_children_count", {unit, LBXNodeReference}), 1);
    EXPECT_EQ(engine.ask<int>("character_get_node_parent_id", {unit, LBXNodeReference}), -1);
    EXPECT_EQ(engine.ask<int>("character_get_node_parent_id", {unit, LBXNodeLeftHand}), LBXNodeLeftForeArm);
    EXPECT_EQ(engine.ask<int>("character_get_node_child_id", {unit, LBXNodeLeftForeArm, 1}), LBXNodeLeftHand);
    EXPECT_EQ(engine.ask<int>("character_get_node_child_id", {unit, LBXNodeLeftForeArm, 2}), -1);
    EXPECT_EQ(engine.ask<int>("character_get_node_child_id", {unit, LBXNodeLeftForeArm, -2000000000}), -1);
    engine.takeLog();
    for (const char* query : {"character_get_node_position", "character_get_node_transform", "character_get_node_children_count",
                              "character_get_node_child_id", "character_get_node_parent_id"})
    {
        for (const int bad : {-1, 212, 2000000000, -2000000000})
        {
            EXPECT_THAT(engine.call(query, {unit, bad, 1}), IsEmpty());
            EXPECT_THAT(engine.takeLog(), ::testing::ElementsAre("error: " + std::string(query) + ": wrong inputs"));
        }
    }
}

TEST_F(CharacterEvaluation, AllocatesNothingPerFrame)
{
    EngineUnit& carrier = addCharacter();
    const Vec3 v = {0.3f, -0.2f, 1.0f};
    engine.call("character_push_pull", {unit, 3, 1.0, 0.5, 1});
    engine.call("character_push_resist", {unit, 1, 1.0, 0.5, 1});
    engine.call("character_push_reach_position", {unit, 3, v, true, 1.0, 0.5, 1});
    engine.call("character_push_reach_orientation", {unit, 15, v, true, 1.0, 0.5, 1});
    engine.call("character_push_offset_position", {unit, 4, v, true, 1.0, 0.5, 1});
    engine.call("character_push_offset_rotation", {unit, 15, v, 10.0, true, 1.0, 0.5, 1});
    engine.call("character_push_pin", {unit, 2, 1, 1.0, 0.5, 1});
    engine.call("character_push_relative_pin", {unit, 4, &carrier, 3, 1.0, 1.0, 1.0, 1.0, 0.5, 1});
    engine.call("character_push_lod", {unit, false, false});
    const size_t before = engine.allocations();
    for (int frame = 0; frame < 30; ++frame) engine.update(world);
    engine.call("character_push_lod", {unit, true, true});
    const size_t after_push = engine.allocations();
    EXPECT_EQ(after_push, before + 1) << "a push is one block";
    for (int frame = 0; frame < 30; ++frame) engine.update(world);
    EXPECT_EQ(engine.allocations(), after_push);
}

TEST_F(CharacterEvaluation, TheLevelOfDetailStaysAfterItsConstraint)
{
    // Feet pinned and a wrist drawn far away: the two solves differ in what the body does.
    const auto solved_hips = [this]
    {
        const std::vector<LocalPose> animated = unit->localPoses;
        engine.update(world);
        unit->propagate();
        const Vec3 chest = world_position(*unit, rig.nodeIndex("Spine1"));
        const float turn = unit->localPoses[rig.nodeIndex("Spine1")].rotation[1];
        unit->localPoses = animated;
        return std::array<float, 4>{chest[0], chest[1], chest[2], turn};
    };
    pushReach({0.9f, -1.0f, 0.6f});
    engine.call("character_push_pull", {unit, LBXEffectorLeftWrist, 1.0, 0.0, 2});
    const auto high = solved_hips();
    engine.call("character_push_lod", {unit, false, true});
    const auto low = solved_hips();
    EXPECT_NE(high, low);
    engine.call("character_pop", {unit});
    EXPECT_EQ(solved_hips(), low) << "the choice outlives the constraint";
    engine.call("character_push_lod", {unit, false, false});
    EXPECT_EQ(solved_hips(), high);
}

TEST(CharacterParentOffsets, NodesBetweenAMappedNodeAndItsTemplateParentAreCarriedAlong)
{
    // Two helpers stand between forearm and hand, turned and moved; the rig names both, nearest first.
    Engine engine;
    EngineWorld& world = engine.addWorld();
    engine.call("enable", {true});
    TestRig rig = biped();
    const auto insert_helper = [&rig](const std::string& name, const std::string& parent) {
        rig.nodes.push_back({name, static_cast<int>(rig.nodeIndex(parent)), {0.02f, 0.01f, -0.03f}});
    };
    const size_t hand = rig.nodeIndex("LeftHand");
    rig.nodes.erase(rig.nodes.begin() + static_cast<long>(hand));
    for (NodeSpec& node : rig.nodes)
    {
        if (node.parent > static_cast<int>(hand)) --node.parent;
    }
    insert_helper("outer helper", "LeftForeArm");
    insert_helper("inner helper", "outer helper");
    rig.nodes.push_back({"LeftHand", static_cast<int>(rig.nodeIndex("inner helper")), {0.21f, -0.02f, 0.06f}});
    rig.parentOffsets = {{LBXNodeLeftHand, {"inner helper", "outer helper"}}};
    engine.addResource("helped", rig.compile());
    EngineUnit& unit = spawn_biped(engine, world, rig);
    engine.call("character_declare_context", {&unit, "helped"});

    std::mt19937 random(3);
    std::normal_distribution<float> normal;
    engine.call("character_push_pull", {&unit, LBXEffectorHips, 0.0, 0.0, 1});
    engine.call("character_set_solve_flags", {&unit, true, false});
    for (int round = 0; round < 20; ++round)
    {
        for (const char* name : {"outer helper", "inner helper", "LeftHand", "LeftForeArm", "LeftArm"})
        {
            Quat4 q = {normal(random), normal(random), normal(random), normal(random)};
            const float length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
            for (float& component : q) component /= length;
            const Matrix3 axes = matrix_from_quat(q);
            for (int k = 0; k < 9; ++k) unit.localPoses[rig.nodeIndex(name)].rotation[k] = static_cast<float>(axes.m[k / 3][k % 3]);
        }
        const std::vector<LocalPose> animated = unit.localPoses;
        engine.update(world);
        unit.propagate();
        const std::vector<Value> results = engine.call("character_get_node_transform", {&unit, LBXNodeLeftHand, 0});
        ASSERT_EQ(results.size(), 2u);
        const size_t index = rig.nodeIndex("LeftHand");
        EXPECT_THAT(std::get<Vec3>(results[0]), Near3(world_position(unit, index), 1e-5));
        Matrix3 axes;
        for (size_t k = 0; k < 9; ++k) axes.m[k / 3][k % 3] = unit.worldPoses[16 * index + 4 * (k / 3) + k % 3];
        EXPECT_LT(largest_difference(matrix_from_quat(std::get<Quat4>(results[1])), axes), 1e-5);
        for (int k = 0; k < 9; ++k) EXPECT_NEAR(unit.localPoses[index].rotation[k], animated[index].rotation[k], 1e-5f);
        for (int k = 0; k < 3; ++k) EXPECT_NEAR(unit.localPoses[index].translation[k], animated[index].translation[k], 1e-5f);
    }

    unit.localPoses[rig.nodeIndex("outer helper")].rotation[0] = std::numeric_limits<float>::quiet_NaN();
    engine.update(world);
    EXPECT_FALSE(unit.changed(0)) << "a helper that is not finite stops the frame like any other node";
}

}  // namespace

}  // namespace test_engine
