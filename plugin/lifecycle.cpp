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
#include "resources/log.h"
#include "resources/plugin_allocator.h"
#include "resources/plugin_state.h"

namespace
{

// A kind of rig: its resource type and what is done with a unit that has one.
struct RigKind
{
    const char* typeName;
    uint64_t typeKey;  // hash of the name
    CompileFunction compile;
    void (*evaluate)(WorldRecord& record, Unit* unit, World* world, const void* resource, const NodeTreeView& tree, float step_s);
};
constexpr RigKind kRigKinds[] = {
    // Characters come before creatures in everything that is done for both.
    {"character", 0x394E4FEF3B347BA9u, compile_character, evaluate_character},
    {"creature", 0x2B79AD2B80E86006u, compile_creature, evaluate_creature},
};
constexpr const RigKind& kCharacters = kRigKinds[0];
constexpr const RigKind& kCreatures = kRigKinds[1];
constexpr int32_t kCompilerVersion = 1;

// True when the context's unit is gone, or its place was taken by another.
bool is_stale(Unit* unit, uint32_t reference) { return unit && host_services().unitHandle->resolve(reference) != unit; }

// A context whose unit is gone waits for its removal: what the engine would be asked about is no unit any more.
template <class Context>
void update_contexts(WorldRecord& record, const ContextList<Context>& list, const RigKind& kind, float step_s)
{
    for (int32_t i = 0; i < list.count; ++i)
    {
        Unit* unit = list.entries[i]->unit;
        if (!unit || is_stale(unit, list.entries[i]->unitReference)) continue;
        const void* resource = host_services().resource->get_key(kind.typeKey, host_services().unit->resource_name(unit));
        kind.evaluate(record, unit, record.world, resource, view_node_tree(unit), step_s);
    }
}

// Everything of one world in one frame, each list in order of creation.
void update_world_contexts(World* world, float step_s)
{
    WorldRecord* record = record_of_world(world);
    if (!record) return;
    update_contexts(*record, record->characters, kCharacters, step_s);
    update_contexts(*record, record->creatures, kCreatures, step_s);
}

// Makes and evaluates the context of a unit whose own resource name is that of a rig.
void evaluate_created_unit(WorldRecord& record, Unit* unit, const RigKind& kind)
{
    const HostResourceService& resources = *host_services().resource;
    const uint64_t name = host_services().unit->resource_name(unit);
    if (!resources.has_key(kind.typeKey, name)) return;
    kind.evaluate(record, unit, record.world, resources.get_key(kind.typeKey, name), view_node_tree(unit), 0.0f);
}

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

bool offers_compiling(const HostServices& services) { return services.compilerRegistry && services.compileInput && services.memory; }

bool offers_gameplay(const HostServices& services)
{
    return services.script && services.memory && services.resource && services.unit && services.nodeTree && services.unitHandle &&
           services.world;
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
    if (!offers_compiling(host_services())) return;
    for (const RigKind& kind : kRigKinds)
    {
        host_services().compilerRegistry->register_compiler(kind.typeName, kCompilerVersion, kind.compile);
        host_services().compilerRegistry->declare_type(kind.typeName);
    }
}

void shutdown_resource_types(GetApi get_api)
{
    acquire_host_services(get_api);
    if (!host_services().resource) return;
    for (const RigKind& kind : kRigKinds) host_services().resource->release_type(kind.typeName);
}

void begin_gameplay(GetApi get_api)
{
    acquire_host_services(get_api);
    PluginState& state = plugin_state();
    if (state.debugLineBuffer) return;  // begun already
    if (!offers_gameplay(host_services()))
    {
        log_error("The engine lacks a service: nothing is animated");
        return;
    }
    if (!open_plugin_allocator()) return;
    state.debugLineBuffer = create_line_buffer();
    state.worldRegistry = state.debugLineBuffer ? create_registry() : nullptr;
    if (!state.worldRegistry)
    {
        log_error("There is no memory to begin with: nothing is animated");
        destroy_line_buffer(state.debugLineBuffer);
        state.debugLineBuffer = nullptr;
        close_plugin_allocator();
        return;
    }
    register_script_functions();
}

void world_added(World* world)
{
    const HostServices& services = host_services();
    if (!services.world) return;
    services.world->register_update(world, update_world_contexts);
    if (!plugin_state().worldRegistry) return;
    if (WorldRecord* earlier = record_of_world(world)) release_line_object(*earlier);
    WorldRecord* record = add_world_record(*plugin_state().worldRegistry, world);
    if (!record) return;
    record->drawingContext = services.world->drawing_context(world);
    if (services.line && record->drawingContext) record->lineObject = services.line->create(record->drawingContext);
}

void world_removed(World* world)
{
    // The world's line object goes with the world's drawing context, which is the engine's.
    if (WorldRecord* record = record_of_world(world)) remove_world_record(*plugin_state().worldRegistry, record);
}

void on_units_created(Unit* const* units, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        WorldRecord* record = world_record_of_unit(units[i]);
        if (!record) continue;
        for (const RigKind& kind : kRigKinds) evaluate_created_unit(*record, units[i], kind);
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
    const WorldRecord* record = record_of_world(world);
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
        reset_world_registry(*state.worldRegistry);
    }
    destroy_line_buffer(state.debugLineBuffer);
    state.debugLineBuffer = nullptr;
    plugin_deallocate(state.worldRegistry);
    state.worldRegistry = nullptr;
    close_plugin_allocator();
}

}  // namespace hooks
