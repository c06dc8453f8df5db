#include "limbrex/solvers/shoulders.h"

#include "limbrex/solvers/limb_solve.h"

namespace lbx
{
namespace
{

struct ShoulderRow
{
    int node, extra, arm, forearm, effector, limb;
    uint32_t bit;
};
constexpr ShoulderRow kShoulders[] = {
    {LBXNodeLeftShoulder, LBXNodeLeftShoulderExtra, LBXNodeLeftArm, LBXNodeLeftForeArm, LBXEffectorLeftShoulder, LBXLimbLeftArm,
     LBXSolvingStepLeftShoulder},
    {LBXNodeRightShoulder, LBXNodeRightShoulderExtra, LBXNodeRightArm, LBXNodeRightForeArm, LBXEffectorRightShoulder, LBXLimbRightArm,
     LBXSolvingStepRightShoulder},
};

constexpr float kLargestFollow = 0.5235988f;  // radians: a collar follows its arm by 30 degrees at most
constexpr float kNoticed = 1e-3f;             // radians: an arm that turned less than this has not called for its collar
constexpr int kFitSteps = 6;

// 1 for an arm that turned by up to a quarter turn, falling to 0 at half a turn, where the way round is anybody's guess.
float trust_in_turn(float angle)
{
    const float s = clamp01((kPi - angle) / kHalfPi);
    return (3.0f - 2.0f * s) * s * s;
}

Vec4 collar_stiffness(const LBXPropertySet& properties)
{
    return vec4(value_of(properties, record::CollarStiffnessX), value_of(properties, record::CollarStiffnessY),
                value_of(properties, record::CollarStiffnessZ));
}

// The rotation about q's axis by a fraction of its angle.
Quat fraction_of(Quat q, float f)
{
    if (f >= 1.0f) return q;
    const Quat facing = q * sign_one(lanes<3, 3, 3, 3>(q));
    const float half = acos_approx(min_of(w_of(facing), 1.0f));
    return quat_from_axis_half_angle(normalize3(facing), half * f);
}

// Turns one collar node by q, keeping a part of its old joint angles, axis by axis.
void turn_stiffly(const Solve& solve, int slot, Quat q, Vec4 kept)
{
    const JointFrame& frame = solve.records[slot].joint;
    StateNode& node = solve.nodes[slot];
    const bool stiff = (mask_bits(equal4(kept, zero4())) & 7) != 7;
    const Vec4 before = stiff ? angles_from_rotation(frame, node.local.q) : zero4();
    node.global.q = renormalized(quat_mul(q, node.global.q));
    update_local_rotation(solve, slot);
    if (stiff)
    {
        const Vec4 after = angles_from_rotation(frame, node.local.q);
        node.local.q = normalize_quat(rotation_from_angles(frame, after + (before - after) * kept));
        update_global(solve, slot);
    }
    enforce_limit(solve, slot);
}

// Turns the collar by q; with an extra shoulder, that takes its ratio of the turn.
void turn_collar(const Solve& solve, const ShoulderRow& row, Quat q, Vec4 kept)
{
    const int shoulder = slot_of(solve, row.node);
    const int extra = slot_of(solve, row.extra);
    const float ratio = extra >= 0 ? clamp01(value_of(solve.properties, record::ExtraCollarRatio)) : 0.0f;
    if (turns_nothing(q)) return;
    if (ratio < 1.0f) turn_stiffly(solve, shoulder, fraction_of(q, 1.0f - ratio), kept);
    if (extra >= 0)
    {
        update_global(solve, extra);
        if (ratio > 0.0f) turn_stiffly(solve, extra, fraction_of(q, ratio), kept);
    }
    update_global(solve, slot_of(solve, row.arm));
}

// The turn that brings the arm joint into the direction of a point, as seen from the collar.
Quat turn_toward(const Solve& solve, const ShoulderRow& row, Vec4 point)
{
    const Vec4 centre = position(solve, slot_of(solve, row.node));
    return shortest_arc(position(solve, slot_of(solve, row.arm)) - centre, point - centre);
}

bool has_collar(const Solve& solve, const ShoulderRow& row)
{
    return (solve.mask & row.bit) != 0 && slot_of(solve, row.node) >= 0 && slot_of(solve, row.arm) >= 0;
}

// Where a collar's turn (axis times angle) brings the arm's root: an extra shoulder carries it on by its share.
Vec4 root_after(const Solve& solve, const ShoulderRow& row, Vec4 turn)
{
    const Vec4 axis = normalize3(turn);
    const float angle = length3(turn);
    const int extra = slot_of(solve, row.extra);
    const float ratio = extra >= 0 ? clamp01(value_of(solve.properties, record::ExtraCollarRatio)) : 0.0f;
    const Vec4 centre = position(solve, slot_of(solve, row.node));
    const Vec4 hinge = position(solve, extra >= 0 ? extra : slot_of(solve, row.node));
    const Quat first = quat_from_axis_angle(axis, angle * (1.0f - ratio));
    const Quat whole = quat_from_axis_angle(axis, angle);
    return centre + rotate(first, hinge - centre) + rotate(whole, position(solve, slot_of(solve, row.arm)) - hinge);
}

// How far an arm's root may stand from the hand: folded at the nearest, straight at the farthest, or as it stands.
struct ArmSpan
{
    float nearest, farthest;
};

ArmSpan arm_span(const Solve& solve, const ShoulderRow& row, Vec4 hand)
{
    const Vec4 root = position(solve, slot_of(solve, row.arm));
    const Vec4 middle = position(solve, solve.character.limbs[row.limb].slots[kLimbMiddle]);
    const float a = distance3(middle, root);
    const float b = distance3(hand, middle);
    const float distance = distance3(hand, root);
    // Near the fold the elbow's plane is all but lost, so the collar keeps a quarter of the shorter bone away from it.
    const float folded = max_of(a - b, b - a) + 0.25f * min_of(a, b);
    return {min_of(folded, distance), max_of((a + b) * 0.9999f, distance)};
}

// The turn of the collar (axis times angle, at most `most`) that brings a root that is outside the span back to its edge; zero inside. Along the lever that
// moves the root to or from the hand, so that what it adds follows its inputs without a jump.
Vec4 turn_into_span(Vec4 centre, Vec4 root, Vec4 hand, const ArmSpan& span, float most)
{
    const Vec4 from_hand = root - hand;
    const float distance = length3(from_hand);
    const float outside = distance - clampf(distance, span.nearest, span.farthest);
    const Vec4 lever = cross3(root - centre, normalize3(from_hand));
    const float square = length_squared3(lever);
    if (outside == 0.0f || square <= 0.0f) return zero4();
    const float limit = most / sqrt_scalar(square);
    return lever * -clampf(outside / square, -limit, limit);
}

Quat quat_from_turn(Vec4 turn) { return quat_from_axis_angle(normalize3(turn), length3(turn)); }

// Turns the collar without what would carry the arm's root so far from the hand, or so near to it, that the arm no longer bridges the distance. The turn is
// fitted before it is made, and once more afterwards for what stiffness and limits have made of it.
void turn_collar_within_span(const Solve& solve, const ShoulderRow& row, Vec4 hand, Vec4 turn)
{
    const Vec4 centre = position(solve, slot_of(solve, row.node));
    const ArmSpan span = arm_span(solve, row, hand);
    const auto fit = [&](Vec4 root) { return turn_into_span(centre, root, hand, span, length3(turn)); };
    const auto add = [&](Vec4 part)
    {
        turn += part;
        return length_squared3(part) > 0.0f;
    };
    for (int i = 0; i < kFitSteps && add(fit(root_after(solve, row, turn))); ++i) {}
    turn_collar(solve, row, quat_from_turn(turn), collar_stiffness(solve.properties));
    const auto amend = [&](Vec4 part)
    {
        turn_collar(solve, row, quat_from_turn(part), zero4());
        return length_squared3(part) > 0.0f;
    };
    for (int i = 0; i < kFitSteps && amend(fit(position(solve, slot_of(solve, row.arm)))); ++i) {}
}

// What a solve of the arm reads. The rest of what hangs on it is updated when the limb is finished; an arm that is not whole has no end to be finished at.
void update_arm(const Solve& solve, const ShoulderRow& row)
{
    const LimbRecord& limb = solve.character.limbs[row.limb];
    const int tip = limb.slots[limb.slots[kLimbExtremity] >= 0 ? kLimbExtremity : kLimbEnd];
    if (limb.complete())
        update_path(solve, slot_of(solve, row.arm), tip);
    else
        update_descendants(solve, slot_of(solve, row.node));
}

// Unit direction of the upper arm.
Vec4 arm_direction(const Solve& solve, const ShoulderRow& row)
{
    return normalize3(position(solve, slot_of(solve, row.forearm)) - position(solve, slot_of(solve, row.arm)));
}

// What the arm was asked for, as it is asked a second time: in full toward the same points and toward the turns it has made. A partial weight must not
// act twice.
LimbGoals goals_again(const Solve& solve, const ShoulderRow& row, const ArmBefore& before)
{
    const LimbRecord& limb = solve.character.limbs[row.limb];
    LimbGoals goals = limb_goals(solve, row.limb);
    const auto ask = [&](LimbGoal& goal, int slot, Vec4 point)
    {
        goal.t = point;
        goal.q = global_rotation(solve, slot);
    };
    ask(goals.root, limb.slots[kLimbUpper], position(solve, limb.slots[kLimbUpper]));
    ask(goals.middle, limb.slots[kLimbMiddle], before.middle);
    ask(goals.end, limb.slots[kLimbEnd], before.end);
    if (limb.slots[kLimbExtremity] >= 0) ask(goals.extremity, limb.slots[kLimbExtremity], before.extremity);
    goals.placed = true;
    return goals;
}

}  // namespace

bool turn_shoulder(const Solve& solve, ShoulderSide side, const LimbReach& reach)
{
    const ShoulderRow& row = kShoulders[side];
    if (!has_collar(solve, row)) return false;
    const Vec4 weights = solve.effectors.weights[row.effector];
    const float reach_t = lane<kReachT>(weights);
    const Vec4 stiffness = collar_stiffness(solve.properties);
    const int arm = slot_of(solve, row.arm);
    bool turned = false;
    if (reach_t > 0.0f)
    {
        turn_collar(solve, row, turn_toward(solve, row, lerp4(position(solve, arm), goal_point(solve.effectors, row.effector), reach_t)),
                    stiffness);
        turned = true;
    }
    if (of_limb(reach.shares.pull, row.limb) > 0.0f)
    {
        const Vec4 pull = vectors_of(pull_vectors(reach, limb_roots(solve, reach), pull_curve(reach, reach.stiffness))).v[row.limb];
        // What the shoulder's own pull, the stiffness and the resistance leave of the turn, axis by axis.
        const float free = (1.0f - reach_t * lane<kPull>(weights)) * (1.0f - lane<kResist>(weights));
        const Vec4 kept = splat(1.0f) - (splat(1.0f) - stiffness) * free;
        turn_collar(solve, row, turn_toward(solve, row, position(solve, arm) + pull), xyz(kept));
        turned = true;
    }
    if (turned) update_arm(solve, row);
    return turned;
}

ArmBefore arm_before_solve(const Solve& solve, ShoulderSide side)
{
    const ShoulderRow& row = kShoulders[side];
    const LimbRecord& limb = solve.character.limbs[row.limb];
    if (!has_collar(solve, row) || !limb.complete() || value_of(solve.properties, record::ShoulderCorrection) <= 0.0f)
        return {zero4(), zero4(), zero4(), zero4()};
    const LimbGoals goals = limb_goals(solve, row.limb);
    const auto asked = [&](int slot, const LimbGoal& goal) { return lerp4(position(solve, slot), goal.t, goal.reachT); };
    return {arm_direction(solve, row), asked(limb.slots[kLimbMiddle], goals.middle), asked(limb.slots[kLimbEnd], goals.end),
            limb.slots[kLimbExtremity] >= 0 ? asked(limb.slots[kLimbExtremity], goals.extremity) : zero4()};
}

bool correct_shoulder(const Solve& solve, ShoulderSide side, const ArmBefore& before)
{
    const ShoulderRow& row = kShoulders[side];
    const float weight =
        value_of(solve.properties, record::ShoulderCorrection) * (1.0f - weight_of<kReachT>(solve.effectors, row.effector));
    if (weight <= 0.0f || length_squared3(before.direction) == 0.0f) return false;
    const Quat arc = shortest_arc(before.direction, arm_direction(solve, row));
    if (turns_nothing(arc)) return false;

    const Quat facing = arc * sign_one(lanes<3, 3, 3, 3>(arc));
    const float whole = 2.0f * acos_approx(min_of(w_of(facing), 1.0f));
    const Vec4 axis = normalize3(facing);
    const float angle = min_of(max_of(whole - kNoticed, 0.0f) * weight, kLargestFollow) * trust_in_turn(whole);
    if (angle <= 0.0f) return false;
    const LimbGoals again = goals_again(solve, row, before);
    const Vec4 hand = position(solve, solve.character.limbs[row.limb].slots[kLimbEnd]);
    turn_collar_within_span(solve, row, hand, axis * angle);
    update_arm(solve, row);
    if (solve.mask & kLimbs[static_cast<size_t>(row.limb)].solveBit) solve_limb_toward(solve, row.limb, true, again);
    return true;
}

}  // namespace lbx
