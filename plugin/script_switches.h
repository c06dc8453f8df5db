// Script functions that switch the whole plugin.
#pragma once

struct ScriptCall;

namespace script
{

int enable(ScriptCall& call);
int is_enabled(ScriptCall& call);
int enable_x_rays(ScriptCall& call);
int enable_collisions_debug(ScriptCall& call);
int reveal_all(ScriptCall& call);

}  // namespace script
