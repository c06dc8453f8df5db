// Reach position and reach orientation: an effector's goal is a point or a turn given by the script, in the world or in the
// unit's own axes.
#pragma once

#include "contexts/script_call.h"

struct ReachPositionConstraint final : IkConstraintKind<IkConstraintType::ReachPosition>
{
    int32_t effector = 0;
    Vec4 position = kZero4;
    bool worldSpace = false;

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "reach position"; }
    void describe(DescriptionText& description) const override;
};

struct ReachOrientationConstraint final : IkConstraintKind<IkConstraintType::ReachOrientation>
{
    int32_t effector = 0;
    Vec4 eulerDegrees = kZero4;
    bool worldSpace = false;

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "reach orientation"; }
    void describe(DescriptionText& description) const override;
};
