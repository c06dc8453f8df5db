#include "constraints/partial_solving_constraint.h"

#include <cstdio>
#include <iterator>

#include "contexts/character_context.h"

namespace
{

// In the order of the flags.
constexpr uint32_t kStageBits[] = {
    LBXSolvingStepLeftArm,
    LBXSolvingStepRightArm,
    LBXSolvingStepLeftLeg,
    LBXSolvingStepRightLeg,
    LBXSolvingStepLeftShoulder,
    LBXSolvingStepRightShoulder,
    LBXSolvingStepLeftHandFingers,
    LBXSolvingStepRightHandFingers,
    LBXSolvingStepLeftFootToes,
    LBXSolvingStepRightFootToes,
    LBXSolvingStepHead,
    LBXSolvingStepSpine,
};
static_assert(std::size(kStageBits) == kPartialSolvingStageCount, "one bit per flag");

}  // namespace

bool PartialSolvingConstraint::read(ScriptCall& call)
{
    for (int i = 0; i < kPartialSolvingStageCount; ++i) stages[i] = call.flag(2 + i);
    return true;
}

void PartialSolvingConstraint::evaluate(CharacterContext& context, float /*step_s*/)
{
    uint32_t mask = LBXGetEffectorSetSolvingStep(context.effectorSet);
    for (int i = 0; i < kPartialSolvingStageCount; ++i)
    {
        if (!stages[i]) mask &= ~kStageBits[i];
    }
    LBXSetEffectorSetSolvingStep(context.effectorSet, mask);
}

void PartialSolvingConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text,
                  "(Partial solving: arms %d %d legs %d %d shoulders %d %d hands %d %d feet %d %d head %d spine %d)", stages[0], stages[1],
                  stages[2], stages[3], stages[4], stages[5], stages[6], stages[7], stages[8], stages[9], stages[10], stages[11]);
}
