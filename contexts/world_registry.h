// Worlds the plugin has seen, found by their engine pointer, and the contexts that live in each.
//
// The map is one flat table with chains threaded through its own slots: a bucket's chain continues in overflow slots behind the buckets. Listings
// walk the slots, so slot order is part of behaviour. The plugin state owns the registry; a record lives from world_added to world_removed.
#pragma once

#include <cstdint>

#include "plugin/limbrex_plugin.h"

struct CharacterContext;
struct CreatureContext;

constexpr int32_t kFailedCreatureCapacity = 32;

// Pointers in order of creation. Grows in steps of 32; the list owns what it points at.
template <class Context>
struct ContextList
{
    Context** entries = nullptr;
    int32_t count = 0;
    int32_t capacity = 0;
};

struct WorldRecord
{
    World* world;
    DrawingContext* drawingContext;
    LineObject* lineObject;
    ContextList<CharacterContext> characters;
    ContextList<CreatureContext> creatures;
    Unit* failedCreatureUnits[kFailedCreatureCapacity];
    int32_t failedCreatureCount;
};

// ---- the map ------------------------------------------------------------------------------------------------------------------

struct WorldEntry
{
    uint64_t key;    // world pointer
    uint64_t value;  // record pointer, or 0
};

constexpr uint32_t kLinkEmpty = 0xFFFFFFFEu;
constexpr uint32_t kLinkLast = 0x7FFFFFFFu;  // of its chain
constexpr uint32_t kLinkFree = 0x80000000u;  // top bit: on the free list, the rest the next free slot
constexpr uint32_t kFreeListEnd = 0xFFFFFFFFu;

struct WorldRegistry
{
    uint32_t slotCount = 0;     // buckets and overflow
    uint32_t* links = nullptr;  // per slot; links and entries are one allocation
    WorldEntry* entries = nullptr;
    uint32_t usedCount = 0;
    uint32_t bucketCount = 0;
    uint32_t overflowLeft = 0;  // overflow slots never used yet
    uint32_t freeHead = kFreeListEnd;
};

// The value cell of a world, made with value 0 when absent. Null when there is no memory for a larger table. It holds until the next insertion.
uint64_t* insert_world_record(WorldRegistry& registry, const World* world);
WorldRecord* find_world_record(const WorldRegistry& registry, const World* world);  // null when absent
void erase_world_record(WorldRegistry& registry, const World* world);               // the record itself is the caller's
// Empties the map and gives its storage back; the records are the caller's to release first.
void reset_world_registry(WorldRegistry& registry);

// Slot order. The visit may release records, but not insert or erase.
template <class Visit>
void for_each_world(const WorldRegistry& registry, Visit visit)
{
    for (uint32_t slot = 0; slot < registry.slotCount; ++slot)
    {
        const bool used = (registry.links[slot] & kLinkFree) == 0;
        if (used && registry.entries[slot].value != 0) visit(*reinterpret_cast<WorldRecord*>(registry.entries[slot].value));
    }
}

// ---- records ------------------------------------------------------------------------------------------------------------------

// A record with empty lists under the world's key; an earlier one under that key is replaced. Null when there is no memory.
WorldRecord* add_world_record(WorldRegistry& registry, World* world);
// Of the plugin's registry. Null when gameplay has not begun, for a world without a record, and for no unit.
WorldRecord* record_of_world(const World* world);
WorldRecord* world_record_of_unit(Unit* unit);
// Creatures first, then characters, each list from its start; then the arrays and the record. The line object is the caller's.
void remove_world_record(WorldRegistry& registry, WorldRecord* record);
void release_context_lists(WorldRecord& record);  // destroys the contexts and frees the arrays

// ---- contexts -----------------------------------------------------------------------------------------------------------------

CharacterContext* find_character_context(const WorldRecord& record, const Unit* unit);  // null when the unit has none
CreatureContext* find_creature_context(const WorldRecord& record, const Unit* unit);
CharacterContext* character_context_of_unit(Unit* unit);  // in the unit's own world; null when there is none, and for no unit
bool append_character_context(WorldRecord& record, CharacterContext* context);  // false: no memory, not appended
bool append_creature_context(WorldRecord& record, CreatureContext* context);
// Destroys the context; those behind it move down, so a caller that walks the list looks at the same index again.
void remove_character_context_at(WorldRecord& record, int32_t index);
void remove_creature_context_at(WorldRecord& record, int32_t index);

// Units whose creature could not be built are not tried again while the world exists. The list holds 32; later ones are not noted.
void note_failed_creature(WorldRecord& record, Unit* unit);
bool is_failed_creature(const WorldRecord& record, const Unit* unit);
