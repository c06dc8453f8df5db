// Joint limits as scripts ask for them, and their arcs.
#include <algorithm>
#include <cmath>

#include "tests/plugin/character_fixture.h"

namespace test_engine
{

namespace
{

using ::testing::ElementsAre;

constexpr float kRadians = 3.14159265f / 180.0f;
constexpr uint32_t kAllActive = 0x3F;

class LimitQueries : public ::testing::Test
{
protected:
    LimitQueries() : world(engine.addWorld()) { engine.call("enable", {true}); }
    // A biped at an odd place whose left forearm has limits.
    EngineUnit& biped_with(const Vec3& minimum_deg, const Vec3& maximum_deg, uint32_t active, uint32_t order,
                           const Quat4& pre_rotation = {0, 0, 0, 1})
    {
        rig = biped();
        const auto radians = [](const Vec3& deg) { return Vec3{deg[0] * kRadians, deg[1] * kRadians, deg[2] * kRadians}; };
        rig.limits = {{LBXNodeLeftForeArm, pre_rotation, radians(minimum_deg), radians(maximum_deg), active, order}};
        const std::string name = "rig " + std::to_string(++rigs_);
        engine.addResource(name, rig.compile());
        EngineUnit& unit = spawn_biped(engine, world, rig);
        unit.place(kAwkwardPlace, awkward_turn());
        engine.call("character_declare_context", {&unit, name});
        engine.update(world);
        engine.takeLog();
        return unit;
    }
    struct Segment
    {
        Vec3 start, end;
        std::array<int, 3> colour;
    };
    std::vector<Segment> arcs(EngineUnit& unit, int node = LBXNodeLeftForeArm)
    {
        const int count = engine.ask<int>("character_node_get_limits_draw_info", {&unit, node});
        std::vector<Segment> segments;
        for (int i = 1; i <= count; ++i)
        {
            const std::vector<Value> line = engine.call("character_node_get_limits_draw_line", {&unit, i});
            EXPECT_EQ(line.size(), 5u);
            segments.push_back({std::get<Vec3>(line[0]),
                                std::get<Vec3>(line[1]),
                                {std::get<int>(line[2]), std::get<int>(line[3]), std::get<int>(line[4])}});
        }
        return segments;
    }
    static int count_of(const std::vector<Segment>& segments, const std::array<int, 3>& colour)
    {
        return static_cast<int>(
            std::count_if(segments.begin(), segments.end(), [&](const Segment& segment) { return segment.colour == colour; }));
    }

