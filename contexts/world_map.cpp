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

// The cell of a key in a table that has room: its own, or one at the end of its bucket's chain.
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
        const uint32_t free_slot = take_free_slot(registry);
        registry.links[slot] = free_slot;
        slot = free_slot;
    }
    registry.entries[slot] = {key, value_if_new};
    registry.links[slot] = kLinkLast;
    ++registry.usedCount;
    return &registry.entries[slot].value;
}

// Old slots go over in their order, so that listings keep theirs as far as the new buckets allow.
bool grow(WorldRegistry& registry)
{
    const uint32_t doubled = 2 * registry.bucketCount + 1;
    WorldRegistry grown;
    if (!make_table(grown, doubled > kFirstBucketCount ? doubled : kFirstBucketCount)) return false;
    for (uint32_t slot = 0; slot < registry.slotCount; ++slot)
    {
        const bool used = (registry.links[slot] & kLinkFree) == 0;
        if (used) place_key(grown, registry.entries[slot].key, registry.entries[slot].value);
    }
    plugin_deallocate(registry.links);
    registry = grown;
    return true;
}

}  // namespace

const uint64_t* find_world_key(const WorldRegistry& registry, uint64_t key)
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

uint64_t* insert_world_key(WorldRegistry& registry, uint64_t key)
{
    while (!has_free_slot(registry))
    {
        if (const uint64_t* cell = find_world_key(registry, key)) return const_cast<uint64_t*>(cell);
        if (!grow(registry)) return nullptr;
    }
    return place_key(registry, key, 0);
}

void erase_world_key(WorldRegistry& registry, uint64_t key)
{
    if (registry.usedCount == 0) return;
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

void clear_world_keys(WorldRegistry& registry)
{
    plugin_deallocate(registry.links);
    registry = WorldRegistry();
}
