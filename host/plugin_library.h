// The plugin's shared library, reached through its one exported symbol, and its hooks. A hook that the plugin does not offer is skipped.
#pragma once

#include <cstdint>
#include <string>

#include "plugin/limbrex_plugin.h"

namespace limbrex_host
{

class PluginLibrary
{
public:
    PluginLibrary() = default;
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    // False with `error` for a file that is no plugin; then nothing is loaded.
    bool load(const std::string& path, std::string& error);
    void unload();
    bool loaded() const { return library != nullptr; }

    const char* name() const;
    void* api(uint32_t id) const;                   // get_plugin_api(id); null when nothing is loaded
    const PluginNodeNameTable* node_names() const;  // null when the plugin has none
    std::string node_name(int node_id) const;       // of the template; its number for one without a name

    void setup_resource_types(GetApi get_api) const;
    void shutdown_resource_types(GetApi get_api) const;
    void begin_gameplay(GetApi get_api) const;
    void end_gameplay() const;
    void world_added(World* world) const;
    void world_removed(World* world) const;
    void on_units_created(Unit* const* units, uint32_t count) const;
    void on_units_removed(Unit* const* units, uint32_t count) const;
    void render_world(World* world, void* render_argument) const;

private:
    void* library = nullptr;
    void* (*door)(uint32_t) = nullptr;
    const PluginHookTable* hooks = nullptr;
};

}  // namespace limbrex_host
