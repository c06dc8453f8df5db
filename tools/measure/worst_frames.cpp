// The filmstrip of a measurement: a recording whose frames are the worst solves, one after the other.
#include <algorithm>

#include "host/animation/pose_math.h"
#include "tools/measure/measure_report.h"
#include "tools/report/filmstrip.h"

namespace limbrex_tools
{

using namespace limbrex_host;

namespace
{

constexpr size_t kMoments = 10;

struct Moment
{
    double badness;
    const RowNumbers* row;
    double frame;
};

// The worst frame of each row by its weightiest fault.
std::vector<Moment> pick_worst(const Measurement& measurement)
{
    std::vector<Moment> moments;
    for (const RowNumbers& row : measurement.rows)
    {
        Moment moment{0.0, &row, 0.0};
        const auto offer = [&](double badness, double frame)
        {
            if (badness > moment.badness) { moment = {badness, &row, frame}; }
        };
        offer(10.0 * row.wrongSide.value, row.wrongSide.frame);
        for (const Pop& pop : row.pops) { offer(5.0 * pop.turn_deg, pop.frame); }
        for (const GoalNumbers& goal : row.goals)
        {
            if (row.row.sweep == SweepPath::None) { offer(goal.worstWithinReach.value, goal.worstWithinReach.frame); }
        }
        moments.push_back(moment);
    }
    std::stable_sort(moments.begin(), moments.end(), [](const Moment& a, const Moment& b) { return a.badness > b.badness; });
    moments.resize(std::min(moments.size(), kMoments));
    return moments;
}

// The asset's y up into the world's z up.
NodePose world_pose(const RigidPose& pose)
{
    const RigidPose turned = RigidPose{{}, axis_angle({1.0, 0.0, 0.0}, 1.5707963267948966)} * pose;
    NodePose out;
    out.position = to_floats(turned.position);
    out.rotation = to_floats(turned.rotation);
    return out;
}

void add_poses(PoseTrack& track, const Skeleton& skeleton, const JointPose* locals)
{
    track.nodeCount = skeleton.joints.size();
    for (const RigidPose& pose : world_poses(skeleton, locals)) { track.poses.push_back(world_pose(pose)); }
}

void add_moment(Trial& trial, const Asset& asset, const Moment& moment, Recording& recording)
{
    UnitRecording& unit = recording.units[0];
    TrialPose pose;
    trial.run(moment.row->row, moment.frame, pose);
    const bool sweep = moment.row->row.sweep != SweepPath::None;
    const double frame = sweep ? static_cast<double>(moment.row->row.frozenFrame) : moment.frame;
    const JointPose* clip_pose = trial.frame_poses(std::min<size_t>(static_cast<size_t>(frame), trial.clip().frameCount - 1));
    std::vector<JointPose> locals(clip_pose, clip_pose + asset.skeleton.joints.size());
    add_poses(unit.animatedWorld, asset.skeleton, locals.data());
    write_pose(trial.rig(), trial.solved(), locals.data());
    add_poses(unit.solvedWorld, asset.skeleton, locals.data());
    unit.present.push_back(1);
    const size_t index = recording.frameCount++;
    for (size_t kind = 0; kind < kGoalKindCount; ++kind)
    {
        std::vector<GoalSample>& samples = recording.goals[kind].samples;
        samples.resize(index + 1);
        for (size_t g = 0; g < pose.goals.size(); ++g)
        {
            if (pose.goals[g].kind != kind) { continue; }
            samples[index] = {true, world_pose({pose.goals[g].target, {}}).position, world_pose({pose.reached[g], {}}).position};
        }
    }
}

}  // namespace

bool write_worst_frames(const std::string& path, Trial& trial, const Asset& asset, const Measurement& measurement, std::string& error)
{
    Recording recording;
    recording.scene = measurement.clip;
    recording.framesPerSecond = measurement.framesPerSecond;
    recording.units.emplace_back();
    UnitRecording& unit = recording.units[0];
    unit.name = measurement.rig;
    unit.rig = measurement.rig;
    unit.clipFile = measurement.clip;
    unit.bodyHeight_m = measurement.bodyHeight_m;
    unit.skeleton = asset.skeleton;
    for (size_t j = 0; j < asset.skeleton.joints.size(); ++j)
    {
        unit.nodeNames.push_back(asset.skeleton.joints[j].name);
        unit.nodeParents.push_back(asset.skeleton.joints[j].parent);
        unit.jointNodes.push_back(static_cast<int32_t>(j));
    }
    for (const GoalKind& kind : kGoalKinds)
    {
        recording.goals.emplace_back();
        recording.goals.back().name = kind.name;
        recording.goals.back().effector = kind.effector;
    }
    for (const Moment& moment : pick_worst(measurement)) { add_moment(trial, asset, moment, recording); }
    FilmstripOptions options;
    options.title = "Worst frames of the battery";
    options.moments = recording.frameCount;
    return write_filmstrip(path, options, {{"", &recording, 0}}, error);
}

}  // namespace limbrex_tools
