// Queries of joint limits, and of their arcs for drawing.
#pragma once

struct ScriptCall;

namespace script
{

int character_node_has_limits(ScriptCall& call);            // unit, node -> does the rig hold limits of that node
int character_node_get_limits(ScriptCall& call);            // unit, node -> minimum, maximum (radians), pre-rotation
int character_node_get_limits_draw_info(ScriptCall& call);  // unit, node -> segment count; refills the plugin's table
int character_node_get_limits_draw_line(ScriptCall& call);  // unit, segment index -> world start, world end, red, green, blue

}  // namespace script
