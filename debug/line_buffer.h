// The lines recorded since the last flush, for the whole plugin: the next world that is rendered draws them.
#pragma once

#include <cstdint>

#include "plugin/limbrex_plugin.h"

// A growable array in the plugin's allocator. Its storage is kept when it is emptied.
template <class Value>
struct DebugArray
{
    Value* values = nullptr;
    uint32_t count = 0;
    uint32_t capacity = 0;
};

struct DebugLinePoint
{
    float x, y, z;  // world
};

struct DebugLineBuffer
{
    DebugArray<uint32_t> colours;  // 0xAARRGGBB
    DebugArray<DebugLinePoint> starts;
    DebugArray<DebugLinePoint> ends;
};

DebugLineBuffer* create_line_buffer();  // null when there is no memory
void destroy_line_buffer(DebugLineBuffer* buffer);
// Records a line; dropped when there is no memory for it, or when a coordinate is not finite.
void record_line(DebugLineBuffer& buffer, uint32_t colour, const float start[3], const float end[3]);
// Hands all lines to the engine and empties the buffer.
void flush_lines(DebugLineBuffer& buffer, DrawingContext* drawing_context, void* render_argument, LineObject* line_object);
