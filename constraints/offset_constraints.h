// Offset position and offset rotation: move or turn the goal that the animation and the constraints below have left. The offset
// always acts in full; the blend weight says how far the effector reaches for it.
#pragma once

#include "contexts/script_call.h"

struct OffsetPositionConstraint final : IkConstraintKind<IkConstraintType::OffsetPosition>
{
    int32_t effector = 0;
    Vec4 offset = kZero4;
    bool worldSpace = false;

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "offset position"; }
    void describe(DescriptionText& description) const override;
};

struct OffsetRotationConstraint final : IkConstraintKind<IkConstraintType::OffsetRotation>
{
    int32_t effector = 0;
    Vec4 axis = kZero4;  // used at its length: a unit axis gives the angle, another length another angle
    float angleDegrees = 0.0f;
    bool worldSpace = false;

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "offset rotation"; }
    void describe(DescriptionText& description) const override;
};
