// Read access to joint frames, bend axes and the angle conversions, for tests and tools.

#include "limbrex/limbrex_debug.h"

#include "limbrex/math/float_scope.h"
#include "limbrex/model/character.h"
#include "limbrex/model/transform_io.h"

namespace lbx
{
namespace
{

const JointFrame* find_frame(const LBXCharacter* character, int node)
{
    const int slot = character ? slot_of(*character, node) : -1;
    return slot >= 0 ? &node_records(*character)[slot].joint : nullptr;
}

// The solver limits a node through its limit record, so angles are those of the record when there is one.
const JointFrame* frame_in_use(const LBXCharacter* character, int node)
{
    const int slot = character ? slot_of(*character, node) : -1;
    const LimitRecord* limit = slot >= 0 ? limit_of_slot(*character, slot) : nullptr;
    return limit ? &limit->joint : find_frame(character, node);
}

}  // namespace
}  // namespace lbx

using namespace lbx;

bool LBXDebugGetNodeFrame(const LBXCharacter* character, int node, float* pre4, float* post4, int* order, float* min3, float* max3,
                          uint32_t* flags)
{
    const JointFrame* frame = find_frame(character, node);
    if (!frame) return false;
    if (pre4) write_four(pre4, frame->pre);
    if (post4) write_four(post4, frame->post);
    if (order) *order = frame->order;
    if (min3) write_four(min3, frame->minimum);
    if (max3) write_four(max3, frame->maximum);
    if (flags) *flags = frame->flags;
    return true;
}

void LBXDebugGetLimbBendAxis(const LBXCharacter* character, int limb, float* n3)
{
    if (character && is_limb(limb) && n3) write_four(n3, character->limbs[limb].bendAxis);
}

void LBXDebugAnglesFromRotation(const LBXCharacter* character, int node, const float* q4, float* angles3)
{
    const JointFrame* frame = frame_in_use(character, node);
    if (!frame || !q4 || !angles3) return;
    const SolverFloatScope scope;
    write_four(angles3, angles_from_rotation(*frame, read_four(q4)));
}

void LBXDebugRotationFromAngles(const LBXCharacter* character, int node, const float* angles3, float* q4)
{
    const JointFrame* frame = frame_in_use(character, node);
    if (!frame || !angles3 || !q4) return;
    const SolverFloatScope scope;
    write_four(q4, rotation_from_angles(*frame, read_three(angles3, 0.0f)));
}
