#include "limbrex/model/state.h"

#include <cstring>

#include "limbrex/limbrex_debug.h"
#include "limbrex/math/float_scope.h"
#include "limbrex/model/stored_form.h"
#include "limbrex/model/transform_io.h"

namespace lbx
{

Tqs absolute_from_stored(const LBXCharacter& character, int slot, const Tqs& stored)
{
    const Tqs& stance = stances(character)[slot].stance;
    return slot == 0 ? root_absolute(stance, stored) : node_absolute(stance, stored);
}

Tqs stored_from_absolute(const LBXCharacter& character, int slot, const Tqs& absolute)
{
    const Tqs& stance = stances(character)[slot].stance;
    return slot == 0 ? root_stored(stance, absolute) : node_stored(stance, absolute);
}

void refresh_locals(const LBXCharacter& character, StateNode* nodes)
{
    const int32_t* parent = parents(character);
    const int count = static_cast<int>(character.slotCount);
    for (int slot = 0; slot < count; ++slot) refresh_local(nodes, slot, parent[slot]);
}

namespace
{

Tqs read_node(const LBXCharacter& character, const LBXCharacterState& state, int node)
{
    const int slot = slot_of(character, node);
    return absolute_from_stored(character, slot, state_nodes(state)[slot].global);
}

// The node alone moves: its own local changes, and those of its children, which stay where they are.
void write_node(const LBXCharacter& character, LBXCharacterState& state, int node, const Tqs& absolute)
{
    const int slot = slot_of(character, node);
    StateNode* nodes = state_nodes(state);
    nodes[slot].global = stored_from_absolute(character, slot, absolute);
    if (slot < 0)
    {
        refresh_local(nodes, slot, -1);
        return;
    }
    const NodeRecord& record = node_records(character)[slot];
    refresh_local(nodes, slot, record.parent);
    for (int child = record.firstChild; child < record.firstChild + record.childCount; ++child) refresh_local(nodes, child, slot);
}

}  // namespace
}  // namespace lbx

using namespace lbx;

// ---- life -------------------------------------------------------------------------------------------------------------------------

LBXCharacterState* LBXCharacterStateCreate(const LBXCharacter* character, LBXAllocateFunction allocate)
{
    if (!character) return nullptr;
    return LBXCharacterStateInit(character, allocate_block(state_size(character->slotCount), allocate));
}

LBXCharacterState* LBXCharacterStateInit(const LBXCharacter* character, void* memory)
{
    if (!character || !memory || reinterpret_cast<uintptr_t>(memory) % alignof(LBXCharacterState) != 0) return nullptr;
    auto* state = static_cast<LBXCharacterState*>(memory);
    *state = {character->slotCount, {}};
    StateNode* nodes = state_nodes(*state);
    for (int slot = -1; slot < static_cast<int>(state->slotCount); ++slot) nodes[slot] = {tqs_identity(), tqs_identity()};
    return state;
}

void LBXCharacterStateDestroy(LBXCharacterState* state, LBXFreeFunction free_function) { free_block(state, free_function); }

size_t LBXCharacterStateGetSize(const LBXCharacter* character) { return character ? state_size(character->slotCount) : 0; }

size_t LBXCharacterStateGetSizeFromDefinition(const LBXCharacterDefinition* definition)
{
    if (!definition) return 0;
    uint32_t slot_count = (definition->nodeFlags[LBXNodeReference] & LBXNodeUsed) ? 0u : 1u;  // Reference has a slot in any case
    for (const uint32_t flags : definition->nodeFlags) slot_count += flags & LBXNodeUsed;
    return state_size(slot_count);
}

size_t LBXCharacterStateGetSizeFromState(const LBXCharacterState* state) { return state ? state_size(state->slotCount) : 0; }

void LBXCharacterStateCopy(LBXCharacterState* destination, const LBXCharacterState* source)
{
    if (!destination || !source || destination == source || destination->slotCount != source->slotCount) return;
    std::memcpy(static_cast<void*>(state_nodes(*destination)), state_nodes(*source), sizeof(StateNode) * source->slotCount);
}

