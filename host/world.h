// One world: its units, its scenery, its debug lines, and the callbacks that run at each of its updates.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "host/lines.h"
#include "host/physics.h"
#include "host/units.h"
#include "plugin/limbrex_plugin.h"

namespace limbrex_host
{

class HostWorld
{
public:
    explicit HostWorld(std::string worldName) : name(std::move(worldName)) {}
    HostWorld(const HostWorld&) = delete;
    HostWorld& operator=(const HostWorld&) = delete;

    void register_update(WorldUpdateFunction callback);
    void update(float step_s);  // every callback, in the order of registration
    void propagate_units();     // world poses of all its units
    void move_actors();         // unit bodies to where their units stand

    std::string name;
    std::vector<HostUnit*> units;  // borrowed from the engine's registry, in order of creation
    HostPhysics physics;
    HostDrawing drawing;

private:
    std::vector<WorldUpdateFunction> callbacks;
};

// A ground plane at height z. Returns the collider's number.
size_t add_ground(HostPhysics& physics, float z);

}  // namespace limbrex_host
