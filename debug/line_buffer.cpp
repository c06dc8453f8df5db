#include "debug/line_buffer.h"

#include <cmath>
#include <cstring>
#include <new>

#include "resources/host_services.h"
#include "resources/plugin_allocator.h"

namespace
{

// Lines pile up while nothing is rendered; past this many (28 MiB) they are dropped.
constexpr uint64_t kLargestCapacity = 1u << 20;

template <class Value>
bool reserve_one(DebugArray<Value>& array)
{
    if (array.count < array.capacity) return true;
    const uint64_t capacity = 2 * static_cast<uint64_t>(array.capacity) + 10;
    if (capacity > kLargestCapacity) return false;
    auto* values = static_cast<Value*>(plugin_allocate(static_cast<size_t>(capacity) * sizeof(Value), alignof(Value)));
    if (!values) return false;
    if (array.count > 0) std::memcpy(values, array.values, array.count * sizeof(Value));
    plugin_deallocate(array.values);
    array.values = values;
    array.capacity = static_cast<uint32_t>(capacity);
    return true;
}

bool is_finite(const float point[3]) { return std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]); }

}  // namespace

DebugLineBuffer* create_line_buffer()
{
    void* block = plugin_allocate(sizeof(DebugLineBuffer), alignof(DebugLineBuffer));
    return block ? new (block) DebugLineBuffer() : nullptr;
}

void destroy_line_buffer(DebugLineBuffer* buffer)
{
    if (!buffer) return;
    plugin_deallocate(buffer->colours.values);
    plugin_deallocate(buffer->starts.values);
    plugin_deallocate(buffer->ends.values);
    plugin_deallocate(buffer);
}

void record_line(DebugLineBuffer& buffer, uint32_t colour, const float start[3], const float end[3])
{
    if (!is_finite(start) || !is_finite(end)) return;
    if (!reserve_one(buffer.colours) || !reserve_one(buffer.starts) || !reserve_one(buffer.ends)) return;
    buffer.colours.values[buffer.colours.count++] = colour;
    buffer.starts.values[buffer.starts.count++] = {start[0], start[1], start[2]};
    buffer.ends.values[buffer.ends.count++] = {end[0], end[1], end[2]};
}

void flush_lines(DebugLineBuffer& buffer, DrawingContext* drawing_context, void* render_argument, LineObject* line_object)
{
    const HostLineService& service = *host_services().line;
    service.reset(line_object);
    const uint32_t count = buffer.starts.count;
    if (count > 0) service.add_lines(line_object, buffer.colours.values, &buffer.starts.values[0].x, &buffer.ends.values[0].x, count);
    service.dispatch(drawing_context, render_argument, line_object);
    buffer.colours.count = buffer.starts.count = buffer.ends.count = 0;
}
