// Makes the knee or elbow of a limb bend the other way. The rig itself is changed: the limb stays inverted after the constraint is gone, for
// as long as the character lives.
#pragma once

#include "contexts/script_call.h"

struct InvertJointConstraint final : IkConstraintKind<IkConstraintType::InvertJoint>
{
    int32_t limb = 0;  // 0 left leg, 1 right leg, 2 left arm, 3 right arm

    bool read(ScriptCall& call);
    void evaluate(CharacterContext& context, float step_s) override;
    const char* typeName() const override { return "invert joint"; }
    void describe(DescriptionText& description) const override;
};
