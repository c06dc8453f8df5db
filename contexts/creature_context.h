// A creature context binds one unit to one compiled creature. Creatures are compiled, declared and refused; nothing solves them in this version,
// so no context of a creature exists and its unit keeps its animation.
#pragma once

#include <cstdint>

#include "plugin/limbrex_plugin.h"

struct CompiledCreature;
struct NodeTreeView;
struct WorldRecord;

struct CreatureContext
{
    Unit* unit;  // first: the lists of a world are searched by it
    uint32_t unitReference;
};

// Refuses with an error in the log, once for each unit, and returns null.
CreatureContext* build_creature_context(WorldRecord& record, const CompiledCreature* resource, Unit* unit, World* world,
                                        uint32_t node_count, const uint32_t* name_hashes);
void destroy_creature_context(CreatureContext* context);

// One frame of a unit's creature. A unit without a context gets one when `resource`, found under the unit's own resource name (null when there
// is none), is a compiled creature. Does nothing while the plugin is disabled.
void evaluate_creature(WorldRecord& record, Unit* unit, World* world, const void* resource, const NodeTreeView& tree, float step_s);
