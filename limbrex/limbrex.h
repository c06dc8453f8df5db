/* Limbrex: whole-body inverse kinematics for characters, as a C interface.
 *
 * A rig is described once against a fixed template of body parts (LBXCharacter). Every frame a pose of that rig (LBXCharacterState)
 * and a set of goals (LBXEffectorSet) go into a solve, which changes the pose so that the goals are met as far as their weights and the
 * options (LBXPropertySet) ask.
 *
 * Conventions
 *   Frames      The solver frame has y up, the character facing +z and its left side on +x. Lengths are the rig's own unit.
 *   Vectors     `const float *` in, `float *` out. Translations and scales are read as x, y, z and written as four floats (w = 0 for a
 *               translation, 1 for a scale). Quaternions are x, y, z, w, unit length, Hamilton product. Angles are radians.
 *   Precision   ...fv operations take floats; ...dv operations take doubles, converted to float on the way in and back on the way out.
 *   Memory      Create operations ask the caller's allocation function for one block and return an object aligned to 16 bytes in it, or
 *               null when there is no memory; destroy operations give the block back. Objects hold no absolute pointers. Nothing else allocates.
 *   Threads     No locks, no shared state: one thread at a time on each object, different objects on any threads.
 *   Float mode  Operations that compute run with exceptions masked, round to nearest and flush to zero, and restore the caller's mode.
 *   Bad input   Ids out of range and null objects answer the neutral result that each operation names; nothing is written outside the
 *               object or the output arrays. Non-finite numbers are stored as given where an operation only stores, and never crash a solve.
 */
#ifndef LIMBREX_H
#define LIMBREX_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(LIMBREX_SHARED) && defined(__GNUC__)
#define LBX_API __attribute__((visibility("default")))
#else
#define LBX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ==== Nodes: the joints of the template ==========================================================================================
 *
 * 0 to 49 by name; 50 to 211 by formula over
 *   extremity: 0 left hand, 1 right hand, 2 left foot, 3 right foot
 *   finger:    0 thumb, 1 index, 2 middle, 3 ring, 4 pinky, 5 extra
 *   segment:   0 left up leg, 1 left leg, 2 right up leg, 3 right leg, 4 left arm, 5 left forearm, 6 right arm, 7 right forearm
 */
typedef int LBXNodeId;
enum
{
    LBXNodeReference = 0,
    LBXNodeHips = 1,
    LBXNodeLeftUpLeg = 2,
    LBXNodeLeftLeg = 3,
    LBXNodeLeftFoot = 4,
    LBXNodeRightUpLeg = 5,
    LBXNodeRightLeg = 6,
    LBXNodeRightFoot = 7,
    LBXNodeSpine = 8,
    LBXNodeLeftArm = 9,
    LBXNodeLeftForeArm = 10,
    LBXNodeLeftHand = 11,
    LBXNodeRightArm = 12,
    LBXNodeRightForeArm = 13,
    LBXNodeRightHand = 14,
    LBXNodeHead = 15,
    LBXNodeLeftToeBase = 16,
    LBXNodeRightToeBase = 17,
    LBXNodeLeftShoulder = 18,
    LBXNodeRightShoulder = 19,
    LBXNodeNeck = 20,
    LBXNodeLeftFingerBase = 21,
    LBXNodeRightFingerBase = 22,
    LBXNodeSpine1 = 23,
    LBXNodeSpine2 = 24,
    LBXNodeSpine3 = 25,
    LBXNodeSpine4 = 26,
    LBXNodeSpine5 = 27,
    LBXNodeSpine6 = 28,
    LBXNodeSpine7 = 29,
    LBXNodeSpine8 = 30,
    LBXNodeSpine9 = 31,
    LBXNodeNeck1 = 32,
    LBXNodeNeck2 = 33,
    LBXNodeNeck3 = 34,
    LBXNodeNeck4 = 35,
    LBXNodeNeck5 = 36,
    LBXNodeNeck6 = 37,
    LBXNodeNeck7 = 38,
    LBXNodeNeck8 = 39,
    LBXNodeNeck9 = 40,
    LBXNodeLeftUpLegRoll = 41,
    LBXNodeLeftLegRoll = 42,
    LBXNodeRightUpLegRoll = 43,
    LBXNodeRightLegRoll = 44,
    LBXNodeLeftArmRoll = 45,
    LBXNodeLeftForeArmRoll = 46,
    LBXNodeRightArmRoll = 47,
    LBXNodeRightForeArmRoll = 48,
    LBXNodeHipsTranslation = 49,
    LBXNodeFirstFinger = 50,
    LBXNodeFirstInExtremity = 146,
    LBXNodeLeftShoulderExtra = 170,
    LBXNodeRightShoulderExtra = 171,
    LBXNodeFirstLeafRoll = 172,
    LBXLastNodeId = 212 /* the count */
};
/* Finger joint 1 to 4, base to tip. */
#define LBX_NODE_FINGER(extremity, finger, joint) (LBXNodeFirstFinger + 24 * (extremity) + 4 * (finger) + (joint)-1)
/* The metacarpal or metatarsal joint in front of a finger. */
#define LBX_NODE_IN_EXTREMITY(extremity, finger) (LBXNodeFirstInExtremity + 6 * (extremity) + (finger))
/* Twist joint of a segment, and its leaf twist joints 1 to 5. */
#define LBX_NODE_ROLL(segment) (LBXNodeLeftUpLegRoll + (segment))
#define LBX_NODE_LEAF_ROLL(segment, n) (LBXNodeFirstLeafRoll + 8 * ((n)-1) + (segment))

