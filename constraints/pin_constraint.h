// Keeps an effector where it is. In the world: at the world point it had when the pin took effect, however the unit moves.
// Else: on the goal that the animation and the constraints below give, at full weight. Another effector or another space
// captures anew at the next evaluation.
#pragma once

#include "contexts/script_call.h"

struct PinConstraint final : IkConstraintKind<IkConstraintType::Pin>
{
    int32_t effector = 0;
    int32_t capturedEffector = 0;
    bool worldSpace = false;
    bool capturedWorldSpace = true;  // differs from worldSpace until the first capture
    Vec4 capturedPosition = kZero4;  // world

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "pin"; }
    void describe(DescriptionText& description) const override;
};