    Engine engine;
    EngineWorld& world;
    TestRig rig;

private:
    int rigs_ = 0;
};

constexpr std::array<int, 3> kRed = {180, 0, 0}, kGreen = {0, 180, 0}, kBlue = {0, 0, 180};

TEST_F(LimitQueries, LimitsReadBackAsTheRigHasThem)
{
    EngineUnit& unit = biped_with({-10, -20, -30}, {40, 50, 60}, kAllActive, 4, {0.6f, 0, 0, 0.8f});
    EXPECT_TRUE(engine.ask<bool>("character_node_has_limits", {&unit, LBXNodeLeftForeArm}));
    EXPECT_FALSE(engine.ask<bool>("character_node_has_limits", {&unit, LBXNodeRightForeArm}));
    const std::vector<Value> limits = engine.call("character_node_get_limits", {&unit, LBXNodeLeftForeArm});
    ASSERT_EQ(limits.size(), 3u);
    EXPECT_THAT(std::get<Vec3>(limits[0]), Near3(Vec3{-10 * kRadians, -20 * kRadians, -30 * kRadians}, 1e-5));
    EXPECT_THAT(std::get<Vec3>(limits[1]), Near3(Vec3{40 * kRadians, 50 * kRadians, 60 * kRadians}, 1e-5));
    EXPECT_NEAR(turn_between_deg(std::get<Quat4>(limits[2]), {0.6f, 0, 0, 0.8f}), 0.0, 0.05);
    EXPECT_TRUE(arcs(unit, LBXNodeRightForeArm).empty());
}

TEST_F(LimitQueries, EveryArcLiesOnASphereAroundTheJoint)
{
    for (const uint32_t order : {0u, 2u, 5u, 6u, 9u, 10u, 12u})
    {
        EngineUnit& unit = biped_with({-30, -20, -70}, {45, 60, 10}, kAllActive, order, {0.6f, 0, 0, 0.8f});
        const Vec3 elbow = world_position(unit, rig.nodeIndex("LeftForeArm"));
        const std::vector<Segment> segments = arcs(unit);
        ASSERT_FALSE(segments.empty()) << order;
        for (const Segment& segment : segments)
        {
            ASSERT_NEAR(distance(segment.start, elbow), 0.1, 1e-5) << order;
            ASSERT_NEAR(distance(segment.end, elbow), 0.1, 1e-5) << order;
        }
    }
}

TEST_F(LimitQueries, RangesAreSampledEveryTwentyDegrees)
{
    // x: 75 degrees, 3 steps; y: 80 degrees, 4 steps; z: 10 degrees, drawn as 20 in one step.
    EngineUnit& unit = biped_with({-30, -20, 0}, {45, 60, 10}, kAllActive, 0);
    const std::vector<Segment> segments = arcs(unit);
    EXPECT_EQ(count_of(segments, kRed), 3);
    EXPECT_EQ(count_of(segments, kGreen), 4 * 2) << "at both ends of z";
    EXPECT_EQ(count_of(segments, kBlue), 1 * 5) << "at the five samples of y";

    // The z arc at y = 20 degrees, the middle sample: from -5 to 15 degrees, the x axis turned by y, then by z.
    const Quat4 to_world = quat_product(awkward_turn(), kYUpToZUp);
    const Matrix3 axes = matrix_from_quat(to_world);
    const Vec3 elbow = world_position(unit, rig.nodeIndex("LeftForeArm"));
    const auto tip = [&](double y_deg, double z_deg)
    {
        const double y = y_deg * M_PI / 180.0, z = z_deg * M_PI / 180.0;
        const double local[3] = {0.1 * std::cos(y) * std::cos(z), 0.1 * std::cos(y) * std::sin(z), -0.1 * std::sin(y)};
        Vec3 world_tip = elbow;
        for (size_t k = 0; k < 3; ++k)
        {
            for (size_t row = 0; row < 3; ++row) world_tip[k] += static_cast<float>(local[row] * axes.m[row][k]);
        }
        return world_tip;
    };
    ASSERT_EQ(segments.size(), 16u);
    const Segment& arc = segments[3 + 8 + 2];
    EXPECT_THAT(arc.start, Near3(tip(20, -5), 1e-4));
    EXPECT_THAT(arc.end, Near3(tip(20, 15), 1e-4));
}

TEST_F(LimitQueries, WhereALimitIsOffTheArcGoesAsFarAsTheAxisCan)
{
    std::vector<Segment> segments = arcs(biped_with({-1, -1, -1}, {1, 1, 1}, 0, 0));
    EXPECT_EQ(count_of(segments, kRed), 18);
    EXPECT_EQ(count_of(segments, kGreen), 9 * 19);
    EXPECT_EQ(count_of(segments, kBlue), 18 * 10);

    segments = arcs(biped_with({-1, -1, -1}, {1, 1, 1}, 0, 10));
    EXPECT_EQ(count_of(segments, kBlue), 18) << "z turns first";
    EXPECT_EQ(count_of(segments, kGreen), 9 * 19);
    EXPECT_EQ(count_of(segments, kRed), 18 * 10);

    segments = arcs(biped_with({-1, -1, -1}, {1, 1, 1}, 0, 12));
    EXPECT_EQ(count_of(segments, kGreen), 18 * 19) << "a swing goes all the way round";

    segments = arcs(biped_with({-1000, -1000, -1000}, {1000, 1000, 1000}, kAllActive, 0));
    EXPECT_EQ(count_of(segments, kGreen), 9 * 19) << "an active limit goes no further";

    segments = arcs(biped_with({30, 40, 50}, {-30, -40, -50}, kAllActive, 0));
    EXPECT_EQ(segments.size(), 1u + 2u + 2u) << "ranges that are upside down are drawn narrow";
}

TEST_F(LimitQueries, WhatIsNotThereIsRefused)
{
    EngineUnit& unit = biped_with({-10, -20, -30}, {40, 50, 60}, kAllActive, 0);
    const auto count = static_cast<int>(arcs(unit).size());
    EXPECT_TRUE(engine.call("character_node_get_limits_draw_line", {&unit, count + 1}).empty());
    EXPECT_TRUE(engine.call("character_node_get_limits_draw_line", {&unit, 0}).empty());
    EXPECT_TRUE(engine.call("character_node_has_limits", {&unit, 212}).empty());
    EXPECT_TRUE(engine.call("character_node_get_limits", {&unit, -1}).empty());
    EngineUnit& stranger = engine.spawn(world, rig.nodes);
    EXPECT_TRUE(engine.call("character_node_get_limits_draw_info", {&stranger, 1}).empty());
    EXPECT_THAT(engine.takeLog(),
                ElementsAre("error: character_node_get_limits_draw_line: wrong inputs",
                            "error: character_node_get_limits_draw_line: wrong inputs", "error: character_node_has_limits: wrong inputs",
                            "error: character_node_get_limits: wrong inputs",
                            "error: character_node_get_limits_draw_info: cannot find context for unit"));
}

}  // namespace

}  // namespace test_engine
