#include "contexts/character_node_cache.h"

#include "contexts/character_context.h"
#include "resources/compiled_character.h"
#include "resources/log.h"
#include "resources/plugin_allocator.h"

namespace
{

static_assert(kParentLevelCount == kParentNameCount, "a table for every parent that a rig can name");

struct NodeNames
{
    const uint32_t* hashes;
    uint32_t count;

    // First node of that name, -1 when there is none.
    int32_t find(uint32_t name_hash) const
    {
        for (uint32_t i = 0; i < count; ++i)
        {
            if (hashes[i] == name_hash) return static_cast<int32_t>(i);
        }
        return -1;
    }
};

int32_t* allocate_table(uint32_t entry_count)
{
    // At least one entry, so that a rig without nodes still has tables.
    const size_t size = (entry_count > 0 ? entry_count : 1) * sizeof(int32_t);
    auto* table = static_cast<int32_t*>(plugin_allocate(size, alignof(int32_t)));
    for (uint32_t i = 0; table && i < entry_count; ++i) table[i] = -1;
    return table;
}

bool allocate_tables(CharacterContext& context, uint32_t mapping_count)
{
    context.nodeIndices = allocate_table(mapping_count);
    bool complete = context.nodeIndices != nullptr;
    for (int32_t*& table : context.parentIndices)
    {
        table = complete ? allocate_table(mapping_count) : nullptr;
        complete = table != nullptr;
    }
    return complete;
}

// The parents that the rig names for one node at one level; the last of several records counts.
bool find_parents(CharacterContext& context, const CompiledCharacter& resource, const NodeNames& names, uint32_t mapping_index,
                  uint32_t level)
{
    const int32_t node_id = mapping_records(resource)[mapping_index].nodeId;
    const ParentOffsetRecord* records = parent_offset_records(resource);
    for (uint32_t i = 0; i < resource.parentOffsetCount; ++i)
    {
        const uint32_t name_hash = records[i].parentNames[level];
        if (records[i].nodeId != node_id || name_hash == kNoNameHash) continue;
        const int32_t node_index = names.find(name_hash);
        if (node_index < 0)
        {
            log_error("Character unknown parent data is not coherent (parent %d index, NodeID %d)", static_cast<int>(level),
                      static_cast<int>(mapping_index));
            return false;
        }
        context.parentIndices[level][mapping_index] = node_index;
    }
    return true;
}

bool find_nodes(CharacterContext& context, const CompiledCharacter& resource, const NodeNames& names, uint32_t mapping_count)
{
    const MappingRecord* mapping = mapping_records(resource);
    for (uint32_t i = 0; i < mapping_count; ++i)
    {
        const int32_t node_index = names.find(mapping[i].nameHash);
        if (node_index < 0)
        {
            log_error("Data is not coherent.");
            return false;
        }
        context.nodeIndices[i] = node_index;
        if (mapping[i].nodeId == LBXNodeReference) context.referenceNodeIndex = node_index;
        for (uint32_t level = 0; level < kParentLevelCount; ++level)
        {
            if (!find_parents(context, resource, names, i, level)) return false;
        }
    }
    return true;
}

}  // namespace

bool build_character_node_cache(CharacterContext& context, uint32_t mapping_count, uint32_t node_count, const uint32_t* name_hashes,
                                const CompiledCharacter& resource)
{
    context.referenceNodeIndex = -1;
    context.rootPosition = kZero4;
    context.rootRotation = kIdentityRotation;
    context.inverseRootRotation = kIdentityRotation;
    context.rootScale = kOne4;
    if (!allocate_tables(context, mapping_count))
    {
        log_error("Character node cache: out of memory");
        release_character_node_cache(context);
        context.active = 0;
        return false;
    }
    if (!find_nodes(context, resource, NodeNames{name_hashes, node_count}, mapping_count))
    {
        context.active = 0;
        return false;
    }
    if (context.referenceNodeIndex < 0)
    {
        log_warning("Could not find reference node index on Character");
        log_warning("Limbrex wont be able to manipulate that Character");
    }
    return true;
}

void release_character_node_cache(CharacterContext& context)
{
    if (context.nodeIndices) plugin_deallocate(context.nodeIndices);
    context.nodeIndices = nullptr;
    for (int32_t*& table : context.parentIndices)
    {
        if (table) plugin_deallocate(table);
        table = nullptr;
    }
}
