// The block under construction of a compile job: bytes appended in one pass, capacity growing by doubling, storage from the job's own allocator.
#pragma once

#include <cstddef>
#include <cstdint>

#include "plugin/limbrex_plugin.h"

class OutputBuffer
{
public:
    // Starts with `size` bytes in use, for a header that is filled in at the end.
    OutputBuffer(void* allocator, uint32_t size);
    ~OutputBuffer();
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;

    void append(const void* bytes, uint32_t size);
    template <class Record>
    void append(const Record& record)
    {
        append(&record, sizeof record);
    }
    void overwrite_start(const void* bytes, uint32_t size);
    uint32_t size() const { return size_; }
    bool failed() const { return failed_; }

    // A block of exactly the bytes in use, which the engine will own; null when memory ran out at any time.
    void* release_copy() const;

private:
    bool grow_for(uint32_t more);

    void* allocator_;
    char* data_ = nullptr;
    uint32_t size_ = 0;
    uint32_t capacity_ = 0;
    bool failed_ = false;
};
