#include "constraints/reach_constraints.h"

#include <cmath>
#include <cstdio>

#include "constraints/effector_goal.h"
#include "constraints/push_constraint.h"
#include "constraints/script_angles.h"
#include "contexts/solver_frame.h"

namespace
{

// Script angles about x and z count counterclockwise, the one about y clockwise. With two angles this is the product of two turns; with all
// three the sum of products leaves unit length, which the solver relies on, so it is normalized.
Quat quat_from_euler_degrees(Vec4 degrees)
{
    const Vec4 half = scale3(degrees, 0.5f * kRadiansPerDegree);
    const float sa = std::sin(half.x), ca = std::cos(half.x);
    const float sb = std::sin(half.y), cb = std::cos(half.y);
    const float sc = std::sin(half.z), cc = std::cos(half.z);
    return normalize({cc * sa * cb - sc * ca * sb, sc * sa * cb - cc * ca * sb, sc * ca * cb - cc * sa * sb, sc * sa * sb + cc * ca * cb});
}

}  // namespace

bool ReachPositionConstraint::read(ScriptCall& call)
{
    effector = call.effector(2);
    position = call.vector(3);
    worldSpace = call.flag(4);
    read_blend(call, *this, 5);
    return true;
}

void ReachPositionConstraint::evaluate(CharacterContext& context, float step_s)
{
    stepBlend(step_s);
    EffectorGoal goal = read_goal(context, effector);
    goal.translation = worldSpace ? world_to_solver(context, position) : local_to_solver(position);
    write_goal(context, effector, goal);
    LBXSetEffectorReachT(context.effectorSet, effector, alpha);
}

void ReachPositionConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(%s effector to reach %f %f %f)", effectorDisplayName(effector),
                  static_cast<double>(position.x), static_cast<double>(position.y), static_cast<double>(position.z));
}

bool ReachOrientationConstraint::read(ScriptCall& call)
{
    effector = call.effector(2);
    eulerDegrees = call.vector(3);
    worldSpace = call.flag(4);
    read_blend(call, *this, 5);
    return true;
}

void ReachOrientationConstraint::evaluate(CharacterContext& context, float step_s)
{
    stepBlend(step_s);
    EffectorGoal goal = read_goal(context, effector);
    goal.rotation = quat_from_euler_degrees(eulerDegrees);
    if (worldSpace) goal.rotation = mul(goal.rotation, context.inverseRootRotation);
    write_goal(context, effector, goal);
    LBXSetEffectorReachR(context.effectorSet, effector, alpha);
}

void ReachOrientationConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(%f %f %f degrees on %s effector)", static_cast<double>(eulerDegrees.x),
                  static_cast<double>(eulerDegrees.y), static_cast<double>(eulerDegrees.z), effectorDisplayName(effector));
}
