#include "tests/limbrex/math/lanes.h"

using namespace lbx;
using namespace lanes_test;

TEST(Approximations, ArcCosineAndArcSineStayWithinTheirTolerance)
{
    const SolverFloatScope scope;
    for (int i = -20000; i <= 20000; i += 1)
    {
        const float x = static_cast<float>(i) / 20000.0f;
        ASSERT_NEAR(acos_approx(x), std::acos(static_cast<double>(x)), 1e-4) << x;
        ASSERT_NEAR(asin_approx(x), std::asin(static_cast<double>(x)), 1e-4) << x;
    }
    EXPECT_EQ(acos_approx(1.0f), 0.0f);
    EXPECT_NEAR(acos_approx(0.0f), 1.5707964f, 1e-4f);
    EXPECT_NEAR(acos_approx(-1.0f), 3.1415927f, 1e-4f);
    for (const float x : {1.0000001f, -1.0000001f, 2.0f, -1e30f}) EXPECT_TRUE(std::isfinite(acos_approx(x))) << x;
    const Vec4 four = acos4(vec4(1.0f, 0.5f, -0.5f, -1.0f));
    EXPECT_EQ(numbers(four), (std::array<float, 4>{acos_approx(1.0f), acos_approx(0.5f), acos_approx(-0.5f), acos_approx(-1.0f)}));
}

TEST(Approximations, SineAndCosineHoldOverManyTurnsInEveryLane)
{
    const SolverFloatScope scope;
    for (int i = -40000; i <= 40000; ++i)
    {
        const float angle = static_cast<float>(i) * 0.001f;
        ASSERT_NEAR(sin_approx(angle), std::sin(static_cast<double>(angle)), 2e-4) << angle;
        ASSERT_NEAR(cos_approx(angle), std::cos(static_cast<double>(angle)), 2e-4) << angle;
    }
    for (const float angle : {0.0f, kHalfPi, kPi})
    {
        EXPECT_NEAR(sin_approx(angle), std::sin(angle), 1e-3f);
        EXPECT_NEAR(cos_approx(angle), std::cos(angle), 1e-3f);
    }
    const Vec4 mixed = sin_or_cos4(vec4(0.3f, 1.2f, -2.0f, 0.7f), bits4(0, ~0u, 0, ~0u));
    EXPECT_EQ(numbers(mixed), (std::array<float, 4>{sin_approx(0.3f), cos_approx(1.2f), sin_approx(-2.0f), cos_approx(0.7f)}));
}

TEST(Approximations, ArcTangentKnowsAllFourQuadrantsTheAxesAndAnySize)
{
    const SolverFloatScope scope;
    double_math::Random random(5);
    for (int i = 0; i < 50000; ++i)
    {
        const double angle = random.number(-double_math::kPi, double_math::kPi);
        const double size = std::pow(10.0, random.number(-30.0, 30.0));
        const auto y = static_cast<float>(size * std::sin(angle));
        const auto x = static_cast<float>(size * std::cos(angle));
        ASSERT_NEAR(atan2_approx(y, x), std::atan2(static_cast<double>(y), static_cast<double>(x)), 1e-4) << y << " " << x;
    }
    EXPECT_EQ(atan2_approx(0.0f, 1.0f), 0.0f);
    EXPECT_NEAR(atan2_approx(1.0f, 0.0f), kHalfPi, 1e-6f);
    EXPECT_NEAR(atan2_approx(-1.0f, 0.0f), -kHalfPi, 1e-6f);
    EXPECT_NEAR(atan2_approx(0.0f, -1.0f), kPi, 1e-6f);
    EXPECT_EQ(atan2_approx(0.0f, 0.0f), 0.0f);
    for (const float y : kAwkwardNumbers)
        for (const float x : kAwkwardNumbers) ASSERT_TRUE(std::isfinite(atan2_approx(y, x))) << y << " " << x;
}

TEST(Approximations, PowerStaysWithinAThousandthOfItselfPerUnitOfTheExponent)
{
    const SolverFloatScope scope;
    double_math::Random random(6);
    for (int i = 0; i < 50000; ++i)
    {
        const auto x = static_cast<float>(std::pow(10.0, random.number(-4.0, 2.0)));
        const auto p = static_cast<float>(random.number(0.0, 3.0));
        const double expected = std::pow(static_cast<double>(x), static_cast<double>(p));
        ASSERT_NEAR(pow_approx(x, p) / expected, 1.0, 1e-3 * std::fmax(1.0, p)) << x << " to the power " << p;
    }
    EXPECT_NEAR(pow_approx(0.5f, 2.0f), 0.25f, 1e-3f);
    EXPECT_EQ(pow_approx(0.0f, 2.0f), 0.0f);
    EXPECT_EQ(pow_approx(0.0f, 0.0f), 1.0f);
    EXPECT_NEAR(pow_approx(1.0f, 2.7182817f), 1.0f, 1e-5f);
    EXPECT_NEAR(pow_approx(5.0f, 0.0f), 1.0f, 1e-6f);
    EXPECT_NEAR(pow_approx(2.0f, -1.0f), 0.5f, 1e-3f);
    // Powers beyond the range of a float are nothing or infinity, never a wrapped exponent.
    EXPECT_EQ(pow_approx(1e-30f, 8.0f), 0.0f);
    EXPECT_EQ(pow_approx(1e30f, 8.0f), INFINITY);
    EXPECT_EQ(pow_approx(1e30f, 1e30f), INFINITY);
    EXPECT_EQ(pow_approx(1e-30f, 1e30f), 0.0f);
    const Vec4 four = pow4(vec4(0.0f, 0.25f, 1.0f, 9.0f), vec4(2.0f, 0.5f, 3.0f, 0.5f));
    EXPECT_EQ(numbers(four), (std::array<float, 4>{0.0f, pow_approx(0.25f, 0.5f), pow_approx(1.0f, 3.0f), pow_approx(9.0f, 0.5f)}));
}
