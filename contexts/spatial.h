// Points, directions and rotations as the contexts and constraints handle them: a few of each per frame, so plain scalar
// code. Frames: world is z up, a context's solver frame y up, both in the rig's length unit.
#pragma once

#include <cmath>

// Laid out as the library reads and writes vectors: x, y, z and a fourth float.
struct alignas(16) Vec4
{
    float x, y, z, w;
};

// Unit quaternion, Hamilton product.
struct alignas(16) Quat
{
    float x, y, z, w;
};

constexpr Vec4 kZero4 = {0.0f, 0.0f, 0.0f, 0.0f};
constexpr Vec4 kOne4 = {1.0f, 1.0f, 1.0f, 1.0f};
constexpr Quat kIdentityRotation = {0.0f, 0.0f, 0.0f, 1.0f};

inline Vec4 add3(Vec4 a, Vec4 b) { return {a.x + b.x, a.y + b.y, a.z + b.z, 0.0f}; }
inline Vec4 sub3(Vec4 a, Vec4 b) { return {a.x - b.x, a.y - b.y, a.z - b.z, 0.0f}; }
inline Vec4 scale3(Vec4 a, float factor) { return {a.x * factor, a.y * factor, a.z * factor, 0.0f}; }
inline Vec4 mul3(Vec4 a, Vec4 b) { return {a.x * b.x, a.y * b.y, a.z * b.z, 0.0f}; }
inline float dot3(Vec4 a, Vec4 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline float length3(Vec4 a) { return std::sqrt(dot3(a, a)); }
inline Vec4 cross3(Vec4 a, Vec4 b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x, 0.0f}; }

// Turns by b, then by a.
inline Quat mul(Quat a, Quat b)
{
    return {a.w * b.x + b.w * a.x + a.y * b.z - a.z * b.y, a.w * b.y + b.w * a.y + a.z * b.x - a.x * b.z,
            a.w * b.z + b.w * a.z + a.x * b.y - a.y * b.x, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

inline Quat conjugate(Quat q) { return {-q.x, -q.y, -q.z, q.w}; }

inline float length4(Quat q) { return std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w); }

// A quaternion without length, and one so long that its length overflows, becomes the identity: there is nothing to keep of its direction.
inline Quat normalize(Quat q)
{
    const float length = length4(q);
    if (!(length > 0.0f) || !std::isfinite(length)) return kIdentityRotation;
    const float inverse = 1.0f / length;
    return {q.x * inverse, q.y * inverse, q.z * inverse, q.w * inverse};
}

// q v q* for a unit quaternion.
inline Vec4 rotate(Quat q, Vec4 v)
{
    const Vec4 axis = {q.x, q.y, q.z, 0.0f};
    const Vec4 twice = scale3(cross3(axis, v), 2.0f);
    return add3(add3(v, scale3(twice, q.w)), cross3(axis, twice));
}

inline bool is_finite3(Vec4 v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }
inline bool is_finite4(Quat q) { return std::isfinite(q.x) && std::isfinite(q.y) && std::isfinite(q.z) && std::isfinite(q.w); }
