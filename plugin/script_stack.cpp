#include "plugin/script_stack.h"

#include "contexts/character_context.h"
#include "contexts/script_call.h"
#include "resources/log.h"

namespace script
{

namespace
{

// The constraint that arguments 1 and 2 name, of whatever kind; null is logged under the function's name.
IkConstraint* require_constraint(const ScriptCall& call)
{
    const CharacterContext* context = call.requireContext();
    if (!context) return nullptr;
    IkConstraint* constraint = constraint_at(context->constraintStack, call.index(2));
    if (!constraint) log_error("%s: constraint index out of range", call.name);
    return constraint;
}

int set_blend(ScriptCall& call, float IkConstraint::*field)
{
    IkConstraint* constraint = require_constraint(call);
    if (!constraint) return 0;
    const float value = call.number(3);
    if (!call.sound) return call.wrongInputs();
    constraint->*field = value;
    return 0;
}

}  // namespace

int character_get_constraint_index_from_constraint_id(ScriptCall& call)
{
    const CharacterContext* context = call.findContext();
    const int32_t position = context ? find_constraint_position(context->constraintStack, call.integer(2)) : -1;
    return position >= 0 ? call.pushIndex(position) : call.push(position);
}

int character_set_blend_alpha(ScriptCall& call) { return set_blend(call, &IkConstraint::blendAlpha); }

int character_set_blend_time(ScriptCall& call) { return set_blend(call, &IkConstraint::blendTime); }

int character_pop(ScriptCall& call)
{
    if (CharacterContext* context = call.requireContext()) pop_constraint(context->constraintStack);
    return 0;
}

int character_pop_all(ScriptCall& call)
{
    if (CharacterContext* context = call.requireContext()) pop_all_constraints(context->constraintStack);
    return 0;
}

int character_num_constraints(ScriptCall& call)
{
    const CharacterContext* context = call.requireContext();
    return context ? call.push(context->constraintStack.count) : 0;
}

int character_get_constraint_type(ScriptCall& call)
{
    const IkConstraint* constraint = require_constraint(call);
    return constraint ? call.push(static_cast<int32_t>(constraint->typeId())) : 0;
}

}  // namespace script
