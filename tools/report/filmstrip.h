// A picture of moments of one or more runs: the animated pose grey, the solved pose coloured by side, targets marked, on a
// ground with shadows. Several runs of one motion stand below each other, moment by moment, at one scale.
#pragma once

#include <string>
#include <vector>

#include "host/recording.h"

namespace limbrex_tools
{

struct FilmstripRow
{
    std::string label;  // shown when there is more than one row
    const limbrex_host::Recording* recording;
    size_t unit = 0;  // index into Recording::units
};

struct FilmstripOptions
{
    std::string title;
    size_t moments = 0;        // per run; 0: ten for one run, eight for several
    size_t panelsPerLine = 0;  // 0: five for one run, all moments for several
};

// Moments are spread evenly over the shortest run. False with `error` set on an unusable recording or an unwritable file.
bool write_filmstrip(const std::string& path, const FilmstripOptions& options, const std::vector<FilmstripRow>& rows, std::string& error);

// The frames that are shown: `moments` of them from first to last, fewer when the run is shorter.
std::vector<size_t> pick_moments(size_t frame_count, size_t moments);

}  // namespace limbrex_tools
