#include "constraints/ground_probe.h"

#include <algorithm>
#include <cmath>

#include "constraints/effector_goal.h"
#include "contexts/shortest_arc.h"
#include "contexts/solver_frame.h"
#include "debug/debug_shapes.h"
#include "resources/host_services.h"
#include "resources/plugin_state.h"

namespace
{

constexpr Vec4 kUp_world = {0.0f, 0.0f, 1.0f, 0.0f};
constexpr Vec4 kUp_solver = {0.0f, 1.0f, 0.0f, 0.0f};
constexpr float kFullTurn_rad = 6.2831845f;

// Steeper ground (about 66 degrees), walls and ceilings count as level.
constexpr float kSteepestUp = 0.4f;

// Setters store any number; a frame's work and the precision of a hit need bounds.
constexpr int32_t kMostRays = 64;
constexpr float kLongestRay = 10000.0f;

constexpr float kDefaultRayLength = 5.0f;
constexpr float kLongestPushedRay = 10.0f;

constexpr uint32_t kHitColour = 0xff7070ffu;
constexpr uint32_t kContactColour = 0xff5050ffu;
constexpr float kNormalLength = 0.15f;
constexpr float kHitMarker = 0.005f;
constexpr float kContactBox = 0.05f;

bool draws_collisions() { return plugin_state().drawRigsEnabled && plugin_state().collisionsDebugEnabled; }

// Any ray of one probe.
struct GroundRay
{
    const void* filter;
    float up, length;
};

struct HitSum
{
    Vec4 position_solver = kZero4;
    Vec4 normal_world = kZero4;
    int32_t count = 0;
};

GroundRay ray_of_probe(const CharacterContext& context, const GroundProbe& probe)
{
    PhysicsActor* actor = context.unit ? host_services().unit->physics_actor(context.unit) : nullptr;
    const float up = std::clamp(probe.rayUpLength, -kLongestRay, kLongestRay);
    const float down = std::clamp(probe.rayDownLength, -kLongestRay, kLongestRay);
    return {actor ? host_services().unit->collision_filter(actor) : nullptr, up, up + down};
}

// The engine's normal at unit length, level when it has no direction or is too steep to stand on.
Vec4 standing_normal(Vec4 normal_world)
{
    // In doubles no length of three floats overflows.
    const double x = normal_world.x, y = normal_world.y, z = normal_world.z;
    const double length = std::sqrt(x * x + y * y + z * z);
    if (!(length > 0.0) || !std::isfinite(length)) return kUp_world;
    const Vec4 unit_normal = {static_cast<float>(x / length), static_cast<float>(y / length), static_cast<float>(z / length), 0.0f};
    return unit_normal.z < kSteepestUp ? kUp_world : unit_normal;
}

void draw_hit(const CharacterContext& context, Vec4 hit_world, Vec4 normal_world)
{
    draw_line(&context, hit_world, add3(hit_world, scale3(normal_world, kNormalLength)), kHitColour);
    draw_marker(&context, hit_world, kHitMarker, kHitColour);
}

// Casts down through a point and adds what is hit.
void cast_one(const CharacterContext& context, Vec4 through_solver, const GroundRay& ray, HitSum& sum)
{
    const HostRayCastService* service = host_services().rayCast;
    Vec4 origin_world = solver_to_world(context, through_solver);
    origin_world.z += ray.up;
    if (!service || !context.world || !(ray.length > 0.0f) || !is_finite3(origin_world)) return;

    const Vec4 down_world = {0.0f, 0.0f, -1.0f, 0.0f};
    Vec4 hit_world = kZero4, normal_world = kUp_world;
    if (!service->cast(context.world, &origin_world.x, &down_world.x, ray.length, ray.filter, &hit_world.x, &normal_world.x)) return;
    // A hit that is nowhere near its ray, or no place at all, is none. The comparison fails for what is not finite.
    if (!(length3(sub3(hit_world, origin_world)) <= 2.0f * ray.length + 1.0f)) return;

    const Vec4 standing_world = standing_normal(normal_world);
    sum.position_solver = add3(sum.position_solver, world_to_solver(context, hit_world));
    sum.normal_world = add3(sum.normal_world, standing_world);
    ++sum.count;
    if (draws_collisions()) draw_hit(context, hit_world, standing_world);
}

}  // namespace

GroundContact probe_ground(const CharacterContext& context, LBXEffectorId effector, const GroundProbe& probe)
{
    const Vec4 middle = read_goal(context, effector).translation;
    const GroundRay ray = ray_of_probe(context, probe);
    const int32_t ray_count = std::clamp(probe.rayCount, 1, kMostRays);
    const float radius = std::clamp(probe.radius, -kLongestRay, kLongestRay);
    HitSum sum;
    cast_one(context, middle, ray, sum);
    for (int32_t k = 0; k < ray_count - 1; ++k)
    {
        const float angle = static_cast<float>(k) * kFullTurn_rad / static_cast<float>(ray_count);
        const Vec4 around = {std::cos(angle) * radius, 0.0f, std::sin(angle) * radius, 0.0f};
        cast_one(context, add3(middle, around), ray, sum);
    }

    GroundContact contact;
    // Where a goal is too far away for sums of hits there is no ground either.
    if (sum.count == 0 || !is_finite3(sum.position_solver)) return contact;
    const float share = 1.0f / static_cast<float>(sum.count);
    contact.position = scale3(sum.position_solver, share);
    contact.rotation = shortest_arc(kUp_solver, direction_to_solver(context, scale3(sum.normal_world, share)));
    contact.hit = true;
    if (ray_count > 1 && draws_collisions())
    {
        draw_box(&context, solver_to_world(context, contact.position), rotation_to_world(context, contact.rotation), kContactBox,
                 kContactColour);
    }
    return contact;
}

float pushed_ray_length(float length) { return length > 0.0f && length <= kLongestPushedRay ? length : kDefaultRayLength; }
