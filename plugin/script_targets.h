// Targets of looks and aims after the push. The constraint kind comes from the table's row.
#pragma once

#include "contexts/script_call.h"

namespace script
{

int character_look_at_set_target_unit(ScriptCall& call);
int character_look_at_set_target_position(ScriptCall& call);

}  // namespace script
