// The engine's script machine: Lua 5.4 with vectors, quaternions and unit handles, and tables of functions that plugins register.
//
// A call of a registered function never fails in Lua: an argument of the wrong type reaches the plugin as its neutral value, and the log
// gets one warning per place in the script: "walk.lua:12: Limbrex.character_push_pull: argument 2: integer expected, got table".
// Errors of the script itself come with file, line and traceback. Scripts reach no files and no processes; instructions per callback and
// memory are bounded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <set>
#include <string>
#include <vector>

#include "host/log.h"
#include "host/script_call.h"
#include "host/units.h"
#include "plugin/limbrex_plugin.h"

struct lua_Debug;
struct lua_State;

namespace limbrex_host
{

struct ScriptLimits
{
    uint64_t instructions = 50'000'000;  // of one callback
    size_t memoryBytes = size_t{512} * 1024 * 1024;
};

class ScriptHost
{
public:
    ScriptHost(HostLog& hostLog, const HostUnits& hostUnits);
    ~ScriptHost();
    ScriptHost(const ScriptHost&) = delete;
    ScriptHost& operator=(const ScriptHost&) = delete;

    // A fresh machine with every function registered so far; false: no memory.
    bool open(const ScriptLimits& limits);
    void close();
    lua_State* lua() const { return state; }

    // What plugins call. A name registered again is replaced.
    void register_function(const char* space, const char* name, ScriptFunction function);

    // False with `error` (file, line, traceback). `chunk` names the text in messages.
    bool run_text(const std::string& text, const std::string& chunk, std::string& error);
    bool run_file(const std::string& path, std::string& error);
    // Calls a global function with numbers; a script without it is content.
    bool call_global(const char* name, const std::vector<double>& arguments, std::string& error);
    // Calls what lies on the stack under `argument_count` arguments, leaves `result_count` results or nothing.
    bool protected_call(int argument_count, int result_count, const std::string& what, std::string& error);

    // The engine calling a registered function itself. False: no such function. Faults are logged under "host".
    bool call_registered(const std::string& name, std::vector<ScriptValue> arguments, std::vector<ScriptValue>& results);
    bool has_registered(const std::string& name) const { return find_registered(name) != nullptr; }

    const HostUnits& units() const { return unitRegistry; }
    HostLog& log() { return messages; }
    uint64_t warnings() const { return warned.size(); }  // different ones

private:
    struct Registered
    {
        ScriptHost* host;
        std::string space, name, fullName;
        ScriptFunction function;
        ScriptCall call;  // kept, so that calls in later frames find their storage
    };

    static int enter(lua_State* lua);
    static int print(lua_State* lua);
    static void watch(lua_State* lua, lua_Debug* where);
    static void* reallocate(void* host, void* block, size_t old_size, size_t new_size);

    Registered* find_registered(const std::string& full_name) const;
    void install(const Registered& function);
    void report_faults(lua_State* lua, const ScriptCall& call);

    HostLog& messages;
    const HostUnits& unitRegistry;
    lua_State* state = nullptr;
    ScriptLimits bounds;
    uint64_t instructionsLeft = 0;
    size_t memoryUsed = 0;
    int depth = 0;
    mutable std::deque<Registered> functions;
    std::set<std::string> warned;
};

}  // namespace limbrex_host
