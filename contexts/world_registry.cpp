#include "contexts/world_registry.h"

#include <cstring>
#include <new>

#include "contexts/character_context.h"
#include "contexts/creature_context.h"
#include "resources/host_services.h"
#include "resources/plugin_allocator.h"
#include "resources/plugin_state.h"

namespace
{

constexpr int32_t kListStep = 32;

template <class Context>
Context* find_in(const ContextList<Context>& list, const Unit* unit)
{
    for (int32_t i = 0; i < list.count; ++i)
    {
        if (list.entries[i]->unit == unit) return list.entries[i];
    }
    return nullptr;
}

template <class Context>
bool append_to(ContextList<Context>& list, Context* context)
{
    if (list.count == list.capacity)
    {
        const int32_t capacity = list.capacity + kListStep;
        auto** entries = static_cast<Context**>(plugin_allocate(static_cast<size_t>(capacity) * sizeof(Context*), alignof(Context*)));
        if (!entries) return false;
        if (list.count > 0) std::memcpy(entries, list.entries, static_cast<size_t>(list.count) * sizeof(Context*));
        plugin_deallocate(list.entries);
        list.entries = entries;
        list.capacity = capacity;
    }
    list.entries[list.count++] = context;
    return true;
}

template <class Context>
void remove_from(ContextList<Context>& list, int32_t index, void (*destroy)(Context*))
{
    if (index < 0 || index >= list.count) return;
    destroy(list.entries[index]);
    for (int32_t i = index + 1; i < list.count; ++i) list.entries[i - 1] = list.entries[i];
    --list.count;
}

template <class Context>
void release_list(ContextList<Context>& list, void (*destroy)(Context*))
{
    while (list.count > 0) remove_from(list, 0, destroy);
    plugin_deallocate(list.entries);
    list = ContextList<Context>();
}

}  // namespace

WorldRecord* add_world_record(WorldRegistry& registry, World* world)
{
    void* block = plugin_allocate(sizeof(WorldRecord), alignof(WorldRecord));
    uint64_t* cell = block ? insert_world_record(registry, world) : nullptr;
    if (!cell)
    {
        plugin_deallocate(block);
        return nullptr;
    }
    if (auto* earlier = reinterpret_cast<WorldRecord*>(*cell))
    {
        release_context_lists(*earlier);
        plugin_deallocate(earlier);
    }
    auto* record = new (block) WorldRecord();
    record->world = world;
    *cell = reinterpret_cast<uint64_t>(record);
    return record;
}

WorldRecord* record_of_world(const World* world)
{
    const PluginState& state = plugin_state();
    const bool begun = state.debugLineBuffer && state.worldRegistry;
    return begun ? find_world_record(*state.worldRegistry, world) : nullptr;
}

WorldRecord* world_record_of_unit(Unit* unit)
{
    if (!unit || !plugin_state().debugLineBuffer) return nullptr;
    return record_of_world(host_services().unit->world(unit));
}

void release_context_lists(WorldRecord& record)
{
    release_list(record.creatures, destroy_creature_context);
    release_list(record.characters, destroy_character_context);
}

void remove_world_record(WorldRegistry& registry, WorldRecord* record)
{
    release_context_lists(*record);
    erase_world_record(registry, record->world);
    plugin_deallocate(record);
}

CharacterContext* find_character_context(const WorldRecord& record, const Unit* unit) { return find_in(record.characters, unit); }
CreatureContext* find_creature_context(const WorldRecord& record, const Unit* unit) { return find_in(record.creatures, unit); }

CharacterContext* character_context_of_unit(Unit* unit)
{
    const WorldRecord* record = world_record_of_unit(unit);
    return record ? find_character_context(*record, unit) : nullptr;
}

bool append_character_context(WorldRecord& record, CharacterContext* context) { return append_to(record.characters, context); }
bool append_creature_context(WorldRecord& record, CreatureContext* context) { return append_to(record.creatures, context); }

void remove_character_context_at(WorldRecord& record, int32_t index) { remove_from(record.characters, index, destroy_character_context); }
void remove_creature_context_at(WorldRecord& record, int32_t index) { remove_from(record.creatures, index, destroy_creature_context); }

void note_failed_creature(WorldRecord& record, Unit* unit)
{
    if (record.failedCreatureCount < kFailedCreatureCapacity) record.failedCreatureUnits[record.failedCreatureCount++] = unit;
}

bool is_failed_creature(const WorldRecord& record, const Unit* unit)
{
    for (int32_t i = 0; i < record.failedCreatureCount; ++i)
    {
        if (record.failedCreatureUnits[i] == unit) return true;
    }
    return false;
}
