#include "plugin/script_switches.h"

#include "contexts/character_context.h"
#include "contexts/script_call.h"
#include "contexts/world_registry.h"
#include "resources/plugin_state.h"

namespace script
{

int enable(ScriptCall& call)
{
    plugin_state().disabled = !call.flag(1);
    return 0;
}

int is_enabled(ScriptCall& call) { return call.push(!plugin_state().disabled); }

int enable_x_rays(ScriptCall& call)
{
    plugin_state().drawRigsEnabled = call.flag(1);
    return 0;
}

int enable_collisions_debug(ScriptCall& call)
{
    plugin_state().collisionsDebugEnabled = call.flag(1);
    return 0;
}

int reveal_all(ScriptCall& call)
{
    const uint8_t revealed = call.flag(1) ? 1 : 0;
    WorldRegistry* registry = plugin_state().worldRegistry;
    if (!registry) return 0;
    for_each_world(*registry,
                   [revealed](WorldRecord& record)
                   {
                       for (int32_t i = 0; i < record.characters.count; ++i)
                       {
                           for (uint8_t& draw_flag : record.characters.entries[i]->drawFlags) draw_flag = revealed;
                       }
                   });
    return 0;
}

}  // namespace script
