// A compiled creature: sections and chains of bones in one block of little-endian data. Offsets count bytes from the block's start.
//
//   header 92 | sections 44 each | chains 116 each | unknown parents 28 each | limits 68 each | chain bones 4 each | natural pose 52 each
//
// The natural pose lists every chain bone, chains in order, and then every section's bone.
#pragma once

#include <cstdint>

#include "resources/compiled_character.h"

inline constexpr uint32_t kCompiledCreatureMagic = 0xBC26BE6Fu;
inline constexpr uint32_t kCompiledCreatureVersion = 1;
inline constexpr uint32_t kChainPropertyCount = 16;
inline constexpr float kNoChainProperty = -12356789.0f;  // a slot that the source gives no value

struct CompiledCreature
{
    uint32_t magic;
    uint32_t version;
    uint32_t sectionOffset, sectionCount;
    uint32_t chainOffset, chainCount;
    uint32_t chainBoneOffset, chainBoneCount;
    uint32_t unknownParentOffset, unknownParentCount;
    uint32_t limitOffset, limitCount;
    uint32_t naturalPoseOffset, naturalPoseCount;
    uint32_t referenceNameHash;
    char unitName[32];
};

struct CreatureSectionRecord
{
    uint32_t id;
    uint32_t boneNameHash;
    int32_t parentChain;  // -1: the root section
    char name[32];
};

struct CreatureChainRecord
{
    uint32_t id;
    uint32_t solvingType;
    int32_t parentSection;
    float properties[kChainPropertyCount];
    uint32_t firstBone, endBone;  // in the chain bones
    char name[32];
};

struct UnknownParentRecord
{
    uint32_t boneNameHash;
    uint32_t parentNames[kParentNameCount];
};

struct NaturalPoseRecord
{
    uint32_t boneNameHash;
    StanceRecord pose;
};

static_assert(sizeof(CompiledCreature) == 92 && sizeof(CreatureSectionRecord) == 44 && sizeof(CreatureChainRecord) == 116 &&
                  sizeof(UnknownParentRecord) == 28 && sizeof(NaturalPoseRecord) == 52,
              "layout of a compiled creature");

// Magic and version: enough to try it. Null is none.
inline bool is_compiled_creature(const void* resource)
{
    const auto* header = static_cast<const CompiledCreature*>(resource);
    return header && header->magic == kCompiledCreatureMagic && header->version == kCompiledCreatureVersion;
}
