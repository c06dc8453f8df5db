#include "tests/plugin/ground_fixture.h"

#include <algorithm>

#include "contexts/solver_frame.h"
#include "resources/host_services.h"

namespace test_engine
{

namespace
{

// What the services, which are plain functions, answer for.
struct Scenery
{
    const Ground* ground;
    const bool* hasBody;
    std::vector<Ray>* rays;
};
Scenery g_scenery;

int cast(World* world, const float origin[3], const float direction[3], float length, const void* filter, float position[3],
         float normal[3])
{
    const Ray ray = {reinterpret_cast<EngineWorld*>(world),
                     {origin[0], origin[1], origin[2]},
                     {direction[0], direction[1], direction[2]},
                     length,
                     static_cast<const EngineUnit*>(filter)};
    g_scenery.rays->push_back(ray);
    RayHit hit = {};
    if (!*g_scenery.ground || !(*g_scenery.ground)(ray, hit)) return 0;
    std::copy_n(hit.position.data(), 3, position);
    std::copy_n(hit.normal.data(), 3, normal);
    return 1;
}

bool g_offersRays;

}  // namespace

GroundTest::GroundTest(const limbrex_test::RigOptions& options)
    : rig(limbrex_test::make_rig(options)),
      state(limbrex_test::make_state(rig.character)),
      effectorSet(limbrex_test::make_effector_set()),
      propertySet(limbrex_test::make_property_set())
{
    g_scenery = {&ground, &hasBody, &rays};
    acquireServices();
    context.unit = reinterpret_cast<Unit*>(&resource);  // any address
    context.world = reinterpret_cast<World*>(&context);
    context.character = rig.character;
    context.state = state.get();
    context.effectorSet = effectorSet.get();
    context.propertySet = propertySet.get();
    context.resource = &resource;
    resource.foot = {1, 0.01f, 0.02f, 0.03f, 0.04f, 0.05f, 0.07f};
    resource.hand = {2, 0.11f, 0.12f, 0.13f, 0.14f, 0.15f, 0.16f};
    placeRoot({0, 0, 0}, 0.0f);
    beginFrame();
}

GroundTest::~GroundTest()
{
    hasRays = false;
    acquireServices();
}

void GroundTest::acquireServices() const
{
    g_offersRays = hasRays;
    acquire_host_services(getApi);
}

void* GroundTest::getApi(uint32_t service_id)
{
    static HostRayCastService rays = {cast};
    static HostUnitService units = {};
    units.physics_actor = [](Unit* unit) { return *g_scenery.hasBody ? reinterpret_cast<PhysicsActor*>(unit) : nullptr; };
    units.collision_filter = [](PhysicsActor* actor) -> const void* { return actor; };
    if (service_id == kHostUnitServiceId) return &units;
    return service_id == kHostRayCastServiceId && g_offersRays ? &rays : nullptr;
}

void GroundTest::beginFrame()
{
    rays.clear();
    context.debugPoints.count = context.debugSegments.count = 0;
    LBXEffectorSetInit(context.effectorSet);
    LBXEffectorSetFromState(context.character, context.effectorSet, context.state, context.propertySet);
    LBXPropertySetInit(context.propertySet);
}

void GroundTest::placeRoot(const Vec3& position_world, float heading_deg)
{
    const float half_rad = heading_deg * 3.14159265f / 360.0f;
    const Quat heading = {0.0f, 0.0f, std::sin(half_rad), std::cos(half_rad)};
    context.rootPosition = {position_world[0], position_world[1], position_world[2], 0.0f};
    context.rootRotation = mul(heading, {0.70710678f, 0.0f, 0.0f, 0.70710678f});
    context.inverseRootRotation = conjugate(context.rootRotation);
}

Vec3 GroundTest::toWorld(const Vec3& point_solver) const
{
    const Vec4 world = solver_to_world(context, {point_solver[0], point_solver[1], point_solver[2], 0.0f});
    return {world.x, world.y, world.z};
}

Vec3 GroundTest::goal(int effector) const
{
    float t[4] = {}, q[4] = {};
    LBXGetEffectorStateTQfv(context.effectorSet, effector, t, q);
    return {t[0], t[1], t[2]};
}

GroundTest::Plane GroundTest::floorContact(int contact) const
{
    float t[4] = {}, q[4] = {};
    LBXGetEffectorFloorContactTQfv(context.effectorSet, contact, t, q);
    return {{t[0], t[1], t[2]}, {q[0], q[1], q[2], q[3]}};
}

Vec3 GroundTest::Plane::up() const
{
    const Vec4 up = rotate({rotation[0], rotation[1], rotation[2], rotation[3]}, {0.0f, 1.0f, 0.0f, 0.0f});
    return {up.x, up.y, up.z};
}

}  // namespace test_engine
