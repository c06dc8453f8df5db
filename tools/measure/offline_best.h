// How near a hand or foot could have come to a goal beyond its reach: a search that takes its time, for comparison with the solver.
#pragma once

#include "tools/measure/measurement.h"

namespace limbrex_tools
{

// Fills the offline numbers of a row with one limb goal beyond reach; other rows are left alone. The hips stay where the solver put them;
// spine, shoulder and limb turn freely (cyclic coordinate descent with restarts), within what the solver's own spine turned.
void compare_with_best(Trial& trial, const MeasureOptions& options, RowNumbers& row);

}  // namespace limbrex_tools
