#include "constraints/invert_joint_constraint.h"

#include <cstdio>

#include "contexts/character_context.h"
#include "resources/log.h"

namespace
{

struct LimbName
{
    const char* name;
    int32_t limb;
};

constexpr LimbName kLimbNames[] = {
    {"Left Leg", LBXLimbLeftLeg},   {"LL", LBXLimbLeftLeg},  {"Left Back Leg", LBXLimbLeftLeg},
    {"Right Leg", LBXLimbRightLeg}, {"RL", LBXLimbRightLeg}, {"Right Back Leg", LBXLimbRightLeg},
    {"Left Arm", LBXLimbLeftArm},   {"LA", LBXLimbLeftArm},  {"Left Front Leg", LBXLimbLeftArm},
    {"Right Arm", LBXLimbRightArm}, {"RA", LBXLimbRightArm}, {"Right Front Leg", LBXLimbRightArm},
};

// Limb names are plain ASCII; the C library's own folding follows a locale.
char lower_case(char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; }

bool same_without_case(const char* a, const char* b)
{
    for (; *a != '\0' && lower_case(*a) == lower_case(*b); ++a) ++b;
    return lower_case(*a) == lower_case(*b);
}

}  // namespace

bool InvertJointConstraint::read(ScriptCall& call)
{
    size_t length = 0;
    const char* text = call.string(2, length);
    for (const LimbName& row : kLimbNames)
    {
        if (!text || !same_without_case(row.name, text)) continue;
        limb = row.limb;
        return true;
    }
    log_error("%s: unrecognized limb name", call.name);
    return false;
}

void InvertJointConstraint::evaluate(CharacterContext& context, float /*step_s*/) { LBXSetLimbInverted(context.character, limb, true); }

void InvertJointConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(inverting limb)");
}
