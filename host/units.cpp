#include "host/units.h"

#include <algorithm>
#include <cmath>

#include "host/murmur.h"

namespace limbrex_host
{
namespace
{

// Reference id: slot number in the low bits, generation above, so an id of 0 cannot occur.
constexpr uint32_t kSlotBits = 18;
constexpr uint32_t kSlotMask = (1u << kSlotBits) - 1u;
constexpr uint32_t kGenerationMask = (1u << (32 - kSlotBits)) - 1u;
constexpr float kRadians = 3.14159265358979f / 180.0f;

}  // namespace

bool place_unit(HostUnit& unit, const std::array<float, 3>& position_world, float heading_deg)
{
    const bool sound = std::isfinite(position_world[0]) && std::isfinite(position_world[1]) && std::isfinite(position_world[2]) &&
                       std::isfinite(heading_deg);
    if (!sound || unit.tree.node_count() == 0) { return false; }
    unit.position_world = position_world;
    unit.heading_deg = heading_deg;
    const float half_rad = 0.5f * heading_deg * kRadians;
    NodePose root;
    root.position = position_world;
    root.rotation = {0.0f, 0.0f, std::sin(half_rad), std::cos(half_rad)};
    unit.tree.locals[0] = local_pose_from(root);
    mark_changed(unit.tree, 0);
    return true;
}

HostUnit& HostUnits::create(const std::string& name, const std::string& resource)
{
    auto free_slot = std::find_if(slots.begin(), slots.end(), [](const Slot& slot) { return slot.unit == nullptr; });
    if (free_slot == slots.end()) { free_slot = slots.insert(slots.end(), Slot{}); }
    const auto number = static_cast<uint32_t>(free_slot - slots.begin());
    free_slot->unit = std::make_unique<HostUnit>();
    HostUnit& unit = *free_slot->unit;
    unit.name = name;
    unit.resource = resource;
    unit.resourceName = murmur64(resource);
    unit.referenceId = free_slot->generation << kSlotBits | number;
    unit.actor.filter.ownUnit = unit.referenceId;
    return unit;
}

HostUnit* HostUnits::resolve(uint32_t referenceId) const
{
    const uint32_t number = referenceId & kSlotMask;
    if (number >= slots.size() || slots[number].unit == nullptr) { return nullptr; }
    HostUnit* const unit = slots[number].unit.get();
    return unit->referenceId == referenceId && !unit->deleted ? unit : nullptr;
}

void HostUnits::make_stale(HostUnit& unit) { unit.deleted = true; }

void HostUnits::release(const HostUnit* unit)
{
    for (Slot& slot : slots)
    {
        if (slot.unit.get() != unit || unit == nullptr) { continue; }
        slot.unit.reset();
        slot.generation = std::max((slot.generation + 1u) & kGenerationMask, 1u);
        return;
    }
}

bool HostUnits::known(const void* unit) const
{
    return unit != nullptr && std::any_of(slots.begin(), slots.end(), [unit](const Slot& slot) { return slot.unit.get() == unit; });
}

HostUnit* HostUnits::owner_of_tree(const void* tree) const
{
    const auto found = std::find_if(slots.begin(), slots.end(), [tree](const Slot& slot) { return slot.unit && &slot.unit->tree == tree; });
    return found == slots.end() || tree == nullptr ? nullptr : found->unit.get();
}

HostUnit* HostUnits::owner_of_actor(const void* actor) const
{
    const auto found =
        std::find_if(slots.begin(), slots.end(), [actor](const Slot& slot) { return slot.unit && &slot.unit->actor == actor; });
    return found == slots.end() || actor == nullptr ? nullptr : found->unit.get();
}

size_t HostUnits::live_count() const
{
    return static_cast<size_t>(
        std::count_if(slots.begin(), slots.end(), [](const Slot& slot) { return slot.unit && !slot.unit->deleted; }));
}

}  // namespace limbrex_host
