// Floor contact and plant as scripts use them: pushes, fields, points that can be read back, drawn rays, and what bad input does.
#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/plugin/character_fixture.h"
#include "tests/plugin/ground_shapes.h"

namespace test_engine
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class GroundScript : public CharacterTest
{
protected:
    GroundScript() { keepGoals(); }
    void pushFloor(double ray_number = 1.0, double up = 1.0, double down = 1.5, double smoothing = 0.0)
    {
        engine.call("character_push_floor", {unit, true, false, 7, smoothing, ray_number, up, down});
    }
    void pushPlant(int rays = 1, double up = 1.0, double down = 1.5, bool relative = true, double smoothing = 0.0, double depth = 0.0)
    {
        engine.call("character_push_plant", {unit, true, false, 9, rays, up, down, relative, smoothing, depth, 0.25, 0.5});
    }
    float number(const std::string& function, int index) { return static_cast<float>(engine.ask<double>(function, {unit, index})); }
    std::vector<float> pose() const
    {
        std::vector<float> values;
        for (const LocalPose& node : unit->localPoses)
        {
            values.insert(values.end(), node.rotation, node.rotation + 9);
            values.insert(values.end(), node.translation, node.translation + 3);
        }
        return values;
    }
};

TEST_F(GroundScript, PushesReadTheirArgumentsInOrder)
{
    pushFloor(3.9, 0.7, 9.0, 0.25);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {unit, 7}), 1);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_type", {unit, 1}), 2);
    EXPECT_TRUE(engine.ask<bool>("character_floor_get_feet_enabled", {unit, 1}));
    EXPECT_FALSE(engine.ask<bool>("character_floor_get_hands_enabled", {unit, 1}));
    EXPECT_EQ(engine.ask<int>("character_floor_get_nb_rays", {unit, 1}), 3) << "truncated";
    EXPECT_FLOAT_EQ(number("character_floor_get_ray_up_length", 1), 0.7f);
    EXPECT_FLOAT_EQ(number("character_floor_get_ray_down_length", 1), 9.0f);
    EXPECT_FLOAT_EQ(number("character_floor_get_smoothing", 1), 0.25f);

    engine.call("character_push_plant", {unit, false, true, 9, 6, 2.0, 3.0, true, 0.125, 0.0625, 0.25, 0.5});
    EXPECT_EQ(engine.ask<int>("character_get_constraint_type", {unit, 2}), 12);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {unit, 9}), 2);
    EXPECT_FALSE(engine.ask<bool>("character_plant_get_feet_enabled", {unit, 2}));
    EXPECT_TRUE(engine.ask<bool>("character_plant_get_hands_enabled", {unit, 2}));
    EXPECT_EQ(engine.ask<int>("character_plant_get_nb_rays", {unit, 2}), 6);
    EXPECT_FLOAT_EQ(number("character_plant_get_ray_up_length", 2), 2.0f);
    EXPECT_FLOAT_EQ(number("character_plant_get_ray_down_length", 2), 3.0f);
    EXPECT_TRUE(engine.ask<bool>("character_plant_is_relative", {unit, 2}));
    EXPECT_FLOAT_EQ(number("character_plant_get_smoothing", 2), 0.125f);
    EXPECT_FLOAT_EQ(number("character_plant_get_depth", 2), 0.0625f);
    EXPECT_THAT(engine.takeLog(), IsEmpty());
}

