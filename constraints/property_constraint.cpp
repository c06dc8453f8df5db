#include "constraints/property_constraint.h"

#include <cstdio>

#include "contexts/character_context.h"

bool PropertyConstraint::read(ScriptCall& call)
{
    propertyId = call.integer(2);
    propertyValue = call.number(3);
    return true;
}

void PropertyConstraint::evaluate(CharacterContext& context, float /*step_s*/)
{
    if (propertyId >= 0 && propertyId < LBXLastPropertyId) LBXPropertySetValue(context.propertySet, propertyId, propertyValue);
}

void PropertyConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(property %d value changed to %f)", propertyId,
                  static_cast<double>(propertyValue));
}
