// The step between a node's absolute transform and the stance-relative one that a state stores, for loops over slots.
#pragma once

#include "limbrex/model/state.h"

namespace lbx
{

// A state belongs to one character. Another character's is refused as far as its size tells.
inline bool fits(const LBXCharacter* character, const LBXCharacterState* state)
{
    return character && state && state->slotCount == character->slotCount;
}

// a / b per lane, 0 where b is too small to divide by, so that a scale of nothing yields nothing instead of NaN.
inline Vec4 safe_quotient(Vec4 a, Vec4 b)
{
    const Vec4 nothing = less4(abs4(b), splat(1.17549435e-38f));
    return andnot4(nothing, a / select4(nothing, splat(1.0f), b));
}

// Every slot but 0: translations as they are.
inline Tqs node_absolute(const Tqs& stance, const Tqs& stored) { return {stored.t, quat_mul(stored.q, stance.q), stored.s * stance.s}; }
inline Tqs node_stored(const Tqs& stance, const Tqs& absolute)
{
    return {absolute.t, quat_mul(absolute.q, conjugate(stance.q)), safe_quotient(absolute.s, stance.s)};
}

// Slot 0, Reference: the whole transform is what carries the stance to the pose.
inline Tqs root_absolute(const Tqs& stance, const Tqs& stored)
{
    Tqs absolute = node_absolute(stance, stored);
    absolute.t = stored.t + rotate(stored.q, stance.t * stored.s);
    return absolute;
}
inline Tqs root_stored(const Tqs& stance, const Tqs& absolute)
{
    Tqs stored = node_stored(stance, absolute);
    stored.t = absolute.t - rotate(stored.q, stance.t * stored.s);
    return stored;
}

// The solver local of one slot; without a parent (-1) it is the global itself. Scales take no part.
inline void refresh_local(StateNode* nodes, int slot, int parent)
{
    StateNode& node = nodes[slot];
    if (parent >= 0)
    {
        local_from_global(node.local, node.global, nodes[parent].global);
        return;
    }
    node.local.t = node.global.t;
    node.local.q = node.global.q;
}

}  // namespace lbx
