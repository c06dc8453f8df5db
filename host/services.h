// The numbered service tables that plugins fetch. Their functions carry no pointer to an engine, so they act on the one engine that runs in
// this process; without one every answer is neutral. Pointers that are not the engine's own are refused, not followed.
#pragma once

#include <cstdint>

#include "plugin/limbrex_plugin.h"

namespace limbrex_host
{

class HostEngine;

HostEngine* running_engine();
void set_running_engine(HostEngine* engine);

// What hooks receive as get_api: null for an unknown id and for a service that the running engine was told not to have.
void* host_service(uint32_t service_id);

}  // namespace limbrex_host
