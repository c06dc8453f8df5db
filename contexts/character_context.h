// A character context binds one unit to one compiled rig and owns everything that solves that unit: the characterized rig, two poses,
// the goals, the solver options, the constraints and the cache that leads from mapped nodes to the unit's nodes.
//
// Life: a context is built for a spawned unit (ready at once) or declared by a script (ready after its first evaluation), is
// evaluated every frame while it is active (character_evaluation.h), and is destroyed by a script, with its unit, with its
// world or at the end of gameplay.
#pragma once

#include <cstdint>

#include "contexts/constraint_stack.h"
#include "contexts/spatial.h"
#include "limbrex/limbrex.h"
#include "plugin/limbrex_plugin.h"

struct CompiledCharacter;
struct WorldRecord;

// Levels of unmapped nodes between a node and its template parent that a rig may name.
constexpr uint32_t kParentLevelCount = 6;
constexpr int32_t kDebugListCapacity = 16;

// Recorded while constraints run, emptied when the next evaluation starts; what does not fit is dropped.
struct DebugPoint
{
    Vec4 position;
    uint32_t colour;  // 0xAARRGGBB
};

struct DebugSegment
{
    Vec4 start, end;
    uint32_t colour;
    uint8_t inUnitFrame;  // 1: solver frame; 0: world
};

template <class Entry>
struct DebugList
{
    Entry entries[kDebugListCapacity];
    int32_t count;
};

struct CharacterContext
{
    Unit* unit;              // first: the lists of a world are searched by it
    uint32_t unitReference;  // tells a unit from another one that took its address
    World* world;            // null until a declared context is first evaluated
    int32_t referenceNodeIndex;

    // The solver frame in the world, refreshed before the constraints run. World point p: rootRotation * solver point + rootPosition.
    Vec4 rootPosition;
    Quat rootRotation;
    Quat inverseRootRotation;
    Vec4 rootScale;

    int32_t* nodeIndices;                       // per mapping record; -1: unknown
    int32_t* parentIndices[kParentLevelCount];  // the same for the parents named by the rig, nearest first; -1: none

    uint8_t active;
    uint8_t drawFlags[3];  // the first also has the input pose read while a source drives the character
    uint8_t solveDisabled;
    uint8_t outputDisabled;
    DebugList<DebugPoint> debugPoints;
    DebugList<DebugSegment> debugSegments;
    uint8_t declared;  // the node cache is still to be built
    uint8_t dumpRequested;

    LBXCharacter* character;
    LBXCharacterState* state;  // input pose, then solved pose
    LBXEffectorSet* effectorSet;
    LBXPropertySet* propertySet;
    LBXCharacterState* preSolveState;

    ConstraintStack constraintStack;
    CharacterContext* source;  // cleared when that context is destroyed
    uint8_t lowDefinitionSolve;
    uint8_t lowDefinitionRetarget;
    const CompiledCharacter* resource;  // the engine's, read only
};

// Builds a context from a compiled rig and appends it to the world's list. With node_count 0 it is a declared one: no cache, `world` may be
// null. Null when the rig is no use (the log says why) or memory runs out; whatever was made by then is released.
CharacterContext* build_character_context(WorldRecord& record, const CompiledCharacter* resource, Unit* unit, World* world,
                                          uint32_t node_count, const uint32_t* name_hashes);

// Releases everything the context owns and the record itself, and clears the source of every context that was driven by it. The caller
// takes it off its list.
void destroy_character_context(CharacterContext* context);
