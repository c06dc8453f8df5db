// Turns hips, chest, shoulder, elbow and wrist, each by its share, until a node that the character carries (the end of something
// held) points at a target. It may solve in place and then draw the carrying hand toward the target, and bring the other hand along.
#pragma once

#include "constraints/target_reference.h"

struct AimConstraint final : IkConstraintKind<IkConstraintType::Aim>
{
    TargetReference target;
    int32_t attachmentEffector = 0;  // carries the aimed object
    float hipsWeight = 0.0f;         // shares of the turn; the wrist, and the attachment itself, take all of what is left
    float chestWeight = 0.0f;
    float shoulderWeight = 0.0f;
    float elbowWeight = 0.0f;
    bool twoHands = false;
    int32_t referenceNode = 0;  // of the unit's own nodes; the reference point is where it is in the animation
    bool solveInPlace = false;
    Vec4 lastTargetPosition = kZero4;  // world, of the last evaluation
    Vec4 lastReferencePosition = kZero4;

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "aim"; }
    void describe(DescriptionText& description) const override;

private:
    void turnStage(CharacterContext& context, LBXEffectorId effector, float share, const FrameTarget& aim_target);
    void drawTowardTarget(CharacterContext& context, float reference_distance) const;
};
