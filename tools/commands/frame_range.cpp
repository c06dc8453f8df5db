#include "tools/commands/frame_range.h"

#include <charconv>
#include <string_view>

namespace limbrex_tools
{
namespace
{

bool read_frame(std::string_view text, std::optional<size_t>& frame)
{
    if (text.empty()) { return true; }
    size_t value = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (fault != std::errc() || end != text.data() + text.size()) { return false; }
    frame = value;
    return true;
}

}  // namespace

bool read_frame_range(const std::string& text, FrameRange& range)
{
    if (text.empty()) { return true; }
    const size_t colon = text.find(':');
    if (colon == std::string::npos) { return false; }
    const std::string_view view = text;
    if (!read_frame(view.substr(0, colon), range.first) || !read_frame(view.substr(colon + 1), range.last)) { return false; }
    return !range.first || !range.last || *range.first <= *range.last;
}

}  // namespace limbrex_tools
