#include "constraints/offset_constraints.h"

#include <cmath>
#include <cstdio>

#include "constraints/effector_goal.h"
#include "constraints/push_constraint.h"
#include "constraints/script_angles.h"
#include "contexts/solver_frame.h"

namespace
{

Vec4 script_direction_to_solver(const CharacterContext& context, Vec4 direction, bool world_space)
{
    return world_space ? direction_to_solver(context, direction) : local_to_solver(direction);
}

}  // namespace

bool OffsetPositionConstraint::read(ScriptCall& call)
{
    effector = call.effector(2);
    offset = call.vector(3);
    worldSpace = call.flag(4);
    read_blend(call, *this, 5);
    return true;
}

void OffsetPositionConstraint::evaluate(CharacterContext& context, float step_s)
{
    stepBlend(step_s);
    EffectorGoal goal = read_goal(context, effector);
    goal.translation = add3(goal.translation, script_direction_to_solver(context, offset, worldSpace));
    write_goal(context, effector, goal);
    LBXSetEffectorReachT(context.effectorSet, effector, alpha);
}

void OffsetPositionConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(%f %f %f delta on %s effector)", static_cast<double>(offset.x),
                  static_cast<double>(offset.y), static_cast<double>(offset.z), effectorDisplayName(effector));
}

bool OffsetRotationConstraint::read(ScriptCall& call)
{
    effector = call.effector(2);
    axis = call.vector(3);
    angleDegrees = call.number(4);
    worldSpace = call.flag(5);
    read_blend(call, *this, 6);
    return true;
}

void OffsetRotationConstraint::evaluate(CharacterContext& context, float step_s)
{
    stepBlend(step_s);
    const float half_rad = 0.5f * (angleDegrees * kRadiansPerDegree);
    const Vec4 vector_solver = scale3(script_direction_to_solver(context, axis, worldSpace), std::sin(half_rad));
    const Quat turn = normalize({vector_solver.x, vector_solver.y, vector_solver.z, std::cos(half_rad)});
    EffectorGoal goal = read_goal(context, effector);
    goal.rotation = mul(turn, goal.rotation);
    write_goal(context, effector, goal);
    LBXSetEffectorReachR(context.effectorSet, effector, alpha);
}

void OffsetRotationConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(%f degrees delta around %f %f %f on %s effector)",
                  static_cast<double>(angleDegrees), static_cast<double>(axis.x), static_cast<double>(axis.y), static_cast<double>(axis.z),
                  effectorDisplayName(effector));
}
