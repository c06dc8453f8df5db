// Colliders and rays of the table `scene`.
#include <cmath>

#include <fmt/format.h>
#include <lua.hpp>

#include "host/scene_script.h"
#include "host/script_table.h"
#include "host/script_values.h"

namespace limbrex_host
{
namespace
{

constexpr double kRadians = 3.14159265358979323846 / 180.0;
constexpr lua_Integer kMeshLimit = 1'000'000;  // vertices, triangles
constexpr int32_t kStepLimit = 10'000;

// Place, heading and name, which all colliders have; then the shape goes into the world.
int finish_collider(SceneScript& script, ScriptTable& table, const ColliderShape& shape, const char* kind)
{
    SceneState& scene = script.scene;
    SceneCollider collider;
    collider.name = fmt::format("{} {}", kind, scene.colliders.size() + 1);
    collider.shape = shape;
    double heading_deg = 0.0;
    table.read("name", collider.name);
    table.read("position", collider.place);
    table.read("heading", heading_deg);
    if (!table.done()) { return scene_failure(script, table.failure()); }
    const double half_rad = 0.5 * heading_deg * kRadians;
    collider.rotation = {0.0f, 0.0f, static_cast<float>(std::sin(half_rad)), static_cast<float>(std::cos(half_rad))};
    std::array<double, 3> point{};
    if (!evaluate_place(scene.engine.script, collider.place, scene.time_s, collider.name, point, script.failure)) { return kSceneFailure; }
    collider.pose_world.position = {static_cast<float>(point[0]), static_cast<float>(point[1]), static_cast<float>(point[2])};
    collider.pose_world.rotation = collider.rotation;
    collider.number = scene.world->physics.add(shape, collider.pose_world);
    if (collider.number == HostPhysics::kNone)
    {
        return scene_failure(script, fmt::format("scene.{}: sizes must be above 0 and shapes whole", kind));
    }
    scene.colliders.push_back(std::move(collider));
    return 0;
}

float size_of(ScriptTable& table, const char* member)
{
    double size = 0.0;
    table.require(member);
    table.read(member, size);
    if (!(size > 0.0)) { table.fault(fmt::format("member \"{}\" must be above 0", member)); }
    return static_cast<float>(size);
}

int add_ground_plane(SceneScript& script, lua_State* lua)
{
    const int type = lua_type(lua, 1);
    const double z = type == LUA_TNUMBER ? lua_tonumber(lua, 1) : 0.0;
    if ((type != LUA_TNUMBER && type > LUA_TNIL) || !std::isfinite(z))
    {
        return scene_failure(script, "scene.ground: a finite height was expected");
    }
    SceneCollider ground;
    ground.name = "ground";
    ground.place.point_world[2] = z;
    ground.pose_world.position[2] = static_cast<float>(z);
    ground.number = add_ground(script.scene.world->physics, static_cast<float>(z));
    script.scene.colliders.push_back(ground);
    return 0;
}

int add_box_collider(SceneScript& script, lua_State* lua)
{
    ScriptTable table(lua, "scene.box");
    std::array<double, 3> size{};
    table.require("size");
    table.read("size", size);
    if (!(size[0] > 0.0 && size[1] > 0.0 && size[2] > 0.0)) { table.fault("member \"size\": three lengths above 0 expected"); }
    return finish_collider(script, table, box_shape(static_cast<float>(size[0]), static_cast<float>(size[1]), static_cast<float>(size[2])),
                           "box");
}

int add_sphere_collider(SceneScript& script, lua_State* lua)
{
    ScriptTable table(lua, "scene.sphere");
    return finish_collider(script, table, sphere_shape(size_of(table, "radius")), "sphere");
}

int add_capsule_collider(SceneScript& script, lua_State* lua)
{
    ScriptTable table(lua, "scene.capsule");
    const float radius = size_of(table, "radius");
    const float height = size_of(table, "height");
    if (height < 2.0f * radius) { table.fault("a capsule is at least as high as it is wide"); }
    return finish_collider(script, table, capsule_shape(radius, height), "capsule");
}

int add_ramp_collider(SceneScript& script, lua_State* lua)
{
    ScriptTable table(lua, "scene.ramp");
    const float length = size_of(table, "length");
    const float width = size_of(table, "width");
    return finish_collider(script, table, ramp_shape(length, width, size_of(table, "height")), "ramp");
}

int add_stairs_collider(SceneScript& script, lua_State* lua)
{
    ScriptTable table(lua, "scene.stairs");
    int32_t steps = 0;
    table.require("steps");
    table.readInteger("steps", steps);
    if (steps < 1 || steps > kStepLimit) { table.fault(fmt::format("member \"steps\": 1 to {} expected", kStepLimit)); }
    const float run = size_of(table, "run");
    const float rise = size_of(table, "rise");
    const float width = size_of(table, "width");
    const ColliderShape shape = table.failure().empty() ? stairs_shape(static_cast<uint32_t>(steps), run, rise, width) : ColliderShape{};
    return finish_collider(script, table, shape, "stairs");
}

void read_vertices(ScriptTable& table, lua_State* lua, ColliderShape& shape)
{
    if (table.push("vertices") != LUA_TTABLE) { table.fault("member \"vertices\": a list of vectors expected"); }
    else
    {
        const auto count = static_cast<lua_Integer>(lua_rawlen(lua, -1));
        if (count > kMeshLimit) { table.fault("member \"vertices\" is too long"); }
        for (lua_Integer i = 1; i <= count && table.failure().empty(); ++i)
        {
            double point[3] = {};
            lua_rawgeti(lua, -1, i);
            if (!read_vec(lua, -1, point)) { table.fault(fmt::format("vertices[{}]: vector expected", i)); }
            shape.vertices.push_back({static_cast<float>(point[0]), static_cast<float>(point[1]), static_cast<float>(point[2])});
            lua_pop(lua, 1);
        }
    }
    lua_pop(lua, 1);
}

void read_triangles(ScriptTable& table, lua_State* lua, ColliderShape& shape)
{
    if (table.push("triangles") != LUA_TTABLE) { table.fault("member \"triangles\": a list of {i, j, k} expected"); }
    else
    {
        const auto count = static_cast<lua_Integer>(lua_rawlen(lua, -1));
        if (count > kMeshLimit) { table.fault("member \"triangles\" is too long"); }
        for (lua_Integer i = 1; i <= count && table.failure().empty(); ++i)
        {
            double corner[3] = {};
            lua_rawgeti(lua, -1, i);
            bool sound = read_vec(lua, -1, corner);
            std::array<uint32_t, 3> triangle{};
            for (size_t k = 0; k < 3; ++k)
            {
                sound = sound && corner[k] >= 1.0 && corner[k] <= static_cast<double>(shape.vertices.size());
                if (sound) { triangle[k] = static_cast<uint32_t>(corner[k]) - 1; }
            }
            if (!sound) { table.fault(fmt::format("triangles[{}]: three vertex numbers from 1 expected", i)); }
            shape.triangles.push_back(triangle);
            lua_pop(lua, 1);
        }
    }
    lua_pop(lua, 1);
}

int add_mesh_collider(SceneScript& script, lua_State* lua)
{
    ScriptTable table(lua, "scene.mesh");
    ColliderShape shape;
    shape.kind = ColliderKind::Mesh;
    read_vertices(table, lua, shape);
    read_triangles(table, lua, shape);
    return finish_collider(script, table, shape, "mesh");
}

int cast_scene_ray(SceneScript& script, lua_State* lua)
{
    double origin[3] = {};
    double direction[3] = {};
    uint32_t unit = 0;
    const bool sound = read_vec(lua, 1, origin) && read_vec(lua, 2, direction) && lua_type(lua, 3) == LUA_TNUMBER;
    if (!sound) { return scene_failure(script, "scene.ray: origin and direction (vectors), length (number) and perhaps a unit expected"); }
    read_unit(lua, 4, unit);
    const CollisionFilter filter{unit};
    RayHit hit;
    const bool found = script.scene.world->physics.cast(
        {static_cast<float>(origin[0]), static_cast<float>(origin[1]), static_cast<float>(origin[2])},
        {static_cast<float>(direction[0]), static_cast<float>(direction[1]), static_cast<float>(direction[2])},
        static_cast<float>(lua_tonumber(lua, 3)), &filter, hit);
    if (!found) { return 0; }
    const double position[3] = {static_cast<double>(hit.position[0]), static_cast<double>(hit.position[1]),
                                static_cast<double>(hit.position[2])};
    const double normal[3] = {static_cast<double>(hit.normal[0]), static_cast<double>(hit.normal[1]), static_cast<double>(hit.normal[2])};
    push_vec(lua, position);
    push_vec(lua, normal);
    return 2;
}

}  // namespace

const SceneFunctionRow kSceneSceneryFunctions[] = {
    {"ground", add_ground_plane},      {"box", add_box_collider},   {"sphere", add_sphere_collider},
    {"capsule", add_capsule_collider}, {"ramp", add_ramp_collider}, {"stairs", add_stairs_collider},
    {"mesh", add_mesh_collider},       {"ray", cast_scene_ray},     {nullptr, nullptr}};

}  // namespace limbrex_host