TEST_F(GroundScript, PushesCorrectCountsAndLengthsAndSettersStoreThemAsGiven)
{
    pushFloor(-2.0, 0.0, 20.0);
    pushPlant(0, -1.0, 10.5);
    for (const std::string kind : {"floor", "plant"})
    {
        const int index = kind == "floor" ? 1 : 2;
        const std::string prefix = "character_" + kind + "_";
        EXPECT_EQ(engine.ask<int>(prefix + "get_nb_rays", {unit, index}), 1);
        EXPECT_EQ(number(prefix + "get_ray_up_length", index), 5.0f);
        EXPECT_EQ(number(prefix + "get_ray_down_length", index), 5.0f);
        engine.call(prefix + "set_nb_rays", {unit, index, -3});
        engine.call(prefix + "set_ray_up_length", {unit, index, 0.0});
        engine.call(prefix + "set_ray_down_length", {unit, index, -20.0});
        engine.call(prefix + "set_smoothing", {unit, index, 0.5});
        engine.call(prefix + "set_feet_enabled", {unit, index, false});
        engine.call(prefix + "set_hands_enabled", {unit, index, true});
        EXPECT_EQ(engine.ask<int>(prefix + "get_nb_rays", {unit, index}), -3);
        EXPECT_EQ(number(prefix + "get_ray_up_length", index), 0.0f);
        EXPECT_EQ(number(prefix + "get_ray_down_length", index), -20.0f);
        EXPECT_EQ(number(prefix + "get_smoothing", index), 0.5f);
        EXPECT_FALSE(engine.ask<bool>(prefix + "get_feet_enabled", {unit, index}));
        EXPECT_TRUE(engine.ask<bool>(prefix + "get_hands_enabled", {unit, index}));
    }
    engine.call("character_plant_set_relative", {unit, 2, false});
    engine.call("character_plant_set_depth", {unit, 2, 0.75});
    EXPECT_FALSE(engine.ask<bool>("character_plant_is_relative", {unit, 2}));
    EXPECT_EQ(number("character_plant_get_depth", 2), 0.75f);
    EXPECT_THAT(engine.takeLog(), IsEmpty());
}

TEST_F(GroundScript, WhatIsNotFiniteIsRefused)
{
    pushFloor(kNaN);
    pushFloor(1.0, kNaN);
    pushPlant(1, 1.0, 1.0, true, std::numeric_limits<double>::infinity());
    pushPlant(1, 1.0, 1.0, true, 0.0, 1e300);
    EXPECT_EQ(constraintCount(), 0);
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_push_floor: wrong inputs", "error: character_push_floor: wrong inputs",
                                              "error: character_push_plant: wrong inputs", "error: character_push_plant: wrong inputs"));
    pushFloor(1e30);
    EXPECT_GT(engine.ask<int>("character_floor_get_nb_rays", {unit, 1}), 1000) << "finite, and no overflow";
    engine.call("character_floor_set_smoothing", {unit, 1, kNaN});
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_floor_set_smoothing: wrong inputs"));
    EXPECT_EQ(number("character_floor_get_smoothing", 1), 0.0f);
}

TEST_F(GroundScript, AccessorsKnowTheirKind)
{
    pushFloor();
    engine.call("character_plant_set_depth", {unit, 1, 1.0});
    EXPECT_THAT(engine.takeLog(),
                ElementsAre("error: check_index_and_constraint: constraint type does not match; at index 0, looked for 12, found 2",
                            "error: character_plant_set_depth: wrong inputs"));
    EXPECT_TRUE(engine.call("character_floor_get_nb_rays", {unit, 2}).empty());
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: check_index_and_constraint: constraint index out of range",
                                              "error: character_floor_get_nb_rays: wrong inputs"));
}

TEST_F(GroundScript, RegistrationKeepsItsOrder)
{
    const std::vector<std::string>& names = engine.functionNames();
    const auto place = [&names](const char* name) { return std::find(names.begin(), names.end(), name) - names.begin(); };
    EXPECT_EQ(place("character_push_plant"), place("character_push_reach_orientation") + 1);
    EXPECT_EQ(place("character_push_floor"), place("character_push_plant") + 1);
    EXPECT_EQ(place("character_plant_get_ray_up_length"), place("character_relative_pin_refresh") + 1);
    EXPECT_EQ(place("character_floor_get_feet_enabled"), place("character_plant_set_nb_rays") + 1);
    EXPECT_EQ(place("character_num_lines"), place("character_get_marker_position") + 1);
}

TEST_F(GroundScript, AUnitNeverStandsOnItself)
{
    engine.setGround(
        [this](const Ray& ray, RayHit& hit)
        {
            const float height = ray.filtered == unit ? 0.1f : 0.6f;  // the unit's own knees are in the way
            return plane(height)(ray, hit);
        });
    unit->place({2, 3, 0}, {0, 0, 0, 1});
    engine.update(world);
    const Vec3 before = effector(LBXEffectorLeftAnkle).position;
    pushPlant();
    engine.update(world);
    EXPECT_EQ(engine.rays().size(), 2u);
    EXPECT_EQ(engine.rays()[0].world, &world);
    EXPECT_THAT(effector(LBXEffectorLeftAnkle).position, Near3(Vec3{before[0], before[1], before[2] + 0.1f}, 1e-5));
}

