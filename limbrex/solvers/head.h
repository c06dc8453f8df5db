// The last turn of the head, shared by both definitions of the solve.
#pragma once

#include "limbrex/solvers/solve.h"

namespace lbx
{

// Blends the head's global rotation toward its effector's by the effector's rotation reach. False when that asks for nothing.
bool orient_head(const Solve& solve);

}  // namespace lbx