/* ==== Effectors: the points that can be asked to reach, pull or resist =========================================================== */
typedef int LBXEffectorId;
enum
{
    LBXEffectorHips = 0,
    LBXEffectorLeftAnkle = 1,
    LBXEffectorRightAnkle = 2,
    LBXEffectorLeftWrist = 3,
    LBXEffectorRightWrist = 4,
    LBXEffectorLeftKnee = 5,
    LBXEffectorRightKnee = 6,
    LBXEffectorLeftElbow = 7,
    LBXEffectorRightElbow = 8,
    LBXEffectorChestOrigin = 9,
    LBXEffectorChestEnd = 10,
    LBXEffectorLeftFoot = 11,
    LBXEffectorRightFoot = 12,
    LBXEffectorLeftShoulder = 13,
    LBXEffectorRightShoulder = 14,
    LBXEffectorHead = 15,
    LBXEffectorLeftHip = 16,
    LBXEffectorRightHip = 17,
    LBXEffectorLeftHand = 18,
    LBXEffectorRightHand = 19,
    LBXEffectorLeftHandThumb = 20,
    LBXEffectorLeftHandIndex = 21,
    LBXEffectorLeftHandMiddle = 22,
    LBXEffectorLeftHandRing = 23,
    LBXEffectorLeftHandPinky = 24,
    LBXEffectorLeftHandExtraFinger = 25,
    LBXEffectorRightHandThumb = 26,
    LBXEffectorRightHandIndex = 27,
    LBXEffectorRightHandMiddle = 28,
    LBXEffectorRightHandRing = 29,
    LBXEffectorRightHandPinky = 30,
    LBXEffectorRightHandExtraFinger = 31,
    LBXEffectorLeftFootThumb = 32,
    LBXEffectorLeftFootIndex = 33,
    LBXEffectorLeftFootMiddle = 34,
    LBXEffectorLeftFootRing = 35,
    LBXEffectorLeftFootPinky = 36,
    LBXEffectorLeftFootExtraFinger = 37,
    LBXEffectorRightFootThumb = 38,
    LBXEffectorRightFootIndex = 39,
    LBXEffectorRightFootMiddle = 40,
    LBXEffectorRightFootRing = 41,
    LBXEffectorRightFootPinky = 42,
    LBXEffectorRightFootExtraFinger = 43,
    LBXLastEffectorId = 44 /* the count */
};

/* Limbs: 0 left leg, 1 right leg, 2 left arm, 3 right arm. */
enum
{
    LBXLimbLeftLeg = 0,
    LBXLimbRightLeg = 1,
    LBXLimbLeftArm = 2,
    LBXLimbRightArm = 3,
    LBXLimbCount = 4
};

/** First id whose name equals `name` byte for byte; -1 when none does or name is null. */
LBX_API int LBXGetNodeIdFromName(const char* name);
LBX_API int LBXGetEffectorIdFromName(const char* name);
/** The name of an id, a static string; null outside 0 to 211 (nodes) or 0 to 43 (effectors). */
LBX_API const char* LBXGetNodeNameFromId(int node);
LBX_API const char* LBXGetEffectorNameFromId(int effector);

/* ==== Memory ===================================================================================================================== */
typedef void* (*LBXAllocateFunction)(size_t size);
typedef void (*LBXFreeFunction)(void* block);

/* ==== Character: one rig ==========================================================================================================
 *
 * Create from a definition, set the stance of every used node, characterize once, then use read-only. The stance is the rig's reference
 * pose, a T: standing upright, facing +z, arms out to the sides, palms down, in global space.
 */
enum
{
    LBXNodeUsed = 1,
    LBXNodeHasParentOffset = 2,
    LBXNodeHasLimits = 4
};
/** Bits of LBXNodeUsed and so on for every node id. A node counts only when it is used. */
typedef struct LBXCharacterDefinition
{
    uint32_t nodeFlags[212];
} LBXCharacterDefinition;

typedef struct LBXCharacter LBXCharacter;

/** A character whose stance is still identity everywhere. Null when allocation fails or an argument is null. */
LBX_API LBXCharacter* LBXCharacterCreate(const LBXCharacterDefinition* definition, LBXAllocateFunction allocate);
/** Frees the block; every state made for the character becomes meaningless. Null is allowed. */
LBX_API void LBXCharacterDestroy(LBXCharacter* character, LBXFreeFunction free_function);
/** Bytes of the block. The block may be copied as bytes to any 16-byte aligned address and used there. */
LBX_API size_t LBXCharacterGetSize(const LBXCharacter* character);

/** The node's place in the stance, global space. t: 3 floats, q: 4, s: 3. An unused node is ignored (its spare entry is written). */
LBX_API void LBXSetCharacterizeNodeStateTQSfv(LBXCharacter* character, int node, const float* t, const float* q, const float* s);
LBX_API void LBXSetCharacterizeNodeStateTQSdv(LBXCharacter* character, int node, const double* t, const double* q, const double* s);
/** Reads it back: four floats each. */
LBX_API void LBXGetCharacterizeNodeStateTQSfv(const LBXCharacter* character, int node, float* t, float* q, float* s);
LBX_API void LBXGetCharacterizeNodeStateTQSdv(const LBXCharacter* character, int node, double* t, double* q, double* s);
/** Derives joint frames, default bounds and limb set-ups from the stance. Once per character. Always true for a character. */
LBX_API bool LBXCharacterize(LBXCharacter* character);

