// The rules that a solve is made of, each against a slow reading of its formula in double precision.

#include <gtest/gtest.h>

#include "limbrex/solvers/limb_extension.h"
#include "limbrex/solvers/limb_reach.h"
#include "limbrex/solvers/limb_shares.h"
#include "limbrex/solvers/spine.h"
#include "tests/limbrex/solvers/slow_body.h"

namespace
{

using namespace solver_test;

double excess(double d, double lc, double lm, double w, double k)
{
    const auto lane = [](double v) { return lbx::splat(static_cast<float>(v)); };
    return lbx::x_of(lbx::smooth_excess(lbx::excess_curve(lane(lc), lane(lm), lane(w), lane(w), lane(k)), lane(d)));
}

lbx::Vec4 lanes(const Vec3& v) { return lbx::vec4(static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])); }
Vec3 plain(lbx::Vec4 v) { return {lbx::x_of(v), lbx::y_of(v), lbx::z_of(v)}; }

}  // namespace

TEST(LimbShares, PullsComeFirstThenExtremityThenEndThenMiddle)
{
    Random random(1);
    // The corners by name, then anything: in lanes, each limb by itself.
    std::vector<std::array<double, 6>> cases = {{0, 0, 1, 0, 1, 0}, {0, 0, 1, 1, 1, 0}, {0, 0, 1, 0, 0, 0}, {1, 1, 1, 1, 1, 1},
                                                {0, 1, 0, 1, 0, 1}, {1, 0, 1, 0, 1, 0}, {1, 0, 0, 0, 0, 0}, {0.5, 0, 0, 0, 0.5, 1}};
    for (int i = 0; i < 2000; ++i)
    {
        std::array<double, 6> c{};
        for (double& v : c) v = random.index(4) == 0 ? random.index(2) : random.number(0, 1);
        cases.push_back(c);
    }
    for (size_t i = 0; i + 4 <= cases.size(); i += 4)
    {
        float in[6][4];
        for (size_t k = 0; k < 6; ++k)
            for (size_t lane = 0; lane < 4; ++lane) in[k][lane] = static_cast<float>(cases[i + lane][k]);
        const lbx::LimbShares s = lbx::share_reach(lbx::load4(in[0]), lbx::load4(in[1]), lbx::load4(in[2]), lbx::load4(in[3]),
                                                   lbx::load4(in[4]), lbx::load4(in[5]));
        for (int lane = 0; lane < 4; ++lane)
        {
            const auto& c = cases[i + static_cast<size_t>(lane)];
            const Shares expected = slow_shares(c[0], c[1], c[2], c[3], c[4], c[5]);
            EXPECT_NEAR(lbx::of_limb(s.middle, lane), expected.middle, 1e-6);
            EXPECT_NEAR(lbx::of_limb(s.end, lane), expected.end, 1e-6);
            EXPECT_NEAR(lbx::of_limb(s.extremity, lane), expected.extremity, 1e-6);
            EXPECT_NEAR(lbx::of_limb(s.pull, lane), expected.pull, 1e-6);
        }
    }
    const Shares tip_first = slow_shares(0, 0, 1, 0, 1, 0);
    const Shares pulling_end = slow_shares(0, 0, 1, 1, 1, 0);
    EXPECT_EQ(tip_first.extremity, 1.0);
    EXPECT_EQ(tip_first.end + tip_first.middle, 0.0);
    EXPECT_EQ(pulling_end.end, 1.0);
    EXPECT_EQ(pulling_end.extremity + pulling_end.middle, 0.0);
}

TEST(SmoothExcess, FollowsItsTwoLinesAndTheCubicBetween)
{
    Random random(2);
    for (int i = 0; i < 4000; ++i)
    {
        const double lc = random.number(0.2, 1), lm = lc + (i % 5 == 0 ? 0.0 : random.number(-0.1, 0.5));
        const double w = i % 7 == 0 ? random.index(2) : random.number(0, 1), d = random.number(0, 2), k = random.number(0, 1);
        EXPECT_NEAR(excess(d, lc, lm, w, k), slow_excess(d, lc, lm, w, k), 2e-6) << d << ' ' << lc << ' ' << lm << ' ' << w;
    }
    // Worked by hand: a stiff limb pulls by all beyond where it is, a loose one by what lies beyond its length once past the curve.
    EXPECT_NEAR(excess(0.9, 0.5, 0.8, 1, 1), 0.4, 1e-6);
    EXPECT_NEAR(excess(2.0, 0.5, 0.8, 0, 1), 1.2, 1e-6);
    EXPECT_NEAR(excess(0.7, 0.5, 0.8, 0, 1), 0.0, 1e-6);
    EXPECT_NEAR(excess(0.3, 0.5, 0.8, 0.5, 1), -0.1, 1e-6);
    EXPECT_EQ(excess(0.8, 0.8, 0.8, 0.3, 1), 0.0);  // no span between the lines: they meet at the length
}

TEST(SmoothExcess, NeitherJumpsNorTurnsBackAsTheGoalMovesAway)
{
    for (const double lm : {0.5, 0.6, 0.9})
        for (const double w : {0.0, 0.2, 0.7, 1.0})
        {
            double before = excess(0.0, 0.5, lm, w, 1);
            for (double d = 0.001; d < 2; d += 0.001)
            {
                const double now = excess(d, 0.5, lm, w, 1);
                EXPECT_GE(now, before - 1e-6);
                EXPECT_LE(now - before, 0.001 * 1.6);
                before = now;
            }
        }
}

