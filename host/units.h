// Units: what stands in a world, with its nodes. The engine hands out pointers and reference ids; an id goes stale the moment the unit is
// deleted, and its slot's next tenant has another id.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/node_tree.h"
#include "host/physics.h"

namespace limbrex_host
{

class HostWorld;
struct HostUnit;

// The unit's body in the world's physics; what the plugin holds as PhysicsActor.
struct HostActor
{
    CollisionFilter filter;
    size_t collider = HostPhysics::kNone;
    float height_m = 0.0f;
    int32_t followNode = -1;  // stands below this node; -1: where the unit stands
};

struct HostUnit
{
    std::string name;
    std::string resource;       // name of the unit's own resource
    uint64_t resourceName = 0;  // its hash
    uint32_t referenceId = 0;   // never 0
    HostWorld* world = nullptr;
    HostNodeTree tree;  // node 0 is the unit's root
    std::array<float, 3> position_world{0.0f, 0.0f, 0.0f};
    float heading_deg = 0.0f;  // about the world's z; 0 faces along -y, 90 along +x
    bool hasActor = false;
    HostActor actor;
    bool deleted = false;  // its id is stale; the record lives until the plugin has been told
};

// Writes the unit's root pose and marks it changed. False, with nothing written, for numbers that are not finite.
bool place_unit(HostUnit& unit, const std::array<float, 3>& position_world, float heading_deg);

class HostUnits
{
public:
    HostUnits() = default;
    HostUnits(const HostUnits&) = delete;
    HostUnits& operator=(const HostUnits&) = delete;

    HostUnit& create(const std::string& name, const std::string& resource);  // in no world, without nodes
    HostUnit* resolve(uint32_t referenceId) const;                           // null for stale and for made-up ids
    void make_stale(HostUnit& unit);
    void release(const HostUnit* unit);  // its memory; make_stale came before

    bool known(const void* unit) const;  // some record, stale ones included, lies at this address
    HostUnit* owner_of_tree(const void* tree) const;
    HostUnit* owner_of_actor(const void* actor) const;
    size_t live_count() const;

private:
    struct Slot
    {
        std::unique_ptr<HostUnit> unit;
        uint32_t generation = 1;
    };
    std::vector<Slot> slots;
};

}  // namespace limbrex_host
