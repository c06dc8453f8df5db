// One solve of the battery at any moment of a clip, whole frames or between them, and what it did to the pose.
#pragma once

#include <vector>

#include "host/animation/clip.h"
#include "tools/measure/battery.h"
#include "tools/measure/measured_rig.h"

namespace limbrex_tools
{

// Everything one solve is judged by. Reused from frame to frame.
struct TrialPose
{
    std::vector<GoalPlace> goals;
    std::vector<limbrex_host::Vec3d> reached;  // where each goal's effector came to stand
    std::vector<NodeRecordTQS> animatedLocal, solvedLocal;
    std::vector<NodeRecordTQS> animatedGlobal, solvedGlobal;
    double solve_us = 0.0;
};

class Trial
{
public:
    Trial(const MeasuredRig& rig, const limbrex_host::Asset& asset, double shoulder_correction);

    // `frame` may lie between two frames. Both states stay until the next call.
    void run(const BatteryRow& row, double frame, TrialPose& out);
    // Goals at the animated places of these kinds, whole reach and pull; `turned`: orientations too.
    void run_met(const std::vector<size_t>& kinds, bool turned, double frame, TrialPose& out);
    // No weights at all. False when the solve changed a bit of what the prepare stage leaves.
    bool zero_weights_keep_the_pose(double frame);

    // Degrees by which joint limits would still turn a joint of the solved pose; `node` is the worst one.
    double limit_violation_deg(int& node);
    // Bend of a limb about its own axis in the animated and the solved pose, degrees; negative: the wrong side. False without such a limb.
    bool limb_bend_deg(int limb, double& animated, double& solved) const;

    LBXCharacterState* animated() { return animated_.get(); }
    LBXCharacterState* solved() { return solved_.get(); }
    const MeasuredRig& rig() const { return rig_; }
    const limbrex_host::Clip& clip() const { return clip_; }
    const limbrex_host::JointPose* frame_poses(size_t frame) const;
    double seconds(double frame) const { return frame / clip_.framesPerSecond; }

private:
    void pose(double frame);
    void solve(TrialPose& out);

    const MeasuredRig& rig_;
    const limbrex_host::Clip& clip_;
    size_t jointCount_;
    StateOwner animated_, solved_, scratch_;
    EffectorSetOwner goals_, reached_;
    PropertySetOwner properties_;
};

// Turn between two rotations of one joint, degrees.
double turn_deg(const NodeRecordTQS& from, const NodeRecordTQS& to);
limbrex_host::Vec3d position(const NodeRecordTQS& record);

}  // namespace limbrex_tools
