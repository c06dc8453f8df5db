/* Read access to what characterization derived, for tests and tools. Same conventions as limbrex.h. */
#ifndef LIMBREX_DEBUG_H
#define LIMBREX_DEBUG_H

#include "limbrex/limbrex.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The node's built-in joint frame: pre- and post-rotation, rotation-order code, bounds in radians and flag word (bits 1 to 3 minimum x, y, z
 * active, 4 to 6 maximum, 7 pre-rotation and 8 post-rotation differ from identity). Outputs are four floats; any may be null. False, nothing
 * written, for an unused node. */
LBX_API bool LBXDebugGetNodeFrame(const LBXCharacter* character, int node, float* pre4, float* post4, int* order, float* min3, float* max3,
                                  uint32_t* flags);
/** The axis that the limb's middle joint bends about, in the stored frame of the middle joint's parent. Four floats. */
LBX_API void LBXDebugGetLimbBendAxis(const LBXCharacter* character, int limb, float* n3);
/** A rotation of the node's frame and order as joint angles in radians, and back: those of its limit record when it has one, else the built-in
 * ones. The rotation is the stored local one, in the stance. Four floats each; nothing is written for an unused node. */
LBX_API void LBXDebugAnglesFromRotation(const LBXCharacter* character, int node, const float* q4, float* angles3);
LBX_API void LBXDebugRotationFromAngles(const LBXCharacter* character, int node, const float* angles3, float* q4);
/** The stored global transform, relative to the stance. Four floats each. */
LBX_API void LBXDebugGetStoredNodeTQ(const LBXCharacter* character, const LBXCharacterState* state, int node, float* t4, float* q4);
/** Where the contact points of a floor contact (0 left hand, 1 right hand, 2 left foot, 3 right foot) stand on a pose, from the sizes and the contact
 * type of the property set: six points of four floats, solver frame. Returns how many of them are held above the floor, 6 or the first 4; 0, nothing
 * written, when the rig has no such hand or foot. */
LBX_API int LBXDebugGetContactPoints(const LBXCharacter* character, const LBXCharacterState* state, const LBXPropertySet* properties,
                                     int contact, float* points24);
/** Runs chosen stages of the full solve alone: bit k runs stage k + 1 (prepare, floor clamp, body, limbs, fingers, head, floor contact,
 * hips translation, roll extraction, post-process). The set's solving-step mask still applies. */
LBX_API void LBXDebugSolveStages(const LBXCharacter* character, LBXCharacterState* state, LBXEffectorSet* set,
                                 const LBXPropertySet* properties, uint32_t mask_of_stages);

#ifdef __cplusplus
}
#endif

#endif
