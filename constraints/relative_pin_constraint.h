// Glues an effector to a node of another unit. The evaluation after a push or a refresh only records where the effector is seen
// from that node; from the next one on the effector follows the node. The other unit is remembered by its reference, so it may
// be deleted at any time: the constraint then stops acting.
#pragma once

#include "contexts/script_call.h"

struct RelativePinConstraint final : IkConstraintKind<IkConstraintType::RelativePin>
{
    int32_t effector = 0;
    int32_t capturedEffector = 0;  // as pushed; nothing changes it
    uint32_t targetUnitRef = 0;    // 0: none
    int32_t targetNode = 0;
    bool refreshRequested = true;
    Vec4 localOffset = kZero4;  // in the target node's frame
    Quat localRotation = kIdentityRotation;
    float reachTFactor = 0.0f;
    float reachRFactor = 0.0f;
    float pullFactor = 0.0f;

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "relative pin"; }
    void describe(DescriptionText& description) const override;
};
