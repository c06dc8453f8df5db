#include "resources/output_buffer.h"

#include <cstring>

#include "resources/host_services.h"

namespace
{

constexpr size_t kAlignment = 4;

}  // namespace

OutputBuffer::OutputBuffer(void* allocator, uint32_t size) : allocator_(allocator)
{
    data_ = static_cast<char*>(host_services().memory->allocate(allocator_, size, kAlignment));
    failed_ = data_ == nullptr;
    size_ = capacity_ = failed_ ? 0 : size;
    if (data_) std::memset(data_, 0, size);
}

OutputBuffer::~OutputBuffer()
{
    if (data_) host_services().memory->deallocate(allocator_, data_);
}

bool OutputBuffer::grow_for(uint32_t more)
{
    const uint64_t needed = static_cast<uint64_t>(size_) + more;
    if (needed <= capacity_) return true;
    const uint64_t doubled = 2 * static_cast<uint64_t>(capacity_) + 10;
    const uint64_t capped = doubled > 0xFFFFFFFFu ? 0xFFFFFFFFu : doubled;
    const uint64_t capacity = capped >= needed ? capped : needed;
    if (capacity > 0xFFFFFFFFu) return false;
    auto* grown = static_cast<char*>(host_services().memory->allocate(allocator_, static_cast<size_t>(capacity), kAlignment));
    if (!grown) return false;
    std::memcpy(grown, data_, size_);
    host_services().memory->deallocate(allocator_, data_);
    data_ = grown;
    capacity_ = static_cast<uint32_t>(capacity);
    return true;
}

void OutputBuffer::append(const void* bytes, uint32_t size)
{
    failed_ = failed_ || !grow_for(size);
    if (failed_) return;
    std::memcpy(data_ + size_, bytes, size);
    size_ += size;
}

void OutputBuffer::overwrite_start(const void* bytes, uint32_t size)
{
    if (!failed_ && size <= size_) std::memcpy(data_, bytes, size);
}

void* OutputBuffer::release_copy() const
{
    if (failed_) return nullptr;
    void* block = host_services().memory->allocate(allocator_, size_, kAlignment);
    if (block) std::memcpy(block, data_, size_);
    return block;
}
