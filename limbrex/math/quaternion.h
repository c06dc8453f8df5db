// Rotations as unit quaternions (x, y, z, w), vector part first. Products are Hamilton products: a * b rotates by b, then by a.
#pragma once

#include "limbrex/math/approximations.h"

namespace lbx
{

using Quat = Vec4;

inline Quat quat_identity() { return vec4(0.0f, 0.0f, 0.0f, 1.0f); }
inline Quat conjugate(Quat q) { return xor4(q, vec4(-0.0f, -0.0f, -0.0f, 0.0f)); }

// x = aw*bx + ax*bw + ay*bz - az*by   (y, z by cycling);  w = aw*bw - ax*bx - ay*by - az*bz.
// Only w's two middle terms change sign against the other rows, so one flip gives all rows one pattern.
inline Quat quat_mul(Quat a, Quat b)
{
    const Vec4 flip_w = vec4(0.0f, 0.0f, 0.0f, -0.0f);
    const Vec4 awwww_b = lanes<3, 3, 3, 3>(a) * b;
    const Vec4 axyzx_b = lanes<0, 1, 2, 0>(a) * lanes<3, 3, 3, 0>(b);
    const Vec4 ayzxy_b = lanes<1, 2, 0, 1>(a) * lanes<2, 0, 1, 1>(b);
    const Vec4 azxyz_b = lanes<2, 0, 1, 2>(a) * lanes<1, 2, 0, 2>(b);
    return (awwww_b + xor4(axyzx_b + ayzxy_b, flip_w)) - azxyz_b;
}

// Unit quaternion of any finite one; zero becomes the identity.
inline Quat normalize_quat(Quat q)
{
    const Vec4 d = dot4(q, q);
    const Vec4 r = reciprocal_sqrt4(d);
    return select4(equal4(r, zero4()), quat_identity(), q * r);
}

// R(v) = 2 (u . v) u + (2 s s - 1) v + 2 s (u x v), for unit q = (u, s), written as v + 2 s (u x v) + 2 u x (u x v). w of the result is 0.
inline Vec4 rotate(Quat q, Vec4 v)
{
    const Vec4 u = xyz(q);
    const Vec4 p = xyz(v);
    const Vec4 t = cross3(u, p);
    const Vec4 twice = t + t;
    return p + lanes<3, 3, 3, 3>(q) * twice + cross3(u, twice);
}
inline Vec4 rotate_inverse(Quat q, Vec4 v) { return rotate(conjugate(q), v); }

// Normalized blend along the shorter way: q and -q are one rotation, so `to` is turned to face `from` first.
inline Quat quat_blend(Quat from, Quat to, float alpha)
{
    const Vec4 sign = and4(dot4(from, to), sign_mask());
    const Vec4 facing = xor4(to, sign);
    return normalize_quat(from + (facing - from) * alpha);
}

// The same between unit quaternions, where a whole weight arrives.
inline Quat rotation_toward(Quat current, Quat target, float weight)
{
    return weight < 1.0f ? quat_blend(current, target, weight) : target;
}

// Rotation about a unit axis by twice half_angle (radians).
inline Quat quat_from_axis_half_angle(Vec4 axis, float half_angle)
{
    const Vec4 cosine_w = bits4(0u, 0u, 0u, ~0u);
    const Vec4 sc = sin_or_cos4(splat(half_angle), cosine_w);
    return sc * select4(cosine_w, splat(1.0f), axis);
}
inline Quat quat_from_axis_angle(Vec4 axis, float angle) { return quat_from_axis_half_angle(axis, 0.5f * angle); }

// Any unit vector perpendicular to a (not zero).
inline Vec4 perpendicular3(Vec4 a)
{
    const Vec4 m = abs4(a);
    const bool x_is_small = x_of(m) <= y_of(m) && x_of(m) <= z_of(m);
    const Vec4 helper = x_is_small ? vec4(1.0f, 0.0f, 0.0f) : (y_of(m) <= z_of(m) ? vec4(0.0f, 1.0f, 0.0f) : vec4(0.0f, 0.0f, 1.0f));
    return normalize3(cross3(a, helper));
}

// The smallest rotation that turns direction a into direction b; lengths do not matter. Vector part a x b, scalar part
// |a||b| + a . b. A zero direction turns nothing, and neither do opposite ones, whose axis would be noise.
inline constexpr float kOppositeDirections = 1e-6f;  // of |a||b|: within a twelfth of a degree of opposite
inline Quat shortest_arc(Vec4 a, Vec4 b)
{
    const Vec4 scale = sqrt4(dot3(a, a) * dot3(b, b));
    const Vec4 scalar = scale + dot3(a, b);
    const Quat q = normalize_quat(with_w(cross3(a, b), scalar));
    return select4(less_equal4(scalar, scale * kOppositeDirections), quat_identity(), q);
}

// As shortest_arc, but opposite directions give a half turn about a perpendicular: for steps that must arrive.
inline Quat shortest_arc_reaching(Vec4 a, Vec4 b)
{
    const float scale = sqrt_scalar(dot3f(a, a) * dot3f(b, b));
    const float scalar = scale + dot3f(a, b);
    if (scale > 0.0f && scalar <= kOppositeDirections * scale) return perpendicular3(a);  // w = 0: half a turn
    return shortest_arc(a, b);
}

// The turn that, pre-multiplied, takes one unit rotation to another.
inline Quat turn_between(Quat from, Quat to) { return quat_mul(to, conjugate(from)); }

// (f x, f y, f z, w): a rotation scaled for accumulation, not a unit quaternion.
inline Quat partial_quat(Quat q, float f) { return with_w(q * f, q); }

// The part of a turn that is left after fading by x (0 keeps it, 1 removes it): normalize((1 - x) vector part, w).
inline Quat faded_turn(Quat q, float x) { return x >= 1.0f ? quat_identity() : normalize_quat(partial_quat(q, 1.0f - x)); }

// Columns of the rotation's matrix: where it sends the x, y and z axes.
inline void quat_axes(Quat q, Vec4& x, Vec4& y, Vec4& z)
{
    x = rotate(q, vec4(1.0f, 0.0f, 0.0f));
    y = rotate(q, vec4(0.0f, 1.0f, 0.0f));
    z = rotate(q, vec4(0.0f, 0.0f, 1.0f));
}

// The rotation that sends the axes to the given orthonormal right-handed x, y, z (largest-diagonal method, then normalized).
Quat quat_from_axes(Vec4 x, Vec4 y, Vec4 z);

}  // namespace lbx
