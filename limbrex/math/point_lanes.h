// Four points, or four rotations, side by side: each member holds one coordinate of all four. For what is the same for four limbs or four corners.
#pragma once

#include "limbrex/math/quaternion.h"

namespace lbx
{

struct PointLanes
{
    Vec4 x, y, z;
};
struct QuatLanes
{
    Vec4 x, y, z, w;
};

inline PointLanes operator+(const PointLanes& a, const PointLanes& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline PointLanes operator-(const PointLanes& a, const PointLanes& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline PointLanes operator*(const PointLanes& a, Vec4 scale) { return {a.x * scale, a.y * scale, a.z * scale}; }
inline Vec4 dot_lanes(const PointLanes& a, const PointLanes& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline PointLanes cross_lanes(const PointLanes& a, const PointLanes& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline PointLanes point_lanes(Vec4 a, Vec4 b, Vec4 c, Vec4 d)
{
    transpose4(a, b, c, d);
    return {a, b, c};
}
// The first two lanes of one, the last two of another.
inline PointLanes point_lanes(Vec4 first_two, Vec4 last_two)
{
    return {lanes2<0, 0, 0, 0>(first_two, last_two), lanes2<1, 1, 1, 1>(first_two, last_two), lanes2<2, 2, 2, 2>(first_two, last_two)};
}
inline QuatLanes quat_lanes(Quat first_two, Quat last_two)
{
    const PointLanes v = point_lanes(first_two, last_two);
    return {v.x, v.y, v.z, lanes2<3, 3, 3, 3>(first_two, last_two)};
}
struct FourVectors
{
    Vec4 v[4];
};
inline FourVectors vectors_of(const PointLanes& p)
{
    FourVectors out = {{p.x, p.y, p.z, zero4()}};
    transpose4(out.v[0], out.v[1], out.v[2], out.v[3]);
    return out;
}
inline FourVectors vectors_of(const QuatLanes& q)
{
    FourVectors out = {{q.x, q.y, q.z, q.w}};
    transpose4(out.v[0], out.v[1], out.v[2], out.v[3]);
    return out;
}

inline PointLanes rotate_lanes(const QuatLanes& q, const PointLanes& p)
{
    const PointLanes u = {q.x, q.y, q.z};
    const PointLanes t = cross_lanes(u, p);
    const PointLanes twice = t + t;
    return p + twice * q.w + cross_lanes(u, twice);
}
// As shortest_arc, four at a time.
inline QuatLanes shortest_arc_lanes(const PointLanes& a, const PointLanes& b)
{
    const Vec4 scale = sqrt4(dot_lanes(a, a) * dot_lanes(b, b));
    const Vec4 scalar = scale + dot_lanes(a, b);
    const PointLanes axis = cross_lanes(a, b);
    const Vec4 r = reciprocal_sqrt4(dot_lanes(axis, axis) + scalar * scalar);
    const Vec4 none = or4(equal4(r, zero4()), less_equal4(scalar, scale * kOppositeDirections));
    return {andnot4(none, axis.x * r), andnot4(none, axis.y * r), andnot4(none, axis.z * r), select4(none, splat(1.0f), scalar * r)};
}

}  // namespace lbx
