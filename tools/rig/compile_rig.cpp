#include "tools/rig/compile_rig.h"

#include "host/engine.h"

namespace limbrex_tools
{

bool compile_rig(const std::string& plugin, const std::string& source, std::string& bytes, std::string& error)
{
    constexpr const char* kType = "character";
    limbrex_host::HostEngine engine;
    limbrex_host::EngineOptions options;
    options.plugin = plugin;
    if (!engine.start_resources(options, error)) { return false; }
    const bool compiled = engine.resources.load_file(kType, source, source, error);
    if (compiled)
    {
        const limbrex_host::HostResource* resource = engine.resources.find(kType, source);
        bytes.assign(static_cast<const char*>(resource->block), resource->size);
    }
    engine.stop();
    return compiled;
}

}  // namespace limbrex_tools
