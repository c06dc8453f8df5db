// Named allocators that keep books: what is live, what was ever allocated, what was freed twice, freed without having been allocated, or
// never freed. An engine's debug heap in small.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace limbrex_host
{

struct NamedAllocator
{
    std::string name;
    uint64_t liveBlocks = 0;
    uint64_t liveBytes = 0;
    uint64_t allocations = 0;  // so far
};

class HostMemory
{
public:
    HostMemory() = default;
    ~HostMemory();
    HostMemory(const HostMemory&) = delete;
    HostMemory& operator=(const HostMemory&) = delete;

    NamedAllocator* make_allocator(const char* name);
    // Blocks still live are lost: told in faults(), counted in lost_blocks() and released.
    void destroy_allocator(void* allocator);

    // Null for size 0, an alignment that is no power of two, an unknown allocator, no memory, or when told to fail.
    void* allocate(void* allocator, size_t size, size_t alignment);
    void deallocate(void* allocator, void* block);  // null is nothing to do

    // The n-th allocation from now fails, once (1 = the next). 0 takes it back.
    void fail_allocation(uint64_t n) { allocationsToFailure = n; }
    // Every allocation fails from now on.
    void fail_always(bool fail) { failing = fail; }

    uint64_t live_blocks() const { return blocks.size(); }
    uint64_t live_bytes() const { return liveBytes; }
    uint64_t allocations() const { return allocationsSoFar; }
    uint64_t lost_blocks() const { return lostBlocks; }
    // Bytes of a live block of this allocator; 0 for anything else.
    size_t block_size(const NamedAllocator* allocator, void* block) const;
    const NamedAllocator* find_allocator(const std::string& name) const;   // the first of that name, null when there is none
    const std::vector<std::string>& faults() const { return faultTexts; }  // double frees, foreign frees, leaks, in plain words

private:
    struct Block
    {
        NamedAllocator* owner;
        size_t size;
    };

    NamedAllocator* known(void* allocator) const;
    void fault(const std::string& text);

    std::vector<std::unique_ptr<NamedAllocator>> allocators;
    std::unordered_map<void*, Block> blocks;
    std::unordered_set<void*> freedBlocks;  // addresses not handed out again since
    std::vector<std::string> faultTexts;
    uint64_t liveBytes = 0;
    uint64_t allocationsSoFar = 0;
    uint64_t allocationsToFailure = 0;
    uint64_t lostBlocks = 0;
    bool failing = false;
};

}  // namespace limbrex_host
