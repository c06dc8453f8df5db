#include "host/script_convert.h"

#include <lua.hpp>

#include "host/script_values.h"

namespace limbrex_host
{
namespace
{

void read_text(lua_State* lua, int argument, std::string& text)
{
    size_t length = 0;
    const char* const bytes = lua_tolstring(lua, argument, &length);
    text.assign(bytes, length);
}

}  // namespace

void read_script_value(lua_State* lua, int argument, ScriptValue& value)
{
    value.boolean = false;
    value.number = 0.0;
    value.unit = 0;
    value.text.clear();
    double components[4] = {};
    switch (lua_type(lua, argument))
    {
    case LUA_TNIL: value.kind = ScriptValue::Kind::Nil; return;
    case LUA_TBOOLEAN:
        value.kind = ScriptValue::Kind::Boolean;
        value.boolean = lua_toboolean(lua, argument) != 0;
        return;
    case LUA_TNUMBER:
        value.kind = ScriptValue::Kind::Number;
        value.number = lua_tonumber(lua, argument);
        return;
    case LUA_TSTRING:
        value.kind = ScriptValue::Kind::String;
        read_text(lua, argument, value.text);
        return;
    default: break;
    }
    if (read_unit(lua, argument, value.unit)) { value.kind = ScriptValue::Kind::Unit; }
    else if (read_vec(lua, argument, components)) { value.kind = ScriptValue::Kind::Vector; }
    else if (read_quat(lua, argument, components)) { value.kind = ScriptValue::Kind::Quaternion; }
    else
    {
        value.kind = ScriptValue::Kind::Other;
        value.text = script_type_name(lua, argument);
    }
    for (size_t i = 0; i < 4; ++i) { value.vector[i] = static_cast<float>(components[i]); }
}

void push_script_value(lua_State* lua, const ScriptValue& value)
{
    const double components[4] = {static_cast<double>(value.vector[0]), static_cast<double>(value.vector[1]),
                                  static_cast<double>(value.vector[2]), static_cast<double>(value.vector[3])};
    switch (value.kind)
    {
    case ScriptValue::Kind::Boolean: lua_pushboolean(lua, value.boolean ? 1 : 0); return;
    case ScriptValue::Kind::Number:
        if (value.integral) { lua_pushinteger(lua, static_cast<lua_Integer>(value.number)); }
        else { lua_pushnumber(lua, value.number); }
        return;
    case ScriptValue::Kind::String: lua_pushlstring(lua, value.text.data(), value.text.size()); return;
    case ScriptValue::Kind::Vector: push_vec(lua, components); return;
    case ScriptValue::Kind::Quaternion: push_quat(lua, components); return;
    case ScriptValue::Kind::Unit: push_unit(lua, value.unit); return;
    default: lua_pushnil(lua); return;
    }
}

}  // namespace limbrex_host
