// Solves what the constraints below ask for, then starts afresh: those above find every goal on the solved pose, no weights and the
// default options, and the final solve starts from that pose.
#pragma once

#include "contexts/script_call.h"

struct SolveConstraint final : IkConstraintKind<IkConstraintType::Solve>
{
    bool usedLowDefinition = false;  // of the last evaluation

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "solve"; }
    void describe(DescriptionText& description) const override;
};
