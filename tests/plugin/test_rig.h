// A biped of twenty nodes for the tests: y up under a node that turns y up into z up, facing the unit's -y, arms out along x, metres.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/plugin/test_engine.h"

namespace test_engine
{

struct ParentOffset
{
    int nodeId;
    std::vector<std::string> parents;  // nearest first
};

// Angles in radians about the joint frame's axes.
struct Limits
{
    int nodeId;
    Quat4 preRotation;
    Vec3 minimum, maximum;
    uint32_t active;  // bits 0 to 2 minimum x, y, z; 3 to 5 maximum
    uint32_t rotationOrder;
};

struct Mapped
{
    int nodeId;
    std::string name;
    Vec3 stance;  // from Reference, y up; rotations are identity
};

struct TestRig
{
    std::vector<NodeSpec> nodes;
    std::vector<Mapped> mapping;
    std::vector<ParentOffset> parentOffsets;
    std::vector<Limits> limits;
    std::string unitName = "test biped";

    // The compiled resource, byte by byte.
    std::vector<uint8_t> compile() const;
    size_t nodeIndex(const std::string& name) const;
};

TestRig biped();

// Turns y up into z up: the local pose of the biped's node 1.
constexpr Quat4 kYUpToZUp = {0.70710678f, 0.0f, 0.0f, 0.70710678f};

// Spawns the biped with its conversion node turned.
EngineUnit& spawn_biped(Engine& engine, EngineWorld& world, const TestRig& rig, const std::string& resource_name = "no rig of its own");

// A point of the unit's axes (z up) in the world.
Vec3 unit_point_to_world(const EngineUnit& unit, const Vec3& point);
// The world position of a node as last propagated.
Vec3 world_position(const EngineUnit& unit, size_t node_index);

// Independent of the plugin: in doubles, by matrices.
struct Matrix3
{
    double m[3][3];  // rows are the axes
};
Matrix3 matrix_from_quat(const Quat4& q);
Matrix3 multiply(const Matrix3& a, const Matrix3& b);
double largest_difference(const Matrix3& a, const Matrix3& b);
double distance(const Vec3& a, const Vec3& b);

}  // namespace test_engine
