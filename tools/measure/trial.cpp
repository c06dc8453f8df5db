#include "tools/measure/trial.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "limbrex/limbrex_debug.h"

namespace limbrex_tools
{

using namespace limbrex_host;

namespace
{

constexpr double kDegrees = 57.29577951308232;

Quatd rotation(const NodeRecordTQS& record) { return normalized(to_quatd({record.q[0], record.q[1], record.q[2], record.q[3]})); }

Quatd stored_rotation(const LBXCharacter* character, const LBXCharacterState* state, int node)
{
    float t[4], q[4];
    LBXDebugGetStoredNodeTQ(character, state, node, t, q);
    return normalized(to_quatd({q[0], q[1], q[2], q[3]}));
}

double bend_deg(const LBXCharacter* character, const LBXCharacterState* state, const GoalKind& limb)
{
    const Vec3d middle = node_position(character, state, limb.middle);
    const Vec3d upper = normalized(middle - node_position(character, state, limb.root));
    const Vec3d lower = normalized(node_position(character, state, limb.end) - middle);
    float n[4];
    LBXDebugGetLimbBendAxis(character, limb.limb, n);
    const Quatd frame = stored_rotation(character, state, LBXGetParentNodeId(character, limb.middle));
    const Vec3d axis = rotate(frame, to_vec3d({n[0], n[1], n[2]}));
    return std::atan2(dot(axis, cross(upper, lower)), dot(upper, lower)) * kDegrees;
}

}  // namespace

double turn_deg(const NodeRecordTQS& from, const NodeRecordTQS& to) { return angle_between(rotation(from), rotation(to)) * kDegrees; }

Vec3d position(const NodeRecordTQS& record) { return to_vec3d({record.t[0], record.t[1], record.t[2]}); }

Trial::Trial(const MeasuredRig& rig, const Asset& asset, double shoulder_correction)
    : rig_(rig),
      clip_(asset.clips.front()),
      jointCount_(asset.skeleton.joints.size()),
      animated_(make_state(rig)),
      solved_(make_state(rig)),
      scratch_(make_state(rig)),
      goals_(LBXEffectorSetCreate(std::malloc)),
      reached_(LBXEffectorSetCreate(std::malloc)),
      properties_(LBXPropertySetCreate(std::malloc))
{
    LBXPropertySetValue(properties_.get(), LBXPropertyShoulderCorrection, static_cast<float>(shoulder_correction));
}

const JointPose* Trial::frame_poses(size_t frame) const { return clip_.poses.data() + frame * jointCount_; }

void Trial::pose(double frame)
{
    const double last = static_cast<double>(clip_.frameCount - 1);
    const double whole = std::floor(std::clamp(frame, 0.0, last));
    const double alpha = std::clamp(frame, 0.0, last) - whole;
    const JointPose* from = frame_poses(static_cast<size_t>(whole));
    if (alpha == 0.0) { read_pose(rig_, from, animated_.get()); }
    else { read_pose(rig_, blend_poses(from, from + jointCount_, jointCount_, alpha).data(), animated_.get()); }
    LBXEffectorSetInit(goals_.get());
    LBXEffectorSetFromState(rig_.character.get(), goals_.get(), animated_.get(), properties_.get());
    LBXSetEffectorSetSolvingStep(goals_.get(), LBXSolvingStepAllButStretch);
}

void Trial::solve(TrialPose& out)
{
    LBXCharacter* character = rig_.character.get();
    LBXCharacterStateCopy(solved_.get(), animated_.get());
    const auto start = std::chrono::steady_clock::now();
    LBXSolveForEffectorSet(character, solved_.get(), goals_.get(), properties_.get());
    out.solve_us = std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();

    LBXEffectorSetFromState(character, reached_.get(), solved_.get(), properties_.get());
    out.reached.clear();
    for (const GoalPlace& goal : out.goals) { out.reached.push_back(effector_position(reached_.get(), kGoalKinds[goal.kind].effector)); }
    const LBXDataDescription global = rig_.description(false);
    out.animatedGlobal.resize(rig_.nodes.size());
    out.solvedGlobal.resize(rig_.nodes.size());
    local_records(rig_, animated_.get(), out.animatedLocal);
    local_records(rig_, solved_.get(), out.solvedLocal);
    LBXGetCharacterStateTransformTQS(character, animated_.get(), &global, out.animatedGlobal.data());
    LBXGetCharacterStateTransformTQS(character, solved_.get(), &global, out.solvedGlobal.data());
}

void Trial::run(const BatteryRow& row, double frame, TrialPose& out)
{
    pose(row.sweep == SweepPath::None ? frame : static_cast<double>(row.frozenFrame));
    out.goals = place_goals(rig_, row, animated_.get(), goals_.get(), seconds(frame));
    for (const GoalPlace& goal : out.goals)
    {
        const int effector = kGoalKinds[goal.kind].effector;
        float t[4], q[4];
        LBXGetEffectorStateTQfv(goals_.get(), effector, t, q);
        const std::array<float, 3> target = to_floats(goal.target);
        const float scale[4] = {1.0f, 1.0f, 1.0f, 1.0f};
        LBXSetEffectorStateTQSfv(goals_.get(), effector, target.data(), q, scale);
        LBXSetEffectorReachT(goals_.get(), effector, 1.0f);
        LBXSetEffectorPull(goals_.get(), effector, row.pull || goal.held ? 1.0f : 0.0f);
    }
    solve(out);
}

void Trial::run_met(const std::vector<size_t>& kinds, bool turned, double frame, TrialPose& out)
{
    pose(frame);
    out.goals.clear();
    for (const size_t kind : kinds)
    {
        const int effector = kGoalKinds[kind].effector;
        out.goals.push_back({kind, effector_position(goals_.get(), effector), 0.0, true});
        LBXSetEffectorReachT(goals_.get(), effector, 1.0f);
        LBXSetEffectorReachR(goals_.get(), effector, turned ? 1.0f : 0.0f);
        LBXSetEffectorPull(goals_.get(), effector, 1.0f);
    }
    solve(out);
}

bool Trial::zero_weights_keep_the_pose(double frame)
{
    pose(frame);
    LBXCharacter* character = rig_.character.get();
    LBXCharacterStateCopy(solved_.get(), animated_.get());
    LBXCharacterStateCopy(scratch_.get(), animated_.get());
    LBXSolveForEffectorSet(character, solved_.get(), goals_.get(), properties_.get());
    LBXDebugSolveStages(character, scratch_.get(), goals_.get(), properties_.get(), 1);
    for (const MeasuredNode& node : rig_.nodes)
    {
        float solved[12], prepared[12];
        LBXGetNodeStateTQSfv(character, solved_.get(), node.node, solved, solved + 4, solved + 8);
        LBXGetNodeStateTQSfv(character, scratch_.get(), node.node, prepared, prepared + 4, prepared + 8);
        if (std::memcmp(solved, prepared, sizeof solved) != 0) { return false; }
    }
    return true;
}

double Trial::limit_violation_deg(int& node)
{
    // The prepare stage enforces every limit: whatever it still turns was beyond one.
    LBXCharacterStateCopy(scratch_.get(), solved_.get());
    LBXDebugSolveStages(rig_.character.get(), scratch_.get(), goals_.get(), properties_.get(), 1);
    std::vector<NodeRecordTQS> before, after;
    local_records(rig_, solved_.get(), before);
    local_records(rig_, scratch_.get(), after);
    double worst = 0.0;
    for (size_t i = 0; i < before.size(); ++i)
    {
        const double turn = turn_deg(before[i], after[i]);
        if (turn <= worst) { continue; }
        worst = turn;
        node = rig_.nodes[i].node;
    }
    return worst;
}

bool Trial::limb_bend_deg(int limb, double& animated, double& solved) const
{
    const GoalKind* kind = std::find_if(std::begin(kGoalKinds), std::end(kGoalKinds), [&](const GoalKind& k) { return k.limb == limb; });
    const LBXCharacter* character = rig_.character.get();
    for (const int node : {kind->root, kind->middle, kind->end})
    {
        if ((LBXGetNodeFlags(character, node) & LBXNodeUsed) == 0) { return false; }
    }
    animated = bend_deg(character, animated_.get(), *kind);
    solved = bend_deg(character, solved_.get(), *kind);
    return true;
}

}  // namespace limbrex_tools
