// How far a joint may turn, as line segments that scripts read one by one and draw themselves. One table for the whole plugin; the next joint
// overwrites it.
#pragma once

#include <cstdint>

#include "contexts/spatial.h"

struct CharacterContext;

constexpr int32_t kMostLimitSegments = 2048;

struct LimitColour
{
    int32_t red, green, blue;  // 0 to 255
};

struct LimitSegment
{
    Vec4 start, end;     // solver frame
    LimitColour colour;  // red, green, blue for x, y, z
};

struct LimitArcTable
{
    LimitSegment segments[kMostLimitSegments];
    int32_t segmentCount;
};

LimitArcTable& limit_arcs();

// Refills the table: around the joint the arcs that the ends of its axes describe within their limits, sampled every 20 degrees. Where a
// limit is off the arc goes as far as the axis can. The table is empty afterwards for a node without limits.
void trace_limit_arcs(const CharacterContext& context, int32_t node, LimitArcTable& table);
