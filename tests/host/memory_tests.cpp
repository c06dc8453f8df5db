// The engine's allocators keep exact books, whatever is done to them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "host/memory.h"

namespace limbrex_host
{
namespace
{

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(Memory, CountsAgreeWithAPlainListUnderRandomAllocationAndRelease)
{
    HostMemory memory;
    NamedAllocator* const first = memory.make_allocator("first");
    NamedAllocator* const second = memory.make_allocator("second");
    struct Held
    {
        NamedAllocator* owner;
        void* block;
        size_t size;
    };
    std::vector<Held> held;
    std::mt19937 random(7);
    uint64_t made = 0;
    for (int step = 0; step < 2000; ++step)
    {
        if (held.empty() || random() % 3 != 0)
        {
            NamedAllocator* const owner = random() % 2 != 0 ? first : second;
            const size_t size = 1 + random() % 500;
            const size_t alignment = size_t{1} << (random() % 7);
            void* const block = memory.allocate(owner, size, alignment);
            ASSERT_NE(block, nullptr);
            ASSERT_EQ(reinterpret_cast<uintptr_t>(block) % alignment, 0u);
            held.push_back({owner, block, size});
            ++made;
        }
        else
        {
            const size_t at = random() % held.size();
            memory.deallocate(held[at].owner, held[at].block);
            held.erase(held.begin() + static_cast<ptrdiff_t>(at));
        }
        uint64_t bytes = 0;
        uint64_t of_first = 0;
        for (const Held& each : held)
        {
            bytes += each.size;
            of_first += each.owner == first ? 1 : 0;
        }
        ASSERT_EQ(memory.live_blocks(), held.size());
        ASSERT_EQ(memory.live_bytes(), bytes);
        ASSERT_EQ(first->liveBlocks, of_first);
        ASSERT_EQ(memory.allocations(), made);
    }
    for (const Held& each : held) { memory.deallocate(each.owner, each.block); }
    EXPECT_EQ(first->liveBytes + second->liveBytes, 0u);
    EXPECT_THAT(memory.faults(), IsEmpty());
}

TEST(Memory, DoubleForeignAndMissingReleasesAreToldApart)
{
    HostMemory memory;
    NamedAllocator* const mine = memory.make_allocator("mine");
    NamedAllocator* const other = memory.make_allocator("other");
    void* const block = memory.allocate(mine, 40, 8);
    memory.deallocate(mine, block);
    memory.deallocate(mine, block);
    EXPECT_THAT(memory.faults(), Contains(HasSubstr("twice")));

    int stranger = 0;
    memory.deallocate(mine, &stranger);
    EXPECT_THAT(memory.faults(), Contains(HasSubstr("never allocated")));

    memory.deallocate(other, memory.allocate(mine, 8, 8));
    EXPECT_THAT(memory.faults(), Contains(HasSubstr("through another")));

    memory.allocate(mine, 123, 4);
    memory.destroy_allocator(mine);
    EXPECT_THAT(memory.faults(), Contains(HasSubstr("\"mine\": a block of 123 bytes was never freed")));
    EXPECT_EQ(memory.lost_blocks(), 1u);
    EXPECT_EQ(memory.live_blocks(), 0u);

    memory.destroy_allocator(mine);
    EXPECT_EQ(memory.allocate(mine, 8, 8), nullptr);
    EXPECT_THAT(memory.faults(), SizeIs(6));
}

TEST(Memory, TheNthAllocationFailsOnceAndOddRequestsAreRefused)
{
    HostMemory memory;
    NamedAllocator* const allocator = memory.make_allocator("test");
    memory.fail_allocation(3);
    std::vector<bool> given;
    for (int i = 0; i < 5; ++i)
    {
        void* const block = memory.allocate(allocator, 16, 16);
        given.push_back(block != nullptr);
        memory.deallocate(allocator, block);
    }
    EXPECT_EQ(given, (std::vector<bool>{true, true, false, true, true}));
    EXPECT_EQ(memory.allocate(allocator, 0, 8), nullptr);
    EXPECT_EQ(memory.allocate(allocator, 8, 3), nullptr);
    EXPECT_EQ(memory.live_blocks(), 0u);
}

}  // namespace
}  // namespace limbrex_host
