// Ranges of frames as users write them: "100:400", ":400", "100:", "".
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace limbrex_tools
{

struct FrameRange
{
    std::optional<size_t> first, last;  // both included
};

bool read_frame_range(const std::string& text, FrameRange& range);  // false for anything else, and for a first above the last

}  // namespace limbrex_tools
