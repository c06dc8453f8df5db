#include "tests/limbrex/math/lanes.h"

#include <algorithm>
#include <cstring>

using namespace lbx;
using namespace lanes_test;

namespace
{

uint32_t bits_of(float v)
{
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof(bits));
    return bits;
}

}  // namespace

TEST(Lanes, ArithmeticWorksLaneByLaneLikePlainNumbers)
{
    double_math::Random random(1);
    for (int i = 0; i < 20000; ++i)
    {
        const Vec4 a = i < 256 ? splat(kAwkwardNumbers[i / 16]) : random_lanes(random, 10.0);
        const Vec4 b = i < 256 ? splat(kAwkwardNumbers[i % 16]) : random_lanes(random, 10.0);
        const auto x = numbers(a);
        const auto y = numbers(b);
        for (size_t k = 0; k < 4; ++k)
        {
            ASSERT_EQ(bits_of(numbers(a + b)[k]), bits_of(x[k] + y[k]));
            ASSERT_EQ(bits_of(numbers(a - b)[k]), bits_of(x[k] - y[k]));
            ASSERT_EQ(bits_of(numbers(a * b)[k]), bits_of(x[k] * y[k]));
            ASSERT_EQ(bits_of(numbers(a * y[k])[k]), bits_of(x[k] * y[k]));
            if (y[k] != 0.0f) { ASSERT_EQ(bits_of(numbers(a / b)[k]), bits_of(x[k] / y[k])); }
            ASSERT_EQ(numbers(min4(a, b))[k], std::min(x[k], y[k]));
            ASSERT_EQ(numbers(max4(a, b))[k], std::max(x[k], y[k]));
            ASSERT_EQ(bits_of(numbers(abs4(a))[k]), bits_of(std::fabs(x[k])));
            ASSERT_EQ(bits_of(numbers(-a)[k]), bits_of(x[k]) ^ 0x80000000u);
            ASSERT_EQ(numbers(sign_one(a))[k], std::signbit(x[k]) ? -1.0f : 1.0f);
            ASSERT_EQ(numbers(sqrt4(abs4(a)))[k], std::sqrt(std::fabs(x[k])));
            ASSERT_EQ(numbers(select4(less4(a, b), a, b))[k], x[k] < y[k] ? x[k] : y[k]);
            ASSERT_EQ(numbers(select4(less_equal4(a, b), splat(1), splat(2)))[k], x[k] <= y[k] ? 1.0f : 2.0f);
            ASSERT_EQ(numbers(select4(equal4(a, b), splat(1), splat(2)))[k], x[k] == y[k] ? 1.0f : 2.0f);
            ASSERT_EQ((mask_bits(a) >> k) & 1, std::signbit(x[k]) ? 1 : 0);
        }
    }
}

TEST(Lanes, AreMovedMaskedAndTransposedByTheirOrder)
{
    const Vec4 v = vec4(1, 2, 3, 4);
    const Vec4 u = vec4(5, 6, 7, 8);
    EXPECT_EQ(numbers(lanes<3, 1, 0, 2>(v)), (std::array<float, 4>{4, 2, 1, 3}));
    EXPECT_EQ(numbers(lanes2<0, 3, 1, 2>(v, u)), (std::array<float, 4>{1, 4, 6, 7}));
    EXPECT_EQ((std::array<float, 4>{x_of(v), y_of(v), z_of(v), w_of(v)}), (std::array<float, 4>{1, 2, 3, 4}));
    EXPECT_EQ(numbers(xyz(v)), (std::array<float, 4>{1, 2, 3, 0}));
    EXPECT_EQ(numbers(with_w(v, u)), (std::array<float, 4>{1, 2, 3, 8}));
    EXPECT_EQ(numbers(xyz(vec4(1, 2, 3, NAN))), (std::array<float, 4>{1, 2, 3, 0}));
    Vec4 rows[4] = {vec4(0, 1, 2, 3), vec4(10, 11, 12, 13), vec4(20, 21, 22, 23), vec4(30, 31, 32, 33)};
    transpose4(rows[0], rows[1], rows[2], rows[3]);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) EXPECT_EQ(numbers(rows[i])[static_cast<size_t>(j)], static_cast<float>(10 * j + i));
}

