// Shapes of the scenery. Sizes in metres; a shape's own frame has z up. World frame: z up.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "host/recording.h"

namespace limbrex_host
{

enum class ColliderKind : uint8_t
{
    Plane,    // all that lies below z = 0 of its frame
    Sphere,   // radius, centred
    Capsule,  // radius; height from tip to tip along z, centred
    Mesh,     // triangles: boxes, ramps, stairs and what a file holds
};

struct ColliderShape
{
    ColliderKind kind = ColliderKind::Plane;
    float radius = 0.0f;
    float height = 0.0f;
    std::vector<std::array<float, 3>> vertices;
    std::vector<std::array<uint32_t, 3>> triangles;
};

ColliderShape plane_shape();
ColliderShape sphere_shape(float radius);
ColliderShape capsule_shape(float radius, float height);
// Centred.
ColliderShape box_shape(float length_x, float width_y, float height_z);
// Foot of the ramp at the origin; it rises along x over `length` to `height`, centred in y. A solid wedge.
ColliderShape ramp_shape(float length_x, float width_y, float height_z);
// Foot of the first riser at the origin; `steps` steps along x, each `run` deep and `rise` high, centred in y. Solid.
ColliderShape stairs_shape(uint32_t steps, float run, float rise, float width_y);

// Sizes are finite and above 0, triangles name vertices, numbers are finite.
bool is_sound(const ColliderShape& shape);

// The shape as triangles to draw; a plane as a square piece of 2 * `extent`.
void triangulate(const ColliderShape& shape, float extent, ColliderRecording& out);

}  // namespace limbrex_host
