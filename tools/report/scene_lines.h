// The debug lines of a recording in its scene file: a mesh of lines for each frame, shown for as long as that frame lasts.
#pragma once

#include "host/recording.h"
#include "tools/report/gltf_model.h"

namespace limbrex_tools
{

// Adds a node "lines" under `parent` when anything was drawn. Lines that are not finite are left out, and so are the frames after half a million
// lines, which no viewer would show smoothly.
void add_scene_lines(GltfModel& model, int parent, int animation, const limbrex_host::Recording& recording);

}  // namespace limbrex_tools
