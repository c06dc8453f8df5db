#include "host/plugin_library.h"

#include <filesystem>

#include <dlfcn.h>

#include "host/murmur.h"

namespace limbrex_host
{
namespace
{

template <class Hook, class... Arguments>
void call_hook(const PluginHookTable* hooks, Hook PluginHookTable::*hook, Arguments... arguments)
{
    if (hooks != nullptr && hooks->*hook != nullptr) { (hooks->*hook)(arguments...); }
}

}  // namespace

PluginLibrary::~PluginLibrary() { unload(); }

bool PluginLibrary::load(const std::string& path, std::string& error)
{
    unload();
    // A name without a folder would be searched for in the system's library folders.
    std::error_code code;
    const std::filesystem::path full = std::filesystem::absolute(path, code);
    library = dlopen(full.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
    {
        const char* const reason = dlerror();
        error = path + ": cannot be loaded as a plugin" + (reason != nullptr ? std::string(" (") + reason + ")" : "");
        return false;
    }
    door = reinterpret_cast<void* (*)(uint32_t)>(dlsym(library, "get_plugin_api"));
    hooks = door != nullptr ? static_cast<const PluginHookTable*>(door(0)) : nullptr;
    if (hooks == nullptr)
    {
        error = path + (door == nullptr ? ": exports no get_plugin_api, so it is no plugin" : ": get_plugin_api(0) gave no hook table");
        unload();
        return false;
    }
    return true;
}

void PluginLibrary::unload()
{
    if (library != nullptr) { dlclose(library); }
    library = nullptr;
    door = nullptr;
    hooks = nullptr;
}

const char* PluginLibrary::name() const { return hooks != nullptr && hooks->get_plugin_name != nullptr ? hooks->get_plugin_name() : ""; }

void* PluginLibrary::api(uint32_t id) const { return door != nullptr ? door(id) : nullptr; }

const PluginNodeNameTable* PluginLibrary::node_names() const
{
    return static_cast<const PluginNodeNameTable*>(api(node_name_hash("limbrex_plugin")));
}

std::string PluginLibrary::node_name(int node_id) const
{
    const PluginNodeNameTable* const table = node_names();
    const char* const found = table != nullptr && table->node_name_from_id != nullptr ? table->node_name_from_id(node_id) : nullptr;
    return found != nullptr ? found : std::to_string(node_id);
}

void PluginLibrary::setup_resource_types(GetApi get_api) const { call_hook(hooks, &PluginHookTable::setup_resource_types, get_api); }
void PluginLibrary::shutdown_resource_types(GetApi get_api) const { call_hook(hooks, &PluginHookTable::shutdown_resource_types, get_api); }
void PluginLibrary::begin_gameplay(GetApi get_api) const { call_hook(hooks, &PluginHookTable::begin_gameplay, get_api); }
void PluginLibrary::end_gameplay() const { call_hook(hooks, &PluginHookTable::end_gameplay); }
void PluginLibrary::world_added(World* world) const { call_hook(hooks, &PluginHookTable::world_added, world); }
void PluginLibrary::world_removed(World* world) const { call_hook(hooks, &PluginHookTable::world_removed, world); }
void PluginLibrary::on_units_created(Unit* const* units, uint32_t count) const
{
    call_hook(hooks, &PluginHookTable::on_units_created, units, count);
}
void PluginLibrary::on_units_removed(Unit* const* units, uint32_t count) const
{
    call_hook(hooks, &PluginHookTable::on_units_removed, units, count);
}
void PluginLibrary::render_world(World* world, void* render_argument) const
{
    call_hook(hooks, &PluginHookTable::render_world, world, render_argument);
}

}  // namespace limbrex_host
