// The registry's hash table.
#include <cstddef>

#include "contexts/world_registry.h"
#include "resources/murmur_hash.h"
#include "resources/plugin_allocator.h"

namespace
{

constexpr uint32_t kFirstBucketCount = 19;
constexpr float kOverflowShare = 0.37f;

uint32_t bucket_of(const WorldRegistry& registry, uint64_t key)
{
    const uint64_t h = key * kMurmurMultiplier;
    const uint32_t mixed = static_cast<uint32_t>((h >> 47) ^ h);
    return mixed * 0x5BD1E995u % registry.bucketCount;
}

// A table of empty slots. The links come first, padded so that the entries behind them are aligned.
bool make_table(WorldRegistry& registry, uint32_t bucket_count)
{
    const auto overflow = static_cast<uint32_t>(static_cast<float>(bucket_count) * kOverflowShare + 1.0f);
    const uint32_t slot_count = bucket_count + overflow;
    const size_t link_bytes = (static_cast<size_t>(slot_count) * sizeof(uint32_t) + 7u) & ~static_cast<size_t>(7u);
    auto* block = static_cast<char*>(plugin_allocate(link_bytes + slot_count * sizeof(WorldEntry), alignof(WorldEntry)));
    if (!block) return false;
    registry.slotCount = slot_count;
    registry.links = reinterpret_cast<uint32_t*>(block);
    registry.entries = reinterpret_cast<WorldEntry*>(block + link_bytes);
    registry.usedCount = 0;
    registry.bucketCount = bucket_count;
    registry.overflowLeft = overflow;
    registry.freeHead = kFreeListEnd;
    for (uint32_t slot = 0; slot < slot_count; ++slot) registry.links[slot] = kLinkEmpty;
    return true;
}

uint32_t take_free_slot(WorldRegistry& registry)
{
    if (registry.freeHead != kFreeListEnd)
    {
        const uint32_t slot = registry.freeHead & ~kLinkFree;
        registry.freeHead = registry.links[slot];
        return slot;
    }
    return registry.slotCount - registry.overflowLeft--;
}

void put_on_free_list(WorldRegistry& registry, uint32_t slot)
{
    registry.links[slot] = registry.freeHead;
    registry.freeHead = slot | kLinkFree;
}

bool has_free_slot(const WorldRegistry& registry) { return registry.overflowLeft > 0 || registry.freeHead != kFreeListEnd; }

// The cell of a key that is in the table; null otherwise.
uint64_t* find_cell(const WorldRegistry& registry, uint64_t key)
{
    if (registry.usedCount == 0) return nullptr;
    uint32_t slot = bucket_of(registry, key);
    if (registry.links[slot] == kLinkEmpty) return nullptr;
    while (registry.entries[slot].key != key)
    {
        slot = registry.links[slot];
        if (slot == kLinkLast) return nullptr;
    }
    return &registry.entries[slot].value;
}

// The cell of a key: its own, or a new one at the end of its bucket's chain. Null when that needs an overflow slot and none is left.
uint64_t* place_key(WorldRegistry& registry, uint64_t key, uint64_t value_if_new)
{
    uint32_t slot = bucket_of(registry, key);
    if (registry.links[slot] != kLinkEmpty)
    {
        for (;; slot = registry.links[slot])
        {
            if (registry.entries[slot].key == key) return &registry.entries[slot].value;
            if (registry.links[slot] == kLinkLast) break;
        }
        if (!has_free_slot(registry)) return nullptr;
        const uint32_t free_slot = take_free_slot(registry);
        registry.links[slot] = free_slot;
        slot = free_slot;
    }
    registry.entries[slot] = {key, value_if_new};
    registry.links[slot] = kLinkLast;
    ++registry.usedCount;
    return &registry.entries[slot].value;
}

// Old slots go over in their order, so that listings keep theirs as far as the new buckets allow. False when the new table's overflow ran out.
bool copy_entries(const WorldRegistry& from, WorldRegistry& to)
{
    for (uint32_t slot = 0; slot < from.slotCount; ++slot)
    {
        const bool used = (from.links[slot] & kLinkFree) == 0;
        if (used && !place_key(to, from.entries[slot].key, from.entries[slot].value)) return false;
    }
    return true;
}

// More than twice the buckets. Keys that crowd into few of them even so get a table twice as large again: overflow grows with the buckets.
bool grow(WorldRegistry& registry)
{
    uint32_t bucket_count = registry.bucketCount;
    for (;;)
    {
        bucket_count = bucket_count > 0 ? 2 * bucket_count + 1 : kFirstBucketCount;
        WorldRegistry grown;
        if (!make_table(grown, bucket_count)) return false;
        if (copy_entries(registry, grown))
        {
            plugin_deallocate(registry.links);
            registry = grown;
            return true;
        }
        plugin_deallocate(grown.links);
    }
}

uint64_t key_of(const World* world) { return reinterpret_cast<uint64_t>(world); }

}  // namespace

WorldRecord* find_world_record(const WorldRegistry& registry, const World* world)
{
    const uint64_t* cell = find_cell(registry, key_of(world));
    return cell ? reinterpret_cast<WorldRecord*>(*cell) : nullptr;
}

uint64_t* insert_world_record(WorldRegistry& registry, const World* world)
{
    while (!has_free_slot(registry))
    {
        if (uint64_t* cell = find_cell(registry, key_of(world))) return cell;
        if (!grow(registry)) return nullptr;
    }
    return place_key(registry, key_of(world), 0);
}

void erase_world_record(WorldRegistry& registry, const World* world)
{
    if (registry.usedCount == 0) return;
    const uint64_t key = key_of(world);
    const uint32_t bucket = bucket_of(registry, key);
    if (registry.links[bucket] == kLinkEmpty) return;
    if (registry.entries[bucket].key == key)
    {
        // A bucket must keep an entry while its chain has one: the next one moves in.
        const uint32_t next = registry.links[bucket];
        if (next == kLinkLast) { registry.links[bucket] = kLinkEmpty; }
        else
        {
            registry.entries[bucket] = registry.entries[next];
            registry.links[bucket] = registry.links[next];
            put_on_free_list(registry, next);
        }
        --registry.usedCount;
        return;
    }
    uint32_t previous = bucket;
    for (uint32_t slot = registry.links[bucket]; slot != kLinkLast; previous = slot, slot = registry.links[slot])
    {
        if (registry.entries[slot].key != key) continue;
        registry.links[previous] = registry.links[slot];
        put_on_free_list(registry, slot);
        --registry.usedCount;
        return;
    }
}

void reset_world_registry(WorldRegistry& registry)
{
    plugin_deallocate(registry.links);
    registry = WorldRegistry();
}
