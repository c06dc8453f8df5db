// One arm or leg toward its effectors.
#pragma once

#include "limbrex/solvers/limb_chain.h"
#include "limbrex/solvers/limb_shares.h"

namespace lbx
{

// arm: whether the realistic arm mode may apply. Globals along the limb are current afterwards; what hangs below its end or beside its path is the
// caller's to update (finish_limb). False when nothing was asked of the limb and its pose was not touched.
bool solve_limb(const Solve& solve, int limb, bool arm);
// The same toward goals of the caller's.
bool solve_limb_toward(const Solve& solve, int limb, bool arm, const LimbGoals& goals);
// Lengthens a limb toward goals at the edge of its reach. Same contract.
bool stretch_limb(const Solve& solve, int limb);
// Brings everything below the limb's upper joint that is not on its path up to date.
void finish_limb(const Solve& solve, int limb);

}  // namespace lbx
