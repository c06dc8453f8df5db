// Switches stages of the next solve off: a solve above it on the stack, or the final one. Every solve in the middle of the stack switches all
// of them on again.
#pragma once

#include "contexts/script_call.h"

constexpr int kPartialSolvingStageCount = 12;

struct PartialSolvingConstraint final : IkConstraintKind<IkConstraintType::PartialSolving>
{
    // Left arm, right arm, left leg, right leg, left and right shoulder, left and right hand's fingers, left and right foot's toes, head,
    // spine. False: the stage is skipped; true: it is left as it is.
    bool stages[kPartialSolvingStageCount] = {};

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "Partial Solving"; }
    void describe(DescriptionText& description) const override;
};
