// Script functions that set what a unit's context does as a whole.
#pragma once

struct ScriptCall;

namespace script
{

int character_set_source(ScriptCall& call);
int character_get_source(ScriptCall& call);
int character_set_solve_flags(ScriptCall& call);
int character_get_solve_flags(ScriptCall& call);
int character_set_draw_rigs_flags(ScriptCall& call);
int character_get_draw_rigs_flags(ScriptCall& call);
int character_get_debug_name(ScriptCall& call);

}  // namespace script