/** 0 for an unused node (Reference always at least 1); else 1, 3 with a parent offset, 7 with limits. */
LBX_API uint32_t LBXGetNodeFlags(const LBXCharacter* character, int node);
/** Template parent in this character; -1 for Reference, unlinked and unused nodes. */
LBX_API int LBXGetParentNodeId(const LBXCharacter* character, int node);
/** Number of children; 1 for Reference; 0 for an unused node. */
LBX_API int LBXGetChildNodeCount(const LBXCharacter* character, int node);
/** The k-th child; for Reference (k ignored) HipsTranslation when used, else Hips; -1 when there is no such child. */
LBX_API int LBXGetChildNodeId(const LBXCharacter* character, int node, int k);

/** The fixed transform between a node's template parent and its parent in the rig: host local = parent offset, then local. May change
 * every frame. Ignored, and outputs not written, for nodes without an entry. */
LBX_API void LBXSetParentOffsetTQSfv(LBXCharacter* character, int node, const float* t, const float* q, const float* s);
LBX_API void LBXSetParentOffsetTQSdv(LBXCharacter* character, int node, const double* t, const double* q, const double* s);
LBX_API void LBXGetParentOffsetTQSfv(const LBXCharacter* character, int node, float* t, float* q, float* s);
LBX_API void LBXGetParentOffsetTQSdv(const LBXCharacter* character, int node, double* t, double* q, double* s);

/** Turns a knee or elbow round: mirrored joint frames, bend axis negated. Setting the flag it has does nothing; toggling twice restores
 * every bit. Other limb numbers are ignored (false when read). */
LBX_API void LBXSetLimbInverted(LBXCharacter* character, int limb, bool inverted);
LBX_API bool LBXGetLimbInverted(const LBXCharacter* character, int limb);

/* Joint limits of nodes defined with LBXNodeHasLimits; ignored for others. Angles in radians about the axes of the joint frame
 * (pre-rotation, post-rotation, rotation order). Mask bits 0 to 2: minimum x, y, z active; 3 to 5: maximum x, y, z active. Set them before
 * characterization: it carries the frame into the stance. Rotation-order codes 0 to 12 (0 x first then y, z; 12 twist and swing); an odd code
 * means the even one below it; others are refused. A null array leaves its part of the record as it is. */
LBX_API void LBXSetNodeLimitsfv(LBXCharacter* character, int node, const float* min3, const float* max3, const float* pre4,
                                const float* post4, uint32_t mask);
LBX_API void LBXSetNodeLimitsdv(LBXCharacter* character, int node, const double* min3, const double* max3, const double* pre4,
                                const double* post4, uint32_t mask);
LBX_API void LBXSetNodeLimitsMinfv(LBXCharacter* character, int node, const float* min3, uint32_t mask);
LBX_API void LBXSetNodeLimitsMindv(LBXCharacter* character, int node, const double* min3, uint32_t mask);
LBX_API void LBXSetNodeLimitsMaxfv(LBXCharacter* character, int node, const float* max3, uint32_t mask);
LBX_API void LBXSetNodeLimitsMaxdv(LBXCharacter* character, int node, const double* max3, uint32_t mask);
LBX_API void LBXSetNodeLimitsPreRotationfv(LBXCharacter* character, int node, const float* q4);
LBX_API void LBXSetNodeLimitsPreRotationdv(LBXCharacter* character, int node, const double* q4);
LBX_API void LBXSetNodeLimitsPostRotationfv(LBXCharacter* character, int node, const float* q4);
LBX_API void LBXSetNodeLimitsPostRotationdv(LBXCharacter* character, int node, const double* q4);
LBX_API void LBXSetNodeRotationOrder(LBXCharacter* character, int node, int code);
/** Holds the length of the node's local translation between the two factors times its length in the stance. */
LBX_API void LBXSetNodeTranslationLimit(LBXCharacter* character, int node, float minFactor, float maxFactor, bool on);
/** Reads limits back as they were set (the stance taken off again). Outputs are four floats; the activity bits are OR-ed into *mask. Any
 * output may be null. Nothing is written for a node without limits. */
LBX_API void LBXGetNodeLimits(const LBXCharacter* character, int node, float* min3, float* max3, float* pre4, float* post4, uint32_t* mask,
                              int* order);
LBX_API void LBXGetNodeLimitsdv(const LBXCharacter* character, int node, double* min3, double* max3, double* pre4, double* post4,
                                uint32_t* mask, int* order);

/* ==== State: one pose of one character ============================================================================================ */
typedef struct LBXCharacterState LBXCharacterState;

/** How bulk operations find transforms in the caller's array of records. */
typedef struct LBXDataDescription
{
    int32_t space;                              /* 0 global, 1 local: relative to the rig's parent joint, parent offsets included */
    uint32_t offsetT, offsetQ, offsetS, stride; /* bytes */
    const int32_t* nodeIds;                     /* one a record, see below; null: one record a used node */
} LBXDataDescription;
/* Lists: -2 ends a list; -1, like every id outside 0 to 211, skips its record; a node that the rig lacks reads and writes the spare entry of
 * the state; of a node listed twice the last record counts. Without a list the records are as many as there are used nodes (Reference first when
 * it is used, none for it otherwise), in the character's own order: parents before children, the children of a node one after the other in the
 * order of LBXGetChildNodeId. Offsets need no alignment. Setters read three floats at offsetT and offsetS and four at offsetQ; the getter writes
 * four at each. A space other than 0 and 1 does nothing. */

