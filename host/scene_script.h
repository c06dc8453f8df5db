// What a scene script can say through the global table `scene`. World frame: z up, metres, degrees; vectors as host/script_values.h has them.
//
//   scene.duration(s)                       length of the scene; else that of the longest clip
//   scene.rate(fps)                         frames a second, 60 unless said
//   scene.time()  scene.frame()             where the run stands
//   scene.note(text)                        a line for the reports
//
//   scene.clip{file=, name=, start=, stop=, speed=, loop=}         gives a clip
//   scene.rig{file=, name=}                                        compiles a rig source; gives the rig's name
//   scene.unit{clip=, rig=, name=, skeleton=, position=, heading=, in_place=, root_motion=, body_radius=, body_height=}
//       rig          what scene.rig gave; units without one are left alone by the plugin
//       skeleton     a file, when there is no clip or the clip's file has another skeleton
//       heading      turns about z; at 0 the character faces -y
//       in_place     the clip's travel over the floor is left out; root_motion = "hips", "unit" or "none" says the same and more
//       body_radius  a capsule that other units' rays hit
//   scene.delete(unit)                      its handle is null from now on
//   unit:position()  unit:set_position(v)  unit:heading()  unit:set_heading(deg)  unit:play(clip)  unit:name()  unit:valid()
//   unit:node_position(name)  unit:node_rotation(name)             of the last frame's world poses
//   unit:node_index(name)                                          its number among the unit's nodes, from 1, for Limbrex functions that take one
//   unit:body_height()                                             of its rest pose, 0 when the joints are not recognised
//
//   scene.ground(z)                                                an endless floor
//   scene.box{position=, size=, heading=}  scene.sphere{position=, radius=}  scene.capsule{position=, radius=, height=}
//   scene.ramp{position=, length=, width=, height=, heading=}      position is the middle of the foot, it rises along x
//   scene.stairs{position=, steps=, run=, rise=, width=, heading=}
//   scene.mesh{position=, vertices={v, ...}, triangles={{1, 2, 3}, ...}, heading=}
//       position may be a function of the time: the collider moves
//   scene.ray(origin, direction, length, unit)                     nearest hit's position and normal, or nil; the unit is left out
//
//   scene.marker{position=, name=, color=, size=}                  shown in reports; position may be a function of the time
//   scene.close_up{unit=, joint=, name=}                           a joint and all that hangs on it, shown from near by
//   scene.goal{unit=, effector=, id=, target=, name=, from=, to=}  measured while the constraint of that id is on the stack
//   scene.pin{unit=, effector=, id=, name=, from=, to=}            the same against where the effector stood in the constraint's first frame
//
// The script's functions start(), update(time, dt) and stop() are called when they exist.
#pragma once

#include <string>

#include "host/scene_state.h"

struct lua_State;

namespace limbrex_host
{

// The record behind the table `scene` while its functions run. Their failures become script errors at the calling line.
struct SceneScript
{
    explicit SceneScript(SceneState& sceneState) : scene(sceneState) {}
    SceneState& scene;
    std::string failure;
};

// Puts `scene` and the methods of units into the machine. `script` outlives it.
bool open_scene_script(SceneScript& script, ScriptHost& host, std::string& error);

// The point now: of a function, what it returns for `time_s`. False with `error` for a script error or anything but a finite vector.
bool evaluate_place(ScriptHost& host, const ScenePlace& place, double time_s, const std::string& what, std::array<double, 3>& point_world,
                    std::string& error);

// For the files that make up the table.
constexpr int kSceneFailure = -1;
using SceneFunction = int (*)(SceneScript& script, lua_State* lua);  // results, or kSceneFailure with script.failure
struct SceneFunctionRow
{
    const char* name;
    SceneFunction function;
};
int scene_failure(SceneScript& script, const std::string& what);
extern const SceneFunctionRow kSceneUnitFunctions[];     // clips, rigs, units; ends with a null name
extern const SceneFunctionRow kSceneUnitMethods[];       // unit:...
extern const SceneFunctionRow kSceneSceneryFunctions[];  // colliders, rays
extern const SceneFunctionRow kSceneMeasureFunctions[];  // markers, goals, time

}  // namespace limbrex_host
