// Rows for the stages that do nothing without floors or finger goals.
#pragma once

#include "bench/bench_body.h"

namespace limbrex_bench
{

// The body must outlive the rows.
void add_floor_and_finger_rows(const Body& body);

}  // namespace limbrex_bench
