#include "tools/report/shapes.h"

#include <array>
#include <cmath>
#include <cstddef>

#include "host/animation/pose_math.h"

namespace limbrex_tools
{
namespace
{

using limbrex_host::Vec3d;

constexpr double kTurn_rad = 2.0 * 3.14159265358979323846;
constexpr double kWidestAt = 0.14;
constexpr int kBallRings = 8;
constexpr int kBallSegments = 14;

void add_corner(TriangleMesh& mesh, Vec3d position, Vec3d normal)
{
    for (const double value : {position.x, position.y, position.z}) { mesh.positions.push_back(static_cast<float>(value)); }
    for (const double value : {normal.x, normal.y, normal.z}) { mesh.normals.push_back(static_cast<float>(value)); }
}

void add_flat_triangle(TriangleMesh& mesh, Vec3d a, Vec3d b, Vec3d c)
{
    const Vec3d normal = normalized(cross(b - a, c - a));
    for (const Vec3d& corner : {a, b, c})
    {
        mesh.indices.push_back(static_cast<uint32_t>(mesh.positions.size() / 3));
        add_corner(mesh, corner, normal);
    }
}

Vec3d on_ball(int ring, int segment)
{
    const double latitude = kTurn_rad / 2.0 * ring / kBallRings;
    const double longitude = kTurn_rad * segment / kBallSegments;
    return {std::sin(latitude) * std::cos(longitude), std::cos(latitude), -std::sin(latitude) * std::sin(longitude)};
}

}  // namespace

TriangleMesh bone_shape()
{
    TriangleMesh mesh;
    const std::array<Vec3d, 4> ring{{{1, kWidestAt, 0}, {0, kWidestAt, -1}, {-1, kWidestAt, 0}, {0, kWidestAt, 1}}};
    for (size_t i = 0; i < 4; ++i)
    {
        add_flat_triangle(mesh, ring[i], ring[(i + 1) % 4], {0, 1, 0});
        add_flat_triangle(mesh, ring[(i + 1) % 4], ring[i], {0, 0, 0});
    }
    return mesh;
}

TriangleMesh ball_shape()
{
    TriangleMesh mesh;
    for (int ring = 0; ring <= kBallRings; ++ring)
    {
        for (int segment = 0; segment <= kBallSegments; ++segment)
        {
            const Vec3d at = on_ball(ring, segment);
            add_corner(mesh, at, normalized(at));
        }
    }
    constexpr uint32_t kRow = kBallSegments + 1;
    for (uint32_t ring = 0; ring < kBallRings; ++ring)
    {
        for (uint32_t segment = 0; segment < kBallSegments; ++segment)
        {
            const uint32_t a = ring * kRow + segment;
            if (ring > 0) { mesh.indices.insert(mesh.indices.end(), {a, a + kRow, a + 1}); }
            if (ring + 1 < kBallRings) { mesh.indices.insert(mesh.indices.end(), {a + 1, a + kRow, a + kRow + 1}); }
        }
    }
    return mesh;
}

TriangleMesh plane_shape()
{
    TriangleMesh mesh;
    add_flat_triangle(mesh, {-0.5, -0.5, 0}, {0.5, -0.5, 0}, {0.5, 0.5, 0});
    add_flat_triangle(mesh, {-0.5, -0.5, 0}, {0.5, 0.5, 0}, {-0.5, 0.5, 0});
    return mesh;
}

}  // namespace limbrex_tools
