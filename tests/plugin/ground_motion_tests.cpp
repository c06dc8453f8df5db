// A character that stands while the ground below it changes, frame by frame and end to end through the plugin.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "resources/compiled_character.h"
#include "tests/plugin/character_fixture.h"
#include "tests/plugin/ground_shapes.h"

namespace test_engine
{

namespace
{

constexpr float kFrame_s = 1.0f / 60.0f;
constexpr float kPlantSpeed = 1.2f;  // metres a second
constexpr float kFloorStep = 0.02f;  // metres a frame
constexpr ContactSizes kFoot = {0, 0.08f, 0.06f, 0.12f, 0.08f, 0.04f, 0.05f};
constexpr const char* kWatched[] = {"LeftFoot", "RightFoot", "Hips"};

std::vector<uint8_t> with_feet(std::vector<uint8_t> compiled)
{
    std::memcpy(compiled.data() + offsetof(CompiledCharacter, foot), &kFoot, sizeof kFoot);
    return compiled;
}

// Turned about x, in the frame of the parent: knees forward.
void bend(LocalPose& node, float angle_rad)
{
    const float c = std::cos(angle_rad), s = std::sin(angle_rad);
    const float rows[9] = {1, 0, 0, 0, c, s, 0, -s, c};
    std::copy_n(rows, 9, node.rotation);
}

class StandingOnGround : public ::testing::Test
{
protected:
    StandingOnGround() : world(engine.addWorld()), rig(biped())
    {
        engine.addResource("rig", with_feet(rig.compile()));
        engine.call("enable", {true});
        unit = &spawn_biped(engine, world, rig);
        for (const char* side : {"Left", "Right"})
        {
            bend(pose(std::string(side) + "UpLeg"), -0.4f);
            bend(pose(std::string(side) + "Leg"), 0.7f);
            bend(pose(std::string(side) + "Foot"), -0.3f);
        }
        unit->propagate();
        // The soles of the animation lie on the root's height.
        pose("Hips").translation[1] += kFoot.bottom - world_position(*unit, rig.nodeIndex("LeftFoot"))[2];
        animated = unit->localPoses;
        engine.call("character_declare_context", {unit, "rig"});
        engine.call("character_push_plant", {unit, true, false, 1, 5, 1.0, 1.5, true, static_cast<double>(kPlantSpeed), 0.0, 1.0, 1.0});
        engine.call("character_push_floor", {unit, true, false, 2, static_cast<double>(kFloorStep), 5.0, 1.0, 1.5});
    }
    LocalPose& pose(const std::string& node) { return unit->localPoses[rig.nodeIndex(node)]; }

    // The next frame of the same animated pose.
    void frame(const Ground& ground)
    {
        engine.setGround(ground);
        unit->localPoses = animated;
        last = now;
        engine.update(world, kFrame_s);
        unit->propagate();
        now.clear();
        for (const char* node : kWatched) now.push_back(world_position(*unit, rig.nodeIndex(node)));
    }
    float largestMove() const
    {
        double largest = 0.0;
        for (size_t i = 0; i < now.size(); ++i) largest = std::max(largest, static_cast<double>(distance(now[i], last[i])));
        return static_cast<float>(largest);
    }
    float lowestSole(const char* foot, float ground) const
    {
        const size_t node = rig.nodeIndex(foot);
        const float* rows = &unit->worldPoses[16 * node];
        float lowest = 1e9f;
        for (const float x : {-kFoot.in, kFoot.out})
            for (const float z : {-kFoot.back, kFoot.middle})
            {
                const float side = foot[0] == 'L' ? x : -x;
                lowest = std::min(lowest, rows[14] + side * rows[2] - kFoot.bottom * rows[6] + z * rows[10] - ground);
            }
        return lowest;
    }

    Engine engine;
    EngineWorld& world;
    TestRig rig;
    EngineUnit* unit;
    std::vector<LocalPose> animated;
    std::vector<Vec3> last, now;
};

TEST_F(StandingOnGround, StillGroundLeavesEveryBitInPlaceFromFrameToFrame)
{
    for (const Ground& ground : {plane(0.0f), plane(0.06f), ramp(12.0f), step_at(0.0f, 0.0f, 0.12f)})
    {
        for (int i = 0; i < 40; ++i) frame(ground);  // whatever is smoothed has arrived
        const std::vector<Vec3> settled = now;
        for (int i = 0; i < 20; ++i)
        {
            frame(ground);
            EXPECT_EQ(now, settled);
        }
    }
}

TEST_F(StandingOnGround, AStepThatPassesBelowNeverJerksTheBodyAndLeavesBothSolesOnTheGround)
{
    // The edge wanders across both feet in steps of a centimetre, then back.
    frame(plane(0.0f));
    frame(plane(0.0f));
    for (int i = 0; i <= 160; ++i)
    {
        const float edge = -0.4f + 0.01f * static_cast<float>(i <= 80 ? i : 160 - i);
        frame(step_at(edge, 0.12f, 0.0f));
        EXPECT_LT(largestMove(), 1.6f * std::max(kPlantSpeed * kFrame_s, kFloorStep)) << "edge at " << edge;
    }
    const Ground up = step_at(0.0f, 0.0f, 0.12f);
    for (int i = 0; i < 40; ++i) frame(up);
    EXPECT_NEAR(lowestSole("LeftFoot", 0.12f), 0.0f, 0.001f);
    EXPECT_NEAR(lowestSole("RightFoot", 0.0f), 0.0f, 0.001f);
}

TEST_F(StandingOnGround, GroundThatTremblesByLessThanAMillimetreMovesNothingByMore)
{
    frame(plane(0.02f));
    frame(plane(0.02f));
    for (int i = 0; i < 60; ++i)
    {
        frame(plane(0.02f + (i % 2 == 0 ? 0.0005f : -0.0005f)));
        EXPECT_LT(largestMove(), 0.003f);
    }
}

}  // namespace

}  // namespace test_engine
