// Pull and resist: an effector's blend weight is itself the value, its goal stays where the animation has it. A pull draws the body after
// the effector, resistance keeps the effector where it is while others pull.
#pragma once

#include "contexts/script_call.h"

struct PullConstraint final : IkConstraintKind<IkConstraintType::Pull>
{
    int32_t effector = 0;

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "pull"; }
    void describe(DescriptionText& description) const override;
};

struct ResistConstraint final : IkConstraintKind<IkConstraintType::Resist>
{
    int32_t effector = 0;

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "resist"; }
    void describe(DescriptionText& description) const override;
};
