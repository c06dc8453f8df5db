// The few solids that reports are made of, as flat-shaded triangles. Counter-clockwise seen from outside.
#pragma once

#include <cstdint>
#include <vector>

namespace limbrex_tools
{

struct TriangleMesh
{
    std::vector<float> positions;  // x, y, z a corner
    std::vector<float> normals;    // unit, one a corner
    std::vector<uint32_t> indices;
};

// From the origin to (0, 1, 0): a pointed bone, widest (radius 1) near its base. Scale it to length and thickness.
TriangleMesh bone_shape();

// Radius 1 around the origin.
TriangleMesh ball_shape();

// Square of side 1 in the x-y plane, facing +z.
TriangleMesh plane_shape();

}  // namespace limbrex_tools
