// The spine as one chain: spreading a turn of the chest over it, reaching for the chest's point, and stretching its segments.
#pragma once

#include "limbrex/solvers/body_placement.h"

namespace lbx
{

// What each of these moves is the chain itself, whose globals are current afterwards, and the local of Spine. The locals above Spine wait until the body
// is where it shall be, and what hangs on the chest is the caller's to update.

// Local rotations of the whole chain from its globals.
void update_spine_locals(const Solve& solve);
// Everything above Spine follows it as one piece, from where Spine stood. Locals stay.
void carry_spine(const Solve& solve, const Tqs& spine_before);
// Spine, and the chain with it, to where its local puts it on the hips; there turned toward a unit rotation by a weight.
void bring_spine(const Solve& solve, Quat target, float weight);
// Turns the chest toward its effector, each node above Spine by the same angle, and then moves its end there by turning (and, with SnSReachChestEnd,
// stretching) the chain. resist 0 to 1 moves the turn's share down to Spine. False when neither weight asks for anything.
bool place_chest(const Solve& solve, const BodyEffector& chest_end, float resist, const SpineInputs& inputs);

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
