#include "limbrex/solvers/limb_reach.h"

#include "limbrex/solvers/limb_extension.h"

namespace lbx
{
namespace
{

Vec4 property_lanes(const LBXPropertySet& properties, int32_t LimbRow::*property)
{
    float v[kLimbCount];
    for (size_t i = 0; i < kLimbs.size(); ++i) v[i] = value_of(properties, record_of_property(kLimbs[i].*property));
    return load4(v);
}

// Factor by which a limb may still be stretched; 1 while its stretching step is off.
float stretch_factor(const Solve& solve, const LimbRow& row)
{
    if (!(solve.mask & row.stretchBit)) return 1.0f;
    const float stop = value_of(solve.properties, record::StretchStopArmsAndLegs);
    return 1.0f + (stop - 1.0f) * value_of(solve.properties, record_of_property(row.stretchReach));
}

struct LimbLengths
{
    float current, maximum;
};

LimbLengths limb_lengths(const Solve& solve, int limb, float share_m, float share_e, float share_x)
{
    const LimbRecord& record = solve.character.limbs[limb];
    const LimbRow& row = kLimbs[static_cast<size_t>(limb)];
    const Vec4 upper = position(solve, record.slots[kLimbUpper]);
    const Vec4 end = position(solve, record.slots[kLimbEnd]);
    const float to_middle = distance3(position(solve, record.slots[kLimbMiddle]), upper);
    const bool tip = record.slots[kLimbExtremity] >= 0;
    const Vec4 extremity = tip ? position(solve, record.slots[kLimbExtremity]) : end;
    const float longest =
        length_at_maximum_extension(solve, record, value_of(solve.properties, record_of_property(row.maximumExtensionAngle)));
    const float stretch = stretch_factor(solve, row);
    return {share_m * to_middle + share_e * distance3(end, upper) + share_x * distance3(extremity, upper),
            share_m * to_middle + share_e * stretch * longest + share_x * stretch * (longest + distance3(extremity, end))};
}

}  // namespace

ExcessCurve excess_curve(Vec4 current, Vec4 maximum, Vec4 weight, Vec4 folded_weight, Vec4 scale)
{
    const Vec4 one = splat(1.0f);
    const Vec4 third = splat(1.0f / 3.0f);
    ExcessCurve c;
    c.current = current;
    c.maximum = max4(maximum, current);
    c.weight = weight;
    c.foldedWeight = folded_weight;
    c.scale = scale;
    c.begin = c.maximum - (c.maximum - current) * weight;
    c.end = ((c.maximum - c.begin) * splat(1.5f) + c.begin) * (one - weight) + weight * c.maximum;
    const Vec4 span = c.end - c.begin;
    const Vec4 no_span = less_equal4(span, zero4());
    c.inverseSpan = andnot4(no_span, one / select4(no_span, one, span));
    c.y0 = (c.begin - current) * weight;
    c.y3 = (c.end - c.maximum) * (one - weight) + (c.end - current) * weight;
    c.y1 = weight * span * third + c.y0;
    c.y2 = c.y3 - span * third;
    return c;
}

Vec4 smooth_excess(const ExcessCurve& curve, Vec4 d)
{
    const Vec4 u = (d - curve.begin) * curve.inverseSpan;
    const auto mix = [&](Vec4 a, Vec4 b) { return a + (b - a) * u; };
    const Vec4 a = mix(curve.y0, curve.y1);
    const Vec4 b = mix(curve.y1, curve.y2);
    const Vec4 c = mix(curve.y2, curve.y3);
    const Vec4 between = mix(mix(a, b), mix(b, c));

    const Vec4 beyond = d - curve.current;
    const Vec4 low = beyond * select4(less4(d, curve.current), curve.foldedWeight, curve.weight);
    const Vec4 high = (d - curve.maximum) * (splat(1.0f) - curve.weight) + beyond * curve.weight;
    const Vec4 outside = select4(less_equal4(curve.end, d), high, between);
    return select4(less_equal4(d, curve.begin), low, outside) * curve.scale;
}

LimbReach limb_reach(const Solve& solve, int first)
{
    LimbReach reach;
    reach.shares = limb_shares(solve);
    const LimbShares& shares = reach.shares;
    const Vec4 held_middle = min4(max4(shares.middle, zero4()), splat(1.0f));
    reach.stiffness = held_middle + (splat(1.0f) - held_middle) * shares.resistMiddle;
    reach.compression = property_lanes(solve.properties, &LimbRow::compression);
    reach.targetWeight = shares.middle + shares.end + shares.extremity;

    float current[kLimbCount] = {};
    float maximum[kLimbCount] = {};
    Vec4 targets[kLimbCount];
    for (int limb = 0; limb < kLimbCount; ++limb)
    {
        const LimbRecord& record = solve.character.limbs[limb];
        const LimbRow& row = kLimbs[static_cast<size_t>(limb)];
        const float share_m = of_limb(shares.middle, limb);
        const float share_e = of_limb(shares.end, limb);
        const float share_x = of_limb(shares.extremity, limb);
        targets[limb] = goal_point(solve.effectors, row.middleEffector) * share_m + goal_point(solve.effectors, row.endEffector) * share_e +
                        goal_point(solve.effectors, row.extremityEffector) * share_x;
        reach.upper[limb] = record.complete() ? record.slots[kLimbUpper] : -1;
        if (limb < first || reach.upper[limb] < 0 || share_m + share_e + share_x == 0.0f) continue;
        const LimbLengths lengths = limb_lengths(solve, limb, share_m, share_e, share_x);
        current[limb] = lengths.current;
        maximum[limb] = lengths.maximum;
    }
    reach.target = point_lanes(targets[0], targets[1], targets[2], targets[3]);
    reach.currentLength = load4(current);
    reach.maximumLength = load4(maximum);
    return reach;
}

PointLanes limb_roots(const Solve& solve, const LimbReach& reach)
{
    const auto root = [&](int limb) { return reach.upper[limb] >= 0 ? position(solve, reach.upper[limb]) : zero4(); };
    return point_lanes(root(0), root(1), root(2), root(3));
}

ExcessCurve pull_curve(const LimbReach& reach, Vec4 stiffness)
{
    return excess_curve(reach.currentLength, reach.maximumLength, stiffness, stiffness * reach.compression, reach.shares.pull);
}

PointLanes pull_vectors(const LimbReach& reach, const PointLanes& roots, const ExcessCurve& curve)
{
    const PointLanes v = reach.target - roots * reach.targetWeight;
    // Beyond what a square can hold a goal pulls no further.
    const Vec4 square = min4(dot_lanes(v, v), splat(3.0e38f));
    const Vec4 inverse = reciprocal_sqrt4(square);
    return v * (smooth_excess(curve, square * inverse) * inverse);
}

}  // namespace lbx
