// Plays a clip onto a unit: at any time, between frames, over and over or once, at any speed, with its travel or without.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/animation/clip.h"
#include "host/unit_nodes.h"

namespace limbrex_host
{

enum class RootMotion : uint8_t
{
    Hips,  // the joint that travels in the clip travels in the unit
    Unit,  // the unit travels over the floor, the joint stays above its root
    None,  // nobody travels; steps and turns stay
};

struct ClipPlayback
{
    const Asset* asset = nullptr;  // outlives the playback
    size_t clip = 0;
    double start_s = 0.0, stop_s = 0.0;  // of the clip's own time; stop_s <= start_s = to the end
    double speed = 1.0;                  // negative plays backwards from stop_s
    bool loop = false;
    RootMotion rootMotion = RootMotion::Hips;
};

double clip_duration(const Clip& clip);  // first frame to last, seconds
// Where in the clip the playback stands `time_s` after it began.
double clip_time(const ClipPlayback& playback, double time_s);
// Joint poses between the two frames around `time_s` (held within the clip); `out` gets one pose a joint.
void sample_clip(const Clip& clip, size_t joint_count, double time_s, std::vector<JointPose>& out);
// The joint that carries the motion over the floor: the first that travels more than a millimetre, else the first.
size_t travelling_joint(const Asset& asset, size_t clip);

// Binds clips to one unit's joints.
class ClipPlayer
{
public:
    // False with `error` when no joint of the clip's skeleton has a name of the unit's; `notes` tells what stands still.
    bool bind(const ClipPlayback& wanted, const Skeleton& unit_skeleton, std::vector<std::string>& notes, std::string& error);
    bool bound() const { return playback.asset != nullptr; }

    // Poses the unit's nodes as they are `time_s` after the playback began. `travel` is what the unit itself moves, in the
    // asset's frame (y up); zero unless the root motion goes to the unit.
    void apply(double time_s, const Skeleton& unit_skeleton, const UnitLayout& layout, HostNodeTree& tree, std::array<double, 3>& travel);

    // The rest pose, for units that play nothing.
    void apply_rest(const Skeleton& unit_skeleton, const UnitLayout& layout, HostNodeTree& tree);

    const ClipPlayback& current() const { return playback; }
    size_t travelling_unit_joint() const { return travelJointOfUnit; }

private:
    std::array<double, 3> travel_at(const std::vector<JointPose>& poses) const;

    ClipPlayback playback;
    std::vector<int32_t> clipJoints;  // per joint of the unit: the clip's joint, -1 for its rest pose
    size_t travelJoint = 0;
    size_t travelJointOfUnit = 0;
    std::array<double, 3> travelOrigin{};
    std::vector<JointPose> clipPoses, unitPoses;
};

}  // namespace limbrex_host
