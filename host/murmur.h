// MurmurHash64A with seed 0, the engine's one hash: resource type and name keys (64 bits) and node names (the high 32 bits).
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace limbrex_host
{

inline uint64_t murmur64(std::string_view bytes)
{
    constexpr uint64_t kMultiplier = 0xC6A4A7935BD1E995u;
    constexpr unsigned kShift = 47;
    uint64_t hash = bytes.size() * kMultiplier;
    size_t at = 0;
    for (; at + 8 <= bytes.size(); at += 8)
    {
        uint64_t block = 0;
        std::memcpy(&block, bytes.data() + at, 8);
        block *= kMultiplier;
        block ^= block >> kShift;
        block *= kMultiplier;
        hash ^= block;
        hash *= kMultiplier;
    }
    if (at < bytes.size())
    {
        uint64_t rest = 0;
        std::memcpy(&rest, bytes.data() + at, bytes.size() - at);
        hash ^= rest;
        hash *= kMultiplier;
    }
    hash ^= hash >> kShift;
    hash *= kMultiplier;
    hash ^= hash >> kShift;
    return hash;
}

inline uint32_t node_name_hash(std::string_view name) { return static_cast<uint32_t>(murmur64(name) >> 32); }

}  // namespace limbrex_host
