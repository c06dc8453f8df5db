// Getters and setters of constraint fields, one line of the function table each: the template is told the member, and finds the
// kind, the type and the way to read or push a value from it.
#pragma once

#include "contexts/script_call.h"

namespace script
{

template <class Member>
struct MemberOf;
template <class Kind, class Value>
struct MemberOf<Value Kind::*>
{
    using KindType = Kind;
    using ValueType = Value;
};
template <auto Field>
using KindOfField = typename MemberOf<decltype(Field)>::KindType;
template <auto Field>
using ValueOfField = typename MemberOf<decltype(Field)>::ValueType;

// The constraint that the call names, or null when it is not there or of another kind; the log then says so under the function's name.
template <class Kind>
Kind* accessed_constraint(const ScriptCall& call)
{
    IkConstraint* constraint = check_index_and_constraint(call, Kind::kType);
    if (constraint) return static_cast<Kind*>(constraint);
    if (call.requireContext()) call.wrongInputs();
    return nullptr;
}

inline void read_argument(ScriptCall& call, int argument, float& value) { value = call.number(argument); }
inline void read_argument(ScriptCall& call, int argument, int32_t& value) { value = call.integer(argument); }
inline void read_argument(ScriptCall& call, int argument, bool& value) { value = call.flag(argument); }
inline void read_argument(ScriptCall& call, int argument, Vec4& value) { value = call.vector(argument); }

// (unit, constraint index) -> value. Vectors, numbers, integers and flags alike.
template <auto Field>
int get_field(ScriptCall& call)
{
    const KindOfField<Field>* constraint = accessed_constraint<KindOfField<Field>>(call);
    return constraint ? call.push(constraint->*Field) : 0;
}

// (unit, constraint index, value). A number that is not finite changes nothing.
template <auto Field>
int set_field(ScriptCall& call)
{
    KindOfField<Field>* constraint = accessed_constraint<KindOfField<Field>>(call);
    if (!constraint) return 0;
    ValueOfField<Field> value;
    read_argument(call, 3, value);
    if (!call.sound) return call.wrongInputs();
    constraint->*Field = value;
    return 0;
}

// (unit, constraint index, effector). An effector that does not exist changes nothing.
template <auto Field>
int set_effector(ScriptCall& call)
{
    KindOfField<Field>* constraint = accessed_constraint<KindOfField<Field>>(call);
    if (!constraint) return 0;
    const int32_t effector = call.effector(3);
    if (!call.sound) return call.wrongInputs();
    constraint->*Field = effector;
    return 0;
}

// (unit, constraint index). Raises a flag.
template <auto Field>
int raise_flag(ScriptCall& call)
{
    KindOfField<Field>* constraint = accessed_constraint<KindOfField<Field>>(call);
    if (constraint) constraint->*Field = true;
    return 0;
}

}  // namespace script
