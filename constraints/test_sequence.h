// What the demonstration sequences have in common: hands and feet stay where they are, everything else is told to move about.
#pragma once

#include "constraints/effector_goal.h"
#include "constraints/turns.h"

constexpr Vec4 kAxisX = {1.0f, 0.0f, 0.0f, 0.0f};
constexpr Vec4 kAxisY = {0.0f, 1.0f, 0.0f, 0.0f};
constexpr Vec4 kAxisZ = {0.0f, 0.0f, 1.0f, 0.0f};

inline bool are_used(const CharacterContext& context, LBXNodeId a, LBXNodeId b)
{
    return LBXGetNodeFlags(context.character, a) != 0 && LBXGetNodeFlags(context.character, b) != 0;
}

inline void lock_pair(CharacterContext& context, LBXEffectorId right, LBXEffectorId left, float weight)
{
    write_weights(context, right, weight, weight, weight);
    write_weights(context, left, weight, weight, weight);
}

// Hands and feet where the rig has both finger bases and both toe bases, wrists and ankles otherwise.
inline void lock_extremities(CharacterContext& context, float weight)
{
    if (are_used(context, LBXNodeLeftFingerBase, LBXNodeRightFingerBase))
    {
        lock_pair(context, LBXEffectorRightHand, LBXEffectorLeftHand, weight);
    }
    else { lock_pair(context, LBXEffectorRightWrist, LBXEffectorLeftWrist, weight); }
    if (are_used(context, LBXNodeLeftToeBase, LBXNodeRightToeBase))
    {
        lock_pair(context, LBXEffectorRightFoot, LBXEffectorLeftFoot, weight);
    }
    else { lock_pair(context, LBXEffectorRightAnkle, LBXEffectorLeftAnkle, weight); }
}

// Between the wrists along the solver's x: the motions are as large as the character.
inline float wrist_spacing(const CharacterContext& context)
{
    return read_goal(context, LBXEffectorLeftWrist).translation.x - read_goal(context, LBXEffectorRightWrist).translation.x;
}

// Solver frame.
inline void move_goal(CharacterContext& context, LBXEffectorId effector, Vec4 offset)
{
    EffectorGoal goal = read_goal(context, effector);
    goal.translation = add3(goal.translation, offset);
    write_goal(context, effector, goal);
}

// About an axis of the effector's own.
inline void turn_goal(CharacterContext& context, LBXEffectorId effector, Vec4 axis, float angle_rad)
{
    EffectorGoal goal = read_goal(context, effector);
    goal.rotation = mul(goal.rotation, quat_from_axis_angle(axis, angle_rad));
    write_goal(context, effector, goal);
}
