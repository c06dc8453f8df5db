// The engine's service tables, fetched once per set-up hook and kept.
#pragma once

#include "plugin/limbrex_plugin.h"

struct HostServices
{
    const HostScriptService* script;
    const HostCompilerRegistry* compilerRegistry;
    const HostCompileInput* compileInput;
    const HostMemoryService* memory;
    const HostResourceService* resource;
    const HostLogService* log;
    const HostRayCastService* rayCast;  // null for an engine without rays
    const HostUnitHandleService* unitHandle;
    const HostUnitService* unit;
    const HostNodeTreeService* nodeTree;
    const HostWorldService* world;
    const HostLineService* line;  // null for an engine that draws no lines
};

const HostServices& host_services();
// Fetches every table; repeating it is harmless.
void acquire_host_services(GetApi get_api);
