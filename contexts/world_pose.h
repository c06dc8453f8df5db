// Where a character's nodes and effectors are in the world, as the context's last evaluation has left them.
#pragma once

#include "contexts/character_context.h"
#include "contexts/solver_frame.h"

struct WorldPose
{
    Vec4 position;
    Quat rotation;
};

inline WorldPose pose_to_world(const CharacterContext& context, Vec4 translation_solver, Quat rotation_solver)
{
    return {solver_to_world(context, translation_solver), rotation_to_world(context, rotation_solver)};
}

// Of the pose before the constraints (context.preSolveState) or of the working pose (context.state).
inline WorldPose node_pose_world(const CharacterContext& context, const LBXCharacterState* state, LBXNodeId node)
{
    Vec4 translation = kZero4;
    Quat rotation = kIdentityRotation;
    LBXGetNodeStateTQfv(context.character, state, node, &translation.x, &rotation.x);
    return pose_to_world(context, translation, rotation);
}

// Of the effector's goal.
inline WorldPose effector_pose_world(const CharacterContext& context, LBXEffectorId effector)
{
    Vec4 translation = kZero4;
    Quat rotation = kIdentityRotation;
    LBXGetEffectorStateTQfv(context.effectorSet, effector, &translation.x, &rotation.x);
    return pose_to_world(context, translation, rotation);
}
