// Twist joints: how far each limb segment and its twist joints were turned before the solve, and the solve's change spread over them.
#pragma once

#include "limbrex/solvers/solve.h"

namespace lbx
{

// Joint angles of the eight segments (vectors 0 to 7) and of their twist joints at six levels (vector 8 (level + 1) + segment), from the locals.
// Vectors of joints that the rig lacks, or whose property is off, are left as they are.
void take_roll_snapshot(const Solve& solve, Vec4 snapshot[kRollSnapshotCount]);

}  // namespace lbx
