// One pose: per slot a stored global and the local that belongs to it.
//
// Stored globals are relative to the stance, so that the stance stores identity rotations: T = T, Q = Q * conj(Q stance), S = S / S stance; Reference
// (slot 0) is stored whole relative to its stance. Solver locals are parent's stored global inverse times own stored global, no scales, no
// parent offsets; they are a cache, and every public operation leaves globals and locals in step.
#pragma once

#include "limbrex/model/character.h"

namespace lbx
{

struct StateNode
{
    Tqs global;
    Tqs local;
};

}  // namespace lbx

struct alignas(16) LBXCharacterState
{
    uint32_t slotCount;
    uint32_t unused[3];
};

namespace lbx
{

inline constexpr size_t state_size(uint32_t slot_count) { return sizeof(StateNode) * (slot_count + 1u) + sizeof(LBXCharacterState); }

// Indexed by slot; -1 is the spare entry of unused nodes.
inline StateNode* state_nodes(LBXCharacterState& state) { return reinterpret_cast<StateNode*>(&state + 1) + 1; }
inline const StateNode* state_nodes(const LBXCharacterState& state) { return reinterpret_cast<const StateNode*>(&state + 1) + 1; }

// Absolute transform of a slot from its stored one, and back.
Tqs absolute_from_stored(const LBXCharacter& character, int slot, const Tqs& stored);
Tqs stored_from_absolute(const LBXCharacter& character, int slot, const Tqs& absolute);

// Every solver local from the stored globals, root first. The root's local T and Q become its global ones; a node without a parent likewise.
void refresh_locals(const LBXCharacter& character, StateNode* nodes);

}  // namespace lbx