void LBXGetCharacterizeState(const LBXCharacter* character, LBXCharacterState* state)
{
    if (!fits(character, state)) return;
    const SolverFloatScope scope;
    StateNode* nodes = state_nodes(*state);
    for (int slot = 0; slot < static_cast<int>(character->slotCount); ++slot)
    {
        const CharacterizationEntry& entry = stances(*character)[slot];
        if (!entry.recorded) continue;
        nodes[slot].global = tqs_identity();
        if (slot != 0) nodes[slot].global.t = entry.stance.t;
    }
    refresh_locals(*character, nodes);
}

// ---- one node -----------------------------------------------------------------------------------------------------------------------

void LBXGetNodeStateTQSfv(const LBXCharacter* character, const LBXCharacterState* state, int node, float* t, float* q, float* s)
{
    if (!fits(character, state)) return;
    const SolverFloatScope scope;
    write_transform(read_node(*character, *state, node), t, q, s);
}

void LBXGetNodeStateTQSdv(const LBXCharacter* character, const LBXCharacterState* state, int node, double* t, double* q, double* s)
{
    if (!fits(character, state)) return;
    const SolverFloatScope scope;
    write_transform(read_node(*character, *state, node), t, q, s);
}

void LBXGetNodeStateTQfv(const LBXCharacter* character, const LBXCharacterState* state, int node, float* t, float* q)
{
    LBXGetNodeStateTQSfv(character, state, node, t, q, nullptr);
}

void LBXGetNodeStateTQdv(const LBXCharacter* character, const LBXCharacterState* state, int node, double* t, double* q)
{
    LBXGetNodeStateTQSdv(character, state, node, t, q, nullptr);
}

void LBXSetNodeStateTQSfv(const LBXCharacter* character, LBXCharacterState* state, int node, const float* t, const float* q, const float* s)
{
    if (!fits(character, state) || !t || !q || !s) return;
    const SolverFloatScope scope;
    write_node(*character, *state, node, read_transform(t, q, s));
}

void LBXSetNodeStateTQSdv(const LBXCharacter* character, LBXCharacterState* state, int node, const double* t, const double* q,
                          const double* s)
{
    if (!fits(character, state) || !t || !q || !s) return;
    const SolverFloatScope scope;
    write_node(*character, *state, node, read_transform(t, q, s));
}

void LBXSetNodeStateTQfv(const LBXCharacter* character, LBXCharacterState* state, int node, const float* t, const float* q)
{
    const float one[3] = {1.0f, 1.0f, 1.0f};
    LBXSetNodeStateTQSfv(character, state, node, t, q, one);
}

void LBXSetNodeStateTQdv(const LBXCharacter* character, LBXCharacterState* state, int node, const double* t, const double* q)
{
    const double one[3] = {1.0, 1.0, 1.0};
    LBXSetNodeStateTQSdv(character, state, node, t, q, one);
}

void LBXGetNodeStateTQSBuffer(const LBXCharacter* character, const LBXCharacterState* state, int node,
                              const LBXDataDescription* description, void* buffer)
{
    if (!fits(character, state) || !description || !buffer) return;
    const SolverFloatScope scope;
    write_record(read_node(*character, *state, node), *description, buffer);
}

void LBXSetNodeStateTQSBuffer(const LBXCharacter* character, LBXCharacterState* state, int node, const LBXDataDescription* description,
                              const void* buffer)
{
    if (!fits(character, state) || !description || !buffer) return;
    const SolverFloatScope scope;
    write_node(*character, *state, node, read_record(*description, buffer));
}

void LBXDebugGetStoredNodeTQ(const LBXCharacter* character, const LBXCharacterState* state, int node, float* t4, float* q4)
{
    if (!fits(character, state)) return;
    write_transform<float>(state_nodes(*state)[slot_of(*character, node)].global, t4, q4, nullptr);
}