TEST(Lanes, RoundAndTruncateAsTheProcessorDoesTiesToEven)
{
    const SolverFloatScope scope;
    for (const float v : {-2.5f, -1.5f, -0.75f, -0.5f, 0.0f, 0.25f, 0.5f, 1.5f, 2.5f, 3.49f, 1000.5f, 8388607.0f})
    {
        const float nearest = std::nearbyint(v);
        EXPECT_EQ(x_of(round4(splat(v))), nearest) << v;
        EXPECT_EQ(round_nearest(v), nearest) << v;
        EXPECT_EQ(static_cast<float>(round_to_int(v)), nearest) << v;
        EXPECT_EQ(x_of(truncate4(splat(v))), std::trunc(v)) << v;
        EXPECT_EQ(static_cast<float>(truncate_to_int(v)), std::trunc(v)) << v;
    }
}

TEST(Lanes, DotAndCrossProductsMatchDoubleArithmetic)
{
    const SolverFloatScope scope;
    double_math::Random random(2);
    for (int i = 0; i < 20000; ++i)
    {
        const Vec4 a = random_lanes(random, 10.0);
        const Vec4 b = random_lanes(random, 10.0);
        const auto p = quat_of(a);
        const auto q = quat_of(b);
        const double three = double_math::dot(xyz_of(a), xyz_of(b));
        const double four = three + p[3] * q[3];
        for (size_t k = 0; k < 4; ++k)
        {
            ASSERT_NEAR(numbers(dot3(a, b))[k], three, 1e-4);
            ASSERT_NEAR(numbers(dot4(a, b))[k], four, 1e-4);
        }
        expect_near(cross3(a, b), double_math::cross(xyz_of(a), xyz_of(b)), 1e-4);
        ASSERT_EQ(w_of(cross3(a, b)), 0.0f);
    }
    EXPECT_EQ(dot3f(vec4(1, 2, 3, NAN), vec4(4, 5, 6, NAN)), 32.0f) << "w takes no part";
    EXPECT_EQ(numbers(cross3(vec4(1, 0, 0), vec4(0, 1, 0))), (std::array<float, 4>{0, 0, 1, 0}));
}

TEST(Lanes, ReciprocalRootIsAccurateAndNothingForWhatHasNoDirection)
{
    const SolverFloatScope scope;
    double_math::Random random(3);
    for (int i = 0; i < 20000; ++i)
    {
        const auto v = static_cast<float>(std::pow(10.0, random.number(-37.0, 38.0)));
        const double expected = 1.0 / std::sqrt(static_cast<double>(v));
        ASSERT_NEAR(x_of(reciprocal_sqrt4(splat(v))) / expected, 1.0, 1e-6) << v;
    }
    for (const float v : {0.0f, -0.0f, -1.0f, INFINITY, -INFINITY, NAN, 1e-40f}) EXPECT_EQ(x_of(reciprocal_sqrt4(splat(v))), 0.0f) << v;
}

TEST(Lanes, NormalizingKeepsDirectionsAndLeavesZeroAlone)
{
    const SolverFloatScope scope;
    double_math::Random random(4);
    for (int i = 0; i < 20000; ++i)
    {
        const double size = std::pow(10.0, random.number(-15.0, 15.0));
        const auto direction = random.direction();
        const Vec4 n = normalize3(lanes_of(direction * size, 7.0f));
        expect_near(n, direction, 1e-6);
    }
    EXPECT_EQ(numbers(normalize3(zero4())), (std::array<float, 4>{0, 0, 0, 0}));
    EXPECT_NEAR(length3(vec4(3, 4, 12, 100)), 13.0f, 1e-5f);
    EXPECT_NEAR(distance3(vec4(1, 1, 1, 5), vec4(1, 4, 5, -5)), 5.0f, 1e-5f);
    EXPECT_EQ(numbers(xyz(reject3(vec4(3, 4, 5), vec4(0, 1, 0)))), (std::array<float, 4>{3, 0, 5, 0}));
    EXPECT_EQ(clamp01(-1.0f), 0.0f);
    EXPECT_EQ(clamp01(2.0f), 1.0f);
    EXPECT_EQ(clampf(0.5f, 0.0f, 1.0f), 0.5f);
}

TEST(FloatScope, SetsTheSolversModeAndGivesTheCallersWordBackWithItsFlags)
{
    const uint32_t before = read_control_word();
    const uint32_t odd = (before & ~0x6000u) | 0x2000u | 0x0001u;  // round down, one sticky flag
    write_control_word(odd);
    {
        const SolverFloatScope outer;
        EXPECT_EQ(read_control_word(), 0x9F80u);
        volatile float tiny = 1e-30f;
        volatile float product = tiny * 1e-15f;
        EXPECT_EQ(product, 0.0f) << "denormal results are flushed";
        {
            const SolverFloatScope inner;
        }
    }
    EXPECT_EQ(read_control_word(), odd);
    write_control_word(before);
}
