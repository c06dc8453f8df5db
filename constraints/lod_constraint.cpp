#include "constraints/lod_constraint.h"

#include <cstdio>

#include "contexts/character_context.h"

bool LodConstraint::read(ScriptCall& call)
{
    lowDefinitionRetarget = call.flag(2);
    lowDefinitionSolve = call.flag(3);
    return true;
}

void LodConstraint::evaluate(CharacterContext& context, float /*step_s*/)
{
    context.lowDefinitionRetarget = lowDefinitionRetarget;
    context.lowDefinitionSolve = lowDefinitionSolve;
}

void LodConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(LOD settings: %s definition retarget, %s definition solve)",
                  lowDefinitionRetarget ? "low" : "high", lowDefinitionSolve ? "low" : "high");
}
