#include "host/lines.h"

#include <algorithm>
#include <cmath>

namespace limbrex_host
{
namespace
{

bool finite3(const float* point) { return std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]); }

}  // namespace

HostLineObject* HostDrawing::create()
{
    objects.push_back(std::make_unique<HostLineObject>());
    return objects.back().get();
}

bool HostDrawing::destroy(const HostLineObject* object)
{
    const auto found = std::find_if(objects.begin(), objects.end(), [object](const auto& each) { return each.get() == object; });
    if (found == objects.end()) { return false; }
    objects.erase(found);
    return true;
}

bool HostDrawing::owns(const HostLineObject* object) const
{
    return std::any_of(objects.begin(), objects.end(), [object](const auto& each) { return each.get() == object; });
}

void HostDrawing::add_lines(HostLineObject& object, const uint32_t* colours, const float* starts, const float* ends, uint32_t count)
{
    if (colours == nullptr || starts == nullptr || ends == nullptr) { return; }
    for (size_t i = 0; i < count; ++i)
    {
        const float* const start = starts + 3 * i;
        const float* const end = ends + 3 * i;
        if (object.lines.size() >= kLineCapacity || !finite3(start) || !finite3(end))
        {
            ++skippedLines;
            continue;
        }
        object.lines.push_back({colours[i], {start[0], start[1], start[2]}, {end[0], end[1], end[2]}});
    }
}

void HostDrawing::dispatch(const HostLineObject& object) { frameLines.insert(frameLines.end(), object.lines.begin(), object.lines.end()); }

std::vector<LineRecording> HostDrawing::take_frame()
{
    std::vector<LineRecording> taken;
    taken.swap(frameLines);
    return taken;
}

}  // namespace limbrex_host
