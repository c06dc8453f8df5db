#include "constraints/solve_constraint.h"

#include <cstdio>

#include "constraints/effector_goal.h"
#include "debug/rig_drawing.h"
#include "resources/plugin_state.h"

bool SolveConstraint::read(ScriptCall& /*call*/) { return true; }

void SolveConstraint::evaluate(CharacterContext& context, float /*step_s*/)
{
    usedLowDefinition = context.lowDefinitionSolve != 0;
    const auto solve = usedLowDefinition ? LBXSolveForEffectorSetLowDefinition : LBXSolveForEffectorSet;
    solve(context.character, context.state, context.effectorSet, context.propertySet);
    if (plugin_state().drawRigsEnabled) draw_rig(context, RigMoment::Intermediate);
    LBXPropertySetInit(context.propertySet);
    restart_goals(context);
}

void SolveConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(%s - effectors reset)",
                  usedLowDefinition ? "low definition" : "high definition");
}
