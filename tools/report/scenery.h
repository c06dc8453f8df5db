// Colliders as reports draw them: flat facets.
#pragma once

#include <array>
#include <vector>

#include "host/animation/pose_math.h"
#include "host/recording.h"

namespace limbrex_tools
{

struct Facet
{
    std::array<limbrex_host::Vec3d, 3> corners;  // counter-clockwise seen from outside
    limbrex_host::Vec3d normal;                  // unit, outward
};

// Of one collider, in its own frame. Empty when indices or numbers are out of range; triangles without area are left out.
std::vector<Facet> facets_of(const limbrex_host::ColliderRecording& collider);

// Of each of a scene's bounded colliders, in the world (z up, metres) in one recorded frame. Colliders without a sound pose for it are left out.
std::vector<std::vector<Facet>> scenery_at(const limbrex_host::Recording& recording, size_t frame);

}  // namespace limbrex_tools
