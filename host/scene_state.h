// What a scene script has described so far, and where the run stands.
#pragma once

#include <array>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "host/animation/player.h"
#include "host/colliders.h"
#include "host/engine.h"
#include "host/unit_nodes.h"

namespace limbrex_host
{

// A point that stands still, or a script function of the time in seconds that gives one.
struct ScenePlace
{
    std::array<double, 3> point_world{0.0, 0.0, 0.0};
    std::optional<int> function;  // reference in the script machine's registry
};

struct SceneClip
{
    ClipPlayback playback;
};

struct SceneRig
{
    std::string name, type, file;
    RigNodes nodes;
};

struct SceneUnit
{
    std::string name;
    uint32_t referenceId = 0;
    std::string rig;  // empty without
    std::string assetFile;
    std::string clipName;  // of the first clip played
    double clipFramesPerSecond = 0.0;
    Skeleton skeleton;
    UnitLayout layout;
    ClipPlayer player;
    double playStart_s = 0.0;                         // scene time at which the clip began
    std::array<double, 3> base_world{0.0, 0.0, 0.0};  // placement without what the clip's travel adds
    std::vector<std::string> nodeNames;               // kept for reports when the unit is gone
    std::vector<int32_t> nodeParents;
    uint32_t twin = 0;  // reference id of the unit that stands for it in the timing world
};

struct SceneCollider
{
    std::string name;
    ColliderShape shape;
    size_t number = 0;  // in the world's physics
    ScenePlace place;
    std::array<float, 4> rotation{0.0f, 0.0f, 0.0f, 1.0f};
    NodePose pose_world;
};

struct SceneMarker
{
    std::string name;
    ScenePlace place;
    uint32_t colour_argb = 0xffff8000u;
    double size_m = 0.05;
};

struct SceneGoal
{
    std::string name;
    size_t unit = 0;  // index into SceneState::units
    int32_t effector = 0;
    int32_t constraintId = 0;
    bool pin = false;
    ScenePlace target;                 // of a pin: set when its constraint appears
    double from_s = 0.0, to_s = 1e30;  // scene time in which the goal counts
    bool anchored = false;             // a pin that has its target
};

struct SceneState
{
    explicit SceneState(HostEngine& hostEngine) : engine(hostEngine) {}

    HostEngine& engine;
    HostWorld* world = nullptr;
    HostWorld* timingWorld = nullptr;  // null unless stages are measured
    std::string scenePath;
    std::string clipOverride;
    bool overrideUsed = false;

    double duration_s = 0.0;  // 0 = as long as the longest clip
    double framesPerSecond = 60.0;
    double time_s = 0.0;
    size_t frame = 0;

    std::deque<Asset> assets;  // never moved: playbacks point to them
    std::deque<SceneClip> clips;
    std::deque<SceneRig> rigs;
    std::deque<SceneUnit> units;
    std::vector<SceneCollider> colliders;
    std::vector<SceneMarker> markers;
    std::vector<SceneGoal> goals;
    std::vector<CloseUpRecording> closeUps;
    std::vector<std::string> notes;

    // The unit's record and its index; null for one that the scene did not make.
    SceneUnit* find_unit(uint32_t referenceId, size_t* index = nullptr);
    HostUnit* host_unit(const SceneUnit& unit) const { return engine.units.resolve(unit.referenceId); }
};

// A file as the scene names it: as it stands when absolute, else beside the scene, else among Debian's test models.
std::string resolve_scene_file(const SceneState& scene, const std::string& file);

// Loaded once per path. Null with `error`.
const Asset* load_scene_asset(SceneState& scene, const std::string& path, std::string& error);

struct UnitRequest
{
    std::string name;
    const Asset* asset = nullptr;     // its skeleton
    const SceneClip* clip = nullptr;  // null: rest pose
    const SceneRig* rig = nullptr;    // null: a unit that the plugin leaves alone
    std::array<double, 3> position_world{0.0, 0.0, 0.0};
    double heading_deg = 0.0;
    double bodyRadius_m = 0.0, bodyHeight_m = 0.0;  // 0 = no body that rays of others hit
};

// False with `error` when skeleton, clip and rig do not belong together.
bool spawn_scene_unit(SceneState& scene, const UnitRequest& request, std::string& error);
bool play_clip(SceneState& scene, SceneUnit& unit, const ClipPlayback& playback, std::string& error);
void remove_scene_unit(SceneState& scene, SceneUnit& unit);

// Every unit's local poses at the scene's time, and its place where the clip's travel goes to the unit.
void animate_units(SceneState& scene);

// The compiled rig at `path` under `name`. False with `error`.
bool load_scene_rig(SceneState& scene, const std::string& path, const std::string& name, std::string& error);

// Length of the scene in seconds: its own, or its longest clip's, or 5.
double scene_duration(const SceneState& scene);

}  // namespace limbrex_host
