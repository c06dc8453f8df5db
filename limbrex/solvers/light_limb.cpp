#include "limbrex/solvers/light_limb.h"

namespace lbx
{
namespace
{

constexpr float kStraight = 1e-6f;  // angle at the middle joint below which the bones' own plane is noise

// The chain's globals below its upper joint, down to the end.
void update_limb(const Solve& solve, const LimbRecord& limb) { update_path(solve, limb.slots[kLimbUpper], limb.slots[kLimbEnd]); }

void aim(const Solve& solve, const LimbRecord& limb, Vec4 to_target)
{
    const int upper = limb.slots[kLimbUpper];
    const Vec4 to_end = position(solve, limb.slots[kLimbEnd]) - position(solve, upper);
    StateNode& node = solve.nodes[upper];
    node.global.q = renormalized(quat_mul(shortest_arc_reaching(to_end, to_target), node.global.q));
    update_local_rotation(solve, upper);
    update_limb(solve, limb);
}

// Turns the middle joint so that the end stands as far from the upper joint as the target does, by the law of cosines.
void bend(const Solve& solve, const LimbRecord& limb, float distance)
{
    const int middle = limb.slots[kLimbMiddle];
    const Vec4 m = position(solve, middle);
    const Vec4 upper = m - position(solve, limb.slots[kLimbUpper]);
    const Vec4 lower = position(solve, limb.slots[kLimbEnd]) - m;
    const float a = length3(upper);
    const float b = length3(lower);
    if (a * b == 0.0f) return;

    const Vec4 normal = cross3(upper, lower);
    const float theta = asin_approx(clamp01(length3(normal) / a / b));
    float current = kPi;
    Vec4 axis = rotate(global_rotation(solve, limb.middleParent), limb.bendAxis);
    if (theta > kStraight)
    {
        axis = normalize3(normal);
        current = dot3f(lower, upper) > 0.0f ? kPi - theta : theta;
    }
    const float chord = min_of(distance, a + b);
    const float wanted = acos_approx(clampf((a * a + b * b - chord * chord) / (2.0f * a * b), -1.0f, 1.0f));
    StateNode& node = solve.nodes[middle];
    node.global.q = renormalized(quat_mul(quat_from_axis_angle(axis, current - wanted), node.global.q));
    update_local_rotation(solve, middle);
    update_path(solve, middle, limb.slots[kLimbEnd]);
}

}  // namespace

bool solve_light_limb(const Solve& solve, int limb_index)
{
    const LimbRecord& limb = solve.character.limbs[limb_index];
    const int effector = kLimbs[static_cast<size_t>(limb_index)].endEffector;
    const float reach_t = weight_of<kReachT>(solve.effectors, effector);
    const float reach_r = weight_of<kReachR>(solve.effectors, effector);
    if (!limb.complete() || (reach_t <= 0.0f && reach_r <= 0.0f)) return false;

    const int end = limb.slots[kLimbEnd];
    if (reach_t > 0.0f)
    {
        const Vec4 target = lerp4(position(solve, end), goal_point(solve.effectors, effector), reach_t);
        const Vec4 to_target = target - position(solve, limb.slots[kLimbUpper]);
        aim(solve, limb, to_target);
        bend(solve, limb, length3(to_target));
        aim(solve, limb, to_target);
    }
    if (reach_r > 0.0f)
    {
        solve.nodes[end].global.q = quat_blend(global_rotation(solve, end), solve.effectors.targets[effector].q, reach_r);
        update_local_rotation(solve, end);
    }
    return true;
}

}  // namespace lbx
