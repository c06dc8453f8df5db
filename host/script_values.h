// Vectors, quaternions and unit handles as script values.
//
//   local v = vec(1, 2, 3)        v.x  v[1]  v + w  v - w  -v  2 * v  v / 2  v == w  #v is 3
//   v:length()  v:normalized()  v:dot(w)  v:cross(w)  v:lerp(w, 0.5)  v:distance(w)  v:unpack()
//   local q = quat(x, y, z, w)    q.x  q[1]  q * p  q * v  q:conjugate()  q:normalized()  q:lerp(p, 0.5)  q:rotate(v)
//   local r = quat_axis(vec(0, 0, 1), 90)      degrees
// Wherever a vector is taken, a table {1, 2, 3} or {x = 1, y = 2, z = 3} will do.
#pragma once

#include <cstdint>

struct lua_State;

namespace limbrex_host
{

constexpr const char* kVecType = "vec";
constexpr const char* kQuatType = "quat";
constexpr const char* kUnitType = "unit";

struct ScriptVec
{
    double v[3];
};
struct ScriptQuat
{
    double q[4];
};
struct ScriptUnit
{
    uint32_t referenceId;  // the handle is null once nothing answers to this id
};

// Metatables and the global functions vec, quat, quat_axis. May raise a memory error, like the pushes.
void open_script_values(lua_State* lua);
void push_vec(lua_State* lua, const double v[3]);
void push_quat(lua_State* lua, const double q[4]);
void push_unit(lua_State* lua, uint32_t referenceId);

// These raise nothing: false when the value at `index` is no such thing.
bool read_vec(lua_State* lua, int index, double out[3]);
bool read_quat(lua_State* lua, int index, double out[4]);
bool read_unit(lua_State* lua, int index, uint32_t& referenceId);

// "vec", "quat", "unit" for those, else Lua's own name of the type; "nothing" past the last argument.
const char* script_type_name(lua_State* lua, int index);

}  // namespace limbrex_host
