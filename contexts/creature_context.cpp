#include "contexts/creature_context.h"

#include "resources/plugin_allocator.h"

void destroy_creature_context(CreatureContext* context) { plugin_deallocate(context); }
