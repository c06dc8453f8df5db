#include "host/script_table.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include <fmt/format.h>
#include <lua.hpp>

#include "host/script_values.h"

namespace limbrex_host
{
namespace
{

bool finite3(const std::array<double, 3>& v) { return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]); }

// "#rrggbb" is opaque, "#aarrggbb" as it says.
bool colour_from_text(const std::string& text, uint32_t& argb)
{
    const bool right_length = text.size() == 7 || text.size() == 9;
    if (!right_length || text[0] != '#' || text.find_first_not_of("0123456789abcdefABCDEF", 1) != std::string::npos) { return false; }
    const auto value = static_cast<uint32_t>(std::strtoul(text.c_str() + 1, nullptr, 16));
    argb = text.size() == 7 ? value | 0xff000000u : value;
    return true;
}

}  // namespace

ScriptTable::ScriptTable(lua_State* lua, const char* function_name)
    : state(lua), function(function_name), table(lua_type(lua, 1) == LUA_TTABLE)
{
    if (!table) { fault(fmt::format("a table {{...}} expected, got {}", script_type_name(lua, 1))); }
}

int ScriptTable::push(const char* member)
{
    known.insert(member);
    if (!table)
    {
        lua_pushnil(state);
        return LUA_TNIL;
    }
    lua_pushstring(state, member);
    return lua_rawget(state, 1);
}

bool ScriptTable::has(const char* member)
{
    const bool there = push(member) != LUA_TNIL;
    lua_pop(state, 1);
    return there;
}

void ScriptTable::require(const char* member)
{
    if (table && !has(member)) { fault(fmt::format("member \"{}\" is missing", member)); }
}

void ScriptTable::fault(const std::string& what)
{
    if (firstFault.empty()) { firstFault = function + ": " + what; }
}

void ScriptTable::wrong(const char* member, const char* expected)
{
    fault(fmt::format("member \"{}\": {} expected, got {}", member, expected, script_type_name(state, -1)));
}

void ScriptTable::read(const char* member, std::string& out)
{
    const int type = push(member);
    if (type == LUA_TSTRING) { out = lua_tostring(state, -1); }
    else if (type != LUA_TNIL) { wrong(member, "string"); }
    lua_pop(state, 1);
}

void ScriptTable::read(const char* member, double& out)
{
    const int type = push(member);
    if (type == LUA_TNUMBER && std::isfinite(lua_tonumber(state, -1))) { out = lua_tonumber(state, -1); }
    else if (type == LUA_TNUMBER) { fault(fmt::format("member \"{}\" is not finite", member)); }
    else if (type != LUA_TNIL) { wrong(member, "number"); }
    lua_pop(state, 1);
}

void ScriptTable::readInteger(const char* member, int32_t& out)
{
    double number = static_cast<double>(out);
    read(member, number);
    const bool fits = number >= static_cast<double>(std::numeric_limits<int32_t>::min()) &&
                      number <= static_cast<double>(std::numeric_limits<int32_t>::max());
    if (!fits || number != std::floor(number)) { fault(fmt::format("member \"{}\": {} is no whole number in range", member, number)); }
    else { out = static_cast<int32_t>(number); }
}

void ScriptTable::read(const char* member, bool& out)
{
    const int type = push(member);
    if (type == LUA_TBOOLEAN) { out = lua_toboolean(state, -1) != 0; }
    else if (type != LUA_TNIL) { wrong(member, "true or false"); }
    lua_pop(state, 1);
}

void ScriptTable::read(const char* member, std::array<double, 3>& out)
{
    const int type = push(member);
    std::array<double, 3> value{};
    if (type != LUA_TNIL && !read_vec(state, -1, value.data())) { wrong(member, "vector"); }
    else if (!finite3(value)) { fault(fmt::format("member \"{}\" is not finite", member)); }
    else if (type != LUA_TNIL) { out = value; }
    lua_pop(state, 1);
}

void ScriptTable::read(const char* member, ScenePlace& out)
{
    if (push(member) == LUA_TFUNCTION)
    {
        out.function = luaL_ref(state, LUA_REGISTRYINDEX);
        return;
    }
    lua_pop(state, 1);
    read(member, out.point_world);
}

void ScriptTable::readColour(const char* member, uint32_t& argb)
{
    const int type = push(member);
    const bool text = type == LUA_TSTRING && colour_from_text(lua_tostring(state, -1), argb);
    const double number = type == LUA_TNUMBER ? lua_tonumber(state, -1) : -1.0;
    if (number >= 0.0 && number <= static_cast<double>(std::numeric_limits<uint32_t>::max())) { argb = static_cast<uint32_t>(number); }
    else if (!text && type != LUA_TNIL)
    {
        fault(fmt::format("member \"{}\": a colour is \"#rrggbb\", \"#aarrggbb\" or 0xAARRGGBB", member));
    }
    lua_pop(state, 1);
}

void ScriptTable::readUnit(const char* member, uint32_t& referenceId)
{
    const int type = push(member);
    if (type != LUA_TNIL && !read_unit(state, -1, referenceId)) { wrong(member, "unit"); }
    lua_pop(state, 1);
}

bool ScriptTable::done()
{
    if (!table) { return false; }
    lua_pushnil(state);
    while (lua_next(state, 1) != 0)
    {
        lua_pop(state, 1);
        if (lua_type(state, -1) != LUA_TSTRING) { fault("members have names; a value without one was given"); }
        else if (known.count(lua_tostring(state, -1)) == 0) { fault(fmt::format("unknown member \"{}\"", lua_tostring(state, -1))); }
    }
    return firstFault.empty();
}

}  // namespace limbrex_host
