#include "limbrex/solvers/body_placement.h"

#include "limbrex/solvers/spine.h"

namespace lbx
{
namespace
{

BodyEffector load(const LBXEffectorSet& effectors, int effector)
{
    return {goal_point(effectors, effector), effectors.targets[effector].q, effectors.weights[effector]};
}

// Mean of a value of the two up legs; of the one that exists; the fallback without any.
template <class Value>
Vec4 mean_of_up_legs(const Solve& solve, Value value, Vec4 fallback)
{
    const int left = slot_of(solve, LBXNodeLeftUpLeg);
    const int right = slot_of(solve, LBXNodeRightUpLeg);
    if (left >= 0 && right >= 0) return (value(left) + value(right)) * 0.5f;
    return left >= 0 ? value(left) : (right >= 0 ? value(right) : fallback);
}

}  // namespace

BodyTriple load_body_effectors(const LBXEffectorSet& effectors)
{
    return {load(effectors, LBXEffectorHips), load(effectors, LBXEffectorChestOrigin), load(effectors, LBXEffectorChestEnd)};
}

Vec4 hip_joint_midpoint(const Solve& solve)
{
    return mean_of_up_legs(
        solve, [&](int slot) { return position(solve, slot); }, position(solve, slot_of(solve, LBXNodeHips)));
}

void place_hips(const Solve& solve, Vec4 midpoint, Quat rotation)
{
    const int hips = slot_of(solve, LBXNodeHips);
    const Vec4 to_midpoint = mean_of_up_legs(
        solve, [&](int slot) { return solve.nodes[slot].local.t; }, zero4());
    StateNode& node = solve.nodes[hips];
    node.global.q = rotation;
    node.global.t = midpoint - rotate(rotation, to_midpoint);
    update_local(solve, hips);
    enforce_limit(solve, hips);
    update_around_hips(solve);
}

bool place_hips_by_effector(const Solve& solve, const BodyEffector& effector)
{
    const float reach_t = lane<kReachT>(effector.weights);
    const float reach_r = lane<kReachR>(effector.weights);
    const int hips = slot_of(solve, LBXNodeHips);
    if (hips < 0 || (reach_t == 0.0f && reach_r == 0.0f)) return false;
    const Quat rotation = quat_blend(global_rotation(solve, hips), effector.q, reach_r);
    const Vec4 current = hip_joint_midpoint(solve);
    const Vec4 wanted = effector.t - rotate(rotation, hips_offset(solve.properties));
    place_hips(solve, lerp4(current, wanted, reach_t), rotation);
    return true;
}

bool place_body(const Solve& solve, const BodyTriple& body, const SpineInputs& inputs)
{
    const bool hips_moved = place_hips_by_effector(solve, body.hips);
    bool moved = hips_moved;
    const int spine = slot_of(solve, LBXNodeSpine);
    if (inputs.spine && spine >= 0)
    {
        const float origin_reach_r = lane<kReachR>(body.chestOrigin.weights);
        const float end_reach_r = lane<kReachR>(body.chestEnd.weights);
        const float end_reach_t = lane<kReachT>(body.chestEnd.weights);
        const float resist = lane<kResist>(body.chestOrigin.weights);
        moved = moved || origin_reach_r > 0.0f || end_reach_r > 0.0f || end_reach_t > 0.0f;
        if (origin_reach_r > 0.0f)
            set_rotation(solve, spine, quat_blend(global_rotation(solve, spine), body.chestOrigin.q, origin_reach_r));
        if (hips_moved || origin_reach_r > 0.0f) update_spine(solve);
        if (end_reach_r > 0.0f) turn_chest(solve, body.chestEnd.q, end_reach_r, resist);
        if (end_reach_t > 0.0f) reach_with_spine(solve, body.chestEnd, resist, inputs);
    }
    else if (hips_moved)
        update_spine(solve);
    if (moved) update_shoulders(solve);
    return moved;
}

}  // namespace lbx
