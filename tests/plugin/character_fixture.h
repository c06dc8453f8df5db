// A world with one biped whose character context is declared and ready, the plugin enabled and the log empty.
#pragma once

#include <cmath>

#include "limbrex/limbrex.h"
#include "tests/plugin/test_engine.h"
#include "tests/plugin/test_rig.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test_engine
{

class CharacterTest : public ::testing::Test
{
protected:
    CharacterTest() : world(engine.addWorld()), rig(biped())
    {
        engine.addResource("rig", rig.compile());
        engine.call("enable", {true});
        unit = &addCharacter();
        engine.takeLog();
    }

    EngineUnit& addCharacter()
    {
        EngineUnit& added = spawn_biped(engine, world, rig);
        engine.call("character_declare_context", {&added, "rig"});
        engine.update(world);
        return added;
    }

    // Goals stay as the constraints leave them, so effector queries read them.
    void keepGoals() { engine.call("character_set_solve_flags", {unit, true, false}); }

    struct Transform
    {
        Vec3 position;
        Quat4 rotation;
    };
    Transform effector(int id)
    {
        const std::vector<Value> results = engine.call("character_get_effector_transform", {unit, id});
        if (results.size() != 2)
        {
            ADD_FAILURE() << "no effector transform";
            return {};
        }
        return {std::get<Vec3>(results[0]), std::get<Quat4>(results[1])};
    }

    int constraintCount() { return engine.ask<int>("character_num_constraints", {unit}); }

    Engine engine;
    EngineWorld& world;
    TestRig rig;
    EngineUnit* unit;
};

// Turn between two orientations, in degrees; q and -q are the same.
inline double turn_between_deg(const Quat4& a, const Quat4& b)
{
    const double dot = std::fabs(static_cast<double>(a[0]) * b[0] + static_cast<double>(a[1]) * b[1] + static_cast<double>(a[2]) * b[2] +
                                 static_cast<double>(a[3]) * b[3]);
    return 2.0 * std::acos(std::min(1.0, dot)) * 180.0 / M_PI;
}

// Turns by b, then by a.
inline Quat4 quat_product(const Quat4& a, const Quat4& b)
{
    return {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1], a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
            a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3], a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
}

MATCHER_P2(Near3, expected, tolerance, "is near " + ::testing::PrintToString(expected))
{
    *result_listener << "at distance " << distance(arg, expected);
    return distance(arg, expected) <= tolerance;
}

// A unit turned about an odd axis, far from the origin.
constexpr Vec3 kAwkwardPlace = {3.5f, -20.0f, 1.25f};
inline Quat4 awkward_turn()
{
    const float length = std::sqrt(0.3f * 0.3f + 0.5f * 0.5f + 0.7f * 0.7f + 0.4f * 0.4f);
    return {0.3f / length, -0.5f / length, 0.7f / length, 0.4f / length};
}

}  // namespace test_engine