TEST(SegmentStretch, KeepsTheDirectionAndTheLengthItsCurveGives)
{
    Random random(3);
    for (int i = 0; i < 4000; ++i)
    {
        lbx::LimitRecord limit{};
        const Vec3 rest = random.vector(0.3), scale = {random.number(0.5, 2), random.number(0.5, 2), random.number(0.5, 2)};
        limit.reference = lanes(rest);
        limit.minimumFactor = static_cast<float>(random.number(0.3, 1.1));
        limit.maximumFactor = static_cast<float>(i % 9 == 0 ? 1.0 : random.number(0.9, 2));
        const Vec3 now = random.direction() * random.number(0.02, 0.5);
        const lbx::StretchRequest request = {static_cast<float>(random.number(0, 3)), static_cast<float>(random.number(0, 1)),
                                             random.coin()};
        const Vec3 found = plain(lbx::stretched_translation(limit, lanes(scale), lanes(now), request));
        const double full = length(Vec3{rest[0] * scale[0], rest[1] * scale[1], rest[2] * scale[2]});
        const double expected =
            slow_stretched(full, limit.minimumFactor, limit.maximumFactor, length(now), request.factor, request.weight, request.smooth);
        EXPECT_NEAR(length(found), std::fabs(expected), 2e-5);
        EXPECT_LT(distance(found, unit(now) * expected), 3e-5);
    }
    lbx::LimitRecord speck{};
    speck.reference = lbx::vec4(0.006f, 0.008f, 0);
    speck.maximumFactor = 2;
    EXPECT_EQ(plain(lbx::stretched_translation(speck, lbx::splat(1), lbx::vec4(0.5f, 0, 0), {1, 0, false})), (Vec3{0.5, 0, 0}));
}

TEST(SoftExtension, OpensALimbEverMoreSlowlyAndLetsAMetGoalBe)
{
    Random random(4);
    for (int i = 0; i < 3000; ++i)
    {
        const Vec3 root = random.vector(1);
        const double la = random.number(0.3, 1.2), c = la * random.number(0.05, 0.999), d = la * random.number(0.05, 1.5);
        const Vec3 to_target = random.direction() * d, target = root + to_target;
        const lbx::SoftExtension soft = {static_cast<float>(random.number(0, 1)), static_cast<float>(random.number(0, 1)), random.coin()};
        const double s = std::sqrt(static_cast<double>(soft.maximumExtension) * soft.resist);
        const double ac = std::acos(std::min(c / la, 1.0)) / kDegree, at = std::acos(std::min(d / la, 1.0)) / kDegree;
        const double f = std::pow((ac + at) / 180, 30 * (1 - s) + (soft.afterRetarget ? 0 : 15));
        const double a = (at + (ac - at) * f) * kDegree;
        const Vec3 found =
            plain(lbx::soften_target(lanes(root), lanes(root + random.direction() * c), lanes(target), static_cast<float>(la), soft));
        EXPECT_LT(distance(found, root + to_target * (la * std::cos(a) / d)), 1.5e-3) << s << ' ' << c / la << ' ' << d / la;
    }
    const lbx::Vec4 beyond = lbx::vec4(2, 0, 0);
    for (const auto& off : {lbx::SoftExtension{0, 1, false}, lbx::SoftExtension{1, 0, false}})
        EXPECT_EQ(plain(lbx::soften_target(lbx::zero4(), lbx::vec4(0.5f, 0, 0), beyond, 1, off)), (Vec3{2, 0, 0}));
    for (double d = 0.1; d < 0.999; d += 0.01)
    {
        const lbx::Vec4 met = lbx::vec4(static_cast<float>(d), 0, 0);
        EXPECT_NEAR(lbx::x_of(lbx::soften_target(lbx::zero4(), met, met, 1, {1, 1, true})), d, 2e-4);
    }
}

TEST(BendPlane, MeasuresTheInteriorAngleSignedByTheSideOfTheBend)
{
    Random random(5);
    for (int i = 0; i < 3000; ++i)
    {
        const Vec3 n = random.direction(), upper = random.vector(1), u = random.vector(0.5);
        const Vec3 l = rotated(about(n, random.number(-3.0, 3.0)), u) * random.number(0.5, 1.5) + n * random.number(-0.2, 0.2);
        const Vec3 flat_u = u - n * dot(u, n), flat_l = l - n * dot(l, n);
        if (length(flat_u) < 0.05) continue;
        const lbx::BendPlane plane = lbx::bend_plane(lanes(n), lanes(upper), lanes(upper + u), lanes(upper + u + l));
        const double turn = std::atan2(dot(cross(flat_u, flat_l), n), dot(flat_u, flat_l));
        const double interior = turn >= 0 ? kPi - turn : -(kPi + turn);
        EXPECT_NEAR(plane.angle, interior, 3e-3);
        EXPECT_NEAR(plane.along, dot(u + l, n), 1e-5);
        EXPECT_NEAR(plane.chord, length(flat_u + flat_l), 1e-5);
        const double chord = random.number(0.0, length(flat_u) + length(flat_l));
        const double a = length(flat_u), b = length(flat_l);
        EXPECT_NEAR(lbx::interior_angle(plane, static_cast<float>(chord)),
                    std::acos(std::min(1.0, std::max(-1.0, (a * a + b * b - chord * chord) / (2 * a * b)))), 3e-3);
    }
}
