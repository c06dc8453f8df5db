// Scripts give a unit a context and take it away: for units whose rig does not bear their own resource name. Argument 1 is the unit, argument 2
// the resource name. Silent where the unit's world has no record.
#pragma once

struct ScriptCall;

int declare_character_context(ScriptCall& call);
int delete_character_context(ScriptCall& call);
int declare_creature_context(ScriptCall& call);
int delete_creature_context(ScriptCall& call);
