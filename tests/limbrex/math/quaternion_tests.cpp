#include "tests/limbrex/math/lanes.h"

using namespace lbx;
using namespace lanes_test;
using double_math::angle_between;
using double_math::matrix_of;
using double_math::Random;

namespace
{

double_math::Mat3 matrix(lbx::Quat q) { return matrix_of(quat_of(q)); }

void expect_unit(lbx::Quat q) { EXPECT_NEAR(double_math::length(quat_of(q)), 1.0, 1e-6); }

}  // namespace

TEST(Quaternion, ProductRotatesByTheSecondThenTheFirst)
{
    const SolverFloatScope scope;
    Random random(10);
    for (int i = 0; i < 20000; ++i)
    {
        const auto a = lanes_of(random.rotation());
        const auto b = lanes_of(random.rotation());
        ASSERT_LT(double_math::largest_difference(matrix(quat_mul(a, b)), matrix(a) * matrix(b)), 2e-6);
        ASSERT_LT(double_math::largest_difference(matrix(conjugate(a)), double_math::transposed(matrix(a))), 1e-6);
        const auto v = random.vector(5.0);
        expect_near(rotate(a, lanes_of(v, 3.0f)), matrix(a) * v, 5e-6);
        expect_near(rotate_inverse(a, lanes_of(v, 3.0f)), double_math::transposed(matrix(a)) * v, 5e-6);
        ASSERT_EQ(w_of(rotate(a, lanes_of(v, 3.0f))), 0.0f);
    }
}

TEST(Quaternion, NormalizingGivesTheIdentityForNothingAndForWhatIsNotANumber)
{
    const SolverFloatScope scope;
    for (const auto& q : {vec4(0, 0, 0, 2), zero4(), splat(NAN), vec4(INFINITY, 0, 0, 1), splat(3e38f), splat(1e-30f)})
    {
        const auto n = numbers(normalize_quat(q));
        EXPECT_NEAR(n[0], 0.0f, 1e-6f);
        EXPECT_NEAR(n[1], 0.0f, 1e-6f);
        EXPECT_NEAR(n[2], 0.0f, 1e-6f);
        EXPECT_NEAR(n[3], 1.0f, 1e-6f);
    }
}

TEST(Quaternion, BlendTakesTheShorterWayAtEveryWeight)
{
    const SolverFloatScope scope;
    Random random(11);
    for (int i = 0; i < 20000; ++i)
    {
        const auto from = random.rotation();
        const auto to = random.rotation();
        const auto alpha = static_cast<float>(random.number(0.0, 1.0));
        const auto q = quat_blend(lanes_of(from), lanes_of(to), alpha);
        double facing = from[0] * to[0] + from[1] * to[1] + from[2] * to[2] + from[3] * to[3] < 0.0 ? -1.0 : 1.0;
        double_math::Quat expected{};
        for (size_t k = 0; k < 4; ++k) expected[k] = from[k] + (facing * to[k] - from[k]) * static_cast<double>(alpha);
        const double n = double_math::length(expected);
        for (size_t k = 0; k < 4; ++k) ASSERT_NEAR(numbers(q)[k], expected[k] / n, 2e-6);
        expect_unit(q);
    }
    const auto q = lanes_of(random.rotation());
    for (size_t k = 0; k < 4; ++k)
        EXPECT_NEAR(numbers(quat_blend(q, -q, 0.5f))[k], numbers(q)[k], 1e-6f) << "a rotation blended with itself";
}

TEST(Quaternion, AxisAndAngleMakeTheRotationOfThatMatrix)
{
    const SolverFloatScope scope;
    Random random(12);
    for (int i = 0; i < 20000; ++i)
    {
        const auto axis = random.direction();
        const double angle = random.number(-3.0, 3.0);
        const auto q = quat_from_axis_angle(lanes_of(axis), static_cast<float>(angle));
        // Where a perpendicular goes: by the angle, within the plane.
        const auto p = xyz_of(perpendicular3(lanes_of(axis)));
        ASSERT_NEAR(double_math::dot(p, axis), 0.0, 1e-6);
        ASSERT_NEAR(double_math::length(p), 1.0, 1e-6);
        const auto expected = p * std::cos(angle) + double_math::cross(axis, p) * std::sin(angle);
        expect_near(rotate(normalize_quat(q), lanes_of(p)), expected, 1e-3);
        expect_near(rotate(normalize_quat(q), lanes_of(axis)), axis, 1e-5);
    }
}

