// Script functions that manage a character's stack of constraints.
#pragma once

struct ScriptCall;

namespace script
{

int character_get_constraint_index_from_constraint_id(ScriptCall& call);
int character_set_blend_alpha(ScriptCall& call);
int character_set_blend_time(ScriptCall& call);
int character_pop(ScriptCall& call);
int character_pop_all(ScriptCall& call);
int character_num_constraints(ScriptCall& call);
int character_get_constraint_type(ScriptCall& call);

}  // namespace script
