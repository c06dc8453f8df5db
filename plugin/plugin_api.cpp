// The plugin's one exported symbol and the two tables behind it.
#include "limbrex/limbrex.h"
#include "limbrex/math/float_scope.h"
#include "plugin/lifecycle.h"
#include "resources/murmur_hash.h"

namespace
{

constexpr const char* kPluginName = "limbrex_plugin";
constexpr uint32_t kHookTableId = 0;

PluginHookTable g_hooks;
PluginNodeNameTable g_node_names;

const char* get_plugin_name() { return kPluginName; }
void empty_hook() {}

int node_id_from_name(const char* name)
{
    const lbx::SolverFloatScope scope;
    return LBXGetNodeIdFromName(name);
}
const char* node_name_from_id(int node_id)
{
    const lbx::SolverFloatScope scope;
    return LBXGetNodeNameFromId(node_id);
}

void* hook_table()
{
    g_hooks.get_plugin_name = get_plugin_name;
    g_hooks.setup_resource_types = hooks::setup_resource_types;
    g_hooks.shutdown_resource_types = hooks::shutdown_resource_types;
    g_hooks.empty_hook = empty_hook;
    g_hooks.begin_gameplay = hooks::begin_gameplay;
    g_hooks.end_gameplay = hooks::end_gameplay;
    g_hooks.world_added = hooks::world_added;
    g_hooks.world_removed = hooks::world_removed;
    g_hooks.on_units_created = hooks::on_units_created;
    g_hooks.on_units_removed = hooks::on_units_removed;
    g_hooks.render_world = hooks::render_world;
    return &g_hooks;
}

void* node_name_table()
{
    g_node_names.node_id_from_name = node_id_from_name;
    g_node_names.node_name_from_id = node_name_from_id;
    return &g_node_names;
}

}  // namespace

extern "C" void* get_plugin_api(uint32_t id)
{
    if (id == kHookTableId) return hook_table();
    if (id == name_hash_32(kPluginName)) return node_name_table();
    return nullptr;
}