LBX_API LBXCharacterState* LBXCharacterStateCreate(const LBXCharacter* character, LBXAllocateFunction allocate);
/** Builds a state in caller memory of LBXCharacterStateGetSize bytes; null, nothing written, when memory is null or not 16-byte aligned. */
LBX_API LBXCharacterState* LBXCharacterStateInit(const LBXCharacter* character, void* memory);
LBX_API void LBXCharacterStateDestroy(LBXCharacterState* state, LBXFreeFunction free_function);
LBX_API size_t LBXCharacterStateGetSize(const LBXCharacter* character);
LBX_API size_t LBXCharacterStateGetSizeFromDefinition(const LBXCharacterDefinition* definition);
LBX_API size_t LBXCharacterStateGetSizeFromState(const LBXCharacterState* state);

/** One node's global transform. Outputs are four floats. An unused node reads and writes a spare entry that no node uses. */
LBX_API void LBXGetNodeStateTQSfv(const LBXCharacter* character, const LBXCharacterState* state, int node, float* t, float* q, float* s);
LBX_API void LBXGetNodeStateTQSdv(const LBXCharacter* character, const LBXCharacterState* state, int node, double* t, double* q, double* s);
LBX_API void LBXGetNodeStateTQfv(const LBXCharacter* character, const LBXCharacterState* state, int node, float* t, float* q);
LBX_API void LBXGetNodeStateTQdv(const LBXCharacter* character, const LBXCharacterState* state, int node, double* t, double* q);
LBX_API void LBXSetNodeStateTQSfv(const LBXCharacter* character, LBXCharacterState* state, int node, const float* t, const float* q,
                                  const float* s);
LBX_API void LBXSetNodeStateTQSdv(const LBXCharacter* character, LBXCharacterState* state, int node, const double* t, const double* q,
                                  const double* s);
/** As above with scale one. */
LBX_API void LBXSetNodeStateTQfv(const LBXCharacter* character, LBXCharacterState* state, int node, const float* t, const float* q);
LBX_API void LBXSetNodeStateTQdv(const LBXCharacter* character, LBXCharacterState* state, int node, const double* t, const double* q);
/** The same into or out of one buffer of floats at byte offsets (only offsetT, offsetQ and offsetS of the description are read). */
LBX_API void LBXGetNodeStateTQSBuffer(const LBXCharacter* character, const LBXCharacterState* state, int node,
                                      const LBXDataDescription* description, void* buffer);
LBX_API void LBXSetNodeStateTQSBuffer(const LBXCharacter* character, LBXCharacterState* state, int node,
                                      const LBXDataDescription* description, const void* buffer);

/** All listed nodes at once. Local space goes through the parent offsets; afterwards every node's global and local agree, listed or not. */
LBX_API void LBXSetCharacterStateTransformTQS(const LBXCharacter* character, LBXCharacterState* state,
                                              const LBXDataDescription* description, const void* buffer);
LBX_API void LBXSetCharacterStateTransformTQ(const LBXCharacter* character, LBXCharacterState* state, const LBXDataDescription* description,
                                             const void* buffer);
/** From one 4 x 4 row-major matrix a record at offsetT: rows 0 to 2 the axes (their lengths the scale), row 3 the translation. */
LBX_API void LBXSetCharacterStateTransformMatrix(const LBXCharacter* character, LBXCharacterState* state,
                                                 const LBXDataDescription* description, const void* buffer);
/** Reads all listed nodes; T, Q and S are four floats each in the record. The state's cache of locals may be refreshed, its pose is not changed. */
LBX_API void LBXGetCharacterStateTransformTQS(const LBXCharacter* character, LBXCharacterState* state,
                                              const LBXDataDescription* description, void* buffer);
/** Copies the pose; both states must belong to the same character (nothing happens when their sizes differ). */
LBX_API void LBXCharacterStateCopy(LBXCharacterState* destination, const LBXCharacterState* source);
/** Writes the stance into a state. */
LBX_API void LBXGetCharacterizeState(const LBXCharacter* character, LBXCharacterState* state);

