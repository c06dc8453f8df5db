#include "tests/limbrex/math/lanes.h"

using namespace lbx;
using namespace lanes_test;
using double_math::matrix_of;
using double_math::Random;

namespace
{

Tqs random_transform(Random& random)
{
    return {lanes_of(random.vector(3.0)), lanes_of(random.rotation()),
            lanes_of(double_math::Vec3{random.number(0.5, 2.0), random.number(0.5, 2.0), random.number(0.5, 2.0)}, 1.0f)};
}

void expect_same_rotation(Quat a, Quat b)
{
    EXPECT_LT(double_math::largest_difference(matrix_of(quat_of(a)), matrix_of(quat_of(b))), 3e-6);
}

}  // namespace

TEST(Transform, SolverLocalsPutANodeBackWhereItWasWhateverTheScales)
{
    const SolverFloatScope scope;
    Random random(20);
    for (int i = 0; i < 20000; ++i)
    {
        const Tqs parent = random_transform(random);
        const Tqs global = random_transform(random);
        Tqs local = tqs_identity();
        local_from_global(local, global, parent);
        const auto expected = double_math::transposed(matrix_of(quat_of(parent.q))) * (xyz_of(global.t) - xyz_of(parent.t));
        expect_near(local.t, expected, 1e-5);
        EXPECT_EQ(numbers(local.s), (std::array<float, 4>{1, 1, 1, 1})) << "scales take no part";
        Tqs again = tqs_identity();
        global_from_local(again, local, parent);
        expect_near(again.t, xyz_of(global.t), 1e-5);
        expect_same_rotation(again.q, global.q);
        ASSERT_NEAR(double_math::length(quat_of(again.q)), 1.0, 1e-6);
    }
}

TEST(Transform, ParentNeedNotBeAUnitQuaternion)
{
    const SolverFloatScope scope;
    Random random(21);
    Tqs parent = random_transform(random);
    const Tqs global = random_transform(random);
    Tqs local = tqs_identity();
    local_from_global(local, global, parent);
    parent.q = parent.q * 3.0f;
    Tqs same = tqs_identity();
    local_from_global(same, global, parent);
    expect_near(same.t, xyz_of(local.t), 1e-5);
    expect_same_rotation(same.q, local.q);
}

TEST(Transform, RelativeAndComposedAreInverseWithScalesAndMatchPointByPoint)
{
    const SolverFloatScope scope;
    Random random(22);
    for (int i = 0; i < 20000; ++i)
    {
        const Tqs parent = random_transform(random);
        const Tqs global = random_transform(random);
        const Tqs relative = relative_to(parent, global);
        const Tqs again = composed(parent, relative);
        expect_near(again.t, xyz_of(global.t), 2e-5);
        expect_near(again.s, xyz_of(global.s), 1e-5);
        expect_same_rotation(again.q, global.q);
        EXPECT_EQ(w_of(relative.t), 0.0f);
        EXPECT_EQ(w_of(relative.s), 1.0f);
        // The origin of the child, carried through the parent: T + R(S * p).
        const auto scale = xyz_of(parent.s);
        const auto p = xyz_of(relative.t);
        const auto carried =
            xyz_of(parent.t) + matrix_of(quat_of(parent.q)) * double_math::Vec3{p[0] * scale[0], p[1] * scale[1], p[2] * scale[2]};
        expect_near(global.t, carried, 2e-5);
    }
}

TEST(Transform, ScaleOfNothingGivesNothingInsteadOfNaN)
{
    const SolverFloatScope scope;
    Random random(23);
    Tqs parent = random_transform(random);
    parent.s = vec4(0.0f, 2.0f, -0.0f, 1.0f);
    const Tqs relative = relative_to(parent, random_transform(random));
    EXPECT_TRUE(all_finite(relative.t) && all_finite(relative.q) && all_finite(relative.s));
    EXPECT_EQ(x_of(relative.s), 0.0f);
    EXPECT_EQ(numbers(safe_reciprocal(vec4(0.0f, 4.0f, -0.5f, 1.0f))), (std::array<float, 4>{0.0f, 0.25f, -2.0f, 1.0f}));
}
