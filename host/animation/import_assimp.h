// FBX, glTF, Collada and X through assimp: the only door to it.
#pragma once

#include <string>

#include "host/animation/clip.h"
#include "host/animation/import_units.h"

namespace limbrex_host
{

// Fills `out` in the file's own unit; node scales are folded into the translations below them, so that every pose has scale 1
// and every joint stands where the file puts it. `declared` is what the format or file says of unit and axes.
// False with `error` set when the file cannot be read or has no joints.
bool read_with_assimp(const std::string& path, Asset& out, DeclaredFrame& declared, std::string& error);

}  // namespace limbrex_host
