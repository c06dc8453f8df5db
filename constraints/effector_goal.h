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

// How far the effector reaches for its goal, by place and by turn, and how much it draws the body after it. Each is clamped to 0 to 1.
inline void write_weights(CharacterContext& context, LBXEffectorId effector, float reach_t, float reach_r, float pull)
{
    LBXSetEffectorReachT(context.effectorSet, effector, reach_t);
    LBXSetEffectorReachR(context.effectorSet, effector, reach_r);
    LBXSetEffectorPull(context.effectorSet, effector, pull);
}

// Every goal back on the working pose; weights and options stay.
inline void goals_from_pose(CharacterContext& context)
{
    LBXEffectorSetFromState(context.character, context.effectorSet, context.state, context.propertySet);
}

// After a solve in the middle of the stack: goals on the solved pose, no weights, every stage but the stretches.
inline void restart_goals(CharacterContext& context)
{
    LBXEffectorSetInit(context.effectorSet);
    goals_from_pose(context);
    LBXSetEffectorSetSolvingStep(context.effectorSet, LBXSolvingStepAllButStretch);
}
