#include "limbrex/solvers/body_placement.h"

#include "limbrex/solvers/spine.h"

namespace lbx
{
namespace
{

BodyEffector load(const LBXEffectorSet& effectors, int effector)
{
    return {goal_point(effectors, effector), normalize_quat(effectors.targets[effector].q), effectors.weights[effector]};
}

}  // namespace

BodyTriple load_body_effectors(const LBXEffectorSet& effectors)
{
    return {load(effectors, LBXEffectorHips), load(effectors, LBXEffectorChestOrigin), load(effectors, LBXEffectorChestEnd)};
}

Vec4 midpoint_in_hips(const Solve& solve)
{
    const int left = slot_of(solve, LBXNodeLeftUpLeg);
    const int right = slot_of(solve, LBXNodeRightUpLeg);
    if (left >= 0 && right >= 0) return (solve.nodes[left].local.t + solve.nodes[right].local.t) * 0.5f;
    return left >= 0 ? solve.nodes[left].local.t : (right >= 0 ? solve.nodes[right].local.t : zero4());
}

Vec4 hip_joint_midpoint(const Solve& solve)
{
    const Tqs& hips = solve.nodes[slot_of(solve, LBXNodeHips)].global;
    return hips.t + rotate(hips.q, midpoint_in_hips(solve));
}

void place_hips(const Solve& solve, Vec4 midpoint, Quat rotation)
{
    const int hips = slot_of(solve, LBXNodeHips);
    const Vec4 to_midpoint = midpoint_in_hips(solve);
    StateNode& node = solve.nodes[hips];
    node.global.q = rotation;
    node.global.t = midpoint - rotate(rotation, to_midpoint);
    if (solve.records[hips].limit < 0) return;
    update_local(solve, hips);
    enforce_limit(solve, hips);
}

void settle_body(const Solve& solve)
{
    update_local(solve, slot_of(solve, LBXNodeHips));
    update_spine_locals(solve);
}

bool place_hips_by_effector(const Solve& solve, const BodyEffector& effector)
{
    const float reach_t = lane<kReachT>(effector.weights);
    const float reach_r = lane<kReachR>(effector.weights);
    const int hips = slot_of(solve, LBXNodeHips);
    if (hips < 0 || (reach_t == 0.0f && reach_r == 0.0f)) return false;
    const Quat rotation = rotation_toward(global_rotation(solve, hips), effector.q, reach_r);
    const Vec4 wanted = effector.t - rotate(rotation, hips_offset(solve.properties));
    place_hips(solve, reach_t < 1.0f ? lerp4(hip_joint_midpoint(solve), wanted, reach_t) : wanted, rotation);
    return true;
}

bool place_body(const Solve& solve, const BodyTriple& body, const SpineInputs& inputs)
{
    bool moved = place_hips_by_effector(solve, body.hips);
    const bool spine = inputs.spine && slot_of(solve, LBXNodeSpine) >= 0;
    const float origin_reach_r = spine ? lane<kReachR>(body.chestOrigin.weights) : 0.0f;
    if (moved || origin_reach_r > 0.0f) bring_spine(solve, body.chestOrigin.q, origin_reach_r);
    moved = moved || origin_reach_r > 0.0f;
    if (spine) moved = place_chest(solve, body.chestEnd, lane<kResist>(body.chestOrigin.weights), inputs) || moved;
    return moved;
}

}  // namespace lbx
