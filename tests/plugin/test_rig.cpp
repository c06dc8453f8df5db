#include "tests/plugin/test_rig.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace test_engine
{

namespace
{

class Bytes
{
public:
    void word(uint32_t value) { append(&value, 4); }
    void real(float value) { append(&value, 4); }
    void append(const void* data, size_t size)
    {
        const auto* first = static_cast<const uint8_t*>(data);
        bytes_.insert(bytes_.end(), first, first + size);
    }
    std::vector<uint8_t> take() { return std::move(bytes_); }

private:
    std::vector<uint8_t> bytes_;
};

struct Joint
{
    int nodeId;
    const char* name;
    const char* parent;
    Vec3 offset;
};

constexpr Joint kJoints[] = {
    {0, "Reference", "y_up", {0, 0, 0}},
    {1, "Hips", "Reference", {0, 1.0f, 0}},
    {2, "LeftUpLeg", "Hips", {0.1f, -0.05f, 0}},
    {3, "LeftLeg", "LeftUpLeg", {0, -0.45f, 0}},
    {4, "LeftFoot", "LeftLeg", {0, -0.42f, 0}},
    {5, "RightUpLeg", "Hips", {-0.1f, -0.05f, 0}},
    {6, "RightLeg", "RightUpLeg", {0, -0.45f, 0}},
    {7, "RightFoot", "RightLeg", {0, -0.42f, 0}},
    {8, "Spine", "Hips", {0, 0.1f, 0}},
    {23, "Spine1", "Spine", {0, 0.2f, 0}},
    {9, "LeftArm", "Spine1", {0.18f, 0.2f, 0}},
    {10, "LeftForeArm", "LeftArm", {0.28f, 0, 0}},
    {11, "LeftHand", "LeftForeArm", {0.25f, 0, 0}},
    {12, "RightArm", "Spine1", {-0.18f, 0.2f, 0}},
    {13, "RightForeArm", "RightArm", {-0.28f, 0, 0}},
    {14, "RightHand", "RightForeArm", {-0.25f, 0, 0}},
    {20, "Neck", "Spine1", {0, 0.25f, 0}},
    {15, "Head", "Neck", {0, 0.1f, 0}},
};

}  // namespace

TestRig biped()
{
    TestRig rig;
    rig.nodes = {{"unit", -1, {0, 0, 0}}, {"y_up", 0, {0, 0, 0}}};
    for (const Joint& joint : kJoints)
    {
        const int parent = static_cast<int>(rig.nodeIndex(joint.parent));
        rig.nodes.push_back({joint.name, parent, joint.offset});
        Vec3 stance = joint.offset;
        for (const Mapped& mapped : rig.mapping)
        {
            if (mapped.name != joint.parent) continue;
            for (size_t k = 0; k < 3; ++k) stance[k] += mapped.stance[k];
        }
        rig.mapping.push_back({joint.nodeId, joint.name, stance});
    }
    return rig;
}

size_t TestRig::nodeIndex(const std::string& name) const
{
    const auto found = std::find_if(nodes.begin(), nodes.end(), [&name](const NodeSpec& node) { return node.name == name; });
    return static_cast<size_t>(found - nodes.begin());
}

std::vector<uint8_t> TestRig::compile() const
{
    const auto mapping_count = static_cast<uint32_t>(mapping.size());
    const auto parent_count = static_cast<uint32_t>(parentOffsets.size());
    const uint32_t stance_offset = 128 + 8 * mapping_count;
    const uint32_t parents_offset = stance_offset + 48 * mapping_count;
    const uint32_t limits_offset = parents_offset + 76 * parent_count;
    Bytes bytes;
    for (const uint32_t word : {0xBD25BE6Fu, 1u, 128u, mapping_count, stance_offset, mapping_count, parents_offset, parent_count,
                                limits_offset, static_cast<uint32_t>(limits.size())})
    {
        bytes.word(word);
    }
    for (int i = 0; i < 14; ++i) bytes.word(0);
    char name[32] = {};
    std::memcpy(name, unitName.data(), std::min<size_t>(unitName.size(), sizeof name));
    bytes.append(name, sizeof name);
    for (const Mapped& mapped : mapping)
    {
        bytes.word(static_cast<uint32_t>(mapped.nodeId));
        bytes.word(node_hash(mapped.name));
    }
    for (const Mapped& mapped : mapping)
    {
        for (const float number :
             {mapped.stance[0], mapped.stance[1], mapped.stance[2], 1.0f, 0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f})
        {
            bytes.real(number);
        }
    }
    for (const ParentOffset& offset : parentOffsets)
    {
        bytes.word(static_cast<uint32_t>(offset.nodeId));
        for (int i = 0; i < 12; ++i) bytes.word(0);
        for (size_t level = 0; level < 6; ++level)
        {
            bytes.word(level < offset.parents.size() && !offset.parents[level].empty() ? node_hash(offset.parents[level]) : 0xFFFFFFFFu);
        }
    }
    for (const Limits& record : limits)
    {
        bytes.word(static_cast<uint32_t>(record.nodeId));
        for (const float number : record.preRotation) bytes.real(number);
        for (const float number : {0.0f, 0.0f, 0.0f, 1.0f}) bytes.real(number);
        for (const float number : record.minimum) bytes.real(number);
        for (const float number : record.maximum) bytes.real(number);
        bytes.word(record.active);
        bytes.word(record.rotationOrder);
    }
    return bytes.take();
}

EngineUnit& spawn_biped(Engine& engine, EngineWorld& world, const TestRig& rig, const std::string& resource_name)
{
    EngineUnit& unit = engine.spawn(world, rig.nodes, resource_name);
    const float rows[9] = {1, 0, 0, 0, 0, 1, 0, -1, 0};
    std::copy_n(rows, 9, unit.localPoses[1].rotation);
    unit.propagate();
    return unit;
}

Vec3 unit_point_to_world(const EngineUnit& unit, const Vec3& point)
{
    Vec3 world;
    for (size_t k = 0; k < 3; ++k)
    {
        world[k] = unit.worldPoses[12 + k];
        for (size_t row = 0; row < 3; ++row) world[k] += point[row] * unit.worldPoses[4 * row + k];
    }
    return world;
}

Vec3 world_position(const EngineUnit& unit, size_t node_index)
{
    const float* row = &unit.worldPoses[16 * node_index + 12];
    return {row[0], row[1], row[2]};
}

Matrix3 matrix_from_quat(const Quat4& q)
{
    // The axes are the turned unit vectors: v' = v + 2 w (u x v) + 2 u x (u x v).
    const double u[3] = {q[0], q[1], q[2]};
    Matrix3 result;
    for (int axis = 0; axis < 3; ++axis)
    {
        double v[3] = {axis == 0 ? 1.0 : 0.0, axis == 1 ? 1.0 : 0.0, axis == 2 ? 1.0 : 0.0};
        const double c[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
        const double d[3] = {u[1] * c[2] - u[2] * c[1], u[2] * c[0] - u[0] * c[2], u[0] * c[1] - u[1] * c[0]};
        for (int k = 0; k < 3; ++k) result.m[axis][k] = v[k] + 2.0 * q[3] * c[k] + 2.0 * d[k];
    }
    return result;
}

Matrix3 multiply(const Matrix3& a, const Matrix3& b)
{
    Matrix3 result = {};
    for (int i = 0; i < 3; ++i)
    {
        for (int j = 0; j < 3; ++j)
        {
            for (int k = 0; k < 3; ++k) result.m[i][j] += a.m[i][k] * b.m[k][j];
        }
    }
    return result;
}

double largest_difference(const Matrix3& a, const Matrix3& b)
{
    double largest = 0.0;
    for (int i = 0; i < 3; ++i)
    {
        for (int j = 0; j < 3; ++j) largest = std::max(largest, std::fabs(a.m[i][j] - b.m[i][j]));
    }
    return largest;
}

double distance(const Vec3& a, const Vec3& b) { return std::hypot(std::hypot(a[0] - b[0], a[1] - b[1]), a[2] - b[2]); }

}  // namespace test_engine
