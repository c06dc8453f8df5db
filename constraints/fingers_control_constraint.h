// Opens and curls the five fingers of one hand. The fingers are put on the hand as they sit in the stance, then each finger effector is
// turned: factor 1 leaves the finger straight, factor 0 curls it all the way.
#pragma once

#include <memory>

#include "contexts/script_call.h"
#include "limbrex/limbrex.h"

constexpr int kFingerFactorCount = 6;  // thumb to pinky, and an extra finger whose factor is kept but moves nothing
constexpr int kControlledFingers = 5;

struct DestroyCharacterState
{
    void operator()(LBXCharacterState* state) const;
};

struct FingersControlConstraint final : IkConstraintKind<IkConstraintType::FingersControl>
{
    bool left = false;
    float fingerFactors[kFingerFactorCount] = {};
    bool allFingers = false;  // the global factor alone counts
    float globalFactor = 0.0f;
    bool rebuildRequested = true;
    bool builtForLeft = false;
    std::unique_ptr<LBXCharacterState, DestroyCharacterState> stanceState;  // null until the first evaluation, and when there was no memory
    int32_t firstPhalanxUsed[kControlledFingers] = {-1, -1, -1, -1, -1};    // 0: the rig has the finger; -1: it does not

    // The factor that scripts number 1 to 6; every other number means the global one.
    float& factor(int32_t finger_number);

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "fingers control"; }
    void describe(DescriptionText& description) const override;

private:
    bool rebuildStance(const CharacterContext& context);
    void setFingerGoal(CharacterContext& context, int finger, Quat wrist_rotation) const;
};
