// What each stage of an evaluation costs, measured from outside.
//
// A plugin shows an engine one callback and no stages, but it can be told to skip some: with solve and output off it reads the pose and runs
// the constraints; a twin of each character without constraints, in a world of its own, only reads. Each frame is evaluated in these ways
// with a time step of 0, so that nothing blends on, before its real update; the differences are the stages.
#pragma once

#include "host/recording.h"
#include "host/scene_state.h"

namespace limbrex_host
{

// Adds one frame's costs to `timing`. Local poses and solve flags are afterwards what they were.
void time_stages(SceneState& scene, TimingRecording& timing);

}  // namespace limbrex_host
