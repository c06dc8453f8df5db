#include "contexts/character_context.h"

#include <new>

#include "contexts/character_node_cache.h"
#include "contexts/world_registry.h"
#include "resources/compiled_character.h"
#include "resources/host_services.h"
#include "resources/log.h"
#include "resources/plugin_allocator.h"
#include "resources/plugin_state.h"

namespace
{

LBXCharacterDefinition define_used_nodes(const CompiledCharacter& resource)
{
    LBXCharacterDefinition definition = {};
    const MappingRecord* mapping = mapping_records(resource);
    for (uint32_t i = 0; i < resource.mappingCount; ++i) definition.nodeFlags[mapping[i].nodeId] = LBXNodeUsed;
    const ParentOffsetRecord* parent_offsets = parent_offset_records(resource);
    for (uint32_t i = 0; i < resource.parentOffsetCount; ++i)
    {
        definition.nodeFlags[parent_offsets[i].nodeId] = LBXNodeUsed | LBXNodeHasParentOffset;
    }
    return definition;
}

bool characterize(LBXCharacter* character, const CompiledCharacter& resource)
{
    const MappingRecord* mapping = mapping_records(resource);
    const StanceRecord* stance = stance_records(resource);
    for (uint32_t i = 0; i < resource.stanceCount; ++i)
    {
        LBXSetCharacterizeNodeStateTQSfv(character, mapping[i].nodeId, stance[i].translation, stance[i].rotation, stance[i].scale);
    }
    return LBXCharacterize(character);
}

bool create_character(CharacterContext& context, const CompiledCharacter& resource)
{
    const LBXCharacterDefinition definition = define_used_nodes(resource);
    context.character = LBXCharacterCreate(&definition, plugin_allocate_for_library);
    if (!context.character)
    {
        log_error("Character creation failed (out of memory)");
        return false;
    }
    if (!characterize(context.character, resource))
    {
        log_error("Character characterization failed");
        return false;
    }
    return true;
}

// Poses, goals, options and the stack. The working pose begins as the stance.
bool create_solve_objects(CharacterContext& context)
{
    context.state = LBXCharacterStateCreate(context.character, plugin_allocate_for_library);
    if (!context.state) return false;
    context.preSolveState = LBXCharacterStateCreate(context.character, plugin_allocate_for_library);
    if (!context.preSolveState) return false;
    context.effectorSet = LBXEffectorSetCreate(plugin_allocate_for_library);
    if (!context.effectorSet) return false;
    context.propertySet = LBXPropertySetCreate(plugin_allocate_for_library);
    if (!context.propertySet) return false;
    LBXGetCharacterizeState(context.character, context.state);
    // Scripts may ask for the pose before the first evaluation.
    LBXCharacterStateCopy(context.preSolveState, context.state);
    LBXEffectorSetFromState(context.character, context.effectorSet, context.state, context.propertySet);
    return create_constraint_stack(context.constraintStack);
}

void release_context(CharacterContext* context)
{
    destroy_constraint_stack(context->constraintStack);
    release_character_node_cache(*context);
    LBXCharacterDestroy(context->character, plugin_deallocate);
    if (context->state) LBXCharacterStateDestroy(context->state, plugin_deallocate);
    if (context->preSolveState) LBXCharacterStateDestroy(context->preSolveState, plugin_deallocate);
    if (context->effectorSet) LBXEffectorSetDestroy(context->effectorSet, plugin_deallocate);
    if (context->propertySet) LBXPropertySetDestroy(context->propertySet, plugin_deallocate);
    plugin_deallocate(context);
}

// The source may live in another world than the characters it drives.
void clear_source_links_to(const CharacterContext* source)
{
    WorldRegistry* registry = plugin_state().worldRegistry;
    if (!registry) return;
    for_each_world(*registry,
                   [source](WorldRecord& record)
                   {
                       for (int32_t i = 0; i < record.characters.count; ++i)
                       {
                           CharacterContext* context = record.characters.entries[i];
                           if (context && context->source == source) context->source = nullptr;
                       }
                   });
}

}  // namespace

CharacterContext* build_character_context(WorldRecord& record, const CompiledCharacter* resource, Unit* unit, World* world,
                                          uint32_t node_count, const uint32_t* name_hashes)
{
    char problem[256];
    if (!check_compiled_character(resource, problem, sizeof problem))
    {
        log_error("Character resource is damaged: %s", problem);
        return nullptr;
    }
    void* block = plugin_allocate(sizeof(CharacterContext), alignof(CharacterContext));
    if (!block) return nullptr;
    CharacterContext* context = new (block) CharacterContext();
    context->unit = unit;
    context->unitReference = host_services().unit->reference_id(unit);
    context->world = world;
    context->referenceNodeIndex = -1;
    context->rootRotation = kIdentityRotation;
    context->inverseRootRotation = kIdentityRotation;
    context->rootScale = kOne4;
    context->active = 1;
    context->declared = node_count == 0 ? 1 : 0;
    context->resource = resource;

    const bool made = create_character(*context, *resource) && create_solve_objects(*context);
    if (!made || !append_character_context(record, context))
    {
        release_context(context);
        return nullptr;
    }
    if (context->declared) { log_info("Character evaluation context is ready (declared)"); }
    else if (build_character_node_cache(*context, resource->mappingCount, node_count, name_hashes, *resource))
    {
        log_info("Character evaluation context is ready");
    }
    return context;
}

void destroy_character_context(CharacterContext* context)
{
    if (!context) return;
    clear_source_links_to(context);
    release_context(context);
}
