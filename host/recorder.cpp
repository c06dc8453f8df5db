#include "host/recorder.h"

#include <algorithm>

#include "host/animation/import_units.h"
#include "host/scene_script.h"

namespace limbrex_host
{
namespace
{

constexpr float kPlaneExtent_m = 10.0f;

// One more frame of a track: the unit's nodes now, or what the frame before had when the unit is gone.
template <class Poses>
void add_frame(PoseTrack& track, const Poses* poses)
{
    const size_t before = track.poses.size();
    track.poses.resize(before + track.nodeCount);
    for (size_t node = 0; node < track.nodeCount; ++node)
    {
        if (poses != nullptr) { track.poses[before + node] = node_pose_from((*poses)[node]); }
        else if (before > 0) { track.poses[before + node] = track.poses[before - track.nodeCount + node]; }
    }
}

// Frames before the unit was made repeat its first.
void fill_front(PoseTrack& track, size_t frames)
{
    const std::vector<NodePose> later = std::move(track.poses);
    track.poses.clear();
    track.poses.reserve(later.size() + frames * track.nodeCount);
    const auto first_end = later.begin() + static_cast<ptrdiff_t>(track.nodeCount);
    for (size_t frame = 0; frame < frames; ++frame) { track.poses.insert(track.poses.end(), later.begin(), first_end); }
    track.poses.insert(track.poses.end(), later.begin(), later.end());
}

UnitRecording describe(const SceneUnit& unit, size_t frames_before)
{
    UnitRecording record;
    record.name = unit.name;
    record.rig = unit.rig;
    record.clipFile = unit.player.bound() ? unit.player.current().asset->path : std::string();
    record.clipName = unit.clipName;
    record.clipFramesPerSecond = unit.clipFramesPerSecond;
    record.bodyHeight_m = body_height(unit.skeleton);
    record.nodeNames = unit.nodeNames;
    record.nodeParents = unit.nodeParents;
    record.skeleton = unit.skeleton;
    record.jointNodes.assign(unit.layout.jointNodes.begin(), unit.layout.jointNodes.end());
    record.present.assign(frames_before, 0);
    for (PoseTrack* const track : {&record.animatedLocal, &record.animatedWorld, &record.solvedLocal, &record.solvedWorld})
    {
        track->nodeCount = unit.nodeNames.size();
    }
    return record;
}

}  // namespace

void Recorder::begin(const SceneState& scene, size_t first_frame)
{
    recording.scene = scene.scenePath;
    recording.framesPerSecond = scene.framesPerSecond;
    recording.firstFrame = first_frame;
}

void Recorder::match_units(const SceneState& scene)
{
    for (size_t i = recording.units.size(); i < scene.units.size(); ++i)
    {
        recording.units.push_back(describe(scene.units[i], recording.frameCount));
    }
}

void Recorder::animated(const SceneState& scene)
{
    match_units(scene);
    for (size_t i = 0; i < scene.units.size(); ++i)
    {
        UnitRecording& unit = recording.units[i];
        const HostUnit* const record = scene.host_unit(scene.units[i]);
        add_frame(unit.animatedLocal, record != nullptr ? &record->tree.locals : nullptr);
        add_frame(unit.animatedWorld, record != nullptr ? &record->tree.worlds : nullptr);
        unit.present.push_back(record != nullptr ? 1 : 0);
    }
}

void Recorder::solved(SceneState& scene, const UpdateReport& report)
{
    size_t characters = 0;
    for (size_t i = 0; i < scene.units.size(); ++i)
    {
        UnitRecording& unit = recording.units[i];
        const HostUnit* const record = scene.host_unit(scene.units[i]);
        add_frame(unit.solvedLocal, record != nullptr ? &record->tree.locals : nullptr);
        add_frame(unit.solvedWorld, record != nullptr ? &record->tree.worlds : nullptr);
        characters += record != nullptr && !unit.rig.empty() ? 1 : 0;
        const size_t missing = recording.frameCount + 1 - unit.solvedLocal.poses.size() / std::max<size_t>(unit.solvedLocal.nodeCount, 1);
        for (PoseTrack* const track : {&unit.animatedLocal, &unit.animatedWorld, &unit.solvedLocal, &unit.solvedWorld})
        {
            if (missing > 0 && track->nodeCount > 0) { fill_front(*track, missing); }
        }
    }
    recording.timing.callback_us.push_back(report.callback_us);
    recording.timing.characters = std::max(recording.timing.characters, characters);
    // Contexts build their tables when they are made or first evaluated; the first frame is left out for that.
    if (recording.frameCount > 0) { recording.allocationsPerFrame = std::max(recording.allocationsPerFrame, report.allocations); }
}

bool Recorder::measure_goal(SceneState& scene, SceneGoal& goal, GoalSample& sample, std::string& error) const
{
    const SceneUnit& unit = scene.units[goal.unit];
    ScriptHost& script = scene.engine.script;
    const bool in_time = scene.time_s >= goal.from_s && scene.time_s <= goal.to_s;
    // A pin takes its place when its constraint appears, counted or not.
    const bool wanted = in_time || (goal.pin && !goal.anchored);
    if (!wanted || scene.host_unit(unit) == nullptr) { return true; }
    std::vector<ScriptValue> results;
    script.call_registered("Limbrex.character_get_constraint_index_from_constraint_id",
                           {script_unit(unit.referenceId), script_value(goal.constraintId)}, results);
    // An index counts from 1; a constraint that is not there is -1.
    if (results.empty() || results[0].number < 1.0) { return true; }
    script.call_registered("Limbrex.character_get_effector_transform", {script_unit(unit.referenceId), script_value(goal.effector)},
                           results);
    if (results.empty() || results[0].kind != ScriptValue::Kind::Vector) { return true; }
    const std::array<float, 4>& reached = results[0].vector;
    sample.reached_world = {reached[0], reached[1], reached[2]};
    if (goal.pin && !goal.anchored)
    {
        goal.target.point_world = {static_cast<double>(reached[0]), static_cast<double>(reached[1]), static_cast<double>(reached[2])};
        goal.anchored = true;
    }
    if (!in_time) { return true; }
    std::array<double, 3> target{};
    if (!evaluate_place(script, goal.target, scene.time_s, goal.name, target, error)) { return false; }
    sample.target_world = {static_cast<float>(target[0]), static_cast<float>(target[1]), static_cast<float>(target[2])};
    sample.active = true;
    return true;
}

bool Recorder::measured(SceneState& scene, std::string& error)
{
    for (size_t i = 0; i < scene.goals.size(); ++i)
    {
        SceneGoal& goal = scene.goals[i];
        if (i == recording.goals.size())
        {
            recording.goals.push_back({goal.name, goal.unit, goal.effector, goal.constraintId, goal.pin, {}});
            recording.goals.back().samples.resize(recording.frameCount);
        }
        GoalSample sample;
        if (!measure_goal(scene, goal, sample, error)) { return false; }
        recording.goals[i].samples.push_back(sample);
    }
    for (size_t i = 0; i < scene.markers.size(); ++i)
    {
        const SceneMarker& marker = scene.markers[i];
        std::array<double, 3> point{};
        if (!evaluate_place(scene.engine.script, marker.place, scene.time_s, marker.name, point, error)) { return false; }
        const std::array<float, 3> position{static_cast<float>(point[0]), static_cast<float>(point[1]), static_cast<float>(point[2])};
        if (i == recording.markers.size())
        {
            recording.markers.push_back({marker.name, marker.colour_argb, static_cast<float>(marker.size_m), {}});
            recording.markers.back().positions_world.resize(recording.frameCount, position);
        }
        recording.markers[i].positions_world.push_back(position);
    }
    return true;
}

void Recorder::drawn(SceneState& scene)
{
    for (size_t i = 0; i < scene.colliders.size(); ++i)
    {
        const SceneCollider& collider = scene.colliders[i];
        const bool moves = collider.place.function.has_value();
        if (i == recording.colliders.size())
        {
            ColliderRecording record;
            record.name = collider.name;
            triangulate(collider.shape, kPlaneExtent_m, record);
            record.poses_world.assign(moves ? recording.frameCount : 1, collider.pose_world);
            recording.colliders.push_back(std::move(record));
        }
        if (moves) { recording.colliders[i].poses_world.push_back(collider.pose_world); }
    }
    recording.lines.push_back(scene.world->drawing.take_frame());
    ++recording.frameCount;
}

void Recorder::end(const SceneState& scene)
{
    recording.closeUps = scene.closeUps;
    recording.notes = scene.notes;
    recording.log = scene.engine.log.entries();
    recording.lostBlocks = scene.engine.lost_blocks();
}

}  // namespace limbrex_host
