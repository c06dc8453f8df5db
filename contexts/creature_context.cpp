#include "contexts/creature_context.h"

#include "contexts/character_evaluation.h"
#include "contexts/world_registry.h"
#include "resources/compiled_creature.h"
#include "resources/log.h"
#include "resources/plugin_allocator.h"
#include "resources/plugin_state.h"

CreatureContext* build_creature_context(WorldRecord& record, const CompiledCreature* /*resource*/, Unit* unit, World* /*world*/,
                                        uint32_t /*node_count*/, const uint32_t* /*name_hashes*/)
{
    if (is_failed_creature(record, unit)) return nullptr;
    log_error("Creature contexts are not built in this version: the unit keeps its animation");
    note_failed_creature(record, unit);
    return nullptr;
}

void destroy_creature_context(CreatureContext* context) { plugin_deallocate(context); }

void evaluate_creature(WorldRecord& record, Unit* unit, World* world, const void* resource, const NodeTreeView& tree, float /*step_s*/)
{
    if (plugin_state().disabled || find_creature_context(record, unit) || !is_compiled_creature(resource)) return;
    build_creature_context(record, static_cast<const CompiledCreature*>(resource), unit, world, tree.nodeCount, tree.nameHashes);
}
