// Turns the head, and in part the chest, toward a target: first about the vertical, then up or down. The look travels at a limited
// speed and the turn may be limited to what a neck can do.
#pragma once

#include "constraints/target_reference.h"

struct LookAtConstraint final : IkConstraintKind<IkConstraintType::LookAt>
{
    TargetReference target;
    bool xyOnly = false;             // about the vertical only
    float chestContribution = 0.0f;  // share of the head's rotation that the chest takes; 0: none
    float maxTurnSpeed = 0.0f;       // radians per second
    bool limitsEnabled = false;
    float horizontalLimit = 0.0f;  // radians, of the turn away from where the animated head points
    float verticalLimit = 0.0f;
    Vec4 lookDirection = {0.0f, 1.0f, 0.0f, 0.0f};  // world; where the look has travelled to

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "look at"; }
    void describe(DescriptionText& description) const override;

private:
    enum class Pass
    {
        Horizontal,
        Full
    };
    void turnHead(CharacterContext& context, const FrameTarget& look_target, Pass pass, float step_s);
};
