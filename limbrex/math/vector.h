// Points and directions in three dimensions. Every operation here ignores w on input.
#pragma once

#include "limbrex/math/float4.h"

namespace lbx
{

inline constexpr float kPi = 3.14159274f;
inline constexpr float kHalfPi = 1.5707964f;
inline constexpr float kDegToRad = 0.017453292f;
inline constexpr float kRadToDeg = 57.29578f;

inline float min_of(float a, float b) { return a < b ? a : b; }
inline float max_of(float a, float b) { return a > b ? a : b; }
inline float clampf(float v, float low, float high) { return v < low ? low : (v > high ? high : v); }
inline float clamp01(float v) { return clampf(v, 0.0f, 1.0f); }

inline float length_squared3(Vec4 v) { return dot3f(v, v); }
inline float length3(Vec4 v) { return sqrt_scalar(length_squared3(v)); }
inline float distance3(Vec4 a, Vec4 b) { return length3(a - b); }
inline Vec4 normalize3(Vec4 v) { return v * reciprocal_sqrt4(dot3(v, v)); }  // zero stays zero
inline Vec4 lerp4(Vec4 from, Vec4 to, float alpha) { return from + (to - from) * alpha; }
// v without its part along the unit vector n.
inline Vec4 reject3(Vec4 v, Vec4 n) { return v - n * dot3(v, n); }

}  // namespace lbx
