// What constraints record of a frame for scripts to read back. The lists are emptied before the constraints run; what does not fit is dropped.
#pragma once

#include "contexts/character_context.h"

template <class Entry>
void record_entry(DebugList<Entry>& list, const Entry& entry)
{
    if (list.count < kDebugListCapacity) list.entries[list.count++] = entry;
}

// A point in the solver frame; colour 0xAARRGGBB.
inline void record_debug_point(CharacterContext& context, Vec4 point_solver, uint32_t colour)
{
    point_solver.w = 1.0f;
    record_entry(context.debugPoints, {point_solver, colour});
}

// A segment in the solver frame (in_unit_frame) or in the world.
inline void record_debug_segment(CharacterContext& context, Vec4 start, Vec4 end, uint32_t colour, bool in_unit_frame)
{
    start.w = end.w = 1.0f;
    record_entry(context.debugSegments, {start, end, colour, static_cast<uint8_t>(in_unit_frame)});
}
