// Polynomials in place of library transcendentals. The numbers are part of the solver's behaviour: the tests hold each one
// to its stated error over its whole range.
#pragma once

#include "limbrex/math/vector.h"

namespace lbx
{

// acos of four lanes, x in -1 to 1: sqrt(2 t) times a cubic in t = 1 - |x|, mirrored for x below 0. Error below 1e-4 radians.
inline Vec4 acos4(Vec4 x)
{
    const Vec4 t = max4(splat(1.0f) - abs4(x), zero4());
    const Vec4 poly =
        splat(1.0f) + t * (splat(0.08323385f) + t * (splat(0.020371959f) + t * (splat(0.0007906296f) + t * splat(0.0063242977f))));
    const Vec4 a = sqrt4(t + t) * poly;
    return select4(less4(x, zero4()), splat(kPi) - a, a);
}
inline float acos_approx(float x) { return x_of(acos4(splat(x))); }
// sign(x) (pi/2 - acos |x|)
inline Vec4 asin4(Vec4 x) { return sign_one(x) * (splat(kHalfPi) - acos4(abs4(x))); }
inline float asin_approx(float x) { return x_of(asin4(splat(x))); }

// sin(2 pi y) for y in -0.25 to 0.25.
inline Vec4 sine_of_turn4(Vec4 y)
{
    const Vec4 y2 = y * y;
    return y * (splat(6.2831855f) + y2 * (splat(-41.33921f) + y2 * (splat(81.39083f) - splat(71.34268f) * y2)));
}
// Four sines (lanes where cosine_lanes is clear) or cosines (where it is set) in one evaluation. Angles in radians.
inline Vec4 sin_or_cos4(Vec4 angle, Vec4 cosine_lanes)
{
    const Vec4 turns = angle * splat(0.15915494f);
    const Vec4 shifted = turns - andnot4(cosine_lanes, splat(0.25f));
    return sine_of_turn4(splat(0.25f) - abs4(shifted - round4(shifted)));
}
inline Vec4 sin4(Vec4 angle) { return sin_or_cos4(angle, zero4()); }
inline Vec4 cos4(Vec4 angle) { return sin_or_cos4(angle, bits4(~0u, ~0u, ~0u, ~0u)); }
inline float sin_approx(float angle) { return x_of(sin4(splat(angle))); }
inline float cos_approx(float angle) { return x_of(cos4(splat(angle))); }

// atan2 of four lanes, radians, -pi to pi. The ratio of the smaller to the larger goes through an odd polynomial whose inner
// square root keeps the error below 1e-4 up to a ratio of 1; both zero gives 0.
inline Vec4 atan2_4(Vec4 y, Vec4 x)
{
    const Vec4 ax = abs4(x);
    const Vec4 ay = abs4(y);
    const Vec4 large = max4(ax, ay);
    const Vec4 small = min4(ax, ay);
    const Vec4 nothing = equal4(large, zero4());
    const Vec4 r = andnot4(nothing, small / select4(nothing, splat(1.0f), large));
    // atan r for 0 <= r <= 1: odd minimax polynomial, degree 11.
    const Vec4 r2 = r * r;
    const Vec4 base =
        r * (splat(0.99997726f) +
             r2 * (splat(-0.33262347f) +
                   r2 * (splat(0.19354346f) + r2 * (splat(-0.11643287f) + r2 * (splat(0.05265332f) + r2 * splat(-0.01172120f))))));
    const Vec4 folded = select4(less4(ax, ay), splat(kHalfPi) - base, base);
    const Vec4 half_plane = select4(less4(x, zero4()), splat(kPi) - folded, folded);
    return or4(half_plane, and4(y, sign_mask()));
}
inline float atan2_approx(float y, float x) { return x_of(atan2_4(splat(y), splat(x))); }

// x to the power p, x at or above 0, in four lanes. 0 to the power 0 is 1, 0 to any other power 0.
inline Vec4 pow4(Vec4 x, Vec4 p)
{
    const Vec4 mantissa_bits = bits4(0x007FFFFFu, 0x007FFFFFu, 0x007FFFFFu, 0x007FFFFFu);
    const Vec4 m = or4(and4(x, mantissa_bits), splat(0.5f));  // 0.5 to 1
    const Vec4 k =
        int_bits_to_float(shift_right_bits<23>(and4(x, bits4(0x7F800000u, 0x7F800000u, 0x7F800000u, 0x7F800000u)))) - splat(126.0f);
    const Vec4 log2_m = (((splat(5.640069f) - splat(1.4425762f) * m) * m - splat(9.083834f)) * m + splat(8.46046f)) * m - splat(3.574119f);
    const Vec4 y = p * (k + log2_m);
    const Vec4 held = min4(max4(y, splat(-300.0f)), splat(300.0f));  // beyond this the result is 0 or infinite anyway
    const Vec4 i = float_to_int_bits(held);
    const Vec4 f = held - truncate4(held);
    const Vec4 exp2_f =
        (((splat(0.0099301925f) * f + splat(0.05765193f)) * f + splat(0.2400698f)) * f + splat(0.69234806f)) * f + splat(1.0f);
    const Vec4 infinity = bits4(0x7F800000u, 0x7F800000u, 0x7F800000u, 0x7F800000u);
    const Vec4 bits = add_int_bits(exp2_f, shift_left_bits<23>(i));
    const Vec4 capped = select4(greater_int_bits(bits, infinity), infinity, bits);
    // A negative sum: the exponent ran below its field. A positive y can also carry into the sign bit; that is infinity.
    const Vec4 negative = greater_int_bits(zero4(), bits);
    const Vec4 result = select4(negative, and4(less4(zero4(), y), infinity), capped);
    const Vec4 of_zero = and4(equal4(p, zero4()), splat(1.0f));
    return select4(equal4(x, zero4()), of_zero, result);
}
inline float pow_approx(float x, float p) { return x_of(pow4(splat(x), splat(p))); }

}  // namespace lbx