TEST(Quaternion, ShortestArcCarriesOneDirectionToTheOtherAndTurnsNoMoreThanNeeded)
{
    const SolverFloatScope scope;
    Random random(13);
    for (int i = 0; i < 20000; ++i)
    {
        const auto a = random.direction();
        const auto b = random.direction();
        const double wanted = std::acos(std::fmax(-1.0, std::fmin(1.0, double_math::dot(a, b))));
        if (wanted > 3.13) continue;
        const Vec4 from = lanes_of(a * std::pow(10.0, random.number(-6.0, 6.0)), 5.0f);
        const Vec4 to = lanes_of(b * std::pow(10.0, random.number(-6.0, 6.0)), -5.0f);
        const auto q = shortest_arc(from, to);
        expect_unit(q);
        const double tolerance = wanted > 3.0 ? 1e-4 : 3e-6;  // the axis is poorly known next to half a turn
        expect_near(rotate(q, lanes_of(a)), b, tolerance);
        ASSERT_NEAR(angle_between(matrix(q), matrix(quat_identity())), wanted, 1e-3);
        expect_near(rotate(shortest_arc_reaching(from, to), lanes_of(a)), b, tolerance);
    }
}

TEST(Quaternion, ArcsWithoutAnAxisTurnNothingUnlessTheyMustArrive)
{
    const SolverFloatScope scope;
    Random random(14);
    const double_math::Mat3 none = matrix(quat_identity());
    for (int i = 0; i < 5000; ++i)
    {
        const auto a = random.direction();
        const double size = std::pow(10.0, random.number(-4.0, 4.0));
        const Vec4 from = lanes_of(a);
        const Vec4 opposite = lanes_of(a * -size);
        ASSERT_LT(angle_between(matrix(shortest_arc(from, opposite)), none), 1e-3) << "opposite directions of different lengths";
        ASSERT_LT(angle_between(matrix(shortest_arc(from, lanes_of(a * size))), none), 1e-3) << "one direction";
        expect_near(rotate(shortest_arc_reaching(from, opposite), from), a * -1.0, 2e-3);
        for (const auto& q : {shortest_arc(from, zero4()), shortest_arc(zero4(), from), shortest_arc_reaching(zero4(), from),
                              shortest_arc(zero4(), zero4())})
        {
            ASSERT_EQ(numbers(q), (std::array<float, 4>{0, 0, 0, 1}));
        }
    }
    for (const float x : kAwkwardNumbers)
        for (const float y : kAwkwardNumbers)
        {
            const auto q = shortest_arc(vec4(x, y, 0), vec4(y, 0, x));
            ASSERT_TRUE(all_finite(q)) << x << " " << y;
            expect_unit(q);
            ASSERT_TRUE(all_finite(shortest_arc_reaching(vec4(x, y, 0), vec4(y, 0, x)))) << x << " " << y;
        }
}

TEST(Quaternion, AxesAndRotationAreTwoFormsOfOneThing)
{
    const SolverFloatScope scope;
    Random random(15);
    const double h = std::sqrt(0.5);
    std::vector<double_math::Quat> rotations = {{0, 0, 0, 1}, {1, 0, 0, 0},  {0, 1, 0, 0}, {0, 0, 1, 0},
                                                {h, h, 0, 0}, {0, h, -h, 0}, {h, 0, 0, h}};
    for (int i = 0; i < 20000; ++i) rotations.push_back(random.rotation());
    for (const auto& r : rotations)
    {
        Vec4 x;
        Vec4 y;
        Vec4 z;
        quat_axes(lanes_of(r), x, y, z);
        ASSERT_LT(double_math::largest_difference(double_math::from_columns(xyz_of(x), xyz_of(y), xyz_of(z)), matrix_of(r)), 2e-6);
        const auto q = quat_from_axes(x, y, z);
        expect_unit(q);
        ASSERT_LT(double_math::largest_difference(matrix(q), matrix_of(r)), 2e-6);
    }
    EXPECT_TRUE(all_finite(quat_from_axes(splat(NAN), splat(NAN), splat(NAN))));
}

TEST(Quaternion, FadingKeepsTheAxisAndRunsFromTheWholeTurnToNone)
{
    const SolverFloatScope scope;
    Random random(16);
    for (int i = 0; i < 2000; ++i)
    {
        const auto axis = random.direction();
        const double angle = random.number(0.1, 3.0);
        const auto q = lanes_of(double_math::Quat{axis[0] * std::sin(angle / 2), axis[1] * std::sin(angle / 2),
                                                  axis[2] * std::sin(angle / 2), std::cos(angle / 2)});
        EXPECT_NEAR(angle_between(matrix(faded_turn(q, 0.0f)), matrix(q)), 0.0, 1e-3);
        EXPECT_EQ(numbers(faded_turn(q, 1.0f)), (std::array<float, 4>{0, 0, 0, 1}));
        const double half = 2.0 * std::atan2(0.5 * std::sin(angle / 2), std::cos(angle / 2));
        EXPECT_NEAR(angle_between(matrix(faded_turn(q, 0.5f)), matrix(quat_identity())), half, 1e-3);
        EXPECT_EQ(numbers(partial_quat(q, 0.25f))[3], numbers(q)[3]);
        EXPECT_EQ(numbers(partial_quat(q, 0.25f))[0], numbers(q)[0] * 0.25f);
    }
}
