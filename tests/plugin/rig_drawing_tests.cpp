// Rig drawing as an engine receives it: every line is worked out from the unit's own node tree and from what scripts can ask.
#include <cmath>
#include <cstring>
#include <limits>
#include <set>

#include "tests/plugin/character_fixture.h"
#include "tests/plugin/drawn_lines.h"

namespace test_engine
{

namespace
{

using ::testing::Each;
using ::testing::IsEmpty;

constexpr double kNear = 2e-5;  // twenty metres from the origin a float's step is 2e-6

constexpr uint32_t kRoot = 0xff908080, kBefore = 0xb0ff4040, kBetween = 0xb04040ff, kSolved = 0xb040ff40;
constexpr uint32_t kAxisX = 0x80800000, kAxisY = 0x80008000, kAxisZ = 0x80000080;
constexpr uint32_t kGoal = 0x40ffffff, kReachT = 0xe0ffa0a0, kReachR = 0xe0a0ffa0, kPull = 0xe0ffa0ff, kResist = 0xe0a0ffff;
constexpr uint32_t kTarget = 0xb0ffb00e, kReference = 0x90000000;

// What the node tree of the biped's bones hangs on.
constexpr size_t kFirstBone = 2;

class RigDrawing : public CharacterTest
{
protected:
    RigDrawing()
    {
        turnAboutX("LeftForeArm", 0.5);
        turnAboutX("Spine1", -0.25);
        unit->place(kAwkwardPlace, awkward_turn());
        animation = unit->localPoses;
        engine.call("enable_x_rays", {true});
    }
    ~RigDrawing() override
    {
        engine.call("enable_x_rays", {false});
        engine.call("enable_collisions_debug", {false});
    }

    // A node's turn about its own x axis, written as the rows of its matrix.
    void turnAboutX(const std::string& name, double angle_rad)
    {
        LocalPose& pose = unit->localPoses[rig.nodeIndex(name)];
        const auto c = static_cast<float>(std::cos(angle_rad)), s = static_cast<float>(std::sin(angle_rad));
        const float rows[9] = {1, 0, 0, 0, c, s, 0, -s, c};
        std::memcpy(pose.rotation, rows, sizeof rows);
    }
    std::vector<DrawnLine> frame()
    {
        unit->localPoses = animation;
        engine.update(world);
        return engine.render(world);
    }
    Segments bonesOfTree(const std::string& except = "") const
    {
        Segments bones;
        for (size_t node = kFirstBone + 1; node < unit->parents.size(); ++node)
        {
            if (rig.nodes[node].name == except) continue;
            bones.push_back({world_position(*unit, static_cast<size_t>(unit->parents[node])), world_position(*unit, node)});
        }
        return bones;
    }
    Segments axisOfTree(size_t axis) const
    {
        Segments strokes;
        for (size_t node = kFirstBone; node < unit->parents.size(); ++node)
        {
            const Vec3 from = world_position(*unit, node);
            Vec3 to = from;
            for (size_t k = 0; k < 3; ++k) to[k] += 0.01f * unit->worldPoses[16 * node + 4 * axis + k];
            strokes.push_back({from, to});
        }
        return strokes;
    }
    Segments boxOnEffector(int id, float edge)
    {
        const Transform goal = effector(id);
        return box_at(goal.position, matrix_from_quat(goal.rotation), edge);
    }
    int nodeOf(const std::string& name) const { return static_cast<int>(rig.nodeIndex(name)) + 1; }
    Vec3 node(int id, int selector = 0) { return std::get<Vec3>(engine.call("character_get_node_position", {unit, id, selector}).at(0)); }

