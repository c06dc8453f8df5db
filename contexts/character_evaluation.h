// One frame of one character: read the animated pose, place the effectors on it, let the constraints edit them, solve, write the pose back.
#pragma once

#include <cstdint>

#include "plugin/limbrex_plugin.h"

struct CharacterContext;
struct WorldRecord;

// A unit's node tree as one evaluation sees it; the arrays are the engine's and are read and written in place.
struct NodeTreeView
{
    uint32_t nodeCount;
    LocalPose* localPoses;
    ChangedFlags* changedFlags;
    float* worldPoses;  // 16 floats a node
    const uint32_t* nameHashes;
};

// Fetches the arrays from the engine; all zero for a unit without a node tree.
NodeTreeView view_node_tree(Unit* unit);

// Evaluates the unit's context. A unit without one gets it when `resource`, the rig found under the unit's own resource name
// (null when there is none), is a compiled character. Does nothing while the plugin is disabled. An evaluation works with the
// rig that its context was built from, so a declared context needs no rig under the unit's own name.
//
// A number that is not finite in the animated pose, or a mapped node that the unit has lost, ends the evaluation for this frame
// with the unit untouched; a solved pose that is not finite is not written. Allocates nothing for a ready context.
void evaluate_character(WorldRecord& record, Unit* unit, World* world, const void* resource, const NodeTreeView& tree, float step_s);
