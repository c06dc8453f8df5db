// What was drawn, as segments of one colour, and the shapes that are expected, worked out here from their corners.
#pragma once

#include <algorithm>
#include <vector>

#include "tests/plugin/test_engine.h"
#include "tests/plugin/test_rig.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test_engine
{

struct Segment
{
    Vec3 start, end;
};
using Segments = std::vector<Segment>;

inline Segments drawn_in(const std::vector<DrawnLine>& lines, uint32_t colour)
{
    Segments segments;
    for (const DrawnLine& line : lines)
    {
        if (line.colour == colour) segments.push_back({line.start, line.end});
    }
    return segments;
}

// The point at `offset` along the axes (rows) of a frame.
inline Vec3 point_in(const Matrix3& axes, const Vec3& origin, const Vec3& offset)
{
    Vec3 point;
    for (size_t k = 0; k < 3; ++k)
    {
        double sum = origin[k];
        for (size_t row = 0; row < 3; ++row) sum += offset[row] * axes.m[row][k];
        point[k] = static_cast<float>(sum);
    }
    return point;
}

inline Segments marker_at(const Vec3& c, float h)
{
    return {{{c[0] - h, c[1], c[2]}, {c[0] + h, c[1], c[2]}},
            {{c[0], c[1] - h, c[2]}, {c[0], c[1] + h, c[2]}},
            {{c[0], c[1], c[2] - h}, {c[0], c[1], c[2] + h}}};
}

inline Segments box_at(const Vec3& centre, const Matrix3& axes, float edge)
{
    const float h = 0.5f * edge;
    const float sides[4][2] = {{-h, -h}, {-h, h}, {h, -h}, {h, h}};
    Segments edges;
    for (size_t along = 0; along < 3; ++along)
    {
        for (const auto& side : sides)
        {
            Vec3 from = {}, to = {};
            from[along] = -h;
            to[along] = h;
            from[(along + 1) % 3] = to[(along + 1) % 3] = side[0];
            from[(along + 2) % 3] = to[(along + 2) % 3] = side[1];
            edges.push_back({point_in(axes, centre, from), point_in(axes, centre, to)});
        }
    }
    return edges;
}

inline Segments operator+(Segments a, const Segments& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Every expected segment is there once, in either direction, and nothing else is.
MATCHER_P2(AreSegments, expected, tolerance, "are the expected " + std::to_string(expected.size()) + " segments")
{
    Segments left = arg;
    for (const Segment& wanted : expected)
    {
        const auto found = std::find_if(left.begin(), left.end(),
                                        [&](const Segment& segment)
                                        {
                                            const auto joins = [&](const Vec3& a, const Vec3& b)
                                            { return distance(wanted.start, a) <= tolerance && distance(wanted.end, b) <= tolerance; };
                                            return joins(segment.start, segment.end) || joins(segment.end, segment.start);
                                        });
        if (found == left.end())
        {
            *result_listener << arg.size() << " segments, none from " << ::testing::PrintToString(wanted.start) << " to "
                             << ::testing::PrintToString(wanted.end);
            return false;
        }
        left.erase(found);
    }
    *result_listener << left.size() << " are left over";
    return left.empty();
}

}  // namespace test_engine
