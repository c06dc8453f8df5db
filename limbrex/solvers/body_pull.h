// The body pull: limbs whose goals lie beyond their reach draw hips and chest after them.
#pragma once

#include "limbrex/solvers/solve.h"

namespace lbx
{

// Hips, spine and everything below the hips are current afterwards. A pose that nothing pulls keeps its bits. spine: whether the spine takes part.
void pull_body(const Solve& solve, bool spine);

}  // namespace lbx
