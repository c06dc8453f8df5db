#include "contexts/node_limits.h"

#include "contexts/character_context.h"
#include "resources/compiled_character.h"

namespace
{

const LimitsRecord* find_record(const CompiledCharacter& resource, int32_t node)
{
    const LimitsRecord* records = limits_records(resource);
    for (uint32_t i = 0; i < resource.limitCount; ++i)
    {
        if (records[i].nodeId == node) return &records[i];
    }
    return nullptr;
}

}  // namespace

bool rig_has_limits(const CharacterContext& context, int32_t node) { return find_record(*context.resource, node) != nullptr; }

bool find_node_limits(const CharacterContext& context, int32_t node, NodeLimits& limits)
{
    limits = {};
    constexpr int32_t kNone = -1;
    limits.rotationOrder = kNone;
    LBXGetNodeLimits(context.character, node, &limits.minimum_rad.x, &limits.maximum_rad.x, &limits.preRotation.x, nullptr, &limits.active,
                     &limits.rotationOrder);
    if (limits.rotationOrder != kNone) return true;
    limits = {};
    const LimitsRecord* record = find_record(*context.resource, node);
    if (!record) return false;
    limits.minimum_rad = {record->minimum[0], record->minimum[1], record->minimum[2], 0.0f};
    limits.maximum_rad = {record->maximum[0], record->maximum[1], record->maximum[2], 0.0f};
    limits.preRotation = {record->preRotation[0], record->preRotation[1], record->preRotation[2], record->preRotation[3]};
    limits.active = record->activeFlags;
    // A file may hold any number; no joint turns in an order beyond the last.
    const bool known = record->rotationOrder <= static_cast<uint32_t>(kTwistAndSwingOrder);
    limits.rotationOrder = known ? static_cast<int32_t>(record->rotationOrder) : 0;
    return true;
}
