// Four single-precision lanes: the one file that knows the processor's instructions (SSE2). A port replaces this file.
//
// A Vec4 is a point or direction (w = 0 or ignored), a quaternion (x, y, z, w), or four independent scalars, one a lane.
#pragma once

#include <cstdint>
#include <emmintrin.h>

namespace lbx
{

struct alignas(16) Vec4
{
    __m128 m;
};

// ---- making and reading -------------------------------------------------------------------------------------------------------

inline Vec4 vec4(float x, float y, float z, float w = 0.0f) { return {_mm_set_ps(w, z, y, x)}; }
inline Vec4 splat(float s) { return {_mm_set1_ps(s)}; }
inline Vec4 zero4() { return {_mm_setzero_ps()}; }
inline Vec4 load4(const float* p) { return {_mm_loadu_ps(p)}; }
inline void store4(float* p, Vec4 v) { _mm_storeu_ps(p, v.m); }

// Moves lane X to lane 0, Y to lane 1, Z to lane 2, W to lane 3.
template <int X, int Y, int Z, int W>
inline Vec4 lanes(Vec4 v)
{
    return {_mm_shuffle_ps(v.m, v.m, _MM_SHUFFLE(W, Z, Y, X))};
}
// Lanes X and Y of a, then lanes Z and W of b.
template <int X, int Y, int Z, int W>
inline Vec4 lanes2(Vec4 a, Vec4 b)
{
    return {_mm_shuffle_ps(a.m, b.m, _MM_SHUFFLE(W, Z, Y, X))};
}
template <int I>
inline float lane(Vec4 v)
{
    return _mm_cvtss_f32(lanes<I, I, I, I>(v).m);
}
inline float x_of(Vec4 v) { return _mm_cvtss_f32(v.m); }
inline float y_of(Vec4 v) { return lane<1>(v); }
inline float z_of(Vec4 v) { return lane<2>(v); }
inline float w_of(Vec4 v) { return lane<3>(v); }

// ---- arithmetic, lane by lane -------------------------------------------------------------------------------------------------

inline Vec4 operator+(Vec4 a, Vec4 b) { return {_mm_add_ps(a.m, b.m)}; }
inline Vec4 operator-(Vec4 a, Vec4 b) { return {_mm_sub_ps(a.m, b.m)}; }
inline Vec4 operator*(Vec4 a, Vec4 b) { return {_mm_mul_ps(a.m, b.m)}; }
inline Vec4 operator/(Vec4 a, Vec4 b) { return {_mm_div_ps(a.m, b.m)}; }
inline Vec4 operator*(Vec4 a, float s) { return a * splat(s); }
inline Vec4 operator*(float s, Vec4 a) { return a * splat(s); }
inline Vec4& operator+=(Vec4& a, Vec4 b) { return a = a + b; }
inline Vec4& operator-=(Vec4& a, Vec4 b) { return a = a - b; }
inline Vec4& operator*=(Vec4& a, float s) { return a = a * s; }
inline Vec4 min4(Vec4 a, Vec4 b) { return {_mm_min_ps(a.m, b.m)}; }  // the second operand where a comparison fails
inline Vec4 max4(Vec4 a, Vec4 b) { return {_mm_max_ps(a.m, b.m)}; }
inline Vec4 sqrt4(Vec4 a) { return {_mm_sqrt_ps(a.m)}; }

// ---- bits and masks (a mask lane is all ones or all zeros) --------------------------------------------------------------------

inline Vec4 and4(Vec4 a, Vec4 b) { return {_mm_and_ps(a.m, b.m)}; }
inline Vec4 andnot4(Vec4 mask, Vec4 b) { return {_mm_andnot_ps(mask.m, b.m)}; }  // b where the mask is clear
inline Vec4 or4(Vec4 a, Vec4 b) { return {_mm_or_ps(a.m, b.m)}; }
inline Vec4 xor4(Vec4 a, Vec4 b) { return {_mm_xor_ps(a.m, b.m)}; }
inline Vec4 less4(Vec4 a, Vec4 b) { return {_mm_cmplt_ps(a.m, b.m)}; }
inline Vec4 less_equal4(Vec4 a, Vec4 b) { return {_mm_cmple_ps(a.m, b.m)}; }
inline Vec4 equal4(Vec4 a, Vec4 b) { return {_mm_cmpeq_ps(a.m, b.m)}; }
inline Vec4 select4(Vec4 mask, Vec4 a, Vec4 b) { return or4(and4(mask, a), andnot4(mask, b)); }  // a where set, else b
inline int mask_bits(Vec4 v) { return _mm_movemask_ps(v.m); }                                    // sign bits, lane 0 lowest
inline Vec4 bits4(uint32_t x, uint32_t y, uint32_t z, uint32_t w)
{
    return {_mm_castsi128_ps(_mm_set_epi32(static_cast<int>(w), static_cast<int>(z), static_cast<int>(y), static_cast<int>(x)))};
}
inline Vec4 sign_mask() { return splat(-0.0f); }
inline Vec4 abs4(Vec4 v) { return andnot4(sign_mask(), v); }
inline Vec4 operator-(Vec4 v) { return xor4(v, sign_mask()); }
inline Vec4 xyz_mask() { return bits4(~0u, ~0u, ~0u, 0u); }
inline Vec4 xyz(Vec4 v) { return and4(v, xyz_mask()); }  // w becomes +0
// x, y, z of v with w of w_source.
inline Vec4 with_w(Vec4 v, Vec4 w_source) { return select4(xyz_mask(), v, w_source); }
// +1 or -1 with the sign bit of v (so +1 for +0).
inline Vec4 sign_one(Vec4 v) { return or4(and4(v, sign_mask()), splat(1.0f)); }

// ---- integers in lanes --------------------------------------------------------------------------------------------------------

inline Vec4 round4(Vec4 v) { return {_mm_cvtepi32_ps(_mm_cvtps_epi32(v.m))}; }  // to nearest, ties to even; |v| below 2^31
inline float round_nearest(float v) { return _mm_cvtss_f32(_mm_cvtepi32_ps(_mm_cvtps_epi32(_mm_set_ss(v)))); }
inline int round_to_int(float v) { return _mm_cvtss_si32(_mm_set_ss(v)); }
inline int truncate_to_int(float v) { return _mm_cvttss_si32(_mm_set_ss(v)); }
inline Vec4 truncate4(Vec4 v) { return {_mm_cvtepi32_ps(_mm_cvttps_epi32(v.m))}; }
inline Vec4 int_bits_to_float(Vec4 v) { return {_mm_cvtepi32_ps(_mm_castps_si128(v.m))}; }
inline Vec4 float_to_int_bits(Vec4 v) { return {_mm_castsi128_ps(_mm_cvttps_epi32(v.m))}; }
inline Vec4 add_int_bits(Vec4 a, Vec4 b) { return {_mm_castsi128_ps(_mm_add_epi32(_mm_castps_si128(a.m), _mm_castps_si128(b.m)))}; }
template <int Count>
inline Vec4 shift_left_bits(Vec4 v)
{
    return {_mm_castsi128_ps(_mm_slli_epi32(_mm_castps_si128(v.m), Count))};
}
template <int Count>
inline Vec4 shift_right_bits(Vec4 v)  // logical
{
    return {_mm_castsi128_ps(_mm_srli_epi32(_mm_castps_si128(v.m), Count))};
}
// Mask of the lanes whose bits, read as signed integers, are above those of b.
inline Vec4 greater_int_bits(Vec4 a, Vec4 b) { return {_mm_castsi128_ps(_mm_cmpgt_epi32(_mm_castps_si128(a.m), _mm_castps_si128(b.m)))}; }

// ---- across lanes -------------------------------------------------------------------------------------------------------------

// Sum of the four products, in every lane.
inline Vec4 dot4(Vec4 a, Vec4 b)
{
    const Vec4 p = a * b;
    const Vec4 pairs = p + lanes<1, 0, 3, 2>(p);
    return pairs + lanes<2, 3, 0, 1>(pairs);
}
// Sum of the x, y and z products, in every lane; w is ignored (it may even be NaN).
inline Vec4 dot3(Vec4 a, Vec4 b)
{
    const Vec4 p = a * b;
    return lanes<0, 0, 0, 0>(p) + lanes<1, 1, 1, 1>(p) + lanes<2, 2, 2, 2>(p);
}
// w of the result is 0 for finite w.
inline Vec4 cross3(Vec4 a, Vec4 b)
{
    const Vec4 t = a * lanes<1, 2, 0, 3>(b) - lanes<1, 2, 0, 3>(a) * b;
    return lanes<1, 2, 0, 3>(t);
}
inline float dot3f(Vec4 a, Vec4 b) { return x_of(dot3(a, b)); }
inline float dot4f(Vec4 a, Vec4 b) { return x_of(dot4(a, b)); }
// Rows become columns.
inline void transpose4(Vec4& a, Vec4& b, Vec4& c, Vec4& d) { _MM_TRANSPOSE4_PS(a.m, b.m, c.m, d.m); }

// ---- roots --------------------------------------------------------------------------------------------------------------------

// 1 / sqrt(v): the hardware estimate and one Newton step, r' = (3 - r r v) r 0.5. Lanes that are not above 0, or beyond what a
// float can hold, give 0, so that normalizing nothing leaves nothing.
inline Vec4 reciprocal_sqrt4(Vec4 v)
{
    const Vec4 r = {_mm_rsqrt_ps(v.m)};
    const Vec4 refined = (splat(3.0f) - r * (r * v)) * r * splat(0.5f);  // r r alone would vanish for a large v
    const Vec4 usable = and4(less4(splat(1.17549435e-38f), v), less_equal4(v, splat(3.40282347e38f)));
    return and4(usable, refined);
}
inline float sqrt_scalar(float v) { return _mm_cvtss_f32(_mm_sqrt_ss(_mm_set_ss(v))); }

// ---- floating-point environment -----------------------------------------------------------------------------------------------

inline uint32_t read_control_word() { return _mm_getcsr(); }
inline void write_control_word(uint32_t word) { _mm_setcsr(word); }

// ---- memory -------------------------------------------------------------------------------------------------------------------

inline void prefetch(const void* p) { _mm_prefetch(static_cast<const char*>(p), _MM_HINT_T0); }

}  // namespace lbx
