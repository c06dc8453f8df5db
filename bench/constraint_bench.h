// Rows for the plugin's constraints: what each adds to a character's update.
#pragma once

#include "bench/bench_body.h"

namespace limbrex_bench
{

// The body must outlive the rows. Nothing where the plugin cannot be loaded.
void add_constraint_rows(const Body& body);

}  // namespace limbrex_bench
