#include "host/script_values.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <lua.hpp>

namespace limbrex_host
{
namespace
{

// Errors leave these functions by a jump: their frames hold plain numbers and nothing that would have to be released.

constexpr double kRadians = 3.14159265358979323846 / 180.0;
constexpr const char* kVecMembers[3] = {"x", "y", "z"};

int argument_error(lua_State* lua, int argument, const char* expected)
{
    lua_pushfstring(lua, "%s expected, got %s", expected, script_type_name(lua, argument));
    return luaL_argerror(lua, argument, lua_tostring(lua, -1));
}

ScriptVec check_vec(lua_State* lua, int argument)
{
    ScriptVec value{};
    if (!read_vec(lua, argument, value.v)) { argument_error(lua, argument, "vector"); }
    return value;
}

ScriptQuat check_quat(lua_State* lua, int argument)
{
    ScriptQuat value{};
    if (!read_quat(lua, argument, value.q)) { argument_error(lua, argument, "quaternion"); }
    return value;
}

int give(lua_State* lua, const ScriptVec& value)
{
    push_vec(lua, value.v);
    return 1;
}

int give(lua_State* lua, const ScriptQuat& value)
{
    push_quat(lua, value.q);
    return 1;
}

int give(lua_State* lua, double value)
{
    lua_pushnumber(lua, value);
    return 1;
}

double dot3(const ScriptVec& a, const ScriptVec& b) { return a.v[0] * b.v[0] + a.v[1] * b.v[1] + a.v[2] * b.v[2]; }

ScriptVec cross3(const ScriptVec& a, const ScriptVec& b)
{
    return {{a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2], a.v[0] * b.v[1] - a.v[1] * b.v[0]}};
}

ScriptVec scaled(const ScriptVec& a, double factor) { return {{a.v[0] * factor, a.v[1] * factor, a.v[2] * factor}}; }

ScriptVec sum(const ScriptVec& a, const ScriptVec& b) { return {{a.v[0] + b.v[0], a.v[1] + b.v[1], a.v[2] + b.v[2]}}; }

double size4(const ScriptQuat& a) { return std::sqrt(a.q[0] * a.q[0] + a.q[1] * a.q[1] + a.q[2] * a.q[2] + a.q[3] * a.q[3]); }

// The identity for one without length.
ScriptQuat unit_quat(const ScriptQuat& a)
{
    const double size = size4(a);
    if (!(size > 0.0)) { return {{0.0, 0.0, 0.0, 1.0}}; }
    return {{a.q[0] / size, a.q[1] / size, a.q[2] / size, a.q[3] / size}};
}

ScriptQuat product(const ScriptQuat& a, const ScriptQuat& b)
{
    const double* p = a.q;
    const double* r = b.q;
    return {{p[3] * r[0] + p[0] * r[3] + p[1] * r[2] - p[2] * r[1], p[3] * r[1] - p[0] * r[2] + p[1] * r[3] + p[2] * r[0],
             p[3] * r[2] + p[0] * r[1] - p[1] * r[0] + p[2] * r[3], p[3] * r[3] - p[0] * r[0] - p[1] * r[1] - p[2] * r[2]}};
}

// v + 2 u x (u x v + w v), u the vector part of a unit quaternion.
ScriptVec rotated(const ScriptQuat& q, const ScriptVec& v)
{
    const ScriptVec u{{q.q[0], q.q[1], q.q[2]}};
    return sum(v, scaled(cross3(u, sum(cross3(u, v), scaled(v, q.q[3]))), 2.0));
}

int vec_new(lua_State* lua)
{
    if (lua_gettop(lua) == 1) { return give(lua, check_vec(lua, 1)); }
    return give(lua, ScriptVec{{luaL_optnumber(lua, 1, 0.0), luaL_optnumber(lua, 2, 0.0), luaL_optnumber(lua, 3, 0.0)}});
}

int vec_add(lua_State* lua) { return give(lua, sum(check_vec(lua, 1), check_vec(lua, 2))); }

int vec_sub(lua_State* lua) { return give(lua, sum(check_vec(lua, 1), scaled(check_vec(lua, 2), -1.0))); }

int vec_unm(lua_State* lua) { return give(lua, scaled(check_vec(lua, 1), -1.0)); }

int vec_mul(lua_State* lua)
{
    const bool factor_first = lua_type(lua, 1) == LUA_TNUMBER;
    return give(lua, scaled(check_vec(lua, factor_first ? 2 : 1), luaL_checknumber(lua, factor_first ? 1 : 2)));
}

int vec_div(lua_State* lua) { return give(lua, scaled(check_vec(lua, 1), 1.0 / luaL_checknumber(lua, 2))); }

int vec_eq(lua_State* lua)
{
    double a[3];
    double b[3];
    lua_pushboolean(lua, read_vec(lua, 1, a) && read_vec(lua, 2, b) && std::equal(a, a + 3, b));
    return 1;
}

int vec_len(lua_State* lua)
{
    lua_pushinteger(lua, 3);
    return 1;
}

int vec_tostring(lua_State* lua)
{
    const ScriptVec value = check_vec(lua, 1);
    char text[128];
    std::snprintf(text, sizeof text, "vec(%.6g, %.6g, %.6g)", value.v[0], value.v[1], value.v[2]);
    lua_pushstring(lua, text);
    return 1;
}

int vec_length(lua_State* lua)
{
    const ScriptVec value = check_vec(lua, 1);
    return give(lua, std::sqrt(dot3(value, value)));
}

int vec_normalized(lua_State* lua)
{
    const ScriptVec value = check_vec(lua, 1);
    const double size = std::sqrt(dot3(value, value));
    return give(lua, size > 0.0 ? scaled(value, 1.0 / size) : ScriptVec{});
}

int vec_distance(lua_State* lua)
{
    const ScriptVec apart = sum(check_vec(lua, 1), scaled(check_vec(lua, 2), -1.0));
    return give(lua, std::sqrt(dot3(apart, apart)));
}

int vec_dot(lua_State* lua) { return give(lua, dot3(check_vec(lua, 1), check_vec(lua, 2))); }

int vec_cross(lua_State* lua) { return give(lua, cross3(check_vec(lua, 1), check_vec(lua, 2))); }

int vec_lerp(lua_State* lua)
{
    const double alpha = luaL_checknumber(lua, 3);
    return give(lua, sum(scaled(check_vec(lua, 1), 1.0 - alpha), scaled(check_vec(lua, 2), alpha)));
}

int vec_unpack(lua_State* lua)
{
    const ScriptVec value = check_vec(lua, 1);
    for (const double component : value.v) { lua_pushnumber(lua, component); }
    return 3;
}

int quat_new(lua_State* lua)
{
    const ScriptQuat value{
        {luaL_optnumber(lua, 1, 0.0), luaL_optnumber(lua, 2, 0.0), luaL_optnumber(lua, 3, 0.0), luaL_optnumber(lua, 4, 1.0)}};
    return give(lua, value);
}

int quat_axis(lua_State* lua)
{
    const ScriptVec axis = check_vec(lua, 1);
    const double size = std::sqrt(dot3(axis, axis));
    const double half_rad = 0.5 * luaL_checknumber(lua, 2) * kRadians;
    const ScriptVec part = size > 0.0 ? scaled(axis, std::sin(half_rad) / size) : ScriptVec{};
    return give(lua, size > 0.0 ? ScriptQuat{{part.v[0], part.v[1], part.v[2], std::cos(half_rad)}} : ScriptQuat{{0.0, 0.0, 0.0, 1.0}});
}

int quat_mul(lua_State* lua)
{
    ScriptQuat right{};
    if (read_quat(lua, 2, right.q)) { return give(lua, product(check_quat(lua, 1), right)); }
    return give(lua, rotated(unit_quat(check_quat(lua, 1)), check_vec(lua, 2)));
}

int quat_conjugate(lua_State* lua)
{
    const ScriptQuat value = check_quat(lua, 1);
    return give(lua, ScriptQuat{{-value.q[0], -value.q[1], -value.q[2], value.q[3]}});
}

int quat_normalized(lua_State* lua) { return give(lua, unit_quat(check_quat(lua, 1))); }

int quat_rotate(lua_State* lua) { return give(lua, rotated(unit_quat(check_quat(lua, 1)), check_vec(lua, 2))); }

// The short way, normalized.
int quat_lerp(lua_State* lua)
{
    const ScriptQuat from = check_quat(lua, 1);
    const ScriptQuat to = check_quat(lua, 2);
    const double alpha = luaL_checknumber(lua, 3);
    const double facing = from.q[0] * to.q[0] + from.q[1] * to.q[1] + from.q[2] * to.q[2] + from.q[3] * to.q[3] < 0.0 ? -1.0 : 1.0;
    ScriptQuat between{};
    for (int i = 0; i < 4; ++i) { between.q[i] = from.q[i] * (1.0 - alpha) + to.q[i] * (facing * alpha); }
    return give(lua, unit_quat(between));
}

int quat_tostring(lua_State* lua)
{
    const ScriptQuat value = check_quat(lua, 1);
    char text[160];
    std::snprintf(text, sizeof text, "quat(%.6g, %.6g, %.6g, %.6g)", value.q[0], value.q[1], value.q[2], value.q[3]);
    lua_pushstring(lua, text);
    return 1;
}

// Place of a component by number from 1 or by letter; -1 when the key at `index` is neither.
int component_place(lua_State* lua, int index, int count)
{
    if (lua_type(lua, index) == LUA_TNUMBER)
    {
        int whole = 0;
        const lua_Integer number = lua_tointegerx(lua, index, &whole);
        return whole != 0 && number >= 1 && number <= count ? static_cast<int>(number - 1) : -1;
    }
    if (lua_type(lua, index) != LUA_TSTRING) { return -1; }
    const char* const key = lua_tostring(lua, index);
    const char* const letters = "xyzw";
    const char* const found = key[0] != '\0' && key[1] == '\0' ? std::strchr(letters, key[0]) : nullptr;
    return found != nullptr && found - letters < count ? static_cast<int>(found - letters) : -1;
}

// Components first, then the methods in upvalue 1.
template <int kCount>
int read_component(lua_State* lua)
{
    const auto* const values = static_cast<const double*>(luaL_checkudata(lua, 1, kCount == 3 ? kVecType : kQuatType));
    const int place = component_place(lua, 2, kCount);
    if (place >= 0) { return give(lua, values[place]); }
    lua_pushvalue(lua, 2);
    lua_rawget(lua, lua_upvalueindex(1));
    return 1;
}

template <int kCount>
int write_component(lua_State* lua)
{
    auto* const values = static_cast<double*>(luaL_checkudata(lua, 1, kCount == 3 ? kVecType : kQuatType));
    const int place = component_place(lua, 2, kCount);
    if (place < 0) { return luaL_error(lua, "no component \"%s\"", luaL_tolstring(lua, 2, nullptr)); }
    values[place] = luaL_checknumber(lua, 3);
    return 0;
}

constexpr luaL_Reg kVecOperators[] = {{"__add", vec_add}, {"__sub", vec_sub},           {"__mul", vec_mul},
                                      {"__div", vec_div}, {"__unm", vec_unm},           {"__eq", vec_eq},
                                      {"__len", vec_len}, {"__tostring", vec_tostring}, {"__newindex", write_component<3>},
                                      {nullptr, nullptr}};
constexpr luaL_Reg kVecMethods[] = {{"length", vec_length}, {"normalized", vec_normalized}, {"dot", vec_dot},       {"cross", vec_cross},
                                    {"lerp", vec_lerp},     {"distance", vec_distance},     {"unpack", vec_unpack}, {nullptr, nullptr}};
constexpr luaL_Reg kQuatOperators[] = {
    {"__mul", quat_mul}, {"__tostring", quat_tostring}, {"__newindex", write_component<4>}, {nullptr, nullptr}};
constexpr luaL_Reg kQuatMethods[] = {
    {"conjugate", quat_conjugate}, {"normalized", quat_normalized}, {"rotate", quat_rotate}, {"lerp", quat_lerp}, {nullptr, nullptr}};

void make_type(lua_State* lua, const char* type, const luaL_Reg* operators, const luaL_Reg* methods, lua_CFunction read)
{
    luaL_newmetatable(lua, type);
    luaL_setfuncs(lua, operators, 0);
    lua_newtable(lua);
    luaL_setfuncs(lua, methods, 0);
    lua_pushcclosure(lua, read, 1);
    lua_setfield(lua, -2, "__index");
    lua_pop(lua, 1);
}

bool read_number(lua_State* lua, double& out)
{
    const bool number = lua_type(lua, -1) == LUA_TNUMBER;
    if (number) { out = lua_tonumber(lua, -1); }
    lua_pop(lua, 1);
    return number;
}

// By place, else by letter; no metamethods are asked.
bool read_vec_table(lua_State* lua, int index, double out[3])
{
    const int table = lua_absindex(lua, index);
    for (int i = 0; i < 3; ++i)
    {
        lua_rawgeti(lua, table, i + 1);
        if (read_number(lua, out[i])) { continue; }
        lua_pushstring(lua, kVecMembers[i]);
        lua_rawget(lua, table);
        if (!read_number(lua, out[i])) { return false; }
    }
    return true;
}

template <class Value>
const Value* userdata_of(lua_State* lua, int index, const char* type)
{
    return lua_type(lua, index) == LUA_TUSERDATA ? static_cast<const Value*>(luaL_testudata(lua, index, type)) : nullptr;
}

}  // namespace

