#include "plugin/lifecycle.h"

#include <new>

#include "contexts/character_context.h"
#include "contexts/character_evaluation.h"
#include "contexts/creature_context.h"
#include "contexts/world_registry.h"
#include "debug/line_buffer.h"
#include "plugin/script_table.h"
#include "resources/character_compiler.h"
#include "resources/creature_compiler.h"
#include "resources/host_services.h"
#include "resources/murmur_hash.h"
#include "resources/plugin_allocator.h"
#include "resources/plugin_state.h"

namespace
{

struct ResourceTypeRow
{
    const char* name;
    CompileFunction compile;
};
constexpr ResourceTypeRow kResourceTypes[] = {{"character", compile_character}, {"creature", compile_creature}};
constexpr int32_t kCompilerVersion = 1;

uint64_t character_type_key()
{
    static const uint64_t key = murmur_hash_64("character", 9);
    return key;
}

// The rig under the unit's own resource name; null when there is none.
const void* rig_of_unit(Unit* unit) { return host_services().resource->get_key(character_type_key(), host_services().unit->resource_name(unit)); }

// Everything of one world in one frame: characters before creatures, each in order of creation.
void update_world_contexts(World* world, float step_s)
{
    WorldRecord* record = find_world_record(world);
    if (!record) return;
    for (int32_t i = 0; i < record->characters.count; ++i)
    {
        Unit* unit = record->characters.entries[i]->unit;
        if (unit) evaluate_character(*record, unit, world, rig_of_unit(unit), view_node_tree(unit), step_s);
    }
}

// True when the context's unit is gone, or its place was taken by another.
bool is_stale(Unit* unit, uint32_t reference) { return unit && host_services().unitHandle->resolve(reference) != unit; }

// Takes out stale contexts until the budget is spent.
template <class Context>
void remove_stale(WorldRecord& record, const ContextList<Context>& list, void (*remove_at)(WorldRecord&, int32_t), int32_t& budget)
{
    for (int32_t i = 0; i < list.count && budget > 0;)
    {
        if (is_stale(list.entries[i]->unit, list.entries[i]->unitReference))
        {
            remove_at(record, i);
            --budget;
        }
        else { ++i; }
    }
}

void release_line_object(WorldRecord& record)
{
    if (host_services().line && record.drawingContext && record.lineObject)
    {
        host_services().line->destroy(record.drawingContext, record.lineObject);
    }
    record.drawingContext = nullptr;
    record.lineObject = nullptr;
}

WorldRegistry* create_registry()
{
    void* block = plugin_allocate(sizeof(WorldRegistry), alignof(WorldRegistry));
    return block ? new (block) WorldRegistry() : nullptr;
}

}  // namespace

namespace hooks
{

void setup_resource_types(GetApi get_api)
{
    acquire_host_services(get_api);
    for (const ResourceTypeRow& type : kResourceTypes)
    {
        host_services().compilerRegistry->register_compiler(type.name, kCompilerVersion, type.compile);
        host_services().compilerRegistry->declare_type(type.name);
    }
}

void shutdown_resource_types(GetApi get_api)
{
    acquire_host_services(get_api);
    for (const ResourceTypeRow& type : kResourceTypes) host_services().resource->release_type(type.name);
}

void begin_gameplay(GetApi get_api)
{
    acquire_host_services(get_api);
    PluginState& state = plugin_state();
    if (state.debugLineBuffer || state.worldRegistry) return;  // begun already
    if (!open_plugin_allocator()) return;
    state.debugLineBuffer = create_line_buffer();
    state.worldRegistry = state.debugLineBuffer ? create_registry() : nullptr;
    if (!state.worldRegistry)
    {
        // Without memory there is no gameplay: everything stays as before, and the hooks do nothing.
        destroy_line_buffer(state.debugLineBuffer);
        state.debugLineBuffer = nullptr;
        close_plugin_allocator();
        return;
    }
    register_script_functions();
}

void world_added(World* world)
{
    host_services().world->register_update(world, update_world_contexts);
    if (!plugin_state().worldRegistry) return;
    WorldRecord* record = add_world_record(*plugin_state().worldRegistry, world);
    if (!record) return;
    record->drawingContext = host_services().world->drawing_context(world);
    record->lineObject = host_services().line ? host_services().line->create(record->drawingContext) : nullptr;
}

void world_removed(World* world)
{
    // The world's line object goes with the world's drawing context, which is the engine's.
    if (WorldRecord* record = find_world_record(world)) remove_world_record(*plugin_state().worldRegistry, record);
}

void on_units_created(Unit* const* units, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        World* world = host_services().unit->world(units[i]);
        WorldRecord* record = find_world_record(world);
        if (!record) continue;
        const uint64_t name = host_services().unit->resource_name(units[i]);
        if (!host_services().resource->has_key(character_type_key(), name)) continue;
        evaluate_character(*record, units[i], world, host_services().resource->get_key(character_type_key(), name), view_node_tree(units[i]), 0.0f);
    }
}

void on_units_removed(Unit* const* units, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        WorldRecord* record = world_record_of_unit(units[i]);
        if (!record) continue;
        int32_t budget = 1;  // one stale context for each unit that went
        remove_stale(*record, record->characters, remove_character_context_at, budget);
        remove_stale(*record, record->creatures, remove_creature_context_at, budget);
    }
}

void render_world(World* world, void* render_argument)
{
    const WorldRecord* record = find_world_record(world);
    if (!record || !host_services().line || !record->drawingContext || !record->lineObject) return;
    flush_lines(*plugin_state().debugLineBuffer, record->drawingContext, render_argument, record->lineObject);
}

void end_gameplay()
{
    PluginState& state = plugin_state();
    if (state.worldRegistry)
    {
        for_each_world(*state.worldRegistry,
                       [](WorldRecord& record)
                       {
                           release_context_lists(record);
                           release_line_object(record);
                       });
        for_each_world(*state.worldRegistry, [](WorldRecord& record) { plugin_deallocate(&record); });
        clear_world_keys(*state.worldRegistry);
    }
    destroy_line_buffer(state.debugLineBuffer);
    state.debugLineBuffer = nullptr;
    plugin_deallocate(state.worldRegistry);
    state.worldRegistry = nullptr;
    close_plugin_allocator();
}

}  // namespace hooks
