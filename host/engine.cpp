#include "host/engine.h"

#include <algorithm>
#include <chrono>

#include <fmt/format.h>

#include "host/services.h"

namespace limbrex_host
{
namespace
{

World* to_api(HostWorld& world) { return reinterpret_cast<World*>(&world); }

}  // namespace

HostEngine::HostEngine() = default;

HostEngine::~HostEngine() { stop(); }

bool HostEngine::load_plugin(const EngineOptions& wanted, std::string& error)
{
    if (running_engine() != nullptr)
    {
        error = "another engine is running in this process";
        return false;
    }
    options = wanted;
    if (!plugin.load(options.plugin, error)) { return false; }
    set_running_engine(this);
    return true;
}

bool HostEngine::start_resources(const EngineOptions& wanted, std::string& error)
{
    if (!load_plugin(wanted, error)) { return false; }
    plugin.setup_resource_types(host_service);
    resourceTypesUp = true;
    return true;
}

bool HostEngine::start(const EngineOptions& wanted, std::string& error)
{
    if (!start_resources(wanted, error)) { return false; }
    if (!script.open(options.scriptLimits))
    {
        error = "the script machine could not be opened: no memory";
        stop();
        return false;
    }
    plugin.begin_gameplay(host_service);
    gameplayUp = true;
    return true;
}

void HostEngine::stop()
{
    if (running_engine() != this) { return; }
    while (!worlds.empty()) { remove_world(*worlds.back()); }
    const uint64_t lost_before = memory.lost_blocks();
    if (gameplayUp) { plugin.end_gameplay(); }
    gameplayUp = false;
    script.close();
    if (resourceTypesUp) { plugin.shutdown_resource_types(host_service); }
    resourceTypesUp = false;
    resources.unload_all();
    lostBlocks = memory.lost_blocks() - lost_before + memory.live_blocks();
    for (const std::string& fault : memory.faults()) { log.error("memory: " + fault); }
    if (memory.live_blocks() > 0) { log.error(fmt::format("memory: {} blocks are still allocated after shutdown", memory.live_blocks())); }
    plugin.unload();
    set_running_engine(nullptr);
}

HostWorld& HostEngine::add_world(const std::string& name)
{
    worlds.push_back(std::make_unique<HostWorld>(name));
    plugin.world_added(to_api(*worlds.back()));
    return *worlds.back();
}

void HostEngine::remove_world(HostWorld& world)
{
    while (!world.units.empty()) { remove_unit(*world.units.back()); }
    plugin.world_removed(to_api(world));
    worlds.erase(std::find_if(worlds.begin(), worlds.end(), [&world](const auto& each) { return each.get() == &world; }));
}

HostWorld* HostEngine::find_world(const void* world) const
{
    const auto found = std::find_if(worlds.begin(), worlds.end(), [world](const auto& each) { return each.get() == world; });
    return found == worlds.end() ? nullptr : found->get();
}

HostUnit& HostEngine::spawn(HostWorld& world, const std::string& name, const std::string& resource, HostNodeTree tree,
                            const std::array<float, 3>& position_world, float heading_deg)
{
    HostUnit& unit = units.create(name, resource);
    unit.world = &world;
    unit.tree = std::move(tree);
    finish_tree(unit.tree);
    place_unit(unit, position_world, heading_deg);
    propagate(unit.tree);
    world.units.push_back(&unit);
    Unit* const created = reinterpret_cast<Unit*>(&unit);
    plugin.on_units_created(&created, 1);
    propagate(unit.tree);
    return unit;
}

bool HostEngine::give_body(HostUnit& unit, float radius_m, float height_m, int32_t follow_node)
{
    const size_t collider = unit.world->physics.add(capsule_shape(radius_m, height_m), {}, unit.referenceId);
    if (collider == HostPhysics::kNone) { return false; }
    if (unit.hasActor) { unit.world->physics.remove(unit.actor.collider); }
    unit.hasActor = true;
    unit.actor.collider = collider;
    unit.actor.height_m = height_m;
    unit.actor.followNode = follow_node;
    unit.world->move_actors();
    return true;
}

// The id goes stale first: that is how the plugin sees which of its contexts have lost their unit.
void HostEngine::remove_unit(HostUnit& unit)
{
    HostWorld& world = *unit.world;
    units.make_stale(unit);
    Unit* const removed = reinterpret_cast<Unit*>(&unit);
    plugin.on_units_removed(&removed, 1);
    if (unit.hasActor) { world.physics.remove(unit.actor.collider); }
    world.units.erase(std::remove(world.units.begin(), world.units.end(), &unit), world.units.end());
    units.release(&unit);
}

UpdateReport HostEngine::update(HostWorld& world, float step_s)
{
    savedLocals.clear();
    for (const HostUnit* const unit : world.units)
    {
        savedLocals.insert(savedLocals.end(), unit->tree.locals.begin(), unit->tree.locals.end());
    }

    UpdateReport report;
    const uint64_t allocations_before = memory.allocations();
    const auto begin = std::chrono::steady_clock::now();
    world.update(step_s);
    const auto end = std::chrono::steady_clock::now();
    report.callback_us = std::chrono::duration<double, std::micro>(end - begin).count();
    report.allocations = memory.allocations() - allocations_before;
    report.refusedPoses = restore_refused_poses(world);
    world.propagate_units();
    world.move_actors();
    return report;
}

uint32_t HostEngine::restore_refused_poses(const HostWorld& world)
{
    uint32_t refused = 0;
    size_t first = 0;
    for (HostUnit* const unit : world.units)
    {
        for (uint32_t node = 0; node < unit->tree.node_count(); ++node)
        {
            if (is_finite(unit->tree.locals[node])) { continue; }
            unit->tree.locals[node] = savedLocals[first + node];
            mark_changed(unit->tree, node);
            ++refused;
            log.error(fmt::format("unit \"{}\": the pose written to node \"{}\" is not finite; the node keeps the pose it had", unit->name,
                                  unit->tree.names[node]));
        }
        first += unit->tree.node_count();
    }
    return refused;
}

void HostEngine::render(HostWorld& world) { plugin.render_world(to_api(world), nullptr); }

}  // namespace limbrex_host
