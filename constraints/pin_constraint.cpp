#include "constraints/pin_constraint.h"

#include <cstdio>

#include "constraints/effector_goal.h"
#include "constraints/push_constraint.h"
#include "contexts/solver_frame.h"

bool PinConstraint::read(ScriptCall& call)
{
    effector = call.effector(2);
    capturedEffector = effector;
    worldSpace = call.integer(3) != 0;
    capturedWorldSpace = !worldSpace;
    read_blend(call, *this, 4);
    return true;
}

void PinConstraint::evaluate(CharacterContext& context, float step_s)
{
    stepBlend(step_s);
    EffectorGoal goal = read_goal(context, effector);
    if (worldSpace != capturedWorldSpace || effector != capturedEffector)
    {
        capturedPosition = worldSpace ? solver_to_world(context, goal.translation) : kZero4;
        capturedWorldSpace = worldSpace;
        capturedEffector = effector;
    }
    if (worldSpace)
    {
        goal.translation = world_to_solver(context, capturedPosition);
        write_goal(context, effector, goal);
    }
    LBXSetEffectorReachT(context.effectorSet, effector, alpha);
    LBXSetEffectorReachR(context.effectorSet, effector, alpha);
    LBXSetEffectorPull(context.effectorSet, effector, alpha);
}

void PinConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(%s effector wont move)", effectorDisplayName(effector));
}
