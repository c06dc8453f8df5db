#include "host/world.h"

#include <algorithm>

namespace limbrex_host
{

void HostWorld::register_update(WorldUpdateFunction callback)
{
    const bool there = std::find(callbacks.begin(), callbacks.end(), callback) != callbacks.end();
    if (callback != nullptr && !there) { callbacks.push_back(callback); }
}

void HostWorld::update(float step_s)
{
    for (const WorldUpdateFunction callback : callbacks) { callback(reinterpret_cast<World*>(this), step_s); }
}

void HostWorld::propagate_units()
{
    for (HostUnit* const unit : units) { propagate(unit->tree); }
}

void HostWorld::move_actors()
{
    for (const HostUnit* const unit : units)
    {
        if (!unit->hasActor) { continue; }
        NodePose pose;
        pose.position = unit->position_world;
        if (unit->actor.followNode >= 0)
        {
            const float* const row = unit->tree.worlds[static_cast<size_t>(unit->actor.followNode)].m + 12;
            pose.position[0] = row[0];
            pose.position[1] = row[1];
        }
        pose.position[2] += 0.5f * unit->actor.height_m;
        physics.move(unit->actor.collider, pose);
    }
}

size_t add_ground(HostPhysics& physics, float z)
{
    NodePose pose;
    pose.position[2] = z;
    return physics.add(plane_shape(), pose);
}

}  // namespace limbrex_host
