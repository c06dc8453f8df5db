#include "tools/report/metrics.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "tools/report/run_view.h"

namespace limbrex_tools
{
namespace
{

using limbrex_host::Quatd;
using limbrex_host::RigidPose;
using limbrex_host::Vec3d;

constexpr double kDegreesPerRadian = 180.0 / 3.14159265358979323846;

GoalMetrics measure_goal(const RunView& run, const GoalView& goal)
{
    GoalMetrics metrics;
    metrics.name = goal.name;
    metrics.unit = run.unit->name;
    metrics.constraintId = goal.constraintId;
    metrics.pin = goal.pin;
    metrics.bodyHeight_m = run.unit->bodyHeight_m;
    std::vector<double> distances;
    bool held = false;
    Vec3d start;
    for (const GoalPoint& point : goal.points)
    {
        if (point.active)
        {
            distances.push_back(length(point.target_world - point.reached_world));
            if (!held) { start = point.reached_world; }
            if (goal.pin) { metrics.drift_m = std::max(metrics.drift_m, length(point.reached_world - start)); }
        }
        held = point.active;
    }
    metrics.distance_m = spread_of(std::move(distances));
    return metrics;
}

Quatd local_rotation(const RunView& run, const RigidPose* world, size_t joint)
{
    const int32_t parent = run.skeleton().joints[joint].parent;
    return parent < 0 ? world[joint].rotation : mul(conjugate(world[static_cast<size_t>(parent)].rotation), world[joint].rotation);
}

LargestTurn largest_turn(const RunView& run, const std::vector<RigidPose>& poses)
{
    LargestTurn largest;
    const size_t joints = run.joint_count();
    for (size_t frame = 1; frame < run.frameCount; ++frame)
    {
        if (!run.present(frame - 1) || !run.present(frame)) { continue; }
        for (size_t j = 0; j < joints; ++j)
        {
            const Quatd before = local_rotation(run, poses.data() + (frame - 1) * joints, j);
            const Quatd now = local_rotation(run, poses.data() + frame * joints, j);
            const double degrees = angle_between(before, now) * kDegreesPerRadian;
            if (degrees > largest.degrees) { largest = {degrees, run.skeleton().joints[j].name, run.recording->firstFrame + frame}; }
        }
    }
    return largest;
}

UnitMetrics measure_unit(const RunView& run)
{
    const limbrex_host::UnitRecording& unit = *run.unit;
    return {unit.name, unit.clipName, unit.bodyHeight_m, largest_turn(run, run.solved), largest_turn(run, run.animated)};
}

}  // namespace

Spread spread_of(std::vector<double> values)
{
    Spread spread;
    spread.count = values.size();
    if (values.empty()) { return spread; }
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    spread.mean = std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(n);
    spread.median = 0.5 * (values[(n - 1) / 2] + values[n / 2]);
    spread.p95 = values[(95 * n + 99) / 100 - 1];
    spread.largest = values.back();
    return spread;
}

bool measure(const limbrex_host::Recording& recording, Metrics& out, std::string& error)
{
    std::vector<RunView> runs;
    if (!make_run_views(recording, runs, error)) { return false; }
    Metrics metrics;
    metrics.scene = recording.scene;
    metrics.framesPerSecond = recording.framesPerSecond;
    metrics.frameCount = recording.frameCount;
    for (const RunView& run : runs)
    {
        for (const GoalView& goal : run.goals) { metrics.goals.push_back(measure_goal(run, goal)); }
        metrics.units.push_back(measure_unit(run));
    }
    metrics.characters = recording.timing.characters;
    std::vector<double> callback_us = recording.timing.callback_us;
    for (double& value : callback_us) { value /= static_cast<double>(std::max<size_t>(metrics.characters, 1)); }
    metrics.callback_us = spread_of(std::move(callback_us));
    for (size_t stage = 0; stage < limbrex_host::kStageCount; ++stage)
    {
        metrics.stages_us[stage] = spread_of(recording.timing.stages_us[stage]);
    }
    metrics.allocationsPerFrame = recording.allocationsPerFrame;
    metrics.lostBlocks = recording.lostBlocks;
    metrics.notes = recording.notes;
    out = std::move(metrics);
    return true;
}

}  // namespace limbrex_tools
