// The spine as one chain: spreading a turn of the chest over it, reaching for the chest's point, and stretching its segments.
#pragma once

#include "limbrex/solvers/body_placement.h"

namespace lbx
{

// Each of these leaves the globals of the chain current; what hangs on the chest is the caller's to update.

// Turns the chest by r, shared over the chain so that each node above Spine adds the same angle. resist 0 to 1 moves the share down to Spine.
void distribute_over_spine(const Solve& solve, Quat r, float resist);
// Blends the chest's rotation toward a target, spread over the chain.
void turn_chest(const Solve& solve, Quat target, float weight, float resist);
// Moves the chest end toward its effector by turning (and, with SnSReachChestEnd, stretching) the spine.
void reach_with_spine(const Solve& solve, const BodyEffector& chest_end, float resist, const SpineInputs& inputs);

// A bone that may change its length between two ratios of its rest length.
struct StretchRequest
{
    float factor;  // wanted multiple of the current length
    float weight;  // how much of the range between the ratios is open
    bool smooth;   // approach the ends of the range softly
};
// New local translation of a bone with rest vector, ratios as factors of the rest length, and its parent's scale.
Vec4 stretched_translation(const LimitRecord& limit, Vec4 parent_scale, Vec4 translation, const StretchRequest& request);

}  // namespace lbx
