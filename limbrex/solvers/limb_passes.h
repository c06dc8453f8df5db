// The three ways a limb reaches: for its middle joint's goal, for its end's, for its extremity's. Each starts from the pose it finds, reaches its own
// target fully as far as lengths and limits allow, and leaves the path current.
#pragma once

#include "limbrex/solvers/limb_chain.h"

namespace lbx
{

void middle_pass(const LimbChain& chain);
void end_pass(const LimbChain& chain);
void extremity_pass(const LimbChain& chain);

}  // namespace lbx
