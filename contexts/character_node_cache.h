// Leads from a rig's mapped nodes to the places of those nodes in the unit's node tree. Names are compared once, when a context becomes
// ready; a frame only indexes.
#pragma once

#include <cstdint>

struct CharacterContext;
struct CompiledCharacter;

// Allocates and fills the tables of the context and resets its root frame. A name that the unit does not have is logged and makes the
// context inactive, so that a wrong rig costs nothing per frame; so does a lack of memory. True when the cache is complete.
bool build_character_node_cache(CharacterContext& context, uint32_t mapping_count, uint32_t node_count, const uint32_t* name_hashes,
                                const CompiledCharacter& resource);

void release_character_node_cache(CharacterContext& context);
