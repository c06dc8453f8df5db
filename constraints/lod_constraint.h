// Chooses between the full solve and the cheaper one, for retargeting and for the solve itself. The choice stays with the
// context after the constraint is gone. It acts on the solves of the same frame that come after it; the retarget comes before,
// so it changes with the next frame.
#pragma once

#include "contexts/script_call.h"

struct LodConstraint final : IkConstraintKind<IkConstraintType::Lod>
{
    bool lowDefinitionRetarget = false;
    bool lowDefinitionSolve = false;

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "LOD"; }
    void describe(DescriptionText& description) const override;
};
