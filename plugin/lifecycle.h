// The hooks that an engine calls, in the order of a plugin's life. All on the engine's one thread.
#pragma once

#include "plugin/limbrex_plugin.h"

namespace hooks
{

void setup_resource_types(GetApi get_api);
void shutdown_resource_types(GetApi get_api);
void begin_gameplay(GetApi get_api);
void end_gameplay();
void world_added(World* world);
void world_removed(World* world);
void on_units_created(Unit* const* units, uint32_t count);
void on_units_removed(Unit* const* units, uint32_t count);
void render_world(World* world, void* render_argument);

}  // namespace hooks
