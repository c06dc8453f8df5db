// Reads a skeleton with its clips from a motion or model file into the host's own records (clip.h).
//
// BVH goes through a strict reader of our own, which names file and line in its errors. FBX, glTF/GLB, Collada and X go
// through assimp. Whatever the file says, the result is y up, in metres, without node scales, parents first, with unique names.
#pragma once

#include <string>

#include "host/animation/clip.h"

namespace limbrex_host
{

enum class UpAxis
{
    Guess,  // where the head is above the feet; y when the joint names do not tell
    Y,
    Z,
};

struct ImportOptions
{
    double metresPerUnit = 0.0;  // 0 = the file's own unit if that makes a plausible body, else a guess from the body height
    UpAxis up = UpAxis::Guess;
};

// Fills `out` and returns true, or leaves `out` as it was, sets `error` (file, place, remedy) and returns false. What was
// guessed, renamed or left out is told in out.notes. Never throws; a file of any content is either read or refused.
bool import_asset(const std::string& path, const ImportOptions& options, Asset& out, std::string& error);
bool import_asset(const std::string& path, Asset& out, std::string& error);

}  // namespace limbrex_host