    std::vector<LocalPose> animation;
};

TEST_F(RigDrawing, TheRootFrameIsAMarkerAndABoxWhereTheCharacterStands)
{
    const Matrix3 root = matrix_from_quat(quat_product(awkward_turn(), kYUpToZUp));
    EXPECT_THAT(drawn_in(frame(), kRoot), AreSegments(marker_at(kAwkwardPlace, 0.5f) + box_at(kAwkwardPlace, root, 0.02f), kNear));
    unit->place({0, 0, 0}, {0, 0, 0, 1});
    animation = unit->localPoses;
    // y up into z up exchanges edges of a cube with each other.
    const Matrix3 world_axes = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    EXPECT_THAT(drawn_in(frame(), kRoot), AreSegments(marker_at({0, 0, 0}, 0.5f) + box_at({0, 0, 0}, world_axes, 0.02f), 1e-6));
}

TEST_F(RigDrawing, BothSkeletonsLieOnTheAnimationWhileNothingActs)
{
    const std::vector<DrawnLine> lines = frame();
    const Segments bones = bonesOfTree();
    ASSERT_EQ(bones.size(), 17u) << "eighteen nodes, one of them Reference";
    EXPECT_THAT(drawn_in(lines, kBefore), AreSegments(bones, kNear));
    EXPECT_THAT(drawn_in(lines, kSolved), AreSegments(bonesOfTree("Hips"), 1e-3)) << "from the hips on";
    EXPECT_THAT(drawn_in(lines, kAxisX), AreSegments(axisOfTree(0), kNear));
    EXPECT_THAT(drawn_in(lines, kAxisY), AreSegments(axisOfTree(1), kNear));
    EXPECT_THAT(drawn_in(lines, kAxisZ), AreSegments(axisOfTree(2), kNear));
    EXPECT_THAT(drawn_in(lines, kBetween), IsEmpty());
    EXPECT_EQ(drawn_in(lines, kGoal).size(), 20u * 12u);
    EXPECT_EQ(lines.size(), 15u + 17u + 3u * 18u + 16u + 20u * 12u) << "and nothing else";
}

TEST_F(RigDrawing, TheSolvedSkeletonIsThePoseThatIsWrittenAndTheOtherTheOneThatWasRead)
{
    engine.call("character_push_reach_position", {unit, LBXEffectorLeftWrist, Vec3{0.35f, -0.4f, 1.2f}, false, 1.0, 0.0, 1});
    const std::vector<DrawnLine> lines = frame();
    const Segments animated = bonesOfTree();
    unit->propagate();
    EXPECT_THAT(drawn_in(lines, kSolved), AreSegments(bonesOfTree("Hips"), 1e-4));
    EXPECT_THAT(drawn_in(lines, kBefore), AreSegments(animated, kNear));
    EXPECT_GT(distance(world_position(*unit, rig.nodeIndex("LeftHand")), node(LBXNodeLeftHand, 1)), 0.2) << "the arm has moved";
}

TEST_F(RigDrawing, GoalsAreBoxesWithABoxForEachWeightAboveZero)
{
    // Goals stay where they are while the final solve is off.
    keepGoals();
    engine.call("character_push_reach_position", {unit, LBXEffectorLeftWrist, Vec3{0.5f, -0.5f, 1.5f}, false, 0.5, 0.0, 1});
    engine.call("character_push_pull", {unit, LBXEffectorLeftWrist, 0.25, 0.0, 2});
    engine.call("character_push_reach_orientation", {unit, LBXEffectorHead, Vec3{10, 20, 30}, false, 0.75, 0.0, 3});
    engine.call("character_push_resist", {unit, LBXEffectorHips, 1.0, 0.0, 4});
    engine.call("character_push_pull", {unit, LBXEffectorRightHand, 0.0, 0.0, 5});
    engine.call("character_push_pull", {unit, LBXEffectorLeftHandThumb, 1.0, 0.0, 6});
    const std::vector<DrawnLine> lines = frame();
    Segments goals;
    for (int id = 0; id < 20; ++id) goals = goals + boxOnEffector(id, 0.075f);
    EXPECT_THAT(drawn_in(lines, kGoal), AreSegments(goals, kNear));
    EXPECT_THAT(drawn_in(lines, kReachT), AreSegments(boxOnEffector(LBXEffectorLeftWrist, 0.0365f), kNear));
    EXPECT_THAT(drawn_in(lines, kReachR), AreSegments(boxOnEffector(LBXEffectorHead, 0.05325f), kNear));
    EXPECT_THAT(drawn_in(lines, kPull), AreSegments(boxOnEffector(LBXEffectorLeftWrist, 0.01725f), kNear))
        << "not for a weight of 0, nor for fingers";
    EXPECT_THAT(drawn_in(lines, kResist), AreSegments(boxOnEffector(LBXEffectorHips, 0.067f), kNear));
}

TEST_F(RigDrawing, ASolveInTheMiddleDrawsItsPoseAndTheGoalsItWentFor)
{
    keepGoals();
    engine.call("character_push_reach_position", {unit, LBXEffectorRightWrist, Vec3{-0.3f, -0.4f, 1.4f}, false, 1.0, 0.0, 1});
    engine.call("character_push_solve", {unit});
    const std::vector<DrawnLine> lines = frame();
    unit->propagate();
    // With the final solve off, the pose that is left is the one of the middle.
    EXPECT_THAT(drawn_in(lines, kBetween), AreSegments(bonesOfTree("Hips"), 1e-4));
    EXPECT_THAT(drawn_in(lines, kSolved), AreSegments(drawn_in(lines, kBetween), 0.0));
    EXPECT_EQ(drawn_in(lines, kGoal).size(), 2u * 20u * 12u);
    EXPECT_EQ(drawn_in(lines, kBefore).size(), 17u) << "the pose from before belongs to the final drawing";
    const Segments reach = drawn_in(lines, kReachT);
    ASSERT_EQ(reach.size(), 12u) << "the solve has taken the weight away before the final drawing";
    Vec3 centre = {};
    for (const Segment& edge : reach)
    {
        for (size_t k = 0; k < 3; ++k) centre[k] += (edge.start[k] + edge.end[k]) / 24.0f;
    }
    EXPECT_THAT(centre, Near3(unit_point_to_world(*unit, {-0.3f, -0.4f, 1.4f}), 1e-4)) << "the goal, not the hand";
}

TEST_F(RigDrawing, HeadsShowWhatTheyLookAt)
{
    const Vec3 target = {1.0f, -22.5f, 3.0f};
    for (const bool horizontal_only : {true, false})
    {
        engine.call("character_push_look_at", {unit, Nil(), 0, target, false, horizontal_only, 0.0, 90.0, false, 0.0, 0.0, 1.0, 0.0, 1});
        const std::vector<DrawnLine> lines = frame();
        const Segments sight = {{node(LBXNodeHead, 1), target}};
        EXPECT_THAT(drawn_in(lines, kTarget), AreSegments(marker_at(target, 0.5f) + sight, kNear)) << "once, not in both passes";
        engine.call("character_pop", {unit});
    }
}

TEST_F(RigDrawing, AimsShowTheirReferenceAndFromTheChestTheirTarget)
{
    keepGoals();
    const Vec3 target = {5.0f, -18.5f, 2.0f};
    const auto push = [&](int attachment)
    {
        engine.call("character_push_aim",
                    {unit, attachment, 0.1, 0.2, 0.3, 0.4, nodeOf("LeftHand"), false, Nil(), 0, target, true, 0.0, false, 1.0, 0.0, 1});
    };
    push(LBXEffectorLeftWrist);
    std::vector<DrawnLine> lines = frame();
    const Vec3 hand = world_position(*unit, rig.nodeIndex("LeftHand"));
    const Matrix3 world_axes = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    EXPECT_THAT(drawn_in(lines, kReference), AreSegments(marker_at(hand, 0.1f) + box_at(hand, world_axes, 0.1f), kNear));
    const Segments line_of_aim = {{effector(LBXEffectorChestEnd).position, target}};
    EXPECT_THAT(drawn_in(lines, kTarget), AreSegments(marker_at(target, 0.5f) + line_of_aim, kNear));

    engine.call("character_pop", {unit});
    push(LBXEffectorHips);
    lines = frame();
    EXPECT_EQ(drawn_in(lines, kReference).size(), 15u);
    EXPECT_THAT(drawn_in(lines, kTarget), IsEmpty()) << "an aim of the hips has no stage of the chest";
}

TEST_F(RigDrawing, FeetShowTheirGroundAndItsRays)
{
    const float slope = 0.25f;  // of the ground along x
    engine.setGround(
        [slope](const Ray& ray, RayHit& hit)
        {
            hit = {{ray.origin[0], ray.origin[1], slope * ray.origin[0]}, {-slope, 0, 1}};
            return true;
        });
    engine.call("enable_collisions_debug", {true});
    unit->place({0, 0, 0}, {0, 0, 0, 1});
    animation = unit->localPoses;
    keepGoals();
    engine.call("character_push_floor", {unit, true, false, 1, 0.0, 1.0, 1.0, 1.0});
    const std::vector<DrawnLine> lines = frame();

    const float c = 1.0f / std::sqrt(1.0f + slope * slope), s = slope * c;
    const Matrix3 on_ground = {{{c, 0, s}, {0, 1, 0}, {-s, 0, c}}};
    Segments hits, contacts;
    for (const char* name : {"LeftFoot", "RightFoot"})
    {
        const Vec3 foot = world_position(*unit, rig.nodeIndex(name));
        const Vec3 under = {foot[0], foot[1], slope * foot[0]};
        const Segments normal = {{under, {under[0] - 0.15f * s, under[1], under[2] + 0.15f * c}}};
        hits = hits + normal + marker_at(under, 0.005f);
        contacts = contacts + box_at(under, on_ground, 0.048f);
    }
    EXPECT_THAT(drawn_in(lines, 0xff7070ff), AreSegments(hits, 1e-5));
    EXPECT_THAT(drawn_in(lines, 0xff101010), AreSegments(contacts, 1e-5));
    EXPECT_THAT(drawn_in(lines, 0xff5050ff), IsEmpty()) << "a single ray has no mean";
}

// ---- The switch ---------------------------------------------------------------------------------------------------------------------

void push_every_drawn_kind(Engine& engine, EngineUnit& unit, EngineUnit& other)
{
    const Vec3 point = {0.4f, -2.0f, 1.6f};
    engine.call("character_push_floor", {&unit, true, true, 1, 0.01, 4.0, 1.0, 1.0});
    engine.call("character_push_plant", {&unit, true, true, 2, 4, 1.0, 1.0, true, 0.1, 0.0, 0.0, 0.0});
    engine.call("character_push_reach_position", {&unit, LBXEffectorRightWrist, point, true, 0.7, 0.5, 3});
    engine.call("character_push_solve", {&unit});
    engine.call("character_push_look_at", {&unit, &other, LBXEffectorHead, point, false, false, 0.3, 90.0, true, 60.0, 40.0, 1.0, 0.2, 4});
    engine.call("character_push_aim",
                {&unit, LBXEffectorLeftWrist, 0.1, 0.2, 0.3, 0.4, 14, true, &other, LBXEffectorHead, point, false, 0.0, true, 1.0, 0.2, 5});
}

// The poses of some frames of a fresh context, with its constraints blending in.
std::vector<uint8_t> played(Engine& engine, EngineWorld& world, EngineUnit& unit, EngineUnit& other,
                            const std::vector<LocalPose>& animation)
{
    engine.call("character_declare_context", {&unit, "rig"});
    push_every_drawn_kind(engine, unit, other);
    std::vector<uint8_t> poses;
    for (int frame = 0; frame < 12; ++frame)
    {
        unit.localPoses = animation;
        engine.update(world);
        const auto* bytes = reinterpret_cast<const uint8_t*>(unit.localPoses.data());
        poses.insert(poses.end(), bytes, bytes + unit.localPoses.size() * sizeof(LocalPose));
    }
    engine.call("character_delete_context", {&unit});
    return poses;
}

TEST_F(RigDrawing, LeavesEveryBitOfEveryPoseAsItIsWithoutDrawing)
{
    engine.setGround(
        [](const Ray& ray, RayHit& hit)
        {
            hit = {{ray.origin[0], ray.origin[1], 0.05f * ray.origin[0]}, {-0.05f, 0, 1}};
            return true;
        });
    EngineUnit& other = addCharacter();
    other.place({1.5f, -2.0f, 0}, {0, 0, 0, 1});
    unit->place({0, 0, 0}, {0, 0, 0, 1});
    animation = unit->localPoses;
    engine.call("character_delete_context", {unit});

    engine.call("enable_x_rays", {false});
    engine.render(world);
    const std::vector<uint8_t> undrawn = played(engine, world, *unit, other, animation);
    EXPECT_THAT(engine.render(world), IsEmpty());
    engine.call("enable_x_rays", {true});
    engine.call("enable_collisions_debug", {true});
    const std::vector<uint8_t> drawn = played(engine, world, *unit, other, animation);
    std::set<uint32_t> colours;
    for (const DrawnLine& line : engine.render(world)) colours.insert(line.colour);
    EXPECT_EQ(colours.size(), 17u) << "every colour that there is";
    EXPECT_EQ(undrawn.size(), drawn.size());
    EXPECT_TRUE(undrawn == drawn);
}

TEST_F(RigDrawing, NeedsARunningPluginAndAnActiveContext)
{
    engine.call("enable", {false});
    EXPECT_THAT(frame(), IsEmpty());
    engine.call("enable", {true});
    EXPECT_FALSE(frame().empty());
    engine.call("enable_x_rays", {false});
    EXPECT_THAT(frame(), IsEmpty());
    engine.call("enable_x_rays", {true});
    engine.call("reveal_all", {false});
    EXPECT_FALSE(frame().empty()) << "the flags of a context are the scripts' own";
    engine.call("character_delete_context", {unit});
    EXPECT_THAT(frame(), IsEmpty());
}

TEST_F(RigDrawing, OnlyFiniteLinesReachTheEngine)
{
    engine.call("character_push_look_at",
                {unit, Nil(), 0, Vec3{3e38f, -3e38f, 3e38f}, false, false, 0.0, 90.0, false, 0.0, 0.0, 1.0, 0.0, 1});
    engine.call("character_push_reach_position", {unit, LBXEffectorLeftWrist, Vec3{3e38f, 0, 0}, true, 1.0, 0.0, 2});
    engine.call("character_push_solve", {unit});
    engine.call("character_push_floor", {unit, true, true, 3, 0.0, 3.0, 1.0, 1.0});
    engine.setGround(
        [](const Ray& ray, RayHit& hit)
        {
            hit = {ray.origin, {std::nanf(""), 0, 3e38f}};
            return true;
        });
    engine.call("enable_collisions_debug", {true});
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (const Vec3& place :
         {Vec3{0, 0, 0}, Vec3{3e38f, -3e38f, 1e30f}, Vec3{1e20f, 0, 0}, Vec3{std::nanf(""), 0, 0}, Vec3{0, kInfinity, 0}})
    {
        unit->place(place, {0, 0, 0, 1});
        animation = unit->localPoses;
        for (const DrawnLine& line : frame())
        {
            ASSERT_THAT(line.start, Each(::testing::Truly([](float v) { return std::isfinite(v); })));
            ASSERT_THAT(line.end, Each(::testing::Truly([](float v) { return std::isfinite(v); })));
        }
    }
    unit->place({0, 0, 0}, {0, 0, 0, 1});
    animation = unit->localPoses;
    EXPECT_EQ(drawn_in(frame(), kRoot).size(), 15u) << "and the next sound frame is drawn";
}

TEST(RigDrawingWithoutLines, DrawsNothingWhileListsAndQueriesWork)
{
    Engine engine(Lacking::RaysAndLines);
    EngineWorld& world = engine.addWorld();
    const TestRig rig = biped();
    engine.addResource("rig", rig.compile());
    engine.call("enable", {true});
    engine.call("enable_x_rays", {true});
    engine.call("enable_collisions_debug", {true});
    EngineUnit& other = spawn_biped(engine, world, rig);
    engine.call("character_declare_context", {&other, "rig"});
    engine.update(world);
    EngineUnit& unit = spawn_biped(engine, world, rig);
    engine.call("character_declare_context", {&unit, "rig"});
    push_every_drawn_kind(engine, unit, other);
    engine.update(world);
    EXPECT_THAT(engine.render(world), IsEmpty());
    EXPECT_EQ(engine.ask<int>("character_num_lines", {&unit}), 1) << "the look of the head";
    EXPECT_EQ(engine.ask<int>("character_num_lines", {&other}), 1) << "the line of sight";
    EXPECT_EQ(engine.call("character_get_line_position", {&other, 1}).size(), 2u);
    engine.call("enable_x_rays", {false});
    engine.call("enable_collisions_debug", {false});
}

TEST_F(RigDrawing, SettlesIntoItsMemory)
{
    for (int i = 0; i < 3; ++i) frame();
    const size_t before = engine.allocations();
    const size_t lines = frame().size();
    for (int i = 0; i < 20; ++i) EXPECT_EQ(frame().size(), lines);
    EXPECT_EQ(engine.allocations(), before);
    // Frames that nobody renders pile up for the next one that is.
    engine.update(world);
    EXPECT_EQ(frame().size(), 2 * lines);
    engine.failAllocations(0);
    for (int i = 0; i < 4; ++i) engine.update(world);
    EXPECT_GE(engine.render(world).size(), 2 * lines) << "as many as there is room for";
    engine.failAllocations(SIZE_MAX);
}

}  // namespace

}  // namespace test_engine
