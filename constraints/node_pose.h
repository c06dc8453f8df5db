// Where a node of a unit is, as the engine has it: the animated pose of the frame.
#pragma once

#include "contexts/spatial.h"
#include "plugin/limbrex_plugin.h"

struct NodePose
{
    Vec4 position_world;
    Quat rotation_world;
};

// False when the unit has no such node or the node has no usable pose. The engine's matrix is left as it is.
bool read_node_pose(Unit* unit, int32_t node_index, NodePose& pose);
