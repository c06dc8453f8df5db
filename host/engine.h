// The simulated engine: owns memory, log, resources, worlds, units and scripts, loads one plugin, and calls its hooks in an engine's order.
//
//   start     load, setup_resource_types, scripts, begin_gameplay
//   play      add_world, spawn, update, render, remove_unit, remove_world
//   stop      units and worlds away, end_gameplay, shutdown_resource_types, books checked, unload
// One engine runs at a time in a process, on one thread.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/log.h"
#include "host/memory.h"
#include "host/plugin_library.h"
#include "host/resources.h"
#include "host/script.h"
#include "host/units.h"
#include "host/world.h"

namespace limbrex_host
{

struct EngineOptions
{
    std::string plugin;                  // path of the shared library
    std::set<uint32_t> missingServices;  // ids for which plugins get null
    ScriptLimits scriptLimits;
};

struct UpdateReport
{
    double callback_us = 0.0;   // wall-clock time inside the plugins' callbacks
    uint64_t allocations = 0;   // made meanwhile through host allocators
    uint32_t refusedPoses = 0;  // local poses that were not finite; the nodes keep their animated pose
};

class HostEngine
{
public:
    HostEngine();
    ~HostEngine();
    HostEngine(const HostEngine&) = delete;
    HostEngine& operator=(const HostEngine&) = delete;

    bool start(const EngineOptions& options, std::string& error);
    // Resource types only: for compiling rigs. No gameplay, no scripts.
    bool start_resources(const EngineOptions& options, std::string& error);
    void stop();

    HostWorld& add_world(const std::string& name);
    void remove_world(HostWorld& world);  // its units too
    HostWorld* find_world(const void* world) const;

    // A unit with this tree at this place. The plugin is told at once.
    HostUnit& spawn(HostWorld& world, const std::string& name, const std::string& resource, HostNodeTree tree,
                    const std::array<float, 3>& position_world, float heading_deg);
    // A body that rays of other units hit: a capsule standing where the unit stands. False for sizes that make none.
    bool give_body(HostUnit& unit, float radius_m, float height_m, int32_t follow_node);
    void remove_unit(HostUnit& unit);

    // One update of a world: plugin callbacks on the local poses as they are, then world poses.
    UpdateReport update(HostWorld& world, float step_s);
    void render(HostWorld& world);

    bool lacks_service(uint32_t id) const { return options.missingServices.count(id) != 0; }
    uint64_t lost_blocks() const { return lostBlocks; }  // of the last stop

    HostLog log;
    HostMemory memory;
    HostResources resources{memory, log};
    HostUnits units;
    ScriptHost script{log, units};
    PluginLibrary plugin;
    std::vector<std::unique_ptr<HostWorld>> worlds;

private:
    bool load_plugin(const EngineOptions& wanted, std::string& error);
    uint32_t restore_refused_poses(const HostWorld& world);

    EngineOptions options;
    bool resourceTypesUp = false;
    bool gameplayUp = false;
    uint64_t lostBlocks = 0;
    std::vector<LocalPose> savedLocals;
};

}  // namespace limbrex_host
