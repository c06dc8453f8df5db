// The doors between a script's vectors, the world and a character's solver frame. No constraint swaps axes on its own.
#pragma once

#include "contexts/character_context.h"
#include "contexts/spatial.h"

// A vector in the unit's own axes (z up) in the solver's (y up).
inline Vec4 local_to_solver(Vec4 v_local) { return {v_local.x, v_local.z, -v_local.y, 0.0f}; }

inline Vec4 world_to_solver(const CharacterContext& context, Vec4 point_world)
{
    return rotate(context.inverseRootRotation, sub3(point_world, context.rootPosition));
}

inline Vec4 solver_to_world(const CharacterContext& context, Vec4 point_solver)
{
    return add3(rotate(context.rootRotation, point_solver), context.rootPosition);
}

inline Vec4 direction_to_solver(const CharacterContext& context, Vec4 direction_world)
{
    return rotate(context.inverseRootRotation, direction_world);
}

inline Quat rotation_to_solver(const CharacterContext& context, Quat rotation_world)
{
    return mul(context.inverseRootRotation, rotation_world);
}

inline Quat rotation_to_world(const CharacterContext& context, Quat rotation_solver) { return mul(context.rootRotation, rotation_solver); }
