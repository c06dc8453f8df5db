// The factors of a fingers control, picked by a finger's number.
#pragma once

#include "contexts/script_call.h"

namespace script
{

int character_fingers_get_factor(ScriptCall& call);
int character_fingers_set_factor(ScriptCall& call);

}  // namespace script
