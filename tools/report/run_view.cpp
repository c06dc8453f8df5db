#include "tools/report/run_view.h"

#include <cmath>

namespace limbrex_tools
{
namespace
{

using limbrex_host::RigidPose;
using limbrex_host::Vec3d;

bool finite(const Vec3d& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

bool finite(const std::vector<RigidPose>& poses)
{
    for (const RigidPose& pose : poses)
    {
        if (!finite(pose.position) || !std::isfinite(dot(pose.rotation, pose.rotation))) { return false; }
    }
    return true;
}

bool fail(std::string& error, const RunView& run, const std::string& what)
{
    error = "recording of \"" + run.character + "\": " + what;
    return false;
}

}  // namespace

bool check_run(const RunView& run, std::string& error)
{
    const size_t poses = run.frameCount * run.joint_count();
    if (poses == 0) { return fail(error, run, "no frames were recorded"); }
    if (run.animated.size() != poses || run.solved.size() != poses) { return fail(error, run, "poses are missing"); }
    if (!(run.framesPerSecond > 0.0) || !std::isfinite(run.framesPerSecond)) { return fail(error, run, "no frame rate"); }
    for (size_t j = 0; j < run.joint_count(); ++j)
    {
        const int parent = run.skeleton.joints[j].parent;
        if (parent >= static_cast<int>(j) || parent < -1) { return fail(error, run, "joints are not stored parents first"); }
    }
    if (!finite(run.animated) || !finite(run.solved)) { return fail(error, run, "a pose has numbers that are not finite"); }
    for (const GoalTrack& goal : run.goals)
    {
        if (goal.samples.size() != run.frameCount) { return fail(error, run, "goals of " + goal.id + " are missing"); }
        for (const GoalSample& sample : goal.samples)
        {
            if (sample.active && !(finite(sample.goal_world) && finite(sample.reached_world)))
            {
                return fail(error, run, "a goal of " + goal.id + " has numbers that are not finite");
            }
        }
    }
    return true;
}

}  // namespace limbrex_tools