TEST_F(GroundScript, ContactsCanBeReadBackInTheWorld)
{
    unit->place(kAwkwardPlace, {0, 0, 0.6f, 0.8f});
    engine.update(world);
    engine.setGround(plane(kAwkwardPlace[2] + 0.2f));
    pushFloor();
    engine.update(world);
    EXPECT_EQ(engine.ask<int>("character_num_markers", {unit}), 2);
    Vec3 under_foot = world_position(*unit, rig.nodeIndex("LeftFoot"));
    under_foot[2] = kAwkwardPlace[2] + 0.2f;
    EXPECT_THAT(engine.ask<Vec3>("character_get_marker_position", {unit, 1}), Near3(under_foot, 1e-4));
    EXPECT_EQ(engine.ask<int>("character_num_lines", {unit}), 0);
    EXPECT_THAT(engine.takeLog(), IsEmpty());

    EXPECT_TRUE(engine.call("character_get_marker_position", {unit, 3}).empty());
    EXPECT_TRUE(engine.call("character_get_marker_position", {unit, 0}).empty());
    EXPECT_TRUE(engine.call("character_get_line_position", {unit, 1}).empty());
    EngineUnit& stranger = engine.spawn(world, rig.nodes);
    EXPECT_TRUE(engine.call("character_num_markers", {&stranger}).empty());
    EXPECT_THAT(engine.takeLog(),
                ElementsAre("error: character_get_marker_position: wrong inputs", "error: character_get_marker_position: wrong inputs",
                            "error: character_get_line_position: wrong inputs",
                            "error: character_num_markers: cannot find context for unit"));

    // Two points a constraint, sixteen in all; the next frame starts afresh.
    for (int i = 0; i < 9; ++i) pushFloor();
    engine.update(world);
    EXPECT_EQ(engine.ask<int>("character_num_markers", {unit}), 16);
    engine.call("character_pop_all", {unit});
    engine.update(world);
    EXPECT_EQ(engine.ask<int>("character_num_markers", {unit}), 0);
}

TEST_F(GroundScript, DumpEffectorsPrintsHipsAndAnkles)
{
    engine.call("character_dump_effectors", {unit});
    EXPECT_THAT(engine.takeLog(), ElementsAre("info: HipsEffectorId: Pos(0.000000 0.950000 0.000000)",
                                              "info: LeftAnkleEffectorId: Pos(0.100000 0.080000 0.000000)",
                                              "info: RightAnkleEffectorId: Pos(-0.100000 0.080000 0.000000)"));
    EngineUnit& stranger = engine.spawn(world, rig.nodes);
    engine.call("character_dump_effectors", {&stranger});
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_dump_effectors: cannot find context for unit"));
}

TEST_F(GroundScript, RaysAndContactsAreDrawnWhenBothSwitchesAreOn)
{
    engine.setGround(plane(0.0f));
    pushFloor(3);
    const auto count = [this](uint32_t colour)
    {
        const std::vector<DrawnLine> lines = engine.render(world);
        return std::count_if(lines.begin(), lines.end(), [colour](const DrawnLine& line) { return line.colour == colour; });
    };
    engine.update(world);
    EXPECT_EQ(count(0xff7070ff), 0);
    engine.call("enable_collisions_debug", {true});
    engine.update(world);
    EXPECT_EQ(count(0xff7070ff), 0) << "collisions alone draw nothing";

    engine.call("enable_x_rays", {true});
    engine.update(world);
    EXPECT_EQ(count(0xff7070ff), 2 * 3 * 4) << "two feet, three rays, a normal and a marker of three strokes";
    engine.update(world);
    EXPECT_EQ(count(0xff5050ff), 2 * 12) << "the box of the mean";
    engine.update(world);
    const std::vector<DrawnLine> lines = engine.render(world);
    const Vec3 foot = world_position(*unit, rig.nodeIndex("LeftFoot"));
    const auto boxed = std::find_if(lines.begin(), lines.end(), [](const DrawnLine& line) { return line.colour == 0xff101010; });
    ASSERT_NE(boxed, lines.end());
    EXPECT_NEAR(distance(boxed->start, boxed->end), 0.048, 1e-5);
    EXPECT_NEAR(distance(boxed->start, {foot[0], foot[1], 0.0f}), 0.024 * std::sqrt(3.0), 0.03) << "around the contact";

    engine.call("enable_collisions_debug", {false});
    engine.update(world);
    EXPECT_EQ(count(0xff5050ff), 0);
    engine.update(world);
    EXPECT_EQ(count(0xff101010), 2 * 12) << "the contacts of the feet need only the rigs";
    engine.call("enable_x_rays", {false});
}

