// A recording as one animated GLB that any viewer opens: the solved body of bone shapes coloured by side, the clip's own motion
// beside it in grey, targets, markers, colliders and the ground.
#pragma once

#include <string>

#include "host/recording.h"

namespace limbrex_tools
{

// Top-level nodes under "scene" can be shown and hidden: "<unit> solved", "<unit> animated", "targets", "markers", "colliders", "ground".
// The node "scene" turns the world's z up to the y up of glTF. Whole or not at all; false with `error` set when it cannot be made.
bool write_scene_glb(const std::string& path, const limbrex_host::Recording& recording, std::string& error);

}  // namespace limbrex_tools
