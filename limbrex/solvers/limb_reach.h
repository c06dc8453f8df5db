// What the limbs want of the body: how far each goal lies beyond its limb, as vectors. The four limbs are the four lanes (left leg, right leg, left arm,
// right arm).
#pragma once

#include "limbrex/math/point_lanes.h"
#include "limbrex/solvers/limb_shares.h"

namespace lbx
{

// Excess of a distance over what a limb bridges by itself. Linear with slope `weight` while the limb only gives way, linear with slope 1 once it is fully
// extended, joined by a cubic with matching slopes. weight 1 pulls by all beyond the current length, weight 0 by what lies beyond the maximum.
struct ExcessCurve
{
    Vec4 current, maximum;  // lengths
    Vec4 weight;
    Vec4 foldedWeight;    // in place of the weight below the current length
    Vec4 scale;           // of the result
    Vec4 begin, end;      // distances between which the cubic runs
    Vec4 inverseSpan;     // 1 / (end - begin); 0 without a span
    Vec4 y0, y1, y2, y3;  // its control values
};
// A maximum below the current length counts as equal to it. Weights are 0 to 1.
ExcessCurve excess_curve(Vec4 current, Vec4 maximum, Vec4 weight, Vec4 folded_weight, Vec4 scale);
Vec4 smooth_excess(const ExcessCurve& curve, Vec4 distance);

// Fixed for a whole body pull.
struct LimbReach
{
    LimbShares shares;
    Vec4 stiffness;  // 0 to 1
    Vec4 currentLength, maximumLength;
    Vec4 compression;       // how much of the push a folded limb passes on
    PointLanes target;      // share-weighted sum of the goals
    Vec4 targetWeight;      // sum of the shares
    int upper[kLimbCount];  // slots, -1 where the limb is not whole
};
// Limbs from `first` on; those before it get no lengths.
LimbReach limb_reach(const Solve& solve, int first = 0);
// Where the limbs' upper joints stand. Zero where the limb is missing: its shares are 0.
PointLanes limb_roots(const Solve& solve, const LimbReach& reach);

// How the limbs pull, with their stiffness as the caller powers it.
ExcessCurve pull_curve(const LimbReach& reach, Vec4 stiffness);
// Per limb the vector that its upper joint should travel.
PointLanes pull_vectors(const LimbReach& reach, const PointLanes& roots, const ExcessCurve& curve);

}  // namespace lbx
