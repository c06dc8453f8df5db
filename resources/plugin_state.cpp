#include "resources/plugin_state.h"

PluginState& plugin_state()
{
    static PluginState state;
    return state;
}
