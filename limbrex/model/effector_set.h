// The goals of one solve: 44 targets with their weights, floor planes, and the switches of the solve.
#pragma once

#include "limbrex/model/property_set.h"
#include "limbrex/model/state.h"

namespace lbx
{

// Lanes of an effector's weights.
enum WeightLane : int
{
    kReachT = 0,
    kReachR = 1,
    kPull = 2,
    kResist = 3
};
inline constexpr int kRollSnapshotCount = 56;  // 8 segment rows, then 6 levels of 8 roll nodes; Euler triples

}  // namespace lbx

struct alignas(16) LBXEffectorSet
{
    lbx::Tqs targets[lbx::kEffectorCount];   // rotation relative to the stance of the effector's node
    lbx::Vec4 weights[lbx::kEffectorCount];  // reach T, reach R, pull, resist
    lbx::Tqs floorContacts[lbx::kExtremityCount];
    lbx::Vec4 rollSnapshot[lbx::kRollSnapshotCount];
    uint32_t retargetFlag;  // 0 after a plain solve, 1 after a retarget
    uint32_t solvingStep;
    float bodyPull[2];            // left hand, right hand
    float sourceMeasurements[3];  // written by a retarget
    uint32_t unused;
};
static_assert(sizeof(LBXEffectorSet) == 3936, "size of an effector set");

namespace lbx
{

template <int Lane>
inline float weight_of(const LBXEffectorSet& set, int effector)
{
    return lane<Lane>(set.weights[effector]);
}

// Where the effector stands on the pose: the placement rule, on stored values. Scale one.
Tqs place_effector(const LBXCharacter& character, const StateNode* nodes, const LBXPropertySet& properties, int effector);
// The joint that a finger's effector turns with, of a finger of so many: the last that a hand can aim, the third, or the first of a short finger.
inline int turning_finger_joint(int joint_count) { return joint_count >= 3 ? 3 : 1; }
// The two body points on their own, for steps that need nothing else.
Vec4 hips_effector_point(const LBXCharacter& character, const StateNode* nodes, Vec4 hips_offset);
Vec4 chest_end_point(const LBXCharacter& character, const StateNode* nodes, Vec4 chest_offset);
inline Vec4 hips_offset(const LBXPropertySet& p)
{
    return vec4(value_of(p, record::HipsTOffsetX), value_of(p, record::HipsTOffsetY), value_of(p, record::HipsTOffsetZ));
}
inline Vec4 chest_offset(const LBXPropertySet& p)
{
    return vec4(value_of(p, record::ChestTOffsetX), value_of(p, record::ChestTOffsetY), value_of(p, record::ChestTOffsetZ));
}

}  // namespace lbx
