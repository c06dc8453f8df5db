#include "host/script.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <fmt/format.h>
#include <lua.hpp>

#include "host/script_convert.h"
#include "host/script_values.h"
#include "host/source_tree.h"

namespace limbrex_host
{
namespace
{

constexpr int kWatchEvery = 1000;  // instructions between two looks at the budget

const luaL_Reg kLibraries[] = {{LUA_GNAME, luaopen_base},       {LUA_TABLIBNAME, luaopen_table}, {LUA_STRLIBNAME, luaopen_string},
                               {LUA_MATHLIBNAME, luaopen_math}, {LUA_UTF8LIBNAME, luaopen_utf8}, {LUA_COLIBNAME, luaopen_coroutine}};
// Doors to files, and to code that did not come through the loader.
constexpr const char* kRemovedGlobals[] = {"dofile", "loadfile", "load", "collectgarbage"};

ScriptHost* host_of(lua_State* lua) { return *static_cast<ScriptHost**>(lua_getextraspace(lua)); }

int add_traceback(lua_State* lua)
{
    const char* text = lua_tostring(lua, 1);
    if (text == nullptr) { text = luaL_tolstring(lua, 1, nullptr); }
    luaL_traceback(lua, lua, text, 1);
    return 1;
}

// Opens libraries and types. Runs protected, since every step may run out of memory.
int open_everything(lua_State* lua)
{
    for (const luaL_Reg& library : kLibraries)
    {
        luaL_requiref(lua, library.name, library.func, 1);
        lua_pop(lua, 1);
    }
    for (const char* const name : kRemovedGlobals)
    {
        lua_pushnil(lua);
        lua_setglobal(lua, name);
    }
    open_script_values(lua);
    return 0;
}

int unit_eq(lua_State* lua)
{
    uint32_t a = 0;
    uint32_t b = 0;
    lua_pushboolean(lua, read_unit(lua, 1, a) && read_unit(lua, 2, b) && a == b);
    return 1;
}

int unit_tostring(lua_State* lua)
{
    uint32_t id = 0;
    const HostUnit* const unit = read_unit(lua, 1, id) ? host_of(lua)->units().resolve(id) : nullptr;
    if (unit == nullptr) { lua_pushstring(lua, "unit (deleted)"); }
    else { lua_pushfstring(lua, "unit \"%s\"", unit->name.c_str()); }
    return 1;
}

int unit_valid(lua_State* lua)
{
    uint32_t id = 0;
    lua_pushboolean(lua, read_unit(lua, 1, id) && host_of(lua)->units().resolve(id) != nullptr);
    return 1;
}

int open_unit_type(lua_State* lua)
{
    luaL_newmetatable(lua, kUnitType);
    constexpr luaL_Reg kOperators[] = {{"__eq", unit_eq}, {"__tostring", unit_tostring}, {nullptr, nullptr}};
    luaL_setfuncs(lua, kOperators, 0);
    lua_newtable(lua);
    lua_pushcfunction(lua, unit_valid);
    lua_setfield(lua, -2, "valid");
    lua_setfield(lua, -2, "__index");
    lua_pop(lua, 1);
    return 0;
}

struct GlobalCall
{
    const char* name;
    const double* arguments;
    size_t count;
};

// Globals are read raw: a script may have made reading unknown ones an error.
int call_global_body(lua_State* lua)
{
    const auto& call = *static_cast<const GlobalCall*>(lua_touserdata(lua, 1));
    lua_pushglobaltable(lua);
    lua_pushstring(lua, call.name);
    if (lua_rawget(lua, -2) != LUA_TFUNCTION) { return 0; }
    luaL_checkstack(lua, static_cast<int>(call.count), "arguments");
    for (size_t i = 0; i < call.count; ++i) { lua_pushnumber(lua, call.arguments[i]); }
    lua_call(lua, static_cast<int>(call.count), 0);
    return 0;
}

}  // namespace

ScriptHost::ScriptHost(HostLog& hostLog, const HostUnits& hostUnits) : messages(hostLog), unitRegistry(hostUnits) {}

ScriptHost::~ScriptHost() { close(); }

void* ScriptHost::reallocate(void* host, void* block, size_t old_size, size_t new_size)
{
    auto& self = *static_cast<ScriptHost*>(host);
    const size_t before = block != nullptr ? old_size : 0;
    if (new_size == 0)
    {
        std::free(block);
        self.memoryUsed -= before;
        return nullptr;
    }
    if (new_size > before && self.memoryUsed + (new_size - before) > self.bounds.memoryBytes) { return nullptr; }
    void* const moved = std::realloc(block, new_size);
    if (moved != nullptr) { self.memoryUsed = self.memoryUsed + new_size - before; }
    return moved;
}

bool ScriptHost::open(const ScriptLimits& limits)
{
    close();
    bounds = limits;
    warned.clear();
    state = lua_newstate(reallocate, this);
    if (state == nullptr) { return false; }
    *static_cast<ScriptHost**>(lua_getextraspace(state)) = this;
    std::string error;
    lua_pushcfunction(state, open_everything);
    bool opened = protected_call(0, 0, "libraries", error);
    lua_pushcfunction(state, open_unit_type);
    opened = opened && protected_call(0, 0, "unit type", error);
    if (!opened)
    {
        close();
        return false;
    }
    lua_register(state, "print", print);
    for (const Registered& function : functions) { install(function); }
    return true;
}

void ScriptHost::close()
{
    if (state != nullptr) { lua_close(state); }
    state = nullptr;
    depth = 0;
}

void ScriptHost::register_function(const char* space, const char* name, ScriptFunction function)
{
    if (space == nullptr || name == nullptr || function == nullptr)
    {
        messages.error("a plugin registered a script function without space, name or address");
        return;
    }
    const std::string full_name = std::string(space) + "." + name;
    Registered* record = find_registered(full_name);
    if (record == nullptr)
    {
        functions.push_back({this, space, name, full_name, function, {}});
        record = &functions.back();
        record->call.function = full_name;
    }
    record->function = function;
    if (state != nullptr) { install(*record); }
}

ScriptHost::Registered* ScriptHost::find_registered(const std::string& full_name) const
{
    const auto found =
        std::find_if(functions.begin(), functions.end(), [&full_name](const Registered& each) { return each.fullName == full_name; });
    return found == functions.end() ? nullptr : &*found;
}

// The space is a global table; the function's record goes along as the closure's own value.
void ScriptHost::install(const Registered& function)
{
    lua_getglobal(state, function.space.c_str());
    if (lua_type(state, -1) != LUA_TTABLE)
    {
        lua_pop(state, 1);
        lua_newtable(state);
        lua_pushvalue(state, -1);
        lua_setglobal(state, function.space.c_str());
    }
    lua_pushlightuserdata(state, const_cast<Registered*>(&function));
    lua_pushcclosure(state, enter, 1);
    lua_setfield(state, -2, function.name.c_str());
    lua_pop(state, 1);
}

// Script to plugin. Arguments are copied out before and results pushed after; Lua's errors jump, so this frame owns nothing.
int ScriptHost::enter(lua_State* lua)
{
    auto& record = *static_cast<Registered*>(lua_touserdata(lua, lua_upvalueindex(1)));
    ScriptCall& call = record.call;
    const int given = lua_gettop(lua);
    if (given > ScriptCall::kArgumentLimit)
    {
        return luaL_error(lua, "%s: more than %d arguments", record.fullName.c_str(), ScriptCall::kArgumentLimit);
    }
    call.arguments.resize(static_cast<size_t>(given));
    call.results.clear();
    call.faults.clear();
    for (int i = 0; i < given; ++i) { read_script_value(lua, i + 1, call.arguments[static_cast<size_t>(i)]); }

    const int promised = record.function(reinterpret_cast<ScriptState*>(&call));

    if (!call.faults.empty()) { record.host->report_faults(lua, call); }
    const int count = std::clamp(promised, 0, static_cast<int>(call.results.size()));
    luaL_checkstack(lua, count + 4, "results");
    for (int i = 0; i < count; ++i) { push_script_value(lua, call.results[call.results.size() - static_cast<size_t>(count - i)]); }
    return count;
}

void ScriptHost::report_faults(lua_State* lua, const ScriptCall& call)
{
    std::string where = "host";
    lua_Debug caller{};
    if (lua != nullptr && lua_getstack(lua, 1, &caller) != 0 && lua_getinfo(lua, "Sl", &caller) != 0)
    {
        where = fmt::format("{}:{}", caller.short_src, caller.currentline);
    }
    for (const ArgumentFault& fault : call.faults)
    {
        const std::string text =
            fmt::format("{}: {}: argument {}: {} expected, got {}", where, call.function, fault.argument, fault.expected, fault.got);
        if (warned.insert(text).second) { messages.write(LogLevel::Warning, "script", text.c_str()); }
    }
}

bool ScriptHost::call_registered(const std::string& name, std::vector<ScriptValue> arguments, std::vector<ScriptValue>& results)
{
    results.clear();
    Registered* const record = find_registered(name);
    if (record == nullptr) { return false; }
    ScriptCall call;
    call.function = record->fullName;
    call.arguments = std::move(arguments);
    const int promised = record->function(reinterpret_cast<ScriptState*>(&call));
    if (!call.faults.empty()) { report_faults(nullptr, call); }
    const auto count = static_cast<ptrdiff_t>(std::clamp(promised, 0, static_cast<int>(call.results.size())));
    results.assign(call.results.end() - count, call.results.end());
    return true;
}

int ScriptHost::print(lua_State* lua)
{
    luaL_Buffer text;
    const int count = lua_gettop(lua);
    luaL_buffinit(lua, &text);
    for (int i = 1; i <= count; ++i)
    {
        if (i > 1) { luaL_addchar(&text, '\t'); }
        luaL_tolstring(lua, i, nullptr);
        luaL_addvalue(&text);
    }
    luaL_pushresult(&text);
    host_of(lua)->messages.say("script", lua_tostring(lua, -1));
    return 0;
}

// Once the budget is spent, every further instruction fails too, so a script cannot catch the error and go on.
void ScriptHost::watch(lua_State* lua, lua_Debug* /*where*/)
{
    ScriptHost& self = *host_of(lua);
    if (self.instructionsLeft > kWatchEvery)
    {
        self.instructionsLeft -= kWatchEvery;
        return;
    }
    self.instructionsLeft = 0;
    lua_sethook(lua, watch, LUA_MASKCOUNT, 1);
    luaL_error(lua, "the script ran more than %I instructions in one go; is there an endless loop?",
               static_cast<LUAI_UACINT>(self.bounds.instructions));
}

bool ScriptHost::protected_call(int argument_count, int result_count, const std::string& what, std::string& error)
{
    if (depth == 0)
    {
        instructionsLeft = bounds.instructions;
        lua_sethook(state, watch, LUA_MASKCOUNT, kWatchEvery);
    }
    const int place = lua_gettop(state) - argument_count;
    lua_pushcfunction(state, add_traceback);
    lua_insert(state, place);
    ++depth;
    const int outcome = lua_pcall(state, argument_count, result_count, place);
    --depth;
    lua_remove(state, place);
    if (outcome == LUA_OK) { return true; }
    const char* const text = lua_tostring(state, -1);
    error = text != nullptr ? text : "error without text";
    if (outcome == LUA_ERRMEM) { error = fmt::format("{}: the script needs more than {} bytes of memory", what, bounds.memoryBytes); }
    lua_pop(state, 1);
    return false;
}

bool ScriptHost::run_text(const std::string& text, const std::string& chunk, std::string& error)
{
    const std::string name = "@" + chunk;
    // "t": text only. A compiled chunk could do anything.
    if (luaL_loadbufferx(state, text.data(), text.size(), name.c_str(), "t") != LUA_OK)
    {
        const char* const fault = lua_tostring(state, -1);
        error = fault != nullptr ? fault : chunk + ": cannot be loaded";
        lua_pop(state, 1);
        return false;
    }
    return protected_call(0, 0, chunk, error);
}

bool ScriptHost::run_file(const std::string& path, std::string& error)
{
    std::string text;
    return read_file(path, text, error) && run_text(text, path, error);
}

bool ScriptHost::call_global(const char* name, const std::vector<double>& arguments, std::string& error)
{
    GlobalCall call{name, arguments.data(), arguments.size()};
    lua_pushcfunction(state, call_global_body);
    lua_pushlightuserdata(state, &call);
    return protected_call(1, 0, name, error);
}

}  // namespace limbrex_host
