#include "host/memory.h"

#include <algorithm>
#include <cstdlib>

#include <fmt/format.h>

namespace limbrex_host
{
namespace
{

constexpr size_t kFaultCapacity = 1000;

bool is_power_of_two(size_t value) { return value != 0 && (value & (value - 1)) == 0; }

}  // namespace

HostMemory::~HostMemory()
{
    for (const auto& [block, record] : blocks) { std::free(block); }
}

NamedAllocator* HostMemory::known(void* allocator) const
{
    const auto found =
        std::find_if(allocators.begin(), allocators.end(), [allocator](const auto& each) { return each.get() == allocator; });
    return found == allocators.end() ? nullptr : found->get();
}

void HostMemory::fault(const std::string& text)
{
    if (faultTexts.size() < kFaultCapacity) { faultTexts.push_back(text); }
}

NamedAllocator* HostMemory::make_allocator(const char* name)
{
    allocators.push_back(std::make_unique<NamedAllocator>());
    allocators.back()->name = name != nullptr ? name : "(no name)";
    return allocators.back().get();
}

void HostMemory::destroy_allocator(void* allocator)
{
    NamedAllocator* const owner = known(allocator);
    if (owner == nullptr)
    {
        fault(fmt::format("destroyed an allocator that does not exist ({})", allocator));
        return;
    }
    for (auto at = blocks.begin(); at != blocks.end();)
    {
        if (at->second.owner != owner)
        {
            ++at;
            continue;
        }
        fault(fmt::format("allocator \"{}\": a block of {} bytes was never freed", owner->name, at->second.size));
        ++lostBlocks;
        liveBytes -= at->second.size;
        std::free(at->first);
        at = blocks.erase(at);
    }
    allocators.erase(std::find_if(allocators.begin(), allocators.end(), [owner](const auto& each) { return each.get() == owner; }));
}

void* HostMemory::allocate(void* allocator, size_t size, size_t alignment)
{
    NamedAllocator* const owner = known(allocator);
    if (owner == nullptr)
    {
        fault(fmt::format("asked an allocator that does not exist ({}) for {} bytes", allocator, size));
        return nullptr;
    }
    if (size == 0 || !is_power_of_two(alignment))
    {
        fault(fmt::format("allocator \"{}\": asked for {} bytes aligned to {}", owner->name, size, alignment));
        return nullptr;
    }
    if (failing || (allocationsToFailure > 0 && --allocationsToFailure == 0)) { return nullptr; }
    void* block = nullptr;
    if (posix_memalign(&block, std::max(alignment, sizeof(void*)), size) != 0) { return nullptr; }
    blocks[block] = {owner, size};
    freedBlocks.erase(block);
    ++owner->liveBlocks;
    owner->liveBytes += size;
    ++owner->allocations;
    liveBytes += size;
    ++allocationsSoFar;
    return block;
}

void HostMemory::deallocate(void* allocator, void* block)
{
    if (block == nullptr) { return; }
    const auto found = blocks.find(block);
    if (found == blocks.end())
    {
        const char* what = freedBlocks.count(block) != 0 ? "freed a block twice" : "freed a block that was never allocated";
        fault(fmt::format("{} ({})", what, block));
        return;
    }
    NamedAllocator* const owner = found->second.owner;
    if (owner != allocator) { fault(fmt::format("a block of allocator \"{}\" was freed through another", owner->name)); }
    --owner->liveBlocks;
    owner->liveBytes -= found->second.size;
    liveBytes -= found->second.size;
    blocks.erase(found);
    freedBlocks.insert(block);
    std::free(block);
}

size_t HostMemory::block_size(const NamedAllocator* allocator, void* block) const
{
    const auto found = blocks.find(block);
    return found == blocks.end() || found->second.owner != allocator ? 0 : found->second.size;
}

const NamedAllocator* HostMemory::find_allocator(const std::string& name) const
{
    const auto found = std::find_if(allocators.begin(), allocators.end(), [&name](const auto& each) { return each->name == name; });
    return found == allocators.end() ? nullptr : found->get();
}

}  // namespace limbrex_host
