// Turns between directions. Whatever has no answer (no direction, opposite directions, no axis) gives no turn, so that a target
// that passes through a head or straight behind it leaves the pose alone.
#pragma once

#include <algorithm>
#include <cmath>

#include "contexts/shortest_arc.h"

// Unit length; zero for what is shorter than 1e-4 or not finite.
inline Vec4 direction_of(Vec4 v)
{
    constexpr float kShortest = 1e-4f;
    constexpr float kSquareOverflows = 1e18f;
    const float largest = std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
    if (!is_finite3(v)) return kZero4;
    if (largest > kSquareOverflows) v = scale3(v, 1.0f / largest);
    const float length = length3(v);
    return length >= kShortest ? scale3(v, 1.0f / length) : kZero4;
}

struct AxisAngle
{
    Vec4 axis;
    float angle_rad;  // 0 to 2 pi
};

// By the arc tangent: near no turn the arc cosine of w has no digits left.
inline AxisAngle axis_angle_of(Quat q)
{
    const Vec4 vector = {q.x, q.y, q.z, 0.0f};
    const float sine = length3(vector);
    if (!(sine > 0.0f)) return {kZero4, 0.0f};
    return {scale3(vector, 1.0f / sine), 2.0f * std::atan2(sine, q.w)};
}

// (axis sin(angle / 2), cos(angle / 2)), normalized as four numbers: an axis that is not of unit length gives another angle.
inline Quat quat_from_axis_angle(Vec4 axis, float angle_rad)
{
    const Vec4 vector = scale3(axis, std::sin(0.5f * angle_rad));
    return normalize({vector.x, vector.y, vector.z, std::cos(0.5f * angle_rad)});
}

// The same axis, the angle at most `limit_rad`; a negative limit allows no turn.
inline Quat limit_turn(Quat q, float limit_rad)
{
    const AxisAngle turn = axis_angle_of(q);
    return turn.angle_rad > limit_rad ? quat_from_axis_angle(turn.axis, std::max(limit_rad, 0.0f)) : q;
}

inline Quat scale_turn(Quat q, float factor)
{
    const AxisAngle turn = axis_angle_of(q);
    return quat_from_axis_angle(turn.axis, turn.angle_rad * factor);
}

// Straight blend the shorter way, normalized.
inline Quat nlerp(Quat a, Quat b, float t)
{
    const float sign = a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w >= 0.0f ? 1.0f : -1.0f;
    return normalize(
        {a.x + (sign * b.x - a.x) * t, a.y + (sign * b.y - a.y) * t, a.z + (sign * b.z - a.z) * t, a.w + (sign * b.w - a.w) * t});
}
