// A demonstration that shows whether a rig solves sensibly: from the stance, hands and feet locked, for 20 seconds each the hips circle, the
// chest bobs, and everything moves at once. It repeats for ever.
#pragma once

#include "contexts/script_call.h"

struct TestBipedConstraint final : IkConstraintKind<IkConstraintType::TestBiped>
{
    float timer = 0.0f;  // seconds

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "test biped"; }
    void describe(DescriptionText& description) const override;
};
