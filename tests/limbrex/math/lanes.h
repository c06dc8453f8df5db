// Between the library's lanes and plain numbers.
#pragma once

#include <gtest/gtest.h>

#include <cmath>

#include "limbrex/math/float_scope.h"
#include "limbrex/math/tqs.h"
#include "tests/support/double_math.h"

namespace lanes_test
{

using lbx::Vec4;

inline std::array<float, 4> numbers(Vec4 v)
{
    std::array<float, 4> a{};
    lbx::store4(a.data(), v);
    return a;
}
inline double_math::Vec3 xyz_of(Vec4 v)
{
    const auto a = numbers(v);
    return {a[0], a[1], a[2]};
}
inline double_math::Quat quat_of(Vec4 v)
{
    const auto a = numbers(v);
    return {a[0], a[1], a[2], a[3]};
}
inline Vec4 lanes_of(const double_math::Vec3& v, float w = 0.0f)
{
    return lbx::vec4(static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2]), w);
}
inline Vec4 lanes_of(const double_math::Quat& q)
{
    return lbx::vec4(static_cast<float>(q[0]), static_cast<float>(q[1]), static_cast<float>(q[2]), static_cast<float>(q[3]));
}
inline Vec4 random_lanes(double_math::Random& random, double size)
{
    return lanes_of(
        double_math::Quat{random.number(-size, size), random.number(-size, size), random.number(-size, size), random.number(-size, size)});
}
inline bool all_finite(Vec4 v)
{
    for (const float x : numbers(v))
    {
        if (!std::isfinite(x)) return false;
    }
    return true;
}
inline void expect_near(Vec4 v, const double_math::Vec3& expected, double tolerance)
{
    for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(numbers(v)[i], expected[i], tolerance) << "lane " << i;
}
inline bool same_bits(Vec4 a, Vec4 b)
{
    return lbx::mask_bits({_mm_castsi128_ps(_mm_cmpeq_epi32(_mm_castps_si128(a.m), _mm_castps_si128(b.m)))}) == 15;
}

// Zeros of both signs, ones, and the ends of the range.
inline constexpr float kAwkwardNumbers[] = {0.0f,   -0.0f,   1.0f,  -1.0f,  0.5f,  -3.0f,  1e-30f, -1e-30f,
                                            1e-12f, -1e-12f, 1e12f, -1e12f, 1e30f, -1e30f, 3e38f,  -3e38f};

}  // namespace lanes_test
