// The two entries of the solver. The full solve is the list of its stages.
#include "limbrex/limbrex_debug.h"
#include "limbrex/math/float_scope.h"
#include "limbrex/solvers/stages.h"

namespace
{

using Stage = void (*)(const lbx::Solve&);

// In the order of the solve.
constexpr Stage kStages[] = {
    lbx::prepare_stage,       lbx::floor_clamp_stage,      lbx::body_stage, lbx::limbs_stage,        lbx::fingers_stage, lbx::head_stage,
    lbx::floor_contact_stage, lbx::hips_translation_stage, lbx::roll_stage, lbx::post_process_stage,
};

void run_stages(const LBXCharacter& character, LBXCharacterState& state, LBXEffectorSet& set, const LBXPropertySet& properties,
                uint32_t stages)
{
    const lbx::SolverFloatScope scope;
    const lbx::Solve solve = lbx::make_solve(character, state, set, properties);
    for (size_t i = 0; i < sizeof(kStages) / sizeof(kStages[0]); ++i)
    {
        const bool wanted = (stages >> i & 1u) != 0 && (i == 0 || solve.mask != 0);  // an empty mask ends the solve after the first stage
        if (wanted) kStages[i](solve);
    }
}

bool usable(const LBXCharacter* character, const LBXCharacterState* state, const LBXEffectorSet* set, const LBXPropertySet* properties)
{
    return character != nullptr && state != nullptr && set != nullptr && properties != nullptr && state->slotCount == character->slotCount;
}

}  // namespace

void LBXSolveForEffectorSet(const LBXCharacter* character, LBXCharacterState* state, LBXEffectorSet* set, const LBXPropertySet* properties)
{
    if (usable(character, state, set, properties)) run_stages(*character, *state, *set, *properties, ~0u);
}

void LBXDebugSolveStages(const LBXCharacter* character, LBXCharacterState* state, LBXEffectorSet* set, const LBXPropertySet* properties,
                         uint32_t mask_of_stages)
{
    if (usable(character, state, set, properties)) run_stages(*character, *state, *set, *properties, mask_of_stages);
}

void LBXSolveForEffectorSetLowDefinition(const LBXCharacter* character, LBXCharacterState* state, LBXEffectorSet* set,
                                         const LBXPropertySet* properties)
{
    if (!usable(character, state, set, properties)) return;
    const lbx::SolverFloatScope scope;
    lbx::solve_low_definition(lbx::make_solve(*character, *state, *set, *properties));
}
