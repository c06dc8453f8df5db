// Services for the plugin's own objects, linked into the test: real memory that keeps books, source trees as the host parses them, and worlds,
// units and lines that write down what is asked of them. One at a time.
#pragma once

#include <cstdint>
#include <deque>
#include <set>
#include <string>
#include <vector>

#include "host/memory.h"
#include "plugin/limbrex_plugin.h"

namespace plugin_test
{

struct ServiceUnit
{
    World* world = nullptr;
    uint32_t referenceId = 0;
    uint64_t resourceName = 0;
    bool alive = true;
    Unit* handle() { return reinterpret_cast<Unit*>(this); }
};

struct ServiceWorld
{
    char name;  // 'A', 'B', ... in events
    WorldUpdateFunction update = nullptr;
    World* handle() { return reinterpret_cast<World*>(this); }
};

class PluginServices
{
public:
    PluginServices();
    ~PluginServices();
    PluginServices(const PluginServices&) = delete;
    PluginServices& operator=(const PluginServices&) = delete;

    static void* get_api(uint32_t service_id);

    ServiceWorld& addWorld();  // known to the services, not yet to the plugin
    ServiceUnit& addUnit(ServiceWorld& world, uint64_t resource_name = 0);

    // What compile jobs read next.
    void setSource(const std::string& json);

    limbrex_host::HostMemory memory;
    std::vector<size_t> allocationSizes;
    std::vector<uint32_t> askedIds;
    std::set<uint32_t> missing;  // ids that yield null
    std::vector<std::string> events;
    std::vector<std::string> log;  // "level: text"
    std::vector<std::string> scriptFunctions;
    std::vector<uint32_t> source;
    uint64_t sourceError = 0;
    void* outputAllocator = nullptr;
    std::deque<ServiceWorld> worlds;
    std::deque<ServiceUnit> units;
    const void* characterResource = nullptr;  // found under any name but 0
    const void* creatureResource = nullptr;
};

PluginServices& services();  // the one that lives

// A compiled block by the plugin's own compiler; empty when it failed.
std::vector<uint8_t> compile(CompileFunction compiler, const std::string& json);
std::string example_rig(const std::string& name);  // its source text

}  // namespace plugin_test
