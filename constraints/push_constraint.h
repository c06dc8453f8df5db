// The script functions that push a constraint, one for every kind.
#pragma once

#include <utility>

#include "contexts/character_context.h"
#include "contexts/script_call.h"

// Weight, time and id end the argument list of every blended kind.
inline void read_blend(ScriptCall& call, IkConstraint& constraint, int first_argument)
{
    constraint.blendAlpha = call.number(first_argument);
    constraint.blendTime = call.number(first_argument + 1);
    constraint.id = call.integer(first_argument + 2);
}

// Kind::read fills the kind from the call's arguments; it says false when it has logged itself why nothing can be pushed. A unit without a
// context and a full stack are no errors: nothing happens.
template <class Kind>
int push_kind(ScriptCall& call)
{
    CharacterContext* context = call.findContext();
    if (!context) return 0;
    Kind filled;
    if (!filled.read(call)) return 0;
    if (!call.sound) return call.wrongInputs();
    if (is_full(context->constraintStack)) return 0;
    if (IkConstraint* constraint = new Kind(std::move(filled))) push_constraint(context->constraintStack, constraint);
    return 0;
}

// For the few kinds whose push says that the unit has no context.
template <class Kind>
int push_kind_of_known_unit(ScriptCall& call)
{
    return call.requireContext() ? push_kind<Kind>(call) : 0;
}
