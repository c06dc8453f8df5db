// Puts ankles and wrists on the ground below them, or moves them by its height, and shifts the hips (for the feet) or the chest's end (for the
// hands) by the mean height, less a depth.
#pragma once

#include "constraints/ground_probe.h"
#include "constraints/ground_smoothing.h"
#include "contexts/script_call.h"

struct PlantConstraint final : IkConstraintKind<IkConstraintType::Plant>
{
    bool feetEnabled = false;
    bool handsEnabled = false;
    float rayUpLength = 0.0f;
    float rayDownLength = 0.0f;
    bool relative = false;   // move by the ground's height instead of onto the ground
    float smoothing = 0.0f;  // largest change of a foot's height in rig units a second; 0: none
    int32_t rayCount = 1;
    float depth = 0.0f;                                      // taken off ground heights
    float chestWeight = 0.0f;                                // how far the chest keeps its turn and holds still when the feet move the hips
    float hipsWeight = 0.0f;                                 // the same of the hips
    float smoothedHeight[2] = {kUnsetHeight, kUnsetHeight};  // left and right foot, from frame to frame

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "plant"; }
    void describe(DescriptionText& description) const override;

private:
    struct ContactPair
    {
        GroundContact left, right;
        bool bothHit() const { return left.hit && right.hit; }
        float meanHeight() const { return 0.5f * (left.position.y + right.position.y); }
    };
    ContactPair probePair(const CharacterContext& context, LBXEffectorId left, LBXEffectorId right, float radius) const;
    void plantFeet(CharacterContext& context, float step_s);
    void plantHands(CharacterContext& context) const;
    void plantEffector(CharacterContext& context, LBXEffectorId effector, const GroundContact& contact) const;
    void raise(CharacterContext& context, LBXEffectorId effector, float height) const;
};
