// An effector's goal in the solver frame, as a constraint finds it and leaves it. Who changes one part writes the others back as they were.
#pragma once

#include "contexts/character_context.h"

struct EffectorGoal
{
    Vec4 translation;
    Quat rotation;  // relative to the stance
    Vec4 scale;
};

inline EffectorGoal read_goal(const CharacterContext& context, LBXEffectorId effector)
{
    EffectorGoal goal = {kZero4, kIdentityRotation, kOne4};
    LBXGetEffectorStateTQSfv(context.effectorSet, effector, &goal.translation.x, &goal.rotation.x, &goal.scale.x);
    return goal;
}

inline void write_goal(CharacterContext& context, LBXEffectorId effector, const EffectorGoal& goal)
{
    LBXSetEffectorStateTQSfv(context.effectorSet, effector, &goal.translation.x, &goal.rotation.x, &goal.scale.x);
}
