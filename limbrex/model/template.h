// The fixed skeleton template: vocabularies, effector rows and limb rows as constant data.
#pragma once

#include <array>
#include <cstdint>

#include "limbrex/limbrex.h"

namespace lbx
{

inline constexpr int kNodeCount = LBXLastNodeId;
inline constexpr int kEffectorCount = LBXLastEffectorId;
inline constexpr int kLimbCount = LBXLimbCount;
inline constexpr int kExtremityCount = 4;  // left hand, right hand, left foot, right foot
inline constexpr int kFingerCount = 6;     // thumb, index, middle, ring, pinky, extra
inline constexpr int kFingerJointCount = 4;
inline constexpr int kSegmentCount = 8;  // left up leg ... right forearm
inline constexpr int kLeafRollCount = 5;
inline constexpr int kFurtherSpineCount = 9;  // Spine1 to Spine9
inline constexpr int kFurtherNeckCount = 9;

constexpr bool is_node(int id) { return id >= 0 && id < kNodeCount; }
constexpr bool is_effector(int id) { return id >= 0 && id < kEffectorCount; }
constexpr bool is_limb(int id) { return id >= 0 && id < kLimbCount; }
constexpr bool is_leg(int limb) { return limb < LBXLimbLeftArm; }

constexpr int spine_node(int n) { return n == 0 ? LBXNodeSpine : LBXNodeSpine1 + n - 1; }  // 0: Spine, 1 to 9: Spine1 to Spine9
constexpr int neck_node(int n) { return n == 0 ? LBXNodeNeck : LBXNodeNeck1 + n - 1; }
constexpr int finger_node(int extremity, int finger, int joint) { return LBX_NODE_FINGER(extremity, finger, joint); }
constexpr int in_extremity_node(int extremity, int finger) { return LBX_NODE_IN_EXTREMITY(extremity, finger); }
constexpr int roll_node(int segment) { return LBX_NODE_ROLL(segment); }
constexpr int leaf_roll_node(int segment, int n) { return LBX_NODE_LEAF_ROLL(segment, n); }

// Where an effector stands.
enum class EffectorKind : int32_t
{
    Node = 0,      // on the node in target
    Hips = 1,      // midpoint of the up legs
    ChestEnd = 2,  // midpoint of the shoulders (arms)
    LeftHandFinger = 3,
    RightHandFinger = 4,
    LeftFootFinger = 5,
    RightFootFinger = 6
};
struct EffectorRow
{
    int32_t target;  // node id, or finger index for the finger kinds
    int32_t mirror;  // right twin of a left effector, else -1
    EffectorKind kind;
};
extern const std::array<EffectorRow, kEffectorCount> kEffectors;

// The nodes of a limb that every limb has a name for, its four effectors and the properties that steer it.
struct LimbRow
{
    int32_t upper, middle, end, extremity;                                                // node ids
    int32_t upperSegment, lowerSegment;                                                   // roll segments
    int32_t rootEffector, middleEffector, endEffector, extremityEffector;                 // effector ids
    int32_t killPitch, maximumExtension, maximumExtensionAngle, stretchReach, realistic;  // public property ids, realistic -1 for arms
    int32_t compression;                                                                  // public property id of the compression factor
    int32_t contact;                                                                      // extremity whose floor contact it uses
    uint32_t solveBit, stretchBit;                                                        // solving steps
};
inline constexpr std::array<LimbRow, kLimbCount> kLimbs = {{
    {LBXNodeLeftUpLeg, LBXNodeLeftLeg, LBXNodeLeftFoot, LBXNodeLeftToeBase, 0, 1, LBXEffectorLeftHip, LBXEffectorLeftKnee,
     LBXEffectorLeftAnkle, LBXEffectorLeftFoot, LBXPropertyLeftKneeKillPitch, LBXPropertyCtrlResistMaximumExtensionLeftKnee,
     LBXPropertyLeftLegMaxExtensionAngle, LBXPropertySnSReachLeftAnkle, LBXPropertyRealisticLeftKneeSolving,
     LBXPropertyCtrlResistCompressionFactorLeftKnee, 2, LBXSolvingStepLeftLeg, LBXSolvingStepLeftLegStretch},
    {LBXNodeRightUpLeg, LBXNodeRightLeg, LBXNodeRightFoot, LBXNodeRightToeBase, 2, 3, LBXEffectorRightHip, LBXEffectorRightKnee,
     LBXEffectorRightAnkle, LBXEffectorRightFoot, LBXPropertyRightKneeKillPitch, LBXPropertyCtrlResistMaximumExtensionRightKnee,
     LBXPropertyRightLegMaxExtensionAngle, LBXPropertySnSReachRightAnkle, LBXPropertyRealisticRightKneeSolving,
     LBXPropertyCtrlResistCompressionFactorRightKnee, 3, LBXSolvingStepRightLeg, LBXSolvingStepRightLegStretch},
    {LBXNodeLeftArm, LBXNodeLeftForeArm, LBXNodeLeftHand, LBXNodeLeftFingerBase, 4, 5, LBXEffectorLeftShoulder, LBXEffectorLeftElbow,
     LBXEffectorLeftWrist, LBXEffectorLeftHand, LBXPropertyLeftElbowKillPitch, LBXPropertyCtrlResistMaximumExtensionLeftElbow,
     LBXPropertyLeftArmMaxExtensionAngle, LBXPropertySnSReachLeftWrist, -1, LBXPropertyCtrlResistCompressionFactorLeftElbow, 0,
     LBXSolvingStepLeftArm, LBXSolvingStepLeftArmStretch},
    {LBXNodeRightArm, LBXNodeRightForeArm, LBXNodeRightHand, LBXNodeRightFingerBase, 6, 7, LBXEffectorRightShoulder, LBXEffectorRightElbow,
     LBXEffectorRightWrist, LBXEffectorRightHand, LBXPropertyRightElbowKillPitch, LBXPropertyCtrlResistMaximumExtensionRightElbow,
     LBXPropertyRightArmMaxExtensionAngle, LBXPropertySnSReachRightWrist, -1, LBXPropertyCtrlResistCompressionFactorRightElbow, 1,
     LBXSolvingStepRightArm, LBXSolvingStepRightArmStretch},
}};

// Node of each extremity and its base (fingers, toes), in extremity order.
struct ExtremityRow
{
    int32_t node, base;
};
inline constexpr std::array<ExtremityRow, kExtremityCount> kExtremities = {{
    {LBXNodeLeftHand, LBXNodeLeftFingerBase},
    {LBXNodeRightHand, LBXNodeRightFingerBase},
    {LBXNodeLeftFoot, LBXNodeLeftToeBase},
    {LBXNodeRightFoot, LBXNodeRightToeBase},
}};

// Upper and next joint of each roll segment.
struct SegmentRow
{
    int32_t node, next;
};
inline constexpr std::array<SegmentRow, kSegmentCount> kSegments = {{
    {LBXNodeLeftUpLeg, LBXNodeLeftLeg},
    {LBXNodeLeftLeg, LBXNodeLeftFoot},
    {LBXNodeRightUpLeg, LBXNodeRightLeg},
    {LBXNodeRightLeg, LBXNodeRightFoot},
    {LBXNodeLeftArm, LBXNodeLeftForeArm},
    {LBXNodeLeftForeArm, LBXNodeLeftHand},
    {LBXNodeRightArm, LBXNodeRightForeArm},
    {LBXNodeRightForeArm, LBXNodeRightHand},
}};

}  // namespace lbx
