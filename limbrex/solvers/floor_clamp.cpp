// Stage 2: goals of feet and hands that lie below their floors are raised before the body is solved, so that nothing pulls the body into the ground.
#include "limbrex/solvers/contact.h"
#include "limbrex/solvers/stages.h"

namespace lbx
{
namespace
{

constexpr int kAlwaysSync = 2;  // of ContactBehaviour

// Stiffness 1 raises both goals by the deeper one's depth and keeps what lies between them; 0 puts each on the floor by itself.
void clamp_extremity(const Solve& solve, int limb)
{
    const int extremity = kLimbs[static_cast<size_t>(limb)].contact;
    const ContactRow& row = contact_row(extremity);
    if (mode_of(solve.properties, row.enable) == 0 || slot_of(solve, row.node) < 0) return;
    const FloorFrame floor = floor_frame(solve.effectors, extremity);
    const bool has_base = slot_of(solve, row.base) >= 0;
    const float end = height_above(floor, goal_point(solve.effectors, row.endEffector));
    const float base = has_base ? height_above(floor, goal_point(solve.effectors, row.extremityEffector)) : 0.0f;
    const float end_depth = max_of(-end, 0.0f);
    const float base_depth = max_of(-base, 0.0f);
    const float depth = max_of(end_depth, base_depth);
    if (!(depth > 0.0f)) return;

    const float stiffness = value_of(solve.properties, row.stiffness);
    const auto raise = [&](int effector, float own_depth)
    {
        const float by = own_depth + (depth - own_depth) * stiffness;
        if (by > 0.0f) solve.effectors.targets[effector].t += floor_up(floor) * by;
    };
    raise(row.endEffector, end_depth);
    if (has_base) raise(row.extremityEffector, base_depth);
}

}  // namespace

void floor_clamp_stage(const Solve& solve)
{
    if (!(solve.mask & LBXSolvingStepFloorClamp) || rounded_value_of(solve.properties, record::ContactBehaviour) != kAlwaysSync) return;
    for (int limb = 0; limb < kLimbCount; ++limb) clamp_extremity(solve, limb);
}

}  // namespace lbx