void open_script_values(lua_State* lua)
{
    make_type(lua, kVecType, kVecOperators, kVecMethods, read_component<3>);
    make_type(lua, kQuatType, kQuatOperators, kQuatMethods, read_component<4>);
    lua_register(lua, "vec", vec_new);
    lua_register(lua, "quat", quat_new);
    lua_register(lua, "quat_axis", quat_axis);
}

void push_vec(lua_State* lua, const double v[3])
{
    auto* const value = static_cast<ScriptVec*>(lua_newuserdatauv(lua, sizeof(ScriptVec), 0));
    std::copy(v, v + 3, value->v);
    luaL_setmetatable(lua, kVecType);
}

void push_quat(lua_State* lua, const double q[4])
{
    auto* const value = static_cast<ScriptQuat*>(lua_newuserdatauv(lua, sizeof(ScriptQuat), 0));
    std::copy(q, q + 4, value->q);
    luaL_setmetatable(lua, kQuatType);
}

void push_unit(lua_State* lua, uint32_t referenceId)
{
    auto* const value = static_cast<ScriptUnit*>(lua_newuserdatauv(lua, sizeof(ScriptUnit), 0));
    value->referenceId = referenceId;
    luaL_setmetatable(lua, kUnitType);
}

bool read_vec(lua_State* lua, int index, double out[3])
{
    if (const auto* const value = userdata_of<ScriptVec>(lua, index, kVecType))
    {
        std::copy(value->v, value->v + 3, out);
        return true;
    }
    return lua_type(lua, index) == LUA_TTABLE && read_vec_table(lua, index, out);
}

bool read_quat(lua_State* lua, int index, double out[4])
{
    const auto* const value = userdata_of<ScriptQuat>(lua, index, kQuatType);
    if (value != nullptr) { std::copy(value->q, value->q + 4, out); }
    return value != nullptr;
}

bool read_unit(lua_State* lua, int index, uint32_t& referenceId)
{
    const auto* const value = userdata_of<ScriptUnit>(lua, index, kUnitType);
    if (value != nullptr) { referenceId = value->referenceId; }
    return value != nullptr;
}

const char* script_type_name(lua_State* lua, int index)
{
    if (lua_type(lua, index) == LUA_TNONE) { return "nothing"; }
    for (const char* const type : {kVecType, kQuatType, kUnitType})
    {
        if (userdata_of<void>(lua, index, type) != nullptr) { return type; }
    }
    return luaL_typename(lua, index);
}

}  // namespace limbrex_host