TEST_F(GroundScript, NoGroundAndWildGroundNeverBreakAPose)
{
    engine.call("character_set_solve_flags", {unit, false, false});
    pushFloor(5.0, 2.0, 2.0, 0.01);
    pushPlant(5, 2.0, 2.0, true, 0.5);
    engine.call("character_floor_set_hands_enabled", {unit, 1, true});
    engine.call("character_plant_set_hands_enabled", {unit, 2, true});
    constexpr float kWild[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), -3e38f, 0.0f, 1.0f};
    uint32_t seed = 7;
    const auto wild = [&seed, &kWild]
    {
        seed = seed * 1664525u + 1013904223u;
        return kWild[(seed >> 16) % 5];
    };
    engine.setGround(
        [&wild](const Ray& ray, RayHit& hit)
        {
            hit = {{wild(), wild(), wild()}, {wild(), wild(), wild()}};
            if (wild() == 1.0f) hit.position = {ray.origin[0], ray.origin[1], ray.origin[2] - 2.0f};
            return wild() != 0.0f;
        });
    for (int frame = 0; frame < 200; ++frame)
    {
        for (const int index : {1, 2})
        {
            const std::string prefix = index == 1 ? "character_floor_set_" : "character_plant_set_";
            engine.call(prefix + "nb_rays", {unit, index, frame % 3 == 0 ? 2147483647 : frame % 5 - 2});
            engine.call(prefix + "ray_up_length", {unit, index, frame % 7 == 0 ? 3e38 : frame % 4 - 1.0});
            engine.call(prefix + "ray_down_length", {unit, index, frame % 11 == 0 ? -3e38 : frame % 6 - 1.0});
            engine.call(prefix + "smoothing", {unit, index, frame % 13 == 0 ? 3e38 : frame % 2 * 0.1});
        }
        engine.call("character_plant_set_depth", {unit, 2, frame % 17 == 0 ? 3e38 : 0.0});
        engine.update(world);
        ASSERT_LE(engine.rays().size(), 2u * 4u * 64u);
        for (const float value : pose()) ASSERT_TRUE(std::isfinite(value)) << "frame " << frame;
    }
}

TEST(GroundWithoutRays, PlantLeavesThePoseAsItIs)
{
    Engine engine(Lacking::RaysAndLines);
    EngineWorld& world = engine.addWorld();
    const TestRig rig = biped();
    engine.addResource("rig", rig.compile());
    engine.call("enable", {true});
    EngineUnit& unit = spawn_biped(engine, world, rig);
    engine.call("character_declare_context", {&unit, "rig"});
    engine.call("character_set_solve_flags", {&unit, true, false});
    engine.call("enable_x_rays", {true});
    engine.call("enable_collisions_debug", {true});
    engine.call("character_push_floor", {&unit, true, true, 1, 0.1, 4.0, 1.0, 1.0});
    engine.call("character_push_plant", {&unit, true, true, 2, 4, 1.0, 1.0, true, 0.1, 0.0, 0.0, 0.0});
    engine.update(world);
    const std::vector<Value> ankle = engine.call("character_get_effector_transform", {&unit, LBXEffectorLeftAnkle});
    ASSERT_EQ(ankle.size(), 2u);
    EXPECT_THAT(std::get<Vec3>(ankle[0]), Near3(world_position(unit, rig.nodeIndex("LeftFoot")), 1e-5));
    EXPECT_EQ(engine.ask<int>("character_num_markers", {&unit}), 2) << "floor contact's far plane";
    EXPECT_TRUE(engine.rays().empty());
    EXPECT_TRUE(engine.render(world).empty());
    engine.call("enable_x_rays", {false});
    engine.call("enable_collisions_debug", {false});
}

}  // namespace

}  // namespace test_engine
