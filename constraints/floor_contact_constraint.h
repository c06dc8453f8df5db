// Hands the ground under feet and hands to the solver as planes, together with the shape of soles and palms: the solver's floor stage then keeps
// them above it. No goal and no weight is written here.
#pragma once

#include "constraints/ground_probe.h"
#include "constraints/ground_smoothing.h"
#include "contexts/script_call.h"

struct FloorContactConstraint final : IkConstraintKind<IkConstraintType::FloorContact>
{
    bool feetEnabled = false;
    bool handsEnabled = false;
    int32_t rayCount = 1;
    float rayUpLength = 0.0f;
    float rayDownLength = 0.0f;
    float smoothing = 0.0f;  // largest change a frame: height in rig units, tilt in half turns; 0: none
    // Left and right foot, from frame to frame.
    float smoothedHeight[2] = {kUnsetHeight, kUnsetHeight};
    Quat smoothedRotation[2] = {kIdentityRotation, kIdentityRotation};

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "floor contact"; }
    void describe(DescriptionText& description) const override;

private:
    void contactFeet(CharacterContext& context);
    void contactHands(CharacterContext& context) const;
    void smooth(int side, GroundContact& contact);
};
