// How big feet and hands are, measured on the stance. Skeletons carry joints, not flesh: heel, edges and the flesh under the joints
// are taken in proportion to what can be measured.
#pragma once

#include "tools/rig/rig_source.h"
#include "tools/rig/stance.h"

namespace limbrex_tools
{

// All zero without a foot (hand).
ContactShape measure_foot(const limbrex_host::Skeleton& skeleton, const JointMapping& mapping, const Stance& stance);
ContactShape measure_hand(const limbrex_host::Skeleton& skeleton, const JointMapping& mapping, const Stance& stance);

// Flesh between the lowest foot joint and the sole, metres.
double sole_thickness(const JointMapping& mapping, const Stance& stance);

}  // namespace limbrex_tools
