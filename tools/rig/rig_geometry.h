// Whether the stance of a rig source is a T-stance: sides, facing, limb directions, bones of no length, a plausible size.
#pragma once

#include "tools/rig/rig_reader.h"

namespace limbrex_tools
{

void check_rig_geometry(const RigReading& rig, std::vector<Finding>& findings);

}  // namespace limbrex_tools
