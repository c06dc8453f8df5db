// The limb step of the low-definition solve: two bones toward the end effector, no limits, no plane turn.
#pragma once

#include "limbrex/solvers/solve.h"

namespace lbx
{

// Globals of the limb down to its end are current afterwards; what hangs below the end, and twist joints beside the path, are the caller's to
// update. False when neither reach asks for anything.
bool solve_light_limb(const Solve& solve, int limb);

}  // namespace lbx
