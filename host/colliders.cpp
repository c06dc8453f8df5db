#include "host/colliders.h"

#include <algorithm>
#include <cmath>

namespace limbrex_host
{
namespace
{

// Corner bit 0: +x, bit 1: +y, bit 2: +z. Outward triangles.
constexpr std::array<std::array<uint32_t, 3>, 12> kBoxTriangles{
    {{0, 4, 6}, {0, 6, 2}, {1, 3, 7}, {1, 7, 5}, {0, 1, 5}, {0, 5, 4}, {2, 6, 7}, {2, 7, 3}, {0, 2, 3}, {0, 3, 1}, {4, 5, 7}, {4, 7, 6}}};

void add_box(ColliderShape& shape, const std::array<float, 3>& low, const std::array<float, 3>& high)
{
    const auto first = static_cast<uint32_t>(shape.vertices.size());
    for (unsigned corner = 0; corner < 8; ++corner)
    {
        shape.vertices.push_back(
            {(corner & 1u) != 0 ? high[0] : low[0], (corner & 2u) != 0 ? high[1] : low[1], (corner & 4u) != 0 ? high[2] : low[2]});
    }
    for (const auto& triangle : kBoxTriangles)
    {
        shape.triangles.push_back({first + triangle[0], first + triangle[1], first + triangle[2]});
    }
}

bool finite3(const std::array<float, 3>& point) { return std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]); }

bool positive(float size) { return std::isfinite(size) && size > 0.0f; }

// Rings of a sphere whose upper half is lifted and lower half lowered by `half_shaft`.
void add_round_body(ColliderRecording& out, float radius, float half_shaft)
{
    constexpr uint32_t kRings = 8;
    constexpr uint32_t kSides = 16;
    constexpr float kPi = 3.14159265f;
    for (uint32_t ring = 0; ring <= kRings + 1; ++ring)
    {
        // The equator comes twice, once for each end of the shaft.
        const uint32_t step = ring <= kRings / 2 ? ring : ring - 1;
        const float angle_rad = kPi * static_cast<float>(step) / static_cast<float>(kRings);
        const float z = radius * std::cos(angle_rad) + (ring <= kRings / 2 ? half_shaft : -half_shaft);
        for (uint32_t side = 0; side < kSides; ++side)
        {
            const float turn_rad = 2.0f * kPi * static_cast<float>(side) / static_cast<float>(kSides);
            const float across = radius * std::sin(angle_rad);
            out.vertices.push_back({across * std::cos(turn_rad), across * std::sin(turn_rad), z});
        }
    }
    for (uint32_t ring = 0; ring <= kRings; ++ring)
    {
        for (uint32_t side = 0; side < kSides; ++side)
        {
            const uint32_t next = (side + 1) % kSides;
            const uint32_t above = ring * kSides;
            const uint32_t below = above + kSides;
            out.triangles.push_back({above + side, below + side, below + next});
            out.triangles.push_back({above + side, below + next, above + next});
        }
    }
}

}  // namespace

ColliderShape plane_shape() { return {}; }

ColliderShape sphere_shape(float radius)
{
    ColliderShape shape;
    shape.kind = ColliderKind::Sphere;
    shape.radius = radius;
    return shape;
}

ColliderShape capsule_shape(float radius, float height)
{
    ColliderShape shape;
    shape.kind = ColliderKind::Capsule;
    shape.radius = radius;
    shape.height = height;
    return shape;
}

ColliderShape box_shape(float length_x, float width_y, float height_z)
{
    ColliderShape shape;
    shape.kind = ColliderKind::Mesh;
    add_box(shape, {-0.5f * length_x, -0.5f * width_y, -0.5f * height_z}, {0.5f * length_x, 0.5f * width_y, 0.5f * height_z});
    return shape;
}

ColliderShape ramp_shape(float length_x, float width_y, float height_z)
{
    ColliderShape shape;
    shape.kind = ColliderKind::Mesh;
    const float side = 0.5f * width_y;
    shape.vertices = {{0.0f, -side, 0.0f},    {0.0f, side, 0.0f},          {length_x, -side, 0.0f},
                      {length_x, side, 0.0f}, {length_x, -side, height_z}, {length_x, side, height_z}};
    shape.triangles = {{0, 4, 5}, {0, 5, 1}, {0, 1, 3}, {0, 3, 2}, {2, 3, 5}, {2, 5, 4}, {0, 2, 4}, {1, 5, 3}};
    return shape;
}

ColliderShape stairs_shape(uint32_t steps, float run, float rise, float width_y)
{
    ColliderShape shape;
    shape.kind = ColliderKind::Mesh;
    const float side = 0.5f * width_y;
    for (uint32_t step = 0; step < steps; ++step)
    {
        const auto before = static_cast<float>(step);
        add_box(shape, {before * run, -side, 0.0f}, {(before + 1.0f) * run, side, (before + 1.0f) * rise});
    }
    return shape;
}

bool is_sound(const ColliderShape& shape)
{
    switch (shape.kind)
    {
    case ColliderKind::Plane: return true;
    case ColliderKind::Sphere: return positive(shape.radius);
    case ColliderKind::Capsule: return positive(shape.radius) && std::isfinite(shape.height) && shape.height >= 2.0f * shape.radius;
    case ColliderKind::Mesh: break;
    }
    const auto within = [&shape](const std::array<uint32_t, 3>& triangle)
    { return std::all_of(triangle.begin(), triangle.end(), [&shape](uint32_t vertex) { return vertex < shape.vertices.size(); }); };
    return !shape.triangles.empty() && std::all_of(shape.vertices.begin(), shape.vertices.end(), finite3) &&
           std::all_of(shape.triangles.begin(), shape.triangles.end(), within);
}

void triangulate(const ColliderShape& shape, float extent, ColliderRecording& out)
{
    out.plane = shape.kind == ColliderKind::Plane;
    switch (shape.kind)
    {
    case ColliderKind::Plane:
        out.vertices = {{-extent, -extent, 0.0f}, {extent, -extent, 0.0f}, {extent, extent, 0.0f}, {-extent, extent, 0.0f}};
        out.triangles = {{0, 1, 2}, {0, 2, 3}};
        break;
    case ColliderKind::Sphere: add_round_body(out, shape.radius, 0.0f); break;
    case ColliderKind::Capsule: add_round_body(out, shape.radius, 0.5f * shape.height - shape.radius); break;
    case ColliderKind::Mesh:
        out.vertices = shape.vertices;
        out.triangles = shape.triangles;
        break;
    }
}

}  // namespace limbrex_host
