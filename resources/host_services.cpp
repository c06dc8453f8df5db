#include "resources/host_services.h"

namespace
{

HostServices g_services;

template <class Service>
void fetch(GetApi get_api, uint32_t id, const Service*& service)
{
    service = static_cast<const Service*>(get_api(id));
}

}  // namespace

const HostServices& host_services() { return g_services; }

void acquire_host_services(GetApi get_api)
{
    fetch(get_api, kHostScriptServiceId, g_services.script);
    fetch(get_api, kHostCompilerRegistryId, g_services.compilerRegistry);
    fetch(get_api, kHostCompileInputId, g_services.compileInput);
    fetch(get_api, kHostMemoryServiceId, g_services.memory);
    fetch(get_api, kHostResourceServiceId, g_services.resource);
    fetch(get_api, kHostLogServiceId, g_services.log);
    fetch(get_api, kHostRayCastServiceId, g_services.rayCast);
    fetch(get_api, kHostUnitHandleServiceId, g_services.unitHandle);
    fetch(get_api, kHostUnitServiceId, g_services.unit);
    fetch(get_api, kHostNodeTreeServiceId, g_services.nodeTree);
    fetch(get_api, kHostWorldServiceId, g_services.world);
    fetch(get_api, kHostLineServiceId, g_services.line);
    get_api(kHostUnusedServiceId);  // engines count on every id being asked for
}
