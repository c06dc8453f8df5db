// A compiled rig: one block of little-endian data that says which nodes play which template node, how the rig stands in its stance, and how its
// feet and hands touch the floor. Offsets count bytes from the block's start; nothing follows the last array.
//
//   header 128 | mappings 8 each | stances 48 each | parent offsets 76 each | limits 68 each
//
// The run time reads it in place and never writes it.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr uint32_t kCompiledCharacterMagic = 0xBD25BE6Fu;
inline constexpr uint32_t kCompiledCharacterVersion = 1;
inline constexpr uint32_t kNoNameHash = 0xFFFFFFFFu;  // in parent lists: no name at this place
inline constexpr uint32_t kParentNameCount = 6;

struct ContactSizes
{
    int32_t type;
    float bottom, back, middle, front, in, out;  // from the ankle or wrist, front from the ball; rig units
};

struct CompiledCharacter
{
    uint32_t magic;
    uint32_t version;
    uint32_t mappingOffset, mappingCount;
    uint32_t stanceOffset, stanceCount;
    uint32_t parentOffsetOffset, parentOffsetCount;
    uint32_t limitOffset, limitCount;
    ContactSizes foot, hand;
    char unitName[32];  // padded with zeros; a full field has no terminator
};

struct MappingRecord
{
    int32_t nodeId;
    uint32_t nameHash;
};

// Of the node of the mapping record with the same index; global.
struct StanceRecord
{
    float translation[4];  // fourth 1.0
    float rotation[4];
    float scale[4];  // fourth 1.0
};

struct ParentOffsetRecord
{
    int32_t nodeId;
    uint32_t reserved[12];
    uint32_t parentNames[kParentNameCount];  // nearest first
};

struct LimitsRecord
{
    int32_t nodeId;
    float preRotation[4];
    float postRotation[4];
    float minimum[3];
    float maximum[3];
    uint32_t activeFlags;  // bits 0 to 2 minimum x, y, z; 3 to 5 maximum
    uint32_t rotationOrder;
};

static_assert(sizeof(CompiledCharacter) == 128 && sizeof(MappingRecord) == 8 && sizeof(StanceRecord) == 48 &&
                  sizeof(ParentOffsetRecord) == 76 && sizeof(LimitsRecord) == 68,
              "layout of a compiled rig");

template <class Record>
const Record* records_at(const CompiledCharacter& resource, uint32_t offset)
{
    return reinterpret_cast<const Record*>(reinterpret_cast<const char*>(&resource) + offset);
}
inline const MappingRecord* mapping_records(const CompiledCharacter& r) { return records_at<MappingRecord>(r, r.mappingOffset); }
inline const StanceRecord* stance_records(const CompiledCharacter& r) { return records_at<StanceRecord>(r, r.stanceOffset); }
inline const ParentOffsetRecord* parent_offset_records(const CompiledCharacter& r)
{
    return records_at<ParentOffsetRecord>(r, r.parentOffsetOffset);
}
inline const LimitsRecord* limits_records(const CompiledCharacter& r) { return records_at<LimitsRecord>(r, r.limitOffset); }

// Magic and version: enough to try it. Null is none.
bool is_compiled_character(const void* resource);

// Everything that the run time relies on without looking again: the layout's law, counts, node ids, finite numbers. The engine hands over an
// address without a size, so a block is believed as far as its header agrees with itself. False: `problem` holds a sentence.
bool check_compiled_character(const CompiledCharacter* resource, char* problem, size_t problem_size);
