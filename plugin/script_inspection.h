// Script functions that answer where effectors and nodes are, and how the rig hangs together. Positions and rotations are the world's.
#pragma once

struct ScriptCall;

namespace script
{

int character_get_effector_transform(ScriptCall& call);
int character_get_node_position(ScriptCall& call);
int character_get_node_transform(ScriptCall& call);
int character_get_node_children_count(ScriptCall& call);
int character_get_node_child_id(ScriptCall& call);
int character_get_node_parent_id(ScriptCall& call);

}  // namespace script