/* ==== Properties: solver options ================================================================================================== */
typedef struct LBXPropertySet LBXPropertySet;
typedef int LBXPropertyId;
enum
{
    LBXPropertyForceActorSpace = 0,
    LBXPropertyScaleCompensation = 1,
    LBXPropertyMassCenterCompensation = 2,
    LBXPropertyAnkleHeightCompensation = 3,
    LBXPropertyAnkleProximityCompensation = 4,
    LBXPropertyHipsHeightCompensation = 5,
    LBXPropertyReachActorLeftAnkle = 6,
    LBXPropertyReachActorRightAnkle = 7,
    LBXPropertyReachActorChest = 8,
    LBXPropertyReachActorLeftWrist = 9,
    LBXPropertyReachActorRightWrist = 10,
    LBXPropertyReachActorLeftKnee = 11,
    LBXPropertyReachActorRightKnee = 12,
    LBXPropertyReachActorHead = 13,
    LBXPropertyReachActorLeftElbow = 14,
    LBXPropertyReachActorRightElbow = 15,
    LBXPropertyReachActorLeftAnkleRotationRotation = 16,
    LBXPropertyReachActorRightAnkleRotation = 17,
    LBXPropertyReachActorHeadRotation = 18,
    LBXPropertyReachActorLeftWristRotation = 19,
    LBXPropertyReachActorRightWristRotation = 20,
    LBXPropertyReachActorLeftFingerBase = 21,
    LBXPropertyReachActorRightFingerBase = 22,
    LBXPropertyReachActorLeftToesBase = 23,
    LBXPropertyReachActorRightToesBase = 24,
    LBXPropertyReachActorLeftFingerBaseRotation = 25,
    LBXPropertyReachActorRightFingerBaseRotation = 26,
    LBXPropertyReachActorLeftToesBaseRotation = 27,
    LBXPropertyReachActorRightToesBaseRotation = 28,
    LBXPropertyReachActorChestRotation = 29,
    LBXPropertyReachActorLowerChestRotation = 30,
    LBXPropertyReachActorLeftHandThumb = 31,
    LBXPropertyReachActorLeftHandIndex = 32,
    LBXPropertyReachActorLeftHandMiddle = 33,
    LBXPropertyReachActorLeftHandRing = 34,
    LBXPropertyReachActorLeftHandPinky = 35,
    LBXPropertyReachActorLeftHandExtraFinger = 36,
    LBXPropertyReachActorRightHandThumb = 37,
    LBXPropertyReachActorRightHandIndex = 38,
    LBXPropertyReachActorRightHandMiddle = 39,
    LBXPropertyReachActorRightHandRing = 40,
    LBXPropertyReachActorRightHandPinky = 41,
    LBXPropertyReachActorRightHandExtraFinger = 42,
    LBXPropertyReachActorLeftFootThumb = 43,
    LBXPropertyReachActorLeftFootIndex = 44,
    LBXPropertyReachActorLeftFootMiddle = 45,
    LBXPropertyReachActorLeftFootRing = 46,
    LBXPropertyReachActorLeftFootPinky = 47,
    LBXPropertyReachActorLeftFootExtraFinger = 48,
    LBXPropertyReachActorRightFootThumb = 49,
    LBXPropertyReachActorRightFootIndex = 50,
    LBXPropertyReachActorRightFootMiddle = 51,
    LBXPropertyReachActorRightFootRing = 52,
    LBXPropertyReachActorRightFootPinky = 53,
    LBXPropertyReachActorRightFootExtraFinger = 54,
    LBXPropertyFloorContact = 55,
    LBXPropertyFootBottomToAnkle = 56,
    LBXPropertyFootBackToAnkle = 57,
    LBXPropertyFootMiddleToAnkle = 58,
    LBXPropertyFootFrontToMiddle = 59,
    LBXPropertyFootInToAnkle = 60,
    LBXPropertyFootOutToAnkle = 61,
    LBXPropertyHandFloorContact = 62,
    LBXPropertyHandBottomToWrist = 63,
    LBXPropertyHandBackToWrist = 64,
    LBXPropertyHandMiddleToWrist = 65,
    LBXPropertyHandFrontToMiddle = 66,
    LBXPropertyHandInToWrist = 67,
    LBXPropertyHandOutToWrist = 68,
    LBXPropertyHandContactType = 69,
    LBXPropertyHandFingerContact = 70,
    LBXPropertyHandFingerContactMode = 71,
    LBXPropertyFootContactType = 72,
    LBXPropertyFootFingerContact = 73,
    LBXPropertyFootFingerContactMode = 74,
    LBXPropertyLeftUpLegRoll = 75,
    LBXPropertyLeftLegRoll = 76,
    LBXPropertyRightUpLegRoll = 77,
    LBXPropertyRightLegRoll = 78,
    LBXPropertyLeftArmRoll = 79,
    LBXPropertyLeftForeArmRoll = 80,
    LBXPropertyRightArmRoll = 81,
    LBXPropertyRightForeArmRoll = 82,
    LBXPropertyMirror = 83,
    LBXPropertyLeftKneeKillPitch = 84,
    LBXPropertyRightKneeKillPitch = 85,
    LBXPropertyLeftElbowKillPitch = 86,
    LBXPropertyRightElbowKillPitch = 87,
    LBXPropertyCtrlPullLeftFoot = 88,
    LBXPropertyCtrlPullRightFoot = 89,
    LBXPropertyCtrlPullLeftHand = 90,
    LBXPropertyCtrlPullRightHand = 91,
    LBXPropertyCtrlPullHead = 92,
    LBXPropertyCtrlPullLeftToeBase = 93,
    LBXPropertyCtrlPullLeftKnee = 94,
    LBXPropertyCtrlPullRightToeBase = 95,
    LBXPropertyCtrlPullRightKnee = 96,
    LBXPropertyCtrlPullLeftFingerBase = 97,
    LBXPropertyCtrlPullLeftElbow = 98,
    LBXPropertyCtrlPullRightFingerBase = 99,
    LBXPropertyCtrlPullRightElbow = 100,
    LBXPropertyCtrlChestPullLeftHand = 101,
    LBXPropertyCtrlChestPullRightHand = 102,
    LBXPropertyCtrlResistHipsPosition = 103,
    LBXPropertyCtrlEnforceGravity = 104,
    LBXPropertyCtrlResistHipsOrientation = 105,
    LBXPropertyCtrlResistChestPosition = 106,
    LBXPropertyCtrlResistChestOrientation = 107,
    LBXPropertyCtrlResistLeftCollar = 108,
    LBXPropertyCtrlResistRightCollar = 109,
    LBXPropertyCtrlResistLeftKnee = 110,
    LBXPropertyCtrlResistRightKnee = 111,
    LBXPropertyCtrlResistLeftElbow = 112,
    LBXPropertyCtrlResistRightElbow = 113,
    LBXPropertyParamCtrlSpineStiffness = 114,
    LBXPropertyHipsTOffsetX = 115,
    LBXPropertyHipsTOffsetY = 116,
    LBXPropertyHipsTOffsetZ = 117,
    LBXPropertyChestTOffsetX = 118,
    LBXPropertyChestTOffsetY = 119,
    LBXPropertyChestTOffsetZ = 120,
    LBXPropertyAutomaticToes = 121,
    LBXPropertyFloorPivot = 122,
    LBXPropertyPosture = 123,
    LBXPropertyAutomaticFingers = 124,
    LBXPropertyHandFloorPivot = 125,
    LBXPropertyParamCtrlNeckStiffness = 126,
    LBXPropertyHipsTranslationMode = 127,
    LBXPropertyFingerSolving = 128,
    LBXPropertyParamFootContactStiffness = 129,
    LBXPropertyCtrlResistMaximumExtensionLeftKnee = 130,
    LBXPropertyCtrlResistMaximumExtensionRightKnee = 131,
    LBXPropertyCtrlResistMaximumExtensionLeftElbow = 132,
    LBXPropertyCtrlResistMaximumExtensionRightElbow = 133,
    LBXPropertyCtrlResistCompressionFactorLeftKnee = 134,
    LBXPropertyCtrlResistCompressionFactorRightKnee = 135,
    LBXPropertyCtrlResistCompressionFactorLeftElbow = 136,
    LBXPropertyCtrlResistCompressionFactorRightElbow = 137,
    LBXPropertyParamHandFingerContactRollStiffness = 138,
    LBXPropertyParamFootFingerContactRollStiffness = 139,
    LBXPropertyParamHandContactStiffness = 140,
    LBXPropertyRollExtractionMode = 141,
    LBXPropertyPullIterationCount = 142,
    LBXPropertyLeftHandThumbTip = 143,
    LBXPropertyLeftHandIndexTip = 144,
    LBXPropertyLeftHandMiddleTip = 145,
    LBXPropertyLeftHandRingTip = 146,
    LBXPropertyLeftHandPinkyTip = 147,
    LBXPropertyLeftHandExtraFingerTip = 148,
    LBXPropertyRightHandThumbTip = 149,
    LBXPropertyRightHandIndexTip = 150,
    LBXPropertyRightHandMiddleTip = 151,
    LBXPropertyRightHandRingTip = 152,
    LBXPropertyRightHandPinkyTip = 153,
    LBXPropertyRightHandExtraFingerTip = 154,
    LBXPropertyLeftFootThumbTip = 155,
    LBXPropertyLeftFootIndexTip = 156,
    LBXPropertyLeftFootMiddleTip = 157,
    LBXPropertyLeftFootRingTip = 158,
    LBXPropertyLeftFootPinkyTip = 159,
    LBXPropertyLeftFootExtraFingerTip = 160,
    LBXPropertyRightFootThumbTip = 161,
    LBXPropertyRightFootIndexTip = 162,
    LBXPropertyRightFootMiddleTip = 163,
    LBXPropertyRightFootRingTip = 164,
    LBXPropertyRightFootPinkyTip = 165,
    LBXPropertyRightFootExtraFingerTip = 166,
    LBXPropertyShoulderCorrection = 167,
    LBXPropertyLeftLegMaxExtensionAngle = 168,
    LBXPropertyRightLegMaxExtensionAngle = 169,
    LBXPropertyLeftArmMaxExtensionAngle = 170,
    LBXPropertyRightArmMaxExtensionAngle = 171,
    LBXPropertyExtraCollarRatio = 172,
    LBXPropertyCollarStiffnessX = 173,
    LBXPropertyCollarStiffnessY = 174,
    LBXPropertyCollarStiffnessZ = 175,
    LBXPropertyReachActorLeftShoulder = 176,
    LBXPropertyReachActorRightShoulder = 177,
    LBXPropertyFingerPropagation = 178,
    LBXPropertyRealisticLeftKneeSolving = 179,
    LBXPropertyRealisticRightKneeSolving = 180,
    LBXPropertyStretchStartArmsAndLegs = 181,
    LBXPropertyStretchStopArmsAndLegs = 182,
    LBXPropertySnSScaleArmsAndLegs = 183,
    LBXPropertySnSReachLeftWrist = 184,
    LBXPropertySnSReachRightWrist = 185,
    LBXPropertySnSReachLeftAnkle = 186,
    LBXPropertySnSReachRightAnkle = 187,
    LBXPropertySnSScaleSpine = 188,
    LBXPropertySnSScaleSpineChildren = 189,
    LBXPropertySnSReachChestEnd = 190,
    LBXPropertySnSScaleNeck = 191,
    LBXPropertySnSReachHead = 192,
    LBXPropertyLeftUpLegRollEx = 193,
    LBXPropertyLeftLegRollEx = 194,
    LBXPropertyRightUpLegRollEx = 195,
    LBXPropertyRightLegRollEx = 196,
    LBXPropertyLeftArmRollEx = 197,
    LBXPropertyLeftForeArmRollEx = 198,
    LBXPropertyRightArmRollEx = 199,
    LBXPropertyRightForeArmRollEx = 200,
    LBXPropertyTopSpineCorrection = 201,
    LBXPropertyLowerSpineCorrection = 202,
    LBXPropertySnSSmoothReach = 203,
    LBXPropertyLockX = 204,
    LBXPropertyLockY = 205,
    LBXPropertyLockZ = 206,
    LBXPropertyParamRealisticArmSolving = 207,
    LBXPropertyParamLeafLeftUpLegRoll1 = 208,
    LBXPropertyParamLeafLeftLegRoll1 = 209,
    LBXPropertyParamLeafRightUpLegRoll1 = 210,
    LBXPropertyParamLeafRightLegRoll1 = 211,
    LBXPropertyParamLeafLeftArmRoll1 = 212,
    LBXPropertyParamLeafLeftForeArmRoll1 = 213,
    LBXPropertyParamLeafRightArmRoll1 = 214,
    LBXPropertyParamLeafRightForeArmRoll1 = 215,
    LBXPropertyParamLeafLeftUpLegRoll2 = 216,
    LBXPropertyParamLeafLeftLegRoll2 = 217,
    LBXPropertyParamLeafRightUpLegRoll2 = 218,
    LBXPropertyParamLeafRightLegRoll2 = 219,
    LBXPropertyParamLeafLeftArmRoll2 = 220,
    LBXPropertyParamLeafLeftForeArmRoll2 = 221,
    LBXPropertyParamLeafRightArmRoll2 = 222,
    LBXPropertyParamLeafRightForeArmRoll2 = 223,
    LBXPropertyParamLeafLeftUpLegRoll3 = 224,
    LBXPropertyParamLeafLeftLegRoll3 = 225,
    LBXPropertyParamLeafRightUpLegRoll3 = 226,
    LBXPropertyParamLeafRightLegRoll3 = 227,
    LBXPropertyParamLeafLeftArmRoll3 = 228,
    LBXPropertyParamLeafLeftForeArmRoll3 = 229,
    LBXPropertyParamLeafRightArmRoll3 = 230,
    LBXPropertyParamLeafRightForeArmRoll3 = 231,
    LBXPropertyParamLeafLeftUpLegRoll4 = 232,
    LBXPropertyParamLeafLeftLegRoll4 = 233,
    LBXPropertyParamLeafRightUpLegRoll4 = 234,
    LBXPropertyParamLeafRightLegRoll4 = 235,
    LBXPropertyParamLeafLeftArmRoll4 = 236,
    LBXPropertyParamLeafLeftForeArmRoll4 = 237,
    LBXPropertyParamLeafRightArmRoll4 = 238,
    LBXPropertyParamLeafRightForeArmRoll4 = 239,
    LBXPropertyParamLeafLeftUpLegRoll5 = 240,
    LBXPropertyParamLeafLeftLegRoll5 = 241,
    LBXPropertyParamLeafRightUpLegRoll5 = 242,
    LBXPropertyParamLeafRightLegRoll5 = 243,
    LBXPropertyParamLeafLeftArmRoll5 = 244,
    LBXPropertyParamLeafLeftForeArmRoll5 = 245,
    LBXPropertyParamLeafRightArmRoll5 = 246,
    LBXPropertyParamLeafRightForeArmRoll5 = 247,
    LBXPropertyLeftLegFullRollExtraction = 248,
    LBXPropertyRightLegFullRollExtraction = 249,
    LBXPropertyLeftArmFullRollExtraction = 250,
    LBXPropertyRightArmFullRollExtraction = 251,
    LBXLastPropertyId = 252 /* the count */
};

