#include "constraints/weight_constraints.h"

#include <cstdio>

#include "constraints/push_constraint.h"

bool PullConstraint::read(ScriptCall& call)
{
    effector = call.effector(2);
    read_blend(call, *this, 3);
    return true;
}

void PullConstraint::evaluate(CharacterContext& context, float step_s)
{
    stepBlend(step_s);
    LBXSetEffectorPull(context.effectorSet, effector, alpha);
}

void PullConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(%s effector pulls %f)", effectorDisplayName(effector),
                  static_cast<double>(alpha));
}

bool ResistConstraint::read(ScriptCall& call)
{
    effector = call.effector(2);
    read_blend(call, *this, 3);
    return true;
}

void ResistConstraint::evaluate(CharacterContext& context, float step_s)
{
    stepBlend(step_s);
    LBXSetEffectorResist(context.effectorSet, effector, alpha);
}

void ResistConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(%s effector resists %f)", effectorDisplayName(effector),
                  static_cast<double>(alpha));
}
