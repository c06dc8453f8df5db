#include "host/animation/player.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "host/animation/pose_math.h"

namespace limbrex_host
{
namespace
{

constexpr double kTravel_m = 0.001;

JointPose between(const JointPose& from, const JointPose& to, double alpha)
{
    JointPose pose;
    pose.translation = to_floats(to_vec3d(from.translation) * (1.0 - alpha) + to_vec3d(to.translation) * alpha);
    pose.rotation = to_floats(slerp(to_quatd(from.rotation), to_quatd(to.rotation), alpha));
    pose.scale = to_floats(to_vec3d(from.scale) * (1.0 - alpha) + to_vec3d(to.scale) * alpha);
    return pose;
}

int32_t joint_named(const Skeleton& skeleton, const std::string& name)
{
    const auto found =
        std::find_if(skeleton.joints.begin(), skeleton.joints.end(), [&name](const Joint& joint) { return joint.name == name; });
    return found == skeleton.joints.end() ? -1 : static_cast<int32_t>(found - skeleton.joints.begin());
}

}  // namespace

double clip_duration(const Clip& clip)
{
    return clip.frameCount > 1 && clip.framesPerSecond > 0.0 ? static_cast<double>(clip.frameCount - 1) / clip.framesPerSecond : 0.0;
}

double clip_time(const ClipPlayback& playback, double time_s)
{
    const double end = clip_duration(playback.asset->clips[playback.clip]);
    const double start = std::clamp(playback.start_s, 0.0, end);
    const double stop = playback.stop_s > playback.start_s ? std::min(playback.stop_s, end) : end;
    const double span = stop - start;
    if (!(span > 0.0)) { return start; }
    double played = time_s * std::abs(playback.speed);
    played = playback.loop ? played - span * std::floor(played / span) : std::clamp(played, 0.0, span);
    return playback.speed < 0.0 ? stop - played : start + played;
}

void sample_clip(const Clip& clip, size_t joint_count, double time_s, std::vector<JointPose>& out)
{
    out.resize(joint_count);
    if (clip.frameCount == 0 || clip.poses.size() < size_t{clip.frameCount} * joint_count) { return; }
    const double last = static_cast<double>(clip.frameCount - 1);
    const double place = std::clamp(time_s * clip.framesPerSecond, 0.0, last);
    const auto frame = static_cast<size_t>(place);
    const size_t next = std::min(frame + 1, size_t{clip.frameCount} - 1);
    const double alpha = place - static_cast<double>(frame);
    for (size_t j = 0; j < joint_count; ++j)
    {
        const JointPose& from = clip.poses[frame * joint_count + j];
        out[j] = alpha > 0.0 ? between(from, clip.poses[next * joint_count + j], alpha) : from;
    }
}

size_t travelling_joint(const Asset& asset, size_t clip)
{
    const size_t joints = asset.skeleton.joints.size();
    const Clip& motion = asset.clips[clip];
    if (motion.poses.size() < size_t{motion.frameCount} * joints) { return 0; }
    for (size_t j = 0; j < joints; ++j)
    {
        for (size_t frame = 1; frame < motion.frameCount; ++frame)
        {
            const Vec3d moved = to_vec3d(motion.poses[frame * joints + j].translation) - to_vec3d(motion.poses[j].translation);
            if (length(moved) > kTravel_m) { return j; }
        }
    }
    return 0;
}

bool ClipPlayer::bind(const ClipPlayback& wanted, const Skeleton& unit_skeleton, std::vector<std::string>& notes, std::string& error)
{
    const Skeleton& source = wanted.asset->skeleton;
    const Clip& clip = wanted.asset->clips[wanted.clip];
    if (clip.frameCount == 0 || clip.poses.size() < size_t{clip.frameCount} * source.joints.size())
    {
        error = fmt::format("{}: clip \"{}\" has no frames", wanted.asset->path, clip.name);
        return false;
    }
    std::vector<int32_t> found;
    std::string still;
    size_t still_count = 0;
    for (const Joint& joint : unit_skeleton.joints)
    {
        found.push_back(joint_named(source, joint.name));
        if (found.back() >= 0 || joint.endSite) { continue; }
        ++still_count;
        still += (still.empty() ? "" : ", ") + joint.name;
    }
    if (std::all_of(found.begin(), found.end(), [](int32_t joint) { return joint < 0; }))
    {
        error = fmt::format(
            "{}: clip \"{}\" moves none of the unit's {} joints: it has another skeleton (its first joint is \"{}\", the unit's \"{}\")",
            wanted.asset->path, clip.name, unit_skeleton.joints.size(), source.joints.empty() ? "" : source.joints[0].name,
            unit_skeleton.joints.empty() ? "" : unit_skeleton.joints[0].name);
        return false;
    }
    if (still_count > 0)
    {
        notes.push_back(
            fmt::format("{}: clip \"{}\" leaves {} joints in their rest pose: {}", wanted.asset->path, clip.name, still_count, still));
    }
    playback = wanted;
    clipJoints = std::move(found);
    travelJoint = travelling_joint(*wanted.asset, wanted.clip);
    const auto unit_joint = std::find(clipJoints.begin(), clipJoints.end(), static_cast<int32_t>(travelJoint));
    travelJointOfUnit = unit_joint != clipJoints.end() ? static_cast<size_t>(unit_joint - clipJoints.begin()) : 0;
    sample_clip(clip, source.joints.size(), clip_time(playback, 0.0), clipPoses);
    travelOrigin = travel_at(clipPoses);
    return true;
}

// Place of the travelling joint, in the asset's frame.
std::array<double, 3> ClipPlayer::travel_at(const std::vector<JointPose>& poses) const
{
    const Skeleton& source = playback.asset->skeleton;
    Vec3d point;
    for (auto joint = static_cast<int32_t>(travelJoint); joint >= 0; joint = source.joints[static_cast<size_t>(joint)].parent)
    {
        const RigidPose local = to_rigid(poses[static_cast<size_t>(joint)]);
        point = local.position + rotate(local.rotation, point);
    }
    return {point.x, point.y, point.z};
}

void ClipPlayer::apply(double time_s, const Skeleton& unit_skeleton, const UnitLayout& layout, HostNodeTree& tree,
                       std::array<double, 3>& travel)
{
    travel = {0.0, 0.0, 0.0};
    if (!bound()) { return; }
    const size_t source_joints = playback.asset->skeleton.joints.size();
    sample_clip(playback.asset->clips[playback.clip], source_joints, clip_time(playback, time_s), clipPoses);
    unitPoses.resize(unit_skeleton.joints.size());
    for (size_t j = 0; j < unitPoses.size(); ++j)
    {
        unitPoses[j] = clipJoints[j] >= 0 ? clipPoses[static_cast<size_t>(clipJoints[j])] : unit_skeleton.joints[j].rest;
    }
    std::array<float, 3> shift{0.0f, 0.0f, 0.0f};
    if (playback.rootMotion != RootMotion::Hips)
    {
        // Over the floor only: crouching and jumping stay with the body.
        const std::array<double, 3> place = travel_at(clipPoses);
        const std::array<double, 3> moved{place[0] - travelOrigin[0], 0.0, place[2] - travelOrigin[2]};
        shift = {static_cast<float>(-moved[0]), 0.0f, static_cast<float>(-moved[2])};
        if (playback.rootMotion == RootMotion::Unit) { travel = moved; }
    }
    pose_joints(unit_skeleton, layout, unitPoses, shift, tree);
}

void ClipPlayer::apply_rest(const Skeleton& unit_skeleton, const UnitLayout& layout, HostNodeTree& tree)
{
    unitPoses.resize(unit_skeleton.joints.size());
    for (size_t j = 0; j < unitPoses.size(); ++j) { unitPoses[j] = unit_skeleton.joints[j].rest; }
    pose_joints(unit_skeleton, layout, unitPoses, {0.0f, 0.0f, 0.0f}, tree);
}

}  // namespace limbrex_host
