// One call of a script function: who called, and its arguments, numbered from 1. Readers never fail; an argument that must not reach a
// context (a number that is not finite, an effector that does not exist) leaves its mark in `sound`, so a function reads all its arguments
// and then decides once.
#pragma once

#include <cstdint>

#include "contexts/ik_constraint.h"
#include "contexts/spatial.h"
#include "plugin/limbrex_plugin.h"

struct CharacterContext;

struct ScriptCall
{
    ScriptState* state;
    const char* name;  // of the function; its messages begin with it
    bool sound = true;

    Unit* unit(int argument = 1) const;  // null for anything but a living unit
    bool holdsUnit(int argument) const;  // also one that was deleted
    float number(int argument);
    int32_t integer(int argument) const;
    bool flag(int argument) const;
    int32_t index(int argument) const;                       // a script index as a place counted from 0
    const char* string(int argument, size_t& length) const;  // null when it is none
    Vec4 vector(int argument);
    int32_t effector(int argument);  // 0 to 43 in a sound call
    int32_t node(int argument);      // 0 to 211 in a sound call

    // The character context of the unit in argument 1, or null.
    CharacterContext* findContext() const;
    // The same; null is logged as "<name>: cannot find context for unit".
    CharacterContext* requireContext() const;

    // Results; each returns the number of values it pushed.
    int push(float value) const;
    int push(int32_t value) const;
    int push(bool value) const;
    int push(const char* value) const;
    int push(Vec4 value) const;
    int push(Quat value) const;
    int pushIndex(int32_t place) const;

    // Logs "<name>: wrong inputs"; the call has no result.
    int wrongInputs() const;
};

// The guard of every accessor of one kind's fields: the unit of argument 1 has a context, argument 2 is a place on its stack, and the
// constraint there is of the expected kind. Null otherwise, and the log says which of the three failed.
IkConstraint* check_index_and_constraint(const ScriptCall& call, IkConstraintType expected);
