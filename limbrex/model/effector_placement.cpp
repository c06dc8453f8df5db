// Where effectors stand on a pose. Everything is read and given in the stored, stance-relative form.

#include "limbrex/math/float_scope.h"
#include "limbrex/model/effector_set.h"

namespace lbx
{
namespace
{

// One of a pair missing: the other stands for both. None: the point given.
Vec4 middle_of(const LBXCharacter& character, const StateNode* nodes, int left_node, int right_node, Vec4 otherwise)
{
    const int left = slot_of(character, left_node);
    const int right = slot_of(character, right_node);
    if (left < 0 && right < 0) return otherwise;
    if (left < 0) return nodes[right].global.t;
    if (right < 0) return nodes[left].global.t;
    return (nodes[left].global.t + nodes[right].global.t) * 0.5f;
}

// A finger's effector stands on its last joint.
Tqs finger_effector(const LBXCharacter& character, const StateNode* nodes, int extremity, int finger)
{
    const int last = character.fingerJointCount[extremity][finger];
    if (last == 0) return tqs_identity();
    return {nodes[slot_of(character, finger_node(extremity, finger, last))].global.t,
            nodes[slot_of(character, finger_node(extremity, finger, turning_finger_joint(last)))].global.q, splat(1.0f)};
}

}  // namespace

Vec4 hips_effector_point(const LBXCharacter& character, const StateNode* nodes, Vec4 hips_offset)
{
    const Tqs& hips = nodes[slot_of(character, LBXNodeHips)].global;
    return middle_of(character, nodes, LBXNodeLeftUpLeg, LBXNodeRightUpLeg, hips.t) + rotate(hips.q, hips_offset);
}

Vec4 chest_end_point(const LBXCharacter& character, const StateNode* nodes, Vec4 chest_offset)
{
    const Tqs& chest = nodes[chest_slot(character)].global;
    const bool shoulders = has_node(character, LBXNodeLeftShoulder) && has_node(character, LBXNodeRightShoulder);
    const Vec4 end = shoulders ? middle_of(character, nodes, LBXNodeLeftShoulder, LBXNodeRightShoulder, chest.t)
                               : middle_of(character, nodes, LBXNodeLeftArm, LBXNodeRightArm, chest.t);
    return end + rotate(chest.q, chest_offset);
}

Tqs place_effector(const LBXCharacter& character, const StateNode* nodes, const LBXPropertySet& properties, int effector)
{
    const EffectorRow& row = kEffectors[static_cast<size_t>(effector)];
    switch (row.kind)
    {
    case EffectorKind::Node:
    {
        const Tqs& node = nodes[slot_of(character, row.target)].global;
        return {node.t, node.q, splat(1.0f)};
    }
    case EffectorKind::Hips:
        return {hips_effector_point(character, nodes, hips_offset(properties)), nodes[slot_of(character, LBXNodeHips)].global.q,
                splat(1.0f)};
    case EffectorKind::ChestEnd:
        return {chest_end_point(character, nodes, chest_offset(properties)), nodes[chest_slot(character)].global.q, splat(1.0f)};
    default:
        return finger_effector(character, nodes, static_cast<int>(row.kind) - static_cast<int>(EffectorKind::LeftHandFinger), row.target);
    }
}

}  // namespace lbx

using namespace lbx;

void LBXEffectorSetFromState(const LBXCharacter* character, LBXEffectorSet* set, const LBXCharacterState* state,
                             const LBXPropertySet* properties)
{
    if (!character || !set || !state || !properties || state->slotCount != character->slotCount) return;
    const SolverFloatScope scope;
    const StateNode* nodes = state_nodes(*state);
    for (int effector = 0; effector < kEffectorCount; ++effector)
        set->targets[effector] = place_effector(*character, nodes, *properties, effector);
}
