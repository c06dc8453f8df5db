#include "host/animation/bvh_import.h"

#include <cmath>

#include "host/animation/import_names.h"
#include "host/animation/pose_math.h"

namespace limbrex_host
{
namespace
{

constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;
constexpr double kWholeRateTolerance = 2e-4;  // keeps 29.97 apart from 30
constexpr Vec3d kAxes[] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};

size_t axis_of(BvhChannel channel) { return static_cast<size_t>(channel) % 3; }

Vec3d offset_of(const BvhJoint& joint) { return {joint.offset[0], joint.offset[1], joint.offset[2]}; }

// One joint in one frame; the offset fills the position components that have no channel.
RigidPose joint_pose(const BvhJoint& joint, const double* values, bool positions_add)
{
    std::array<double, 3> position = joint.offset;
    Quatd rotation;
    for (size_t i = 0; i < joint.channels.size(); ++i)
    {
        const size_t axis = axis_of(joint.channels[i]);
        if (is_rotation(joint.channels[i])) { rotation = mul(rotation, axis_angle(kAxes[axis], values[i] * kRadiansPerDegree)); }
        else { position[axis] = values[i] + (positions_add ? joint.offset[axis] : 0.0); }
    }
    return {{position[0], position[1], position[2]}, normalized(rotation)};
}

// Position channels below the root come in two dialects: the whole translation, or its difference from OFFSET. The average
// over the clip tells them apart, since captured bones hardly change length.
bool positions_are_differences(const BvhFile& file, const BvhJoint& joint)
{
    if (joint.parent < 0 || joint.channels.size() < 4 || file.frameCount == 0) { return false; }
    std::array<double, 3> mean{0.0, 0.0, 0.0};
    for (size_t frame = 0; frame < file.frameCount; ++frame)
    {
        const double* values = file.values.data() + frame * file.channelCount + joint.firstChannel;
        for (size_t i = 0; i < joint.channels.size(); ++i)
        {
            if (!is_rotation(joint.channels[i])) { mean[axis_of(joint.channels[i])] += values[i] / static_cast<double>(file.frameCount); }
        }
    }
    const Vec3d average{mean[0], mean[1], mean[2]};
    return length(average) < length(average - offset_of(joint));
}

void add_skeleton(const BvhFile& file, Asset& out)
{
    UniqueNames names;
    for (const BvhJoint& joint : file.joints)
    {
        if (!joint.endSite) { names.reserve(joint.name); }
    }
    for (const BvhJoint& source : file.joints)
    {
        Joint joint;
        joint.parent = source.parent;
        joint.endSite = source.endSite;
        joint.rest.translation = to_floats(offset_of(source));
        if (source.endSite) { joint.name = names.generate(out.skeleton.joints[static_cast<size_t>(source.parent)].name + "_end"); }
        else { joint.name = names.take(source.name); }
        if (!source.endSite && joint.name != source.name)
        {
            out.notes.push_back("line " + std::to_string(source.line) + ": a second joint named \"" + source.name + "\" is called \"" +
                                joint.name + "\" here");
        }
        out.skeleton.joints.push_back(std::move(joint));
    }
}

}  // namespace

double frame_rate(double frame_time_s)
{
    const double rate = 1.0 / frame_time_s;
    const double whole = std::round(rate);
    return whole >= 1.0 && std::fabs(rate - whole) <= kWholeRateTolerance * whole ? whole : rate;
}

void asset_from_bvh(const BvhFile& file, const std::string& clip_name, Asset& out)
{
    add_skeleton(file, out);
    if (file.surplusFrames > 0)
    {
        out.notes.push_back("the file counts " + std::to_string(file.frameCount) + " frames and holds " +
                            std::to_string(file.surplusFrames) + " more, which are left aside");
    }
    const size_t joint_count = file.joints.size();
    Clip clip;
    clip.name = clip_name;
    clip.framesPerSecond = frame_rate(file.frameTime_s);
    clip.frameCount = static_cast<uint32_t>(file.frameCount);
    clip.poses.resize(file.frameCount * joint_count);
    for (size_t j = 0; j < joint_count; ++j)
    {
        const BvhJoint& joint = file.joints[j];
        const bool add = positions_are_differences(file, joint);
        if (add) { out.notes.push_back("positions of \"" + out.skeleton.joints[j].name + "\" are read as differences from its OFFSET"); }
        Quatd last;
        for (size_t frame = 0; frame < file.frameCount; ++frame)
        {
            RigidPose pose = joint_pose(joint, file.values.data() + frame * file.channelCount + joint.firstChannel, add);
            if (dot(pose.rotation, last) < 0.0) { pose.rotation = -pose.rotation; }  // same side as the frame before, for blending
            last = pose.rotation;
            JointPose& stored = clip.poses[frame * joint_count + j];
            stored.translation = to_floats(pose.position);
            stored.rotation = to_floats(pose.rotation);
        }
    }
    out.clips.push_back(std::move(clip));
}

}  // namespace limbrex_host
