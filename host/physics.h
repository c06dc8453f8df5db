// Ray casts against the scenery and against other units' bodies. World frame: z up, metres.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "host/colliders.h"
#include "host/recording.h"

namespace limbrex_host
{

// Given with a ray, keeps it off the colliders of one unit.
struct CollisionFilter
{
    uint32_t ownUnit = 0;  // reference id; 0 = nobody's
};

struct RayHit
{
    std::array<float, 3> position{0.0f, 0.0f, 0.0f};
    std::array<float, 3> normal{0.0f, 0.0f, 1.0f};  // unit length, towards the ray's origin
    float distance = 0.0f;
    size_t collider = 0;
};

class HostPhysics
{
public:
    HostPhysics();
    ~HostPhysics();
    HostPhysics(const HostPhysics&) = delete;
    HostPhysics& operator=(const HostPhysics&) = delete;

    static constexpr size_t kNone = static_cast<size_t>(-1);

    // Returns the collider's number, kNone for a shape or pose that is not sound. `owner` is the reference id of the unit it belongs to.
    size_t add(const ColliderShape& shape, const NodePose& pose_world, uint32_t owner = 0);
    bool move(size_t collider, const NodePose& pose_world);  // scale is not read; false: no such collider or a pose that is not finite
    bool remove(size_t collider);
    size_t collider_count() const;  // numbers given so far, removed ones included

    // The nearest hit within `length` along `direction` (any length but 0). False for none and for numbers that are not finite.
    bool cast(const std::array<float, 3>& origin, const std::array<float, 3>& direction, float length, const CollisionFilter* filter,
              RayHit& hit) const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};

}  // namespace limbrex_host
