#include "host/scene_script.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <lua.hpp>

#include "host/script_table.h"
#include "host/script_values.h"

namespace limbrex_host
{
namespace
{

// The one place where a failure jumps: nothing in this frame has to be released.
int call_scene_function(lua_State* lua)
{
    auto& script = *static_cast<SceneScript*>(lua_touserdata(lua, lua_upvalueindex(1)));
    const auto* const row = static_cast<const SceneFunctionRow*>(lua_touserdata(lua, lua_upvalueindex(2)));
    const int results = row->function(script, lua);
    return results != kSceneFailure ? results : luaL_error(lua, "%s", script.failure.c_str());
}

void install_rows(lua_State* lua, SceneScript* script, const SceneFunctionRow* rows)
{
    for (const SceneFunctionRow* row = rows; row->name != nullptr; ++row)
    {
        lua_pushlightuserdata(lua, script);
        lua_pushlightuserdata(lua, const_cast<SceneFunctionRow*>(row));
        lua_pushcclosure(lua, call_scene_function, 2);
        lua_setfield(lua, -2, row->name);
    }
}

int open_table(lua_State* lua)
{
    auto* const script = static_cast<SceneScript*>(lua_touserdata(lua, 1));
    lua_newtable(lua);
    install_rows(lua, script, kSceneUnitFunctions);
    install_rows(lua, script, kSceneSceneryFunctions);
    install_rows(lua, script, kSceneMeasureFunctions);
    lua_setglobal(lua, "scene");
    luaL_getmetatable(lua, kUnitType);
    lua_getfield(lua, -1, "__index");
    install_rows(lua, script, kSceneUnitMethods);
    return 0;
}

struct PlaceCall
{
    int function;
    double time_s;
    double point[3];
    bool vector;
    const char* got;
};

int call_place(lua_State* lua)
{
    auto& call = *static_cast<PlaceCall*>(lua_touserdata(lua, 1));
    lua_rawgeti(lua, LUA_REGISTRYINDEX, call.function);
    lua_pushnumber(lua, call.time_s);
    lua_call(lua, 1, 1);
    call.vector = read_vec(lua, -1, call.point);
    call.got = script_type_name(lua, -1);
    return 0;
}

// ---- Time, markers, goals ----

int set_duration(SceneScript& script, lua_State* lua)
{
    const double seconds = lua_type(lua, 1) == LUA_TNUMBER ? lua_tonumber(lua, 1) : -1.0;
    if (!(seconds > 0.0) || !std::isfinite(seconds)) { return scene_failure(script, "scene.duration: seconds above 0 expected"); }
    script.scene.duration_s = seconds;
    return 0;
}

int set_rate(SceneScript& script, lua_State* lua)
{
    const double rate = lua_type(lua, 1) == LUA_TNUMBER ? lua_tonumber(lua, 1) : -1.0;
    if (!(rate >= 1.0 && rate <= 10000.0)) { return scene_failure(script, "scene.rate: 1 to 10000 frames a second expected"); }
    script.scene.framesPerSecond = rate;
    return 0;
}

int get_time(SceneScript& script, lua_State* lua)
{
    lua_pushnumber(lua, script.scene.time_s);
    return 1;
}

int get_frame(SceneScript& script, lua_State* lua)
{
    lua_pushinteger(lua, static_cast<lua_Integer>(script.scene.frame));
    return 1;
}

int add_note(SceneScript& script, lua_State* lua)
{
    if (lua_type(lua, 1) != LUA_TSTRING) { return scene_failure(script, "scene.note: string expected"); }
    script.scene.notes.emplace_back(lua_tostring(lua, 1));
    return 0;
}

int add_marker(SceneScript& script, lua_State* lua)
{
    ScriptTable table(lua, "scene.marker");
    SceneMarker marker;
    marker.name = fmt::format("marker {}", script.scene.markers.size() + 1);
    table.read("name", marker.name);
    table.require("position");
    table.read("position", marker.place);
    table.readColour("color", marker.colour_argb);
    table.read("size", marker.size_m);
    if (!table.done()) { return scene_failure(script, table.failure()); }
    script.scene.markers.push_back(marker);
    return 0;
}

int add_close_up(SceneScript& script, lua_State* lua)
{
    ScriptTable table(lua, "scene.close_up");
    CloseUpRecording view;
    uint32_t id = 0;
    std::string joint;
    for (const char* const member : {"unit", "joint"}) { table.require(member); }
    table.readUnit("unit", id);
    table.read("joint", joint);
    view.name = joint;
    table.read("name", view.name);
    if (!table.done()) { return scene_failure(script, table.failure()); }
    const SceneUnit* const unit = script.scene.find_unit(id, &view.unit);
    if (unit == nullptr) { return scene_failure(script, "scene.close_up: member \"unit\": the unit was deleted"); }
    const std::vector<Joint>& joints = unit->skeleton.joints;
    const auto found = std::find_if(joints.begin(), joints.end(), [&joint](const Joint& each) { return each.name == joint; });
    if (found == joints.end())
    {
        return scene_failure(script, fmt::format("scene.close_up: member \"joint\": the unit has no joint \"{}\"", joint));
    }
    view.joint = static_cast<size_t>(found - joints.begin());
    script.scene.closeUps.push_back(view);
    return 0;
}

int add_measured(SceneScript& script, lua_State* lua, bool pin)
{
    const char* const function = pin ? "scene.pin" : "scene.goal";
    ScriptTable table(lua, function);
    SceneGoal goal;
    goal.pin = pin;
    uint32_t unit = 0;
    for (const char* const member : {"unit", "effector", "id"}) { table.require(member); }
    table.readUnit("unit", unit);
    table.readInteger("effector", goal.effector);
    table.readInteger("id", goal.constraintId);
    table.read("from", goal.from_s);
    table.read("to", goal.to_s);
    goal.name = fmt::format("{} {} effector {}", pin ? "pin" : "goal", goal.constraintId, goal.effector);
    table.read("name", goal.name);
    if (!pin)
    {
        table.require("target");
        table.read("target", goal.target);
    }
    if (!table.done()) { return scene_failure(script, table.failure()); }
    if (script.scene.find_unit(unit, &goal.unit) == nullptr)
    {
        return scene_failure(script, std::string(function) + ": member \"unit\": the unit was deleted");
    }
    if (goal.effector < 0 || goal.effector > 43)
    {
        return scene_failure(script, fmt::format("{}: effector {} is outside 0 to 43", function, goal.effector));
    }
    script.scene.goals.push_back(goal);
    return 0;
}

int add_goal(SceneScript& script, lua_State* lua) { return add_measured(script, lua, false); }

int add_pin(SceneScript& script, lua_State* lua) { return add_measured(script, lua, true); }

}  // namespace

const SceneFunctionRow kSceneMeasureFunctions[] = {
    {"duration", set_duration}, {"rate", set_rate}, {"time", get_time}, {"frame", get_frame},       {"note", add_note},
    {"marker", add_marker},     {"goal", add_goal}, {"pin", add_pin},   {"close_up", add_close_up}, {nullptr, nullptr}};

int scene_failure(SceneScript& script, const std::string& what)
{
    script.failure = what;
    return kSceneFailure;
}

bool open_scene_script(SceneScript& script, ScriptHost& host, std::string& error)
{
    lua_pushcfunction(host.lua(), open_table);
    lua_pushlightuserdata(host.lua(), &script);
    return host.protected_call(1, 0, "scene", error);
}

bool evaluate_place(ScriptHost& host, const ScenePlace& place, double time_s, const std::string& what, std::array<double, 3>& point_world,
                    std::string& error)
{
    point_world = place.point_world;
    if (!place.function) { return true; }
    PlaceCall call{*place.function, time_s, {}, false, ""};
    lua_pushcfunction(host.lua(), call_place);
    lua_pushlightuserdata(host.lua(), &call);
    if (!host.protected_call(1, 0, what, error)) { return false; }
    const bool sound = call.vector && std::isfinite(call.point[0]) && std::isfinite(call.point[1]) && std::isfinite(call.point[2]);
    if (!sound)
    {
        error = fmt::format("{}: its function gave {} at {:.3f} s, a finite vector was expected", what,
                            call.vector ? "numbers that are not finite" : call.got, time_s);
        return false;
    }
    point_world = {call.point[0], call.point[1], call.point[2]};
    return true;
}

}  // namespace limbrex_host
