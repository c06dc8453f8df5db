// Imposes a value on one solver option while it is on the stack. The options start at their defaults every frame, and again
// after a solve in the middle of the stack, so above such a solve the value is gone.
#pragma once

#include "contexts/script_call.h"

struct PropertyConstraint final : IkConstraintKind<IkConstraintType::Property>
{
    int32_t propertyId = 0;  // 0 to 251; others are kept and described, and set nothing
    float propertyValue = 0.0f;

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "property"; }
    void describe(DescriptionText& description) const override;
};
