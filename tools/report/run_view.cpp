#include "tools/report/run_view.h"

#include <cmath>

namespace limbrex_tools
{
namespace
{

using limbrex_host::GoalRecording;
using limbrex_host::NodePose;
using limbrex_host::PoseTrack;
using limbrex_host::Recording;
using limbrex_host::RigidPose;
using limbrex_host::UnitRecording;
using limbrex_host::Vec3d;

bool finite(const Vec3d& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

bool fail(std::string& error, const UnitRecording& unit, const std::string& what)
{
    error = "recording of unit \"" + unit.name + "\": " + what;
    return false;
}

bool whole(const PoseTrack& track, size_t frame_count, size_t node_count)
{
    return track.nodeCount == node_count && track.poses.size() == frame_count * node_count;
}

bool check_layout(const Recording& recording, const UnitRecording& unit, std::string& error)
{
    const size_t frames = recording.frameCount;
    const size_t nodes = unit.nodeParents.size();
    const size_t joints = unit.skeleton.joints.size();
    if (frames == 0 || joints == 0) { return fail(error, unit, "no frames or no joints"); }
    if (!(recording.framesPerSecond > 0.0) || !std::isfinite(recording.framesPerSecond)) { return fail(error, unit, "no frame rate"); }
    if (!whole(unit.animatedWorld, frames, nodes) || !whole(unit.solvedWorld, frames, nodes))
    {
        return fail(error, unit, "poses are missing");
    }
    if (unit.present.size() != frames || unit.jointNodes.size() != joints) { return fail(error, unit, "tracks are missing"); }
    for (size_t j = 0; j < joints; ++j)
    {
        const int32_t parent = unit.skeleton.joints[j].parent;
        if (parent < -1 || parent >= static_cast<int32_t>(j)) { return fail(error, unit, "joints do not come parents first"); }
        const int32_t node = unit.jointNodes[j];
        if (node < 0 || static_cast<size_t>(node) >= nodes) { return fail(error, unit, "a joint has no node"); }
    }
    return true;
}

bool read_track(const PoseTrack& track, const UnitRecording& unit, size_t frame_count, std::vector<RigidPose>& out)
{
    out.reserve(frame_count * unit.jointNodes.size());
    for (size_t frame = 0; frame < frame_count; ++frame)
    {
        for (const int32_t node : unit.jointNodes)
        {
            const NodePose& pose = track.at(frame)[node];
            const limbrex_host::Quatd rotation = limbrex_host::to_quatd(pose.rotation);
            out.push_back({limbrex_host::to_vec3d(pose.position), normalized(rotation)});
            if (!finite(out.back().position) || !std::isfinite(dot(rotation, rotation))) { return false; }
        }
    }
    return true;
}

bool read_goal(const GoalRecording& goal, size_t frame_count, GoalView& out)
{
    out.name = goal.name;
    out.constraintId = goal.constraintId;
    out.pin = goal.pin;
    if (goal.samples.size() != frame_count) { return false; }
    for (const limbrex_host::GoalSample& sample : goal.samples)
    {
        out.points.push_back({sample.active, limbrex_host::to_vec3d(sample.target_world), limbrex_host::to_vec3d(sample.reached_world)});
        const GoalPoint& point = out.points.back();
        if (point.active && !(finite(point.target_world) && finite(point.reached_world))) { return false; }
    }
    return true;
}

}  // namespace

bool make_run_view(const Recording& recording, size_t unit, RunView& out, std::string& error)
{
    if (unit >= recording.units.size())
    {
        error = recording.scene + ": the recording has no unit " + std::to_string(unit);
        return false;
    }
    RunView view;
    view.recording = &recording;
    view.unit = &recording.units[unit];
    view.frameCount = recording.frameCount;
    if (!check_layout(recording, *view.unit, error)) { return false; }
    if (!read_track(view.unit->animatedWorld, *view.unit, view.frameCount, view.animated) ||
        !read_track(view.unit->solvedWorld, *view.unit, view.frameCount, view.solved))
    {
        return fail(error, *view.unit, "a pose has numbers that are not finite");
    }
    for (const GoalRecording& goal : recording.goals)
    {
        if (goal.unit != unit) { continue; }
        view.goals.emplace_back();
        if (!read_goal(goal, view.frameCount, view.goals.back()))
        {
            return fail(error, *view.unit, "goal \"" + goal.name + "\" lacks samples or has numbers that are not finite");
        }
    }
    out = std::move(view);
    return true;
}

bool make_run_views(const Recording& recording, std::vector<RunView>& out, std::string& error)
{
    out.clear();
    for (size_t unit = 0; unit < recording.units.size(); ++unit)
    {
        if (recording.units[unit].skeleton.joints.empty()) { continue; }
        out.emplace_back();
        if (!make_run_view(recording, unit, out.back(), error)) { return false; }
    }
    return true;
}

}  // namespace limbrex_tools
