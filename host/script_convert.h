// Between the script's stack and plain values, on the two sides of a call into a plugin.
#pragma once

#include "host/script_call.h"

struct lua_State;

namespace limbrex_host
{

// Makes `argument` of the script's stack a plain value. No metamethods are asked; raises nothing but memory errors.
void read_script_value(lua_State* lua, int argument, ScriptValue& value);
void push_script_value(lua_State* lua, const ScriptValue& value);

}  // namespace limbrex_host
