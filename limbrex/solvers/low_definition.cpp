// The low-definition solve: hips, a light pull of the legs on the hips' place, spine, limbs, head. No limits but the hips', no fingers, no twist
// joints. Chains that a step reads are kept current; everything else below the hips follows once, at the end.
#include "limbrex/solvers/body_placement.h"
#include "limbrex/solvers/head.h"
#include "limbrex/solvers/light_limb.h"
#include "limbrex/solvers/limb_solve.h"
#include "limbrex/solvers/spine.h"
#include "limbrex/solvers/stages.h"

namespace lbx
{
namespace
{

struct LegPull
{
    float weight;
    float length;
    Vec4 target;  // of the ankle
    Vec4 upper;   // position of the up leg; moves with the hips
};

LegPull leg_pull(const Solve& solve, int limb, int ankle_effector, float left_over)
{
    const LimbRecord& record = solve.character.limbs[limb];
    if (!record.complete()) return {0.0f, 0.0f, zero4(), zero4()};
    const Vec4 upper = position(solve, record.slots[kLimbUpper]);
    const float pull = weight_of<kReachT>(solve.effectors, ankle_effector) * weight_of<kPull>(solve.effectors, ankle_effector);
    return {left_over * pull, distance3(position(solve, record.slots[kLimbEnd]), upper), goal_point(solve.effectors, ankle_effector),
            upper};
}

// How far, and where to, the ankle's target lies beyond the leg as long as it is now.
Vec4 excess(const LegPull& leg)
{
    const Vec4 to_target = leg.target - leg.upper;
    const float distance = length3(to_target);
    return distance > leg.length && distance > 0.0f ? to_target * ((distance - leg.length) / distance) : zero4();
}

// Moves the hips without turning them, so up legs and their midpoint travel along: the loop needs no globals.
bool pull_hips(const Solve& solve)
{
    const int hips = slot_of(solve, LBXNodeHips);
    const LBXEffectorSet& effectors = solve.effectors;
    const int iterations = rounded_value_of(solve.properties, record::PullIterationCount);
    const int held_iterations = iterations < 0 ? 0 : (iterations > 30 ? 30 : iterations);

    const float reach = weight_of<kReachT>(effectors, LBXEffectorHips);
    const float own = reach * weight_of<kPull>(effectors, LBXEffectorHips);
    LegPull left = leg_pull(solve, LBXLimbLeftLeg, LBXEffectorLeftAnkle, 1.0f - own);
    LegPull right = leg_pull(solve, LBXLimbRightLeg, LBXEffectorRightAnkle, 1.0f - own);
    const float hold = own + (1.0f - left.weight) * (1.0f - right.weight) * (reach - own);
    if (hips < 0 || held_iterations == 0 || (left.weight == 0.0f && right.weight == 0.0f && hold == 0.0f)) return false;

    StateNode& node = solve.nodes[hips];
    const Vec4 goal = goal_point(effectors, LBXEffectorHips) - rotate(node.global.q, hips_offset(solve.properties));
    const float scale = 1.0f / max_of(1.0f, hold + left.weight + right.weight);
    Vec4 midpoint = hip_joint_midpoint(solve);
    for (int i = 0; i < held_iterations; ++i)
    {
        const Vec4 step = (left.weight * excess(left) + right.weight * excess(right) + hold * (goal - midpoint)) * scale;
        node.global.t += step;
        left.upper += step;
        right.upper += step;
        midpoint += step;
    }
    update_local(solve, hips);
    return true;
}

void update_legs(const Solve& solve)
{
    for (const int limb : {LBXLimbLeftLeg, LBXLimbRightLeg})
    {
        const LimbRecord& record = solve.character.limbs[limb];
        if (record.complete()) update_path(solve, record.slots[kLimbUpper], record.slots[kLimbEnd]);
    }
}
void update_arms(const Solve& solve)
{
    for (const int limb : {LBXLimbLeftArm, LBXLimbRightArm})
    {
        const LimbRecord& record = solve.character.limbs[limb];
        if (record.complete()) update_path(solve, record.slots[kLimbUpper], record.slots[kLimbEnd]);
    }
}

bool place_chest_by_effector(const Solve& solve)
{
    if (!(solve.mask & LBXSolvingStepSpine) || slot_of(solve, LBXNodeSpine) < 0) return false;
    const BodyTriple body = load_body_effectors(solve.effectors);
    if (!place_chest(solve, body.chestEnd, lane<kResist>(body.chestOrigin.weights), {0.0f, 1.0f, true})) return false;
    update_spine_locals(solve);
    update_shoulders(solve);
    return true;
}

}  // namespace

void solve_low_definition(const Solve& solve)
{
    begin_pose(solve);
    const int hips = slot_of(solve, LBXNodeHips);
    bool body_moved = place_hips_by_effector(solve, load_body_effectors(solve.effectors).hips);
    if (body_moved)
    {
        update_local(solve, hips);
        update_around_hips(solve);
        update_legs(solve);  // the pull measures them
    }
    if (solve.mask & LBXSolvingStepBodyPull) body_moved = pull_hips(solve) || body_moved;
    if (body_moved)
    {
        update_body(solve);
        update_legs(solve);
    }
    body_moved = place_chest_by_effector(solve) || body_moved;
    if (body_moved) update_arms(solve);

    bool moved = body_moved;
    bool limb_moved[kLimbCount] = {};
    for (const int limb : {LBXLimbLeftArm, LBXLimbRightArm, LBXLimbLeftLeg, LBXLimbRightLeg})
    {
        if (solve.mask & kLimbs[static_cast<size_t>(limb)].solveBit) limb_moved[limb] = solve_light_limb(solve, limb);
        moved = moved || limb_moved[limb];
    }
    if (solve.mask & LBXSolvingStepHead)
    {
        const int head = slot_of(solve, LBXNodeHead);
        if (body_moved && head >= 0) update_path(solve, chest_slot(solve.character), head);
        moved = orient_head(solve) || moved;
    }
    if (moved && hips >= 0) update_descendants(solve, hips);
    // Without a spine arms hang on nothing.
    for (const int limb : {LBXLimbLeftArm, LBXLimbRightArm})
        if (limb_moved[limb] && chest_slot(solve.character) < 0) finish_limb(solve, limb);
}

}  // namespace lbx
