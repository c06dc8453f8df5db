// The joint limits of one node, as inspection shows them: the character's own record, or else what the rig file says. The solver of a context
// runs without the file's limits; they are there to be looked at.
#pragma once

#include <cstdint>

#include "contexts/spatial.h"

struct CharacterContext;

// Rotation-order code of joints that twist about x and swing about an axis across it; the codes below turn about three axes in turn.
constexpr int32_t kTwistAndSwingOrder = 12;

struct NodeLimits
{
    Vec4 minimum_rad = kZero4, maximum_rad = kZero4;  // about the axes of the joint frame
    Quat preRotation = kIdentityRotation;
    uint32_t active = 0;        // bits 0 to 2 minimum x, y, z; 3 to 5 maximum
    int32_t rotationOrder = 0;  // 0 to 12
};

// False, with the limits at their defaults, for a node that has none.
bool find_node_limits(const CharacterContext& context, int32_t node, NodeLimits& limits);
// The file's record alone.
bool rig_has_limits(const CharacterContext& context, int32_t node);
