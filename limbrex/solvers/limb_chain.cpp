#include "limbrex/solvers/limb_chain.h"

namespace lbx
{
namespace
{

LimbGoal load_goal(const LBXEffectorSet& effectors, int effector)
{
    const Vec4 weights = effectors.weights[effector];
    return {goal_point(effectors, effector), effectors.targets[effector].q, lane<kReachT>(weights),
            lane<kReachR>(weights),          lane<kPull>(weights),          lane<kResist>(weights)};
}

}  // namespace

LimbGoals limb_goals(const Solve& solve, int limb)
{
    const LimbRow& row = kLimbs[static_cast<size_t>(limb)];
    return {load_goal(solve.effectors, row.rootEffector),
            load_goal(solve.effectors, row.middleEffector),
            load_goal(solve.effectors, row.endEffector),
            load_goal(solve.effectors, row.extremityEffector),
            false,
            false,
            1.0f};
}

LimbChain make_limb_chain(const Solve& solve, int limb, bool arm, const LimbGoals& goals)
{
    const LimbRecord& record = solve.character.limbs[limb];
    const LimbRow& row = kLimbs[static_cast<size_t>(limb)];
    const LBXPropertySet& properties = solve.properties;
    LimbChain chain = {solve,
                       record,
                       row,
                       {},
                       0,
                       record.slots[kLimbUpper],
                       record.slots[kLimbMiddle],
                       record.slots[kLimbEnd],
                       record.slots[kLimbExtremity],
                       goals.root,
                       goals.middle,
                       goals.end,
                       goals.extremity,
                       goals.placed,
                       goals.exact,
                       is_leg(limb),
                       is_in_effect(properties, record_of_property(row.killPitch)),
                       arm && value_of(properties, record::ParamRealisticArmSolving) != 0.0f,
                       value_of(properties, record_of_property(row.maximumExtension)),
                       value_of(properties, record_of_property(row.maximumExtensionAngle)),
                       row.realistic >= 0 ? value_of(properties, record_of_property(row.realistic)) : 0.0f,
                       0.0f};
    int reversed[kMaxPath];
    int count = 0;
    const int last = chain.extremity >= 0 ? chain.extremity : chain.end;
    for (int slot = last; slot >= 0 && count < kMaxPath; slot = solve.parents[slot])
    {
        reversed[count++] = slot;
        if (slot == chain.upper) break;
    }
    while (count > 0) chain.path[chain.pathCount++] = reversed[--count];
    return chain;
}

void follow(const LimbChain& chain, int slot)
{
    bool below = false;
    for (int i = 0; i < chain.pathCount; ++i)
    {
        if (below) update_global(chain.solve, chain.path[i]);
        below = below || chain.path[i] == slot;
    }
}

namespace
{

// The path below a joint that has turned goes with it as one piece: the same place that its locals say, without waiting for one node after the other.
void carry_below(const LimbChain& chain, int slot, Vec4 from, Quat turn)
{
    const Vec4 to = at(chain, slot);
    for (int i = chain.pathCount - 1; i >= 0 && chain.path[i] != slot; --i)
    {
        Tqs& node = chain.solve.nodes[chain.path[i]].global;
        node.t = to + rotate(turn, node.t - from);
        node.q = renormalized(quat_mul(turn, node.q));
    }
}

}  // namespace

void turn_joint(const LimbChain& chain, int slot, Quat turn)
{
    const Tqs before = chain.solve.nodes[slot].global;
    if (!turn_node(chain.solve, slot, turn)) return;
    const bool limited = chain.solve.records[slot].limit >= 0;
    carry_below(chain, slot, before.t, limited ? turn_between(before.q, global_rotation(chain.solve, slot)) : turn);
}

void aim_joint(const LimbChain& chain, int slot, Vec4 tip, Vec4 target)
{
    const Vec4 joint = at(chain, slot);
    turn_joint(chain, slot, shortest_arc_reaching(tip - joint, target - joint));
}

void orient_joint(const LimbChain& chain, int slot, const LimbGoal& goal, bool hold_limit)
{
    if (goal.reachR <= 0.0f) return;
    StateNode& node = chain.solve.nodes[slot];
    node.global.q = quat_blend(node.global.q, goal.q, goal.reachR);
    update_local_rotation(chain.solve, slot);
    if (hold_limit) enforce_limit(chain.solve, slot);
    follow(chain, slot);
}

}  // namespace lbx
