// What every solver stage works on, and the few moves they all make: turn a node, bring its local in line, hold its limit, update what
// hangs below. Stages write the stored globals and leave globals and locals in step.
#pragma once

#include "limbrex/model/effector_set.h"

namespace lbx
{

struct Solve
{
    const LBXCharacter& character;
    StateNode* nodes;  // by slot; -1 is the spare
    LBXEffectorSet& effectors;
    const LBXPropertySet& properties;
    uint32_t mask;           // solving steps
    const int32_t* parents;  // by slot
    const int32_t* order;    // slots depth first
    const int32_t* place;
    const int32_t* subtree;
    const NodeRecord* records;
};

Solve make_solve(const LBXCharacter& character, LBXCharacterState& state, LBXEffectorSet& effectors, const LBXPropertySet& properties);

inline int slot_of(const Solve& solve, int node) { return solve.character.slotOfNode[node]; }

// What every solve begins with: locals from the pose's globals. Rotations that are none, as a caller may store them, become unit ones; the rest keep their bits.
void begin_pose(const Solve& solve);

// ---- one node -----------------------------------------------------------------------------------------------------------------

// The root and nodes without a parent: local T and Q are the global ones.
inline void update_local(const Solve& solve, int slot)
{
    StateNode& node = solve.nodes[slot];
    const int parent = solve.parents[slot];
    if (parent >= 0)
        local_from_global(node.local, node.global, solve.nodes[parent].global);
    else
    {
        node.local.t = node.global.t;
        node.local.q = node.global.q;
    }
}
// The product of two unit quaternions brought back to length 1: the Newton step of normalization from an estimate of 1. Nothing stays nothing.
inline Quat renormalized(Quat q) { return q * (splat(1.5f) - splat(0.5f) * dot4(q, q)); }
// Of a node without a parent the local T and Q are the global ones.
inline void update_global(const Solve& solve, int slot)
{
    const int parent = solve.parents[slot];
    StateNode& node = solve.nodes[slot];
    if (parent < 0)
    {
        node.global.t = node.local.t;
        node.global.q = node.local.q;
        return;
    }
    const Tqs& above = solve.nodes[parent].global;
    node.global.t = above.t + rotate(above.q, node.local.t);
    node.global.q = renormalized(quat_mul(above.q, node.local.q));
}
// Where an effector's goal stands. Held within a distance whose square, and the product of two such, a float can still hold.
inline Vec4 goal_point(const LBXEffectorSet& effectors, int effector)
{
    const Vec4 farthest = splat(1e9f);
    return min4(max4(effectors.targets[effector].t, -farthest), farthest);
}
inline Quat global_rotation(const Solve& solve, int slot) { return solve.nodes[slot].global.q; }
inline Vec4 position(const Solve& solve, int slot) { return solve.nodes[slot].global.t; }

// Clamps the local rotation and translation of a node with a limit record; when that changed the local, its global is recomputed.
// True when it changed. The nodes below are the caller's to update.
bool hold_limit(const Solve& solve, int slot);
inline bool enforce_limit(const Solve& solve, int slot) { return solve.records[slot].limit >= 0 && hold_limit(solve, slot); }

// Local rotation of a node that turned in place: its local translation is what it was.
inline void update_local_rotation(const Solve& solve, int slot)
{
    const int parent = solve.parents[slot];
    const Quat q = solve.nodes[slot].global.q;
    solve.nodes[slot].local.q = parent >= 0 ? quat_mul(conjugate(solve.nodes[parent].global.q), q) : q;
}
// The global rotation becomes the unit quaternion q: local recomputed, limit held. The nodes below are the caller's to update.
inline void set_rotation(const Solve& solve, int slot, Quat q)
{
    solve.nodes[slot].global.q = q;
    update_local_rotation(solve, slot);
    enforce_limit(solve, slot);
}
inline bool turns_nothing(Quat turn) { return (mask_bits(equal4(turn, zero4())) & 7) == 7; }
// The global rotation is pre-multiplied by a turn: local recomputed, limit held. False when the turn is none and nothing was touched, so that a
// pose that needs no turn keeps its bits. The nodes below are the caller's to update.
inline bool turn_node(const Solve& solve, int slot, Quat turn)
{
    if (turns_nothing(turn)) return false;
    set_rotation(solve, slot, renormalized(quat_mul(turn, solve.nodes[slot].global.q)));
    return true;
}

// ---- chains and subtrees --------------------------------------------------------------------------------------------------------

// Globals of everything below the slot (not itself), from the locals.
inline void update_descendants(const Solve& solve, int slot)
{
    const int first = solve.place[slot] + 1;
    const int last = solve.place[slot] + solve.subtree[slot];
    for (int i = first; i < last; ++i) update_global(solve, solve.order[i]);
}
// Globals along the path from below `from` down to `to`, which must hang under it. Nothing happens for absent slots.
void update_path(const Solve& solve, int from, int to);
// Globals of the spine above its bottom node.
void update_spine(const Solve& solve);
// Globals of the shoulders down to the arms, which hang on the chest.
void update_shoulders(const Solve& solve);
// Globals of what hangs on the hips: both up legs and the bottom of the spine.
void update_around_hips(const Solve& solve);
// All of the above: everything that the body steps read.
void update_body(const Solve& solve);
// Where the chest end effector stands, from the chest alone: shoulders that hang on it need not be current.
Vec4 current_chest_end(const Solve& solve, Vec4 offset);

}  // namespace lbx
