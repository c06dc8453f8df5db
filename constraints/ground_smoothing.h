// Ground that steps under a foot arrives at the foot in small moves. Each foot remembers the height, and for floor contact the tilt, it stood
// on last; the first hit sets them.
#pragma once

#include "contexts/spatial.h"

// A height that no hit has set yet.
constexpr float kUnsetHeight = -1000000.0f;

// From `height` toward `target`, by no more than `largest_step`.
float moved_toward(float height, float target, float largest_step);

// Turns `smoothed` toward `target` by no more than `largest_turn_rad`, the short way round, and returns it. A difference too small to see
// turns nothing: the target is then the answer as it stands.
Quat turned_toward(Quat& smoothed, Quat target, float largest_turn_rad);
