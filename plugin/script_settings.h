// Script functions that declare and delete a unit's context and set what it does as a whole.
#pragma once

struct ScriptCall;

namespace script
{

int character_declare_context(ScriptCall& call);
int character_delete_context(ScriptCall& call);

int character_set_source(ScriptCall& call);
int character_get_source(ScriptCall& call);
int character_set_solve_flags(ScriptCall& call);
int character_get_solve_flags(ScriptCall& call);
int character_set_draw_rigs_flags(ScriptCall& call);
int character_get_draw_rigs_flags(ScriptCall& call);
int character_get_debug_name(ScriptCall& call);

}  // namespace script
