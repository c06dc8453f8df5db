// A creature context binds one unit to one compiled creature. Only what the registry and the hooks need of it.
#pragma once

#include <cstdint>

#include "plugin/limbrex_plugin.h"

struct CreatureContext
{
    Unit* unit;  // first: the lists of a world are searched by it
    uint32_t unitReference;
};

void destroy_creature_context(CreatureContext* context);
