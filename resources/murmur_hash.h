// The one hash of the system: resource type and name keys (64 bits), node names (the high 32 bits), the plugin's own name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

inline constexpr uint64_t kMurmurMultiplier = 0xC6A4A7935BD1E995ull;

inline uint64_t murmur_hash_64(const void* bytes, size_t length)
{
    constexpr int kShift = 47;
    const auto* p = static_cast<const unsigned char*>(bytes);
    uint64_t h = static_cast<uint64_t>(length) * kMurmurMultiplier;
    for (; length >= 8; length -= 8, p += 8)
    {
        uint64_t k;
        std::memcpy(&k, p, sizeof k);
        k *= kMurmurMultiplier;
        k ^= k >> kShift;
        k *= kMurmurMultiplier;
        h ^= k;
        h *= kMurmurMultiplier;
    }
    if (length > 0)
    {
        for (size_t i = 0; i < length; ++i) h ^= static_cast<uint64_t>(p[i]) << (8 * i);
        h *= kMurmurMultiplier;
    }
    h ^= h >> kShift;
    h *= kMurmurMultiplier;
    return h ^ (h >> kShift);
}

// Name hash of a node, and of anything else that is known by 32 bits.
inline uint32_t name_hash_32(const char* name, size_t length) { return static_cast<uint32_t>(murmur_hash_64(name, length) >> 32); }
inline uint32_t name_hash_32(const char* name) { return name_hash_32(name, std::strlen(name)); }
