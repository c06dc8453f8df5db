// New targets for looks and aims that are on the stack.
#pragma once

#include "contexts/script_call.h"

namespace script
{

int character_aim_set_target_position(ScriptCall& call);
int character_aim_set_target_unit(ScriptCall& call);
int character_look_at_set_target_unit(ScriptCall& call);
int character_look_at_set_target_position(ScriptCall& call);

}  // namespace script
