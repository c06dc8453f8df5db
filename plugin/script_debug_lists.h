// Queries of the points and segments that a character's constraints recorded in its last evaluation, and a printout of its goals.
#pragma once

struct ScriptCall;

namespace script
{

int character_num_markers(ScriptCall& call);          // unit -> count
int character_get_marker_position(ScriptCall& call);  // unit, index -> world position
int character_num_lines(ScriptCall& call);            // unit -> count
int character_get_line_position(ScriptCall& call);    // unit, index -> world start, world end
int character_dump_effectors(ScriptCall& call);       // unit; hips and ankles go to the log, in the solver frame

}  // namespace script
