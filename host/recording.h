// What one run of a scene left behind: poses before and after solving, goals, markers, lines, messages and costs, frame by frame.
// Plain data for reports and viewers. World frame: z up, metres. Quaternions are x, y, z, w. Tracks are frame-major.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/animation/clip.h"
#include "host/log.h"

namespace limbrex_host
{

struct NodePose
{
    std::array<float, 3> position{0.0f, 0.0f, 0.0f};
    std::array<float, 4> rotation{0.0f, 0.0f, 0.0f, 1.0f};
    std::array<float, 3> scale{1.0f, 1.0f, 1.0f};
};

// One pose of every node in every frame: at(frame)[node].
struct PoseTrack
{
    size_t nodeCount = 0;
    std::vector<NodePose> poses;

    const NodePose* at(size_t frame) const { return poses.data() + frame * nodeCount; }
};

// One unit. Node 0 is the unit's root, node 1 turns the asset's y up into the world's z up, then come the reference node (where the
// asset has none of its own) and the asset's joints, parents first.
struct UnitRecording
{
    std::string name;
    std::string rig;       // resource name; empty for a unit without a rig
    std::string clipFile;  // empty for a unit that stands in its rest pose
    std::string clipName;
    double clipFramesPerSecond = 0.0;
    double bodyHeight_m = 0.0;  // 0 when the skeleton's joints are not recognised

    std::vector<std::string> nodeNames;
    std::vector<int32_t> nodeParents;  // -1 for node 0
    Skeleton skeleton;                 // the asset's joints
    std::vector<int32_t> jointNodes;   // node of each joint of `skeleton`

    std::vector<uint8_t> present;  // per frame: 0 before the unit was made and after it was deleted; its poses then repeat a neighbour's
    PoseTrack animatedLocal, animatedWorld;  // as the clip has it
    PoseTrack solvedLocal, solvedWorld;      // as the plugin left it
};

struct GoalSample
{
    bool active = false;  // the constraint was on the stack and the goal counted in this frame
    std::array<float, 3> target_world{0.0f, 0.0f, 0.0f};
    std::array<float, 3> reached_world{0.0f, 0.0f, 0.0f};  // the plugin's effector after the solve
};

// Where one constraint wants an effector, and where the effector went.
struct GoalRecording
{
    std::string name;      // as tables show it
    size_t unit = 0;       // index into Recording::units
    int32_t effector = 0;  // 0 to 43
    int32_t constraintId = 0;
    bool pin = false;                 // the target is where the effector stood in the constraint's first frame, so distance is drift
    std::vector<GoalSample> samples;  // one a frame
};

struct MarkerRecording
{
    std::string name;
    uint32_t colour_argb = 0xffff8000u;
    float size_m = 0.05f;
    std::vector<std::array<float, 3>> positions_world;  // one a frame
};

// A collider as something to draw: triangles in the collider's own frame and one pose a frame (one pose in all when it never moves).
struct ColliderRecording
{
    std::string name;
    bool plane = false;  // infinite; the triangles show a piece of it
    std::vector<std::array<float, 3>> vertices;
    std::vector<std::array<uint32_t, 3>> triangles;
    std::vector<NodePose> poses_world;
};

// A part of a unit that reports show from near by.
struct CloseUpRecording
{
    std::string name;
    size_t unit = 0;   // index into Recording::units
    size_t joint = 0;  // of the unit's skeleton: it and all that hangs on it
};

struct LineRecording
{
    uint32_t colour_argb = 0xffffffffu;
    std::array<float, 3> start_world{0.0f, 0.0f, 0.0f};
    std::array<float, 3> end_world{0.0f, 0.0f, 0.0f};
};

enum class Stage : uint8_t
{
    Reading,      // local poses into the solver's state, effectors from the pose
    Constraints,  // the constraint stack
    Solve,
    Writing,  // local poses and changed flags back to the unit
};
constexpr size_t kStageCount = 4;
constexpr std::array<const char*, kStageCount> kStageNames{"reading", "constraints", "solve", "writing"};

// Wall-clock time inside the plugin's world callback, microseconds.
struct TimingRecording
{
    std::vector<double> callback_us;                         // one a frame, all characters together, as recorded
    size_t characters = 0;                                   // with a rig; divide by this
    std::array<std::vector<double>, kStageCount> stages_us;  // per character, one a frame; empty unless stages were measured
};

struct Recording
{
    std::string scene;  // path of the script
    double framesPerSecond = 60.0;
    size_t firstFrame = 0;  // number of the first recorded frame in the scene
    size_t frameCount = 0;

    std::vector<UnitRecording> units;
    std::vector<GoalRecording> goals;
    std::vector<MarkerRecording> markers;
    std::vector<CloseUpRecording> closeUps;
    std::vector<ColliderRecording> colliders;
    std::vector<std::vector<LineRecording>> lines;  // per frame: what the plugin drew
    TimingRecording timing;
    std::vector<LogEntry> log;       // of host, plugin and script
    std::vector<std::string> notes;  // what importers and host changed or could not use
    // Most that the plugin made in one update after the first frame. A context that a script declares later builds its tables in its first
    // update and shows here.
    uint64_t allocationsPerFrame = 0;
    uint64_t lostBlocks = 0;  // blocks the plugin had not given back at the end
};

}  // namespace limbrex_host