LBX_API LBXPropertySet* LBXPropertySetCreate(LBXAllocateFunction allocate);
/** Every property back to its default; returns the set (null stays null). */
LBX_API LBXPropertySet* LBXPropertySetInit(LBXPropertySet* set);
LBX_API void LBXPropertySetDestroy(LBXPropertySet* set, LBXFreeFunction free_function);
LBX_API size_t LBXPropertySetGetSize(void);
/** Stores a mode as given; ids outside 0 to 251 are ignored. */
LBX_API void LBXPropertySetMode(LBXPropertySet* set, int id, int mode);
/** Stores a value; fractions (value kind 1) are clamped to 0..1, NaN becoming 0. Ids outside 0 to 251 are ignored. */
LBX_API void LBXPropertySetValue(LBXPropertySet* set, int id, float value);
/** Neutral answers outside 0 to 251: 0, 0.0, false, null, default mode -1. */
LBX_API int LBXPropertyGetMode(const LBXPropertySet* set, int id);
LBX_API float LBXPropertyGetValue(const LBXPropertySet* set, int id);
LBX_API bool LBXPropertyIsEnabled(const LBXPropertySet* set, int id);
LBX_API bool LBXPropertyIsAuto(const LBXPropertySet* set, int id);
LBX_API int LBXPropertyGetIdFromName(const char* name);
LBX_API const char* LBXPropertyGetNameFromId(int id);
LBX_API float LBXPropertyGetMin(int id);
LBX_API float LBXPropertyGetMax(int id);
LBX_API int LBXPropertyGetDefaultMode(int id);
LBX_API int LBXPropertyGetModeKind(int id);
LBX_API int LBXPropertyGetValueKind(int id);
LBX_API bool LBXPropertyGetDescriptionFlag(int id);
LBX_API const char* LBXPropertyGetModeName(int id, int mode);
LBX_API const char* LBXPropertyGetValueName(int id, int value);

