// Named members of a table that a script passes: `scene.unit{clip = c, heading = 90}`. Members of the wrong type, unknown members and numbers
// that are not finite end in one message that names function and member.
#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <string>

#include "host/scene_state.h"

struct lua_State;

namespace limbrex_host
{

class ScriptTable
{
public:
    // Reads the table that is argument 1 of `function`.
    ScriptTable(lua_State* lua, const char* function);

    bool has(const char* member);
    // Each leaves `out` alone when the member is not there, and notes a fault when it is something else.
    void read(const char* member, std::string& out);
    void read(const char* member, double& out);
    void read(const char* member, bool& out);
    void read(const char* member, std::array<double, 3>& out);  // a vector
    void read(const char* member, ScenePlace& out);             // a vector, or a function of the time
    void readColour(const char* member, uint32_t& argb);        // "#rrggbb", "#aarrggbb" or 0xAARRGGBB
    void readUnit(const char* member, uint32_t& referenceId);
    void readInteger(const char* member, int32_t& out);
    // Leaves the member on the stack and says its Lua type; the caller pops it.
    int push(const char* member);

    void require(const char* member);  // faults when it is missing
    void fault(const std::string& what);
    // To be called when all members were read: unknown ones are faults. True when there was no fault.
    bool done();
    const std::string& failure() const { return firstFault; }

private:
    void wrong(const char* member, const char* expected);

    lua_State* state;
    std::string function;
    std::string firstFault;
    std::set<std::string> known;
    bool table;
};

}  // namespace limbrex_host
