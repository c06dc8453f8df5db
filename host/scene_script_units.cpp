// Clips, rigs and units of the table `scene`, and the methods of unit handles.
#include <algorithm>
#include <cmath>
#include <filesystem>

#include <fmt/format.h>
#include <lua.hpp>

#include "host/animation/import_units.h"
#include "host/scene_script.h"
#include "host/script_table.h"
#include "host/script_values.h"

namespace limbrex_host
{
namespace
{

constexpr const char* kClipType = "clip";

// Clips are handles to the scene's list.
void push_clip(lua_State* lua, size_t number)
{
    *static_cast<size_t*>(lua_newuserdatauv(lua, sizeof(size_t), 0)) = number;
    luaL_newmetatable(lua, kClipType);
    lua_setmetatable(lua, -2);
}

SceneClip* clip_at(SceneScript& script, lua_State* lua, int index)
{
    const auto* const number =
        lua_type(lua, index) == LUA_TUSERDATA ? static_cast<const size_t*>(luaL_testudata(lua, index, kClipType)) : nullptr;
    return number != nullptr && *number < script.scene.clips.size() ? &script.scene.clips[*number] : nullptr;
}

int32_t clip_named(const Asset& asset, const std::string& name)
{
    if (name.empty()) { return asset.clips.empty() ? -1 : 0; }
    const auto found = std::find_if(asset.clips.begin(), asset.clips.end(), [&name](const Clip& clip) { return clip.name == name; });
    return found == asset.clips.end() ? -1 : static_cast<int32_t>(found - asset.clips.begin());
}

int no_such_clip(SceneScript& script, const Asset& asset, const std::string& name)
{
    std::string names;
    for (const Clip& clip : asset.clips) { names += (names.empty() ? "\"" : ", \"") + clip.name + "\""; }
    return scene_failure(script, fmt::format("scene.clip: {} has no clip{}; it has {}", asset.path, name.empty() ? "" : " \"" + name + "\"",
                                             names.empty() ? "none" : names));
}

int add_clip(SceneScript& script, lua_State* lua)
{
    SceneState& scene = script.scene;
    ScriptTable table(lua, "scene.clip");
    SceneClip clip;
    std::string file;
    std::string name;
    table.require("file");
    table.read("file", file);
    table.read("name", name);
    table.read("start", clip.playback.start_s);
    table.read("stop", clip.playback.stop_s);
    table.read("speed", clip.playback.speed);
    table.read("loop", clip.playback.loop);
    if (!table.done()) { return scene_failure(script, table.failure()); }

    // A clip given on the command line takes the place of the scene's first.
    const bool replaced = !scene.clipOverride.empty() && !scene.overrideUsed;
    scene.overrideUsed = true;
    std::string error;
    const Asset* const asset = load_scene_asset(scene, replaced ? scene.clipOverride : resolve_scene_file(scene, file), error);
    if (asset == nullptr) { return scene_failure(script, "scene.clip: " + error); }
    const int32_t number = clip_named(*asset, replaced ? std::string() : name);
    if (number < 0) { return no_such_clip(script, *asset, name); }
    clip.playback.asset = asset;
    clip.playback.clip = static_cast<size_t>(number);
    const double end = clip_duration(asset->clips[clip.playback.clip]);
    if (clip.playback.start_s > end)
    {
        if (!replaced)
        {
            return scene_failure(script, fmt::format("scene.clip: start is {} s, the clip ends at {:.3f} s", clip.playback.start_s, end));
        }
        clip.playback.start_s = 0.0;
        clip.playback.stop_s = 0.0;
    }
    scene.clips.push_back(clip);
    push_clip(lua, scene.clips.size() - 1);
    return 1;
}

int add_rig(SceneScript& script, lua_State* lua)
{
    ScriptTable table(lua, "scene.rig");
    std::string file;
    std::string name;
    table.require("file");
    table.read("file", file);
    table.read("name", name);
    if (!table.done()) { return scene_failure(script, table.failure()); }
    if (name.empty()) { name = std::filesystem::path(file).stem().string(); }
    std::string error;
    if (!load_scene_rig(script.scene, resolve_scene_file(script.scene, file), name, error))
    {
        return scene_failure(script, "scene.rig: " + error);
    }
    lua_pushlstring(lua, name.data(), name.size());
    return 1;
}

bool root_motion_named(const std::string& name, RootMotion& motion)
{
    if (name == "hips") { motion = RootMotion::Hips; }
    else if (name == "unit") { motion = RootMotion::Unit; }
    else if (name == "none") { motion = RootMotion::None; }
    else { return false; }
    return true;
}

// Rig, clip and skeleton that the table names. False with script.failure.
bool find_parts(SceneScript& script, const std::string& rig, const std::string& skeleton, UnitRequest& request)
{
    SceneState& scene = script.scene;
    std::string error;
    if (!skeleton.empty()) { request.asset = load_scene_asset(scene, resolve_scene_file(scene, skeleton), error); }
    else if (request.clip != nullptr) { request.asset = request.clip->playback.asset; }
    if (request.asset == nullptr)
    {
        scene_failure(script, "scene.unit: " + (error.empty() ? "a clip or a skeleton is needed" : error));
        return false;
    }
    if (rig.empty()) { return true; }
    const auto found = std::find_if(scene.rigs.begin(), scene.rigs.end(), [&rig](const SceneRig& each) { return each.name == rig; });
    if (found == scene.rigs.end())
    {
        scene_failure(script, fmt::format("scene.unit: no rig named \"{}\"; load it with scene.rig first", rig));
        return false;
    }
    request.rig = &*found;
    return true;
}

int add_unit(SceneScript& script, lua_State* lua)
{
    ScriptTable table(lua, "scene.unit");
    UnitRequest request;
    request.name = fmt::format("unit {}", script.scene.units.size() + 1);
    std::string rig;
    std::string skeleton;
    std::string root_motion = "hips";
    bool in_place = false;
    table.read("name", request.name);
    table.read("rig", rig);
    table.read("skeleton", skeleton);
    table.read("position", request.position_world);
    table.read("heading", request.heading_deg);
    table.read("in_place", in_place);
    table.read("root_motion", root_motion);
    table.read("body_radius", request.bodyRadius_m);
    table.read("body_height", request.bodyHeight_m);
    const bool has_clip = table.push("clip") != LUA_TNIL;
    const SceneClip* const wanted = clip_at(script, lua, -1);
    if (has_clip && wanted == nullptr) { table.fault("member \"clip\": what scene.clip gives was expected"); }
    lua_pop(lua, 1);
    SceneClip clip = wanted != nullptr ? *wanted : SceneClip{};
    if (!root_motion_named(root_motion, clip.playback.rootMotion))
    {
        table.fault("member \"root_motion\" is \"hips\", \"unit\" or \"none\"");
    }
    if (in_place) { clip.playback.rootMotion = RootMotion::None; }
    if (!table.done()) { return scene_failure(script, table.failure()); }
    request.clip = wanted != nullptr ? &clip : nullptr;
    if (!find_parts(script, rig, skeleton, request)) { return kSceneFailure; }
    std::string error;
    if (!spawn_scene_unit(script.scene, request, error)) { return scene_failure(script, "scene.unit: " + error); }
    push_unit(lua, script.scene.units.back().referenceId);
    return 1;
}

// The unit of a method's first argument with its engine record, or nulls with script.failure.
struct UnitArgument
{
    SceneUnit* scene = nullptr;
    HostUnit* host = nullptr;
};

UnitArgument unit_argument(SceneScript& script, lua_State* lua, const char* function)
{
    uint32_t id = 0;
    UnitArgument unit;
    if (!read_unit(lua, 1, id))
    {
        scene_failure(script, fmt::format("{}: unit expected, got {} (call methods as unit:name())", function, script_type_name(lua, 1)));
    }
    else
    {
        unit.scene = script.scene.find_unit(id);
        unit.host = script.scene.engine.units.resolve(id);
        if (unit.scene == nullptr || unit.host == nullptr)
        {
            scene_failure(script, std::string(function) + ": the unit was deleted");
            unit = {};
        }
    }
    return unit;
}

int give_point(lua_State* lua, const float* point)
{
    const double values[3] = {static_cast<double>(point[0]), static_cast<double>(point[1]), static_cast<double>(point[2])};
    push_vec(lua, values);
    return 1;
}

int delete_unit(SceneScript& script, lua_State* lua)
{
    const UnitArgument unit = unit_argument(script, lua, "scene.delete");
    if (unit.host == nullptr) { return kSceneFailure; }
    remove_scene_unit(script.scene, *unit.scene);
    return 0;
}

int unit_position(SceneScript& script, lua_State* lua)
{
    const UnitArgument unit = unit_argument(script, lua, "unit:position");
    return unit.host != nullptr ? give_point(lua, unit.host->position_world.data()) : kSceneFailure;
}

int unit_set_position(SceneScript& script, lua_State* lua)
{
    const UnitArgument unit = unit_argument(script, lua, "unit:set_position");
    if (unit.host == nullptr) { return kSceneFailure; }
    std::array<double, 3> point{};
    const bool placed = read_vec(lua, 2, point.data()) &&
                        place_unit(*unit.host, {static_cast<float>(point[0]), static_cast<float>(point[1]), static_cast<float>(point[2])},
                                   unit.host->heading_deg);
    if (!placed) { return scene_failure(script, "unit:set_position: a finite vector was expected"); }
    unit.scene->base_world = point;
    return 0;
}

int unit_heading(SceneScript& script, lua_State* lua)
{
    const UnitArgument unit = unit_argument(script, lua, "unit:heading");
    if (unit.host == nullptr) { return kSceneFailure; }
    lua_pushnumber(lua, static_cast<double>(unit.host->heading_deg));
    return 1;
}

int unit_set_heading(SceneScript& script, lua_State* lua)
{
    const UnitArgument unit = unit_argument(script, lua, "unit:set_heading");
    if (unit.host == nullptr) { return kSceneFailure; }
    const bool number = lua_type(lua, 2) == LUA_TNUMBER;
    const bool placed = number && place_unit(*unit.host, unit.host->position_world, static_cast<float>(lua_tonumber(lua, 2)));
    return placed ? 0 : scene_failure(script, "unit:set_heading: a finite number of degrees was expected");
}

int unit_name(SceneScript& script, lua_State* lua)
{
    const UnitArgument unit = unit_argument(script, lua, "unit:name");
    if (unit.host == nullptr) { return kSceneFailure; }
    lua_pushlstring(lua, unit.scene->name.data(), unit.scene->name.size());
    return 1;
}

int unit_body_height(SceneScript& script, lua_State* lua)
{
    const UnitArgument unit = unit_argument(script, lua, "unit:body_height");
    if (unit.host == nullptr) { return kSceneFailure; }
    lua_pushnumber(lua, body_height(unit.scene->skeleton));
    return 1;
}

int unit_play(SceneScript& script, lua_State* lua)
{
    const UnitArgument unit = unit_argument(script, lua, "unit:play");
    const SceneClip* const clip = clip_at(script, lua, 2);
    if (unit.host == nullptr) { return kSceneFailure; }
    if (clip == nullptr) { return scene_failure(script, "unit:play: what scene.clip gives was expected"); }
    ClipPlayback playback = clip->playback;
    if (unit.scene->player.bound()) { playback.rootMotion = unit.scene->player.current().rootMotion; }
    std::string error;
    return play_clip(script.scene, *unit.scene, playback, error) ? 0 : scene_failure(script, "unit:play: " + error);
}

// Node named by argument 2; -1 with script.failure.
int32_t node_argument(SceneScript& script, lua_State* lua, const HostUnit& unit, const char* function)
{
    const int32_t node = lua_type(lua, 2) == LUA_TSTRING ? unit.tree.find(lua_tostring(lua, 2)) : -1;
    if (node < 0) { scene_failure(script, fmt::format("{}: the unit has no node of that name", function)); }
    return node;
}

int unit_node_position(SceneScript& script, lua_State* lua)
{
    const UnitArgument unit = unit_argument(script, lua, "unit:node_position");
    const int32_t node = unit.host != nullptr ? node_argument(script, lua, *unit.host, "unit:node_position") : -1;
    return node >= 0 ? give_point(lua, unit.host->tree.worlds[static_cast<size_t>(node)].m + 12) : kSceneFailure;
}

// The node's number as Limbrex functions take it: from 1, as Lua counts.
int unit_node_index(SceneScript& script, lua_State* lua)
{
    const UnitArgument unit = unit_argument(script, lua, "unit:node_index");
    const int32_t node = unit.host != nullptr ? node_argument(script, lua, *unit.host, "unit:node_index") : -1;
    if (node < 0) { return kSceneFailure; }
    lua_pushinteger(lua, static_cast<lua_Integer>(node) + 1);
    return 1;
}

int unit_node_rotation(SceneScript& script, lua_State* lua)
{
    const UnitArgument unit = unit_argument(script, lua, "unit:node_rotation");
    const int32_t node = unit.host != nullptr ? node_argument(script, lua, *unit.host, "unit:node_rotation") : -1;
    if (node < 0) { return kSceneFailure; }
    const std::array<float, 4> turn = node_pose_from(unit.host->tree.worlds[static_cast<size_t>(node)]).rotation;
    const double values[4] = {static_cast<double>(turn[0]), static_cast<double>(turn[1]), static_cast<double>(turn[2]),
                              static_cast<double>(turn[3])};
    push_quat(lua, values);
    return 1;
}

}  // namespace

const SceneFunctionRow kSceneUnitFunctions[] = {
    {"clip", add_clip}, {"rig", add_rig}, {"unit", add_unit}, {"delete", delete_unit}, {nullptr, nullptr}};

const SceneFunctionRow kSceneUnitMethods[] = {{"position", unit_position},
                                              {"set_position", unit_set_position},
                                              {"heading", unit_heading},
                                              {"set_heading", unit_set_heading},
                                              {"name", unit_name},
                                              {"body_height", unit_body_height},
                                              {"play", unit_play},
                                              {"node_position", unit_node_position},
                                              {"node_rotation", unit_node_rotation},
                                              {"node_index", unit_node_index},
                                              {nullptr, nullptr}};

}  // namespace limbrex_host
