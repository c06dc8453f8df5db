// Rows for the plugin's constraints: what each adds to a character's update.
#pragma once

namespace limbrex_bench
{

// Nothing where the captured clip that the rows play is not installed.
void add_constraint_rows();

}  // namespace limbrex_bench