/* ==== Effector set: the goals of one solve ======================================================================================== */
typedef struct LBXEffectorSet LBXEffectorSet;

/* Solving steps: a cleared bit skips its part of a solve. */
enum
{
    LBXSolvingStepBodyPull = 0x1,
    LBXSolvingStepFloorContact = 0x2,
    LBXSolvingStepFloorClamp = 0x4,
    LBXSolvingStepLeftShoulder = 0x8,
    LBXSolvingStepRightShoulder = 0x10,
    LBXSolvingStepLeftArm = 0x20,
    LBXSolvingStepRightArm = 0x40,
    LBXSolvingStepLeftLeg = 0x80,
    LBXSolvingStepRightLeg = 0x100,
    LBXSolvingStepLeftHandFingers = 0x200,
    LBXSolvingStepRightHandFingers = 0x400,
    LBXSolvingStepLeftFootToes = 0x800,
    LBXSolvingStepRightFootToes = 0x1000,
    LBXSolvingStepHead = 0x2000,
    LBXSolvingStepSpine = 0x4000,
    LBXSolvingStepHipsTranslation = 0x8000,
    LBXSolvingStepRollExtraction = 0x10000,
    LBXSolvingStepLeftArmStretch = 0x20000,
    LBXSolvingStepRightArmStretch = 0x40000,
    LBXSolvingStepLeftLegStretch = 0x80000,
    LBXSolvingStepRightLegStretch = 0x100000,
    LBXSolvingStepPostProcess = 0x200000,
    LBXSolvingStepAllButStretch = 0x21FFFF
};

