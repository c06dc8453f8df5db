#include "tools/report/scenery.h"

#include <algorithm>
#include <cmath>

namespace limbrex_tools
{
namespace
{

using limbrex_host::ColliderRecording;
using limbrex_host::NodePose;
using limbrex_host::Vec3d;

template <size_t N>
bool finite(const std::array<float, N>& values)
{
    return std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); });
}

// Null when the collider has no sound pose for the frame.
const NodePose* pose_at(const ColliderRecording& collider, size_t frame)
{
    if (collider.poses_world.empty() || (collider.poses_world.size() != 1 && frame >= collider.poses_world.size())) { return nullptr; }
    const NodePose& pose = collider.poses_world[collider.poses_world.size() == 1 ? 0 : frame];
    return finite(pose.position) && finite(pose.rotation) && finite(pose.scale) ? &pose : nullptr;
}

Facet facet(const std::array<Vec3d, 3>& corners) { return {corners, normalized(cross(corners[1] - corners[0], corners[2] - corners[0]))}; }

bool has_area(const Facet& f) { return length(f.normal) > 0.5; }

}  // namespace

std::vector<Facet> facets_of(const ColliderRecording& collider)
{
    std::vector<Facet> facets;
    for (const std::array<uint32_t, 3>& triangle : collider.triangles)
    {
        std::array<Vec3d, 3> corners;
        for (size_t k = 0; k < 3; ++k)
        {
            if (triangle[k] >= collider.vertices.size() || !finite(collider.vertices[triangle[k]])) { return {}; }
            corners[k] = limbrex_host::to_vec3d(collider.vertices[triangle[k]]);
        }
        const Facet f = facet(corners);
        if (has_area(f)) { facets.push_back(f); }
    }
    return facets;
}

std::vector<std::vector<Facet>> scenery_at(const limbrex_host::Recording& recording, size_t frame)
{
    std::vector<std::vector<Facet>> all;
    for (const ColliderRecording& collider : recording.colliders)
    {
        const NodePose* pose = pose_at(collider, frame);
        if (collider.plane || pose == nullptr) { continue; }
        const limbrex_host::Quatd rotation = normalized(limbrex_host::to_quatd(pose->rotation));
        const Vec3d position = limbrex_host::to_vec3d(pose->position);
        all.emplace_back();
        for (const Facet& local : facets_of(collider))
        {
            std::array<Vec3d, 3> corners;
            for (size_t k = 0; k < 3; ++k)
            {
                const Vec3d& c = local.corners[k];
                corners[k] = position + rotate(rotation, {c.x * pose->scale[0], c.y * pose->scale[1], c.z * pose->scale[2]});
            }
            const Facet f = facet(corners);
            if (has_area(f)) { all.back().push_back(f); }
        }
    }
    return all;
}

}  // namespace limbrex_tools
