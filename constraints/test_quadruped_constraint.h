// A demonstration for animals on four feet, from the animated pose: with hands and feet locked, the head, the hips, the trunk and the fore
// feet are moved one after the other, six seconds each. It repeats for ever.
#pragma once

#include "contexts/script_call.h"

struct TestQuadrupedConstraint final : IkConstraintKind<IkConstraintType::TestQuadruped>
{
    float timer = 0.0f;  // seconds

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "test quadruped"; }
    void describe(DescriptionText& description) const override;
};