LBX_API LBXEffectorSet* LBXEffectorSetCreate(LBXAllocateFunction allocate);
/** Targets at the origin, all weights 0, all solving steps on; returns the set (null stays null). */
LBX_API LBXEffectorSet* LBXEffectorSetInit(LBXEffectorSet* set);
LBX_API void LBXEffectorSetDestroy(LBXEffectorSet* set, LBXFreeFunction free_function);
LBX_API size_t LBXEffectorSetGetSize(void);
/** Places every effector on the pose. Weights are not touched. */
LBX_API void LBXEffectorSetFromState(const LBXCharacter* character, LBXEffectorSet* set, const LBXCharacterState* state,
                                     const LBXPropertySet* properties);

/** Targets: global translation; rotation relative to the stance of the node the effector stands on (identity = turned as in the stance). Ids
 * outside 0 to 43 write nothing. */
LBX_API void LBXGetEffectorStateTQSfv(const LBXEffectorSet* set, int effector, float* t, float* q, float* s);
LBX_API void LBXGetEffectorStateTQSdv(const LBXEffectorSet* set, int effector, double* t, double* q, double* s);
LBX_API void LBXGetEffectorStateTQfv(const LBXEffectorSet* set, int effector, float* t, float* q);
LBX_API void LBXSetEffectorStateTQSfv(LBXEffectorSet* set, int effector, const float* t, const float* q, const float* s);
LBX_API void LBXSetEffectorStateTQSdv(LBXEffectorSet* set, int effector, const double* t, const double* q, const double* s);
/** Weights, 0 to 1; values outside are clamped and NaN is stored as 0. Ids outside 0 to 43 are ignored, and read as 0. */
LBX_API void LBXSetEffectorReachT(LBXEffectorSet* set, int effector, float weight);
LBX_API void LBXSetEffectorReachR(LBXEffectorSet* set, int effector, float weight);
LBX_API void LBXSetEffectorPull(LBXEffectorSet* set, int effector, float weight);
LBX_API void LBXSetEffectorResist(LBXEffectorSet* set, int effector, float weight);
LBX_API float LBXGetEffectorReachT(const LBXEffectorSet* set, int effector);
LBX_API float LBXGetEffectorReachR(const LBXEffectorSet* set, int effector);
LBX_API float LBXGetEffectorPull(const LBXEffectorSet* set, int effector);
LBX_API float LBXGetEffectorResist(const LBXEffectorSet* set, int effector);

typedef struct LBXEffectorDataDescription
{
    uint32_t offsetT, offsetQ, offsetS, offsetWeights, stride; /* bytes; weights: reach T, reach R, pull, resist */
    const int32_t* effectorIds;                                /* -1 skips a record, -2 ends; null: effectors 0 to 43 */
} LBXEffectorDataDescription;
LBX_API void LBXGetEffectorSetTransformTQS(const LBXEffectorSet* set, const LBXEffectorDataDescription* description, void* buffer);
/** One effector's T, Q and S into or out of a buffer at the description's byte offsets. */
LBX_API void LBXGetEffectorStateTQSBuffer(const LBXEffectorSet* set, int effector, const LBXEffectorDataDescription* description,
                                          void* buffer);
LBX_API void LBXSetEffectorStateTQSBuffer(LBXEffectorSet* set, int effector, const LBXEffectorDataDescription* description,
                                          const void* buffer);

/** Floor planes: contact 0 left hand, 1 right hand, 2 left foot, 3 right foot; the plane's up axis is the y axis of q. Others are ignored. */
LBX_API void LBXSetEffectorFloorContactTQfv(LBXEffectorSet* set, int contact, const float* t, const float* q);
LBX_API void LBXGetEffectorFloorContactTQfv(const LBXEffectorSet* set, int contact, float* t, float* q);
/** 16 floats, row-major: rows 0 to 2 the plane's axes times its scale, row 3 the translation. */
LBX_API void LBXGetEffectorFloorContactMatrixfv(const LBXEffectorSet* set, int contact, float* m16);

LBX_API void LBXSetEffectorSetSolvingStep(LBXEffectorSet* set, uint32_t mask);
LBX_API uint32_t LBXGetEffectorSetSolvingStep(const LBXEffectorSet* set);
/** How much a hand may move the hips: selector 1 the left hand, any other the right hand. Clamped to 0..1. */
LBX_API void LBXSetEffectorSetBodyPull(LBXEffectorSet* set, int selector, float weight);
LBX_API float LBXGetEffectorSetBodyPull(const LBXEffectorSet* set, int selector);

/* ==== Solving ===================================================================================================================== */

/** Moves the pose in `state` toward the goals of `set`. Cannot fail; any null argument makes it do nothing. Under the Mirror property the
 * set's targets and weights are left mirrored. The low-definition variant is a few times cheaper: hips, spine, limbs and head without body
 * rotation by pull, joint limits, fingers or rolls. */
LBX_API void LBXSolveForEffectorSet(const LBXCharacter* character, LBXCharacterState* state, LBXEffectorSet* set,
                                    const LBXPropertySet* properties);
LBX_API void LBXSolveForEffectorSetLowDefinition(const LBXCharacter* character, LBXCharacterState* state, LBXEffectorSet* set,
                                                 const LBXPropertySet* properties);

#ifdef __cplusplus
}
#endif

#endif
