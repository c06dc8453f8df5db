// The table of worlds, slot by slot, and the lists of contexts in a world.
#include <algorithm>
#include <map>
#include <random>
#include <unordered_map>

#include "contexts/creature_context.h"
#include "contexts/world_registry.h"
#include "resources/host_services.h"
#include "resources/plugin_allocator.h"
#include "tests/plugin/plugin_services.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plugin_test
{

namespace
{

using ::testing::ElementsAre;

const World* world_at(uint64_t key) { return reinterpret_cast<const World*>(key); }

uint64_t value_of(uint64_t key) { return key ^ 0x00AA000000000000u; }

// Worked out here: the mixed key, whose remainder is the bucket.
uint32_t mixed(uint64_t key)
{
    const uint64_t h = key * 0xC6A4A7935BD1E995u;
    return static_cast<uint32_t>((h >> 47) ^ h) * 0x5BD1E995u;
}

// Keys that fall into the wanted bucket of a table of 19.
std::vector<uint64_t> keys_in_bucket(uint32_t bucket, size_t count)
{
    std::vector<uint64_t> keys;
    for (uint64_t key = 0x1000; keys.size() < count; key += 64)
    {
        if (mixed(key) % 19 == bucket) keys.push_back(key);
    }
    return keys;
}

// The table as a list of chains: for each bucket the slots of its chain in order. Slower and with other bookkeeping than the links.
class ChainModel
{
public:
    void insert(uint64_t key)
    {
        if (holds(key)) return;
        while (free_.empty() && overflowUsed_ == overflow_) grow();
        place(key);
    }

    void erase(uint64_t key)
    {
        if (buckets_ == 0) return;
        std::vector<uint32_t>& chain = chains_[mixed(key) % buckets_];
        for (size_t i = 0; i < chain.size(); ++i)
        {
            if (slots_[chain[i]] != key) continue;
            // The first of a chain is always the bucket itself, so what goes is the second slot.
            const size_t leaving = i == 0 && chain.size() > 1 ? 1 : i;
            if (leaving != i) slots_[chain[i]] = slots_[chain[leaving]];
            slots_.erase(chain[leaving]);
            if (chain[leaving] >= buckets_) free_.push_back(chain[leaving]);
            chain.erase(chain.begin() + static_cast<std::ptrdiff_t>(leaving));
            return;
        }
    }

    bool holds(uint64_t key) const
    {
        return std::any_of(slots_.begin(), slots_.end(), [key](const auto& slot) { return slot.second == key; });
    }

    std::vector<uint64_t> listing() const
    {
        std::vector<uint64_t> keys;
        for (const auto& [slot, key] : slots_) keys.push_back(key);
        return keys;
    }
    uint32_t slotCount() const { return buckets_ + overflow_; }

private:
    bool place(uint64_t key)
    {
        const uint32_t bucket = mixed(key) % buckets_;
        std::vector<uint32_t>& chain = chains_[bucket];
        uint32_t slot = bucket;
        if (!chain.empty())
        {
            if (!free_.empty())
            {
                slot = free_.back();
                free_.pop_back();
            }
            else if (overflowUsed_ < overflow_) { slot = buckets_ + overflowUsed_++; }
            else { return false; }
        }
        chain.push_back(slot);
        slots_[slot] = key;
        return true;
    }

    void grow()
    {
        const std::vector<uint64_t> keys = listing();
        bool fits = false;
        while (!fits)
        {
            buckets_ = std::max(19u, 2 * buckets_ + 1);
            overflow_ = static_cast<uint32_t>(static_cast<float>(buckets_) * 0.37f + 1.0f);
            overflowUsed_ = 0;
            free_.clear();
            chains_.clear();
            slots_.clear();
            fits = std::all_of(keys.begin(), keys.end(), [this](uint64_t key) { return place(key); });
        }
    }

    uint32_t buckets_ = 0, overflow_ = 0, overflowUsed_ = 0;
    std::vector<uint32_t> free_;
    std::map<uint32_t, std::vector<uint32_t>> chains_;
    std::map<uint32_t, uint64_t> slots_;  // in slot order
};

class WorldMap : public ::testing::Test
{
protected:
    WorldMap()
    {
        acquire_host_services(PluginServices::get_api);
        EXPECT_TRUE(open_plugin_allocator());
    }
    ~WorldMap() override
    {
        reset_world_registry(registry);
        close_plugin_allocator();
    }

    // Each world's value follows from its key, so entries that got mixed up show. Nothing lies there.
    void put(uint64_t key)
    {
        uint64_t* cell = insert_world_record(registry, world_at(key));
        ASSERT_NE(cell, nullptr);
        if (*cell == 0) *cell = value_of(key);
        EXPECT_EQ(*cell, value_of(key));
    }
    bool holds(uint64_t key) const
    {
        const WorldRecord* record = find_world_record(registry, world_at(key));
        EXPECT_TRUE(!record || reinterpret_cast<uint64_t>(record) == value_of(key)) << "another world's record";
        return record != nullptr;
    }
    void erase(uint64_t key) { erase_world_record(registry, world_at(key)); }
    std::vector<uint64_t> listing() const
    {
        std::vector<uint64_t> keys;
        for_each_world(registry, [&keys](const WorldRecord& record) { keys.push_back(value_of(reinterpret_cast<uint64_t>(&record))); });
        return keys;
    }
    uint32_t slotOf(uint64_t key) const
    {
        for (uint32_t slot = 0; slot < registry.slotCount; ++slot)
        {
            if ((registry.links[slot] & kLinkFree) == 0 && registry.entries[slot].key == key) return slot;
        }
        return 0xFFFFFFFFu;
    }

    PluginServices services;
    WorldRegistry registry;
};

TEST_F(WorldMap, StartsWithoutStorageAndTheFirstWorldMakesTwentySevenSlots)
{
    EXPECT_FALSE(holds(0x1000));
    erase(0x1000);
    EXPECT_EQ(services.allocationSizes.size(), 0u);
    put(0x1000);
    EXPECT_EQ(registry.bucketCount, 19u);
    EXPECT_EQ(registry.slotCount, 27u);
    EXPECT_EQ(registry.overflowLeft, 8u);
    EXPECT_EQ(registry.freeHead, kFreeListEnd);
    // Twenty-seven links, padded to whole eights of bytes, and the entries behind them.
    EXPECT_THAT(services.allocationSizes, ElementsAre(112u + 27u * 16u));
    EXPECT_EQ(slotOf(0x1000), mixed(0x1000) % 19);
}

TEST_F(WorldMap, AWorldHasOneCell)
{
    uint64_t* cell = insert_world_record(registry, world_at(0x1000));
    EXPECT_EQ(*cell, 0u);
    *cell = 7;
    EXPECT_EQ(insert_world_record(registry, world_at(0x1000)), cell);
    EXPECT_EQ(*cell, 7u);
    EXPECT_EQ(registry.usedCount, 1u);
    // A full table answers for a world it has without growing.
    for (uint64_t key : keys_in_bucket(3, 9)) put(key);
    ASSERT_EQ(registry.overflowLeft, 0u);
    EXPECT_EQ(*insert_world_record(registry, world_at(0x1000)), 7u);
    EXPECT_EQ(registry.bucketCount, 19u);
    erase(0x1000);
}

TEST_F(WorldMap, ChainsContinueInOverflowSlotsAndErasedSlotsAreReusedFirst)
{
    const std::vector<uint64_t> keys = keys_in_bucket(5, 6);
    for (size_t i = 0; i < 4; ++i) put(keys[i]);
    EXPECT_THAT(listing(), ElementsAre(keys[0], keys[1], keys[2], keys[3]));
    EXPECT_EQ(slotOf(keys[0]), 5u);
    EXPECT_EQ(slotOf(keys[1]), 19u);
    EXPECT_EQ(slotOf(keys[3]), 21u);

    erase(keys[0]);  // the head goes: the next of the chain moves into the bucket and its slot is free
    EXPECT_EQ(slotOf(keys[1]), 5u);
    EXPECT_EQ(registry.freeHead, 19u | kLinkFree);
    EXPECT_THAT(listing(), ElementsAre(keys[1], keys[2], keys[3]));
    erase(keys[2]);  // from the middle
    EXPECT_EQ(registry.freeHead, 20u | kLinkFree);
    EXPECT_TRUE(holds(keys[1]) && holds(keys[3]) && !holds(keys[0]) && !holds(keys[2]));

    put(keys[4]);  // last freed, first used
    put(keys[5]);
    EXPECT_EQ(slotOf(keys[4]), 20u);
    EXPECT_EQ(slotOf(keys[5]), 19u);
    EXPECT_EQ(registry.overflowLeft, 5u) << "no untouched slot was needed";
    for (size_t i : {1u, 3u, 4u, 5u}) erase(keys[i]);
    EXPECT_EQ(registry.usedCount, 0u);
    EXPECT_EQ(registry.links[5], kLinkEmpty);
    EXPECT_TRUE(listing().empty());
}

TEST_F(WorldMap, TablesMoreThanDoubleAndKeepEveryWorld)
{
    std::vector<uint32_t> bucket_counts;
    for (uint64_t key = 1; key <= 400; ++key)
    {
        put(key * 4096);
        if (bucket_counts.empty() || bucket_counts.back() != registry.bucketCount) bucket_counts.push_back(registry.bucketCount);
    }
    EXPECT_EQ(bucket_counts.front(), 19u);
    EXPECT_EQ(registry.slotCount - registry.bucketCount, static_cast<uint32_t>(static_cast<float>(registry.bucketCount) * 0.37f + 1.0f));
    for (size_t i = 1; i < bucket_counts.size(); ++i) EXPECT_EQ(bucket_counts[i], 2 * bucket_counts[i - 1] + 1);
    for (uint64_t key = 1; key <= 400; ++key) EXPECT_TRUE(holds(key * 4096)) << key;
}

TEST_F(WorldMap, KeysThatCrowdInTheNextTableGetALargerOne)
{
    // One key for each of the 19 buckets and eight more, all of which meet in one bucket of a table of 39, whose overflow holds 15.
    std::vector<uint64_t> keys;
    keys.reserve(28);
    std::vector<uint64_t> extra;
    std::map<uint32_t, uint64_t> first_of_bucket;
    for (uint64_t key = 64; first_of_bucket.size() < 19 || extra.size() < 9; key += 64)
    {
        if (mixed(key) % 39 != 7) continue;
        const bool is_first = first_of_bucket.emplace(mixed(key) % 19, key).second;
        if (!is_first && extra.size() < 9) extra.push_back(key);
    }
    for (const auto& [bucket, key] : first_of_bucket) keys.push_back(key);
    keys.insert(keys.end(), extra.begin(), extra.end());
    ASSERT_EQ(keys.size(), 28u);
    for (size_t i = 0; i < 27; ++i) put(keys[i]);
    ASSERT_EQ(registry.bucketCount, 19u);
    ASSERT_EQ(registry.overflowLeft, 0u);
    put(keys[27]);
    EXPECT_EQ(registry.bucketCount, 79u);
    for (uint64_t key : keys) EXPECT_TRUE(holds(key));
    EXPECT_EQ(services.memory.live_blocks(), 1u) << "the tables that did not do are given back";
}

TEST_F(WorldMap, AgreesWithChainsKeptInListsSlotBySlot)
{
    std::mt19937_64 random(20);
    for (int round = 0; round < 8; ++round)
    {
        ChainModel model;
        std::unordered_map<uint64_t, bool> expected;
        for (int step = 0; step < 600; ++step)
        {
            // Addresses of an engine's heap: multiples of 64, with many returning ones.
            const uint64_t key = 0x7F0000000000u + 64 * (random() % 120 + 1);
            if (random() % 5 < (step < 300 ? 3u : 2u))
            {
                put(key);
                model.insert(key);
                expected[key] = true;
            }
            else
            {
                erase(key);
                model.erase(key);
                expected.erase(key);
            }
            ASSERT_EQ(listing(), model.listing()) << "round " << round << " step " << step;
            ASSERT_EQ(registry.slotCount, model.slotCount());
            ASSERT_EQ(registry.usedCount, expected.size());
            ASSERT_EQ(holds(key), expected.count(key) == 1);
        }
        for (uint64_t i = 1; i <= 120; ++i)
        {
            const uint64_t key = 0x7F0000000000u + 64 * i;
            EXPECT_EQ(holds(key), expected.count(key) == 1);
        }
        reset_world_registry(registry);
        EXPECT_EQ(services.memory.live_blocks(), 0u);
    }
}

TEST_F(WorldMap, WithoutMemoryAFullTableStaysAsItWas)
{
    const std::vector<uint64_t> keys = keys_in_bucket(0, 10);
    for (size_t i = 0; i < 9; ++i) put(keys[i]);
    services.memory.fail_always(true);
    EXPECT_EQ(insert_world_record(registry, world_at(keys[9])), nullptr);
    EXPECT_EQ(registry.usedCount, 9u);
    for (size_t i = 0; i < 9; ++i) EXPECT_TRUE(holds(keys[i]));
    EXPECT_EQ(insert_world_record(registry, world_at(keys[2])), &registry.entries[slotOf(keys[2])].value);
    services.memory.fail_always(false);
    put(keys[9]);
}

class ContextLists : public WorldMap
{
protected:
    ContextLists() : record(*add_world_record(registry, world.handle())) {}
    ~ContextLists() override { remove_world_record(registry, &record); }

    CreatureContext* make(uint32_t number)
    {
        auto* context = static_cast<CreatureContext*>(plugin_allocate(sizeof(CreatureContext), alignof(CreatureContext)));
        *context = {unit(number), number};
        return context;
    }
    static Unit* unit(uint32_t number) { return reinterpret_cast<Unit*>(uint64_t{16} * (number + 1)); }
    std::vector<uint32_t> numbers() const
    {
        std::vector<uint32_t> result;
        result.reserve(static_cast<size_t>(record.creatures.count));
        for (int32_t i = 0; i < record.creatures.count; ++i) result.push_back(record.creatures.entries[i]->unitReference);
        return result;
    }

    ServiceWorld& world = services.addWorld();
    WorldRecord& record;
};

TEST_F(ContextLists, GrowByThirtyTwoAndKeepTheOrderOfCreation)
{
    std::vector<uint32_t> expected;
    expected.reserve(70);
    for (uint32_t i = 0; i < 70; ++i)
    {
        ASSERT_TRUE(append_creature_context(record, make(i)));
        EXPECT_EQ(record.creatures.capacity, static_cast<int32_t>(32 * (i / 32 + 1)));
        expected.push_back(i);
    }
    EXPECT_EQ(numbers(), expected);
    for (int32_t index : {69, 35, 0})
    {
        remove_creature_context_at(record, index);
        expected.erase(expected.begin() + index);
        EXPECT_EQ(numbers(), expected);
    }
    EXPECT_EQ(find_creature_context(record, unit(34)), record.creatures.entries[33]);
    EXPECT_EQ(find_creature_context(record, unit(35)), nullptr);
    remove_creature_context_at(record, -1);
    remove_creature_context_at(record, record.creatures.count);
    EXPECT_EQ(numbers(), expected);
}

TEST_F(ContextLists, RemovingTheLastContextKeepsTheArrayOfAnEmptyList)
{
    append_creature_context(record, make(1));
    CreatureContext** entries = record.creatures.entries;
    remove_creature_context_at(record, 0);
    EXPECT_EQ(record.creatures.count, 0);
    EXPECT_EQ(record.creatures.capacity, 32);
    EXPECT_EQ(record.creatures.entries, entries);
}

TEST_F(ContextLists, AContextThatFindsNoRoomIsNotAppended)
{
    std::vector<uint32_t> expected;
    expected.reserve(32);
    for (uint32_t i = 0; i < 32; ++i)
    {
        append_creature_context(record, make(i));
        expected.push_back(i);
    }
    CreatureContext* refused = make(32);
    services.memory.fail_always(true);
    EXPECT_FALSE(append_creature_context(record, refused));
    services.memory.fail_always(false);
    EXPECT_EQ(numbers(), expected);
    destroy_creature_context(refused);
}

TEST_F(ContextLists, ThirtyTwoUnitsWithoutACreatureAreNotedAndTheNextIsNot)
{
    for (uint32_t i = 0; i < 33; ++i)
    {
        EXPECT_FALSE(is_failed_creature(record, unit(i)));
        note_failed_creature(record, unit(i));
    }
    EXPECT_EQ(record.failedCreatureCount, 32);
    EXPECT_TRUE(is_failed_creature(record, unit(0)) && is_failed_creature(record, unit(31)));
    EXPECT_FALSE(is_failed_creature(record, unit(32)));
}

TEST_F(ContextLists, AddingAWorldAgainReplacesItsRecordAndReleasesTheOldOnesContexts)
{
    ServiceWorld& other = services.addWorld();
    WorldRecord* first = add_world_record(registry, other.handle());
    append_creature_context(*first, make(1));
    WorldRecord* second = add_world_record(registry, other.handle());
    EXPECT_EQ(find_world_record(registry, other.handle()), second);
    EXPECT_EQ(registry.usedCount, 2u);
    EXPECT_EQ(second->creatures.count, 0);
    remove_world_record(registry, second);
    EXPECT_EQ(find_world_record(registry, other.handle()), nullptr);
    EXPECT_EQ(services.memory.live_blocks(), 2u) << "the table and the fixture's record";
}

}  // namespace

}  // namespace plugin_test
