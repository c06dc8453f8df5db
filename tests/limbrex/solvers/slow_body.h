// The body's part of a solve once more: plainly, in double precision, one formula after the other, everything brought up to date after every step.
// Joint limits take no part; the rigs that it is used with have none that act.
#pragma once

#include "tests/limbrex/solvers/solver_fixture.h"

namespace solver_test
{

// ---- rules --------------------------------------------------------------------------------------------------------------------

struct Shares
{
    double middle, end, extremity, pull;
};
inline Shares slow_shares(double rM, double pM, double rE, double pE, double rX, double pX)
{
    const double aM = pM * rM;
    const double aE = pE * rE * (1 - aM);
    const double rest = 1 - aM - aE;
    const double aX = (1 - aE) * (1 - aM) * pX * rX;
    const double x = (rest - aX) * rX + aX;
    const double e = (rest - x) * rE + aE;
    return {(1 - aM - e - x) * rM + aM, e, x, aM + aE + aX};
}

// Excess over what a limb bridges: two lines joined by a cubic, read off by its Bernstein form.
inline double slow_excess(double d, double lc, double lm, double w, double k)
{
    lm = std::max(lm, lc);
    const double x0 = lm - (lm - lc) * w;
    const double x1 = ((lm - x0) * 1.5 + x0) * (1 - w) + w * lm;
    if (d <= x0) return k * (d - lc) * w;
    if (d >= x1) return k * ((d - lm) * (1 - w) + (d - lc) * w);
    const double s = x1 - x0, u = (d - x0) / s, v = 1 - u;
    const double y0 = (x0 - lc) * w, y3 = (x1 - lm) * (1 - w) + (x1 - lc) * w;
    return k * (v * v * v * y0 + 3 * v * v * u * (y0 + w * s / 3) + 3 * v * u * u * (y3 - s / 3) + u * u * u * y3);
}

// Length of a bone stretched between the factors a and b of its rest length.
inline double slow_stretched(double rest, double a, double b, double now, double f, double w, bool smooth)
{
    if (rest <= 0.01) return now;
    const double rho = f * now / rest;
    const double low = 1 - (1 - a) * w, room = (b - 1) * w;
    double h;
    if (!smooth)
        h = std::min(std::max(rho, low), 1 + room);
    else if (rho >= 1)
    {
        const double s = (rho - 1) / room + 1;
        h = room < 1e-5 ? 1 + room : (2 * s * s / (s * s + 1) - 1) * room + 1;
    }
    else if (low >= 1)
        h = low;
    else
    {
        const double q = 1 - rho;
        h = low * q * q * q + 3 * low * rho * q * q + 3 * (1 - (1 - low) / 3) * rho * rho * q + rho * rho * rho;
    }
    return rest * h;
}

// ---- a pose -------------------------------------------------------------------------------------------------------------------

struct SlowPose
{
    const Scene& scene;
    std::vector<int> order;
    Pose global, local;
    std::vector<int> spine, neck;  // used nodes up to the first gap

    explicit SlowPose(const Scene& s) : scene(s), order(s.linked()), global(s.pose()), local(global)
    {
        for (int n = 0; n < 10 && has(n == 0 ? LBXNodeSpine : LBXNodeSpine1 + n - 1); ++n)
            spine.push_back(n == 0 ? LBXNodeSpine : LBXNodeSpine1 + n - 1);
        for (int n = 0; n < 10 && has(n == 0 ? LBXNodeNeck : LBXNodeNeck1 + n - 1); ++n)
            neck.push_back(n == 0 ? LBXNodeNeck : LBXNodeNeck1 + n - 1);
        for (Joint& joint : global) joint.q = normalized(joint.q);
        for (const int node : order) take_local(node);
    }
    bool has(int node) const { return scene.rig.uses(node); }
    Joint& at(int node) { return global[static_cast<size_t>(node)]; }
    Joint& below_parent(int node) { return local[static_cast<size_t>(node)]; }
    double value(int property) const { return LBXPropertyGetValue(scene.properties.get(), property); }
    void take_local(int node)
    {
        const int parent = scene.parent(node);
        if (parent < 0)
            below_parent(node) = at(node);
        else
            below_parent(node) = {rotated(conj(at(parent).q), at(node).t - at(parent).t), mul(conj(at(parent).q), at(node).q)};
    }
    // Everything under a node, from the locals.
    void follow(int node)
    {
        std::vector<bool> moved(LBXLastNodeId, false);
        moved[static_cast<size_t>(node)] = true;
        for (const int n : order)
        {
            const int parent = scene.parent(n);
            if (parent < 0 || !moved[static_cast<size_t>(parent)]) continue;
            moved[static_cast<size_t>(n)] = true;
            at(n) = {at(parent).t + rotated(at(parent).q, below_parent(n).t), normalized(mul(at(parent).q, below_parent(n).q))};
        }
    }
    void place(int node, const Joint& joint)
    {
        at(node) = {joint.t, normalized(joint.q)};
        take_local(node);
        follow(node);
    }
    void turn_to(int node, const Quat& q) { place(node, {at(node).t, q}); }
    void turn_by(int node, const Quat& q) { turn_to(node, mul(q, at(node).q)); }

    Vec3 offset(int first_property) const { return {value(first_property), value(first_property + 1), value(first_property + 2)}; }
    Vec3 hips_offset() const { return offset(LBXPropertyHipsTOffsetX); }
    Vec3 chest_offset() const { return offset(LBXPropertyChestTOffsetX); }
    Vec3 hip_midpoint() { return (at(LBXNodeLeftUpLeg).t + at(LBXNodeRightUpLeg).t) * 0.5; }
    Vec3 chest_end()
    {
        const bool shoulders = has(LBXNodeLeftShoulder);
        const Vec3 left = at(shoulders ? LBXNodeLeftShoulder : LBXNodeLeftArm).t;
        const Vec3 right = at(shoulders ? LBXNodeRightShoulder : LBXNodeRightArm).t;
        return (left + right) * 0.5 + rotated(at(spine.back()).q, chest_offset());
    }
};

struct BodyGoal
{
    Vec3 t;
    Quat q;
    double reachT, reachR, resist;
};
struct BodyGoals
{
    BodyGoal hips, origin, end;
};
inline BodyGoal slow_goal(const Scene& scene, int effector)
{
    const Joint goal = scene.goal(effector);
    const LBXEffectorSet* set = scene.set.get();
    return {goal.t, goal.q, LBXGetEffectorReachT(set, effector), LBXGetEffectorReachR(set, effector), LBXGetEffectorResist(set, effector)};
}
inline BodyGoals slow_goals(const Scene& scene)
{
    return {slow_goal(scene, LBXEffectorHips), slow_goal(scene, LBXEffectorChestOrigin), slow_goal(scene, LBXEffectorChestEnd)};
}

// ---- placing hips and spine -----------------------------------------------------------------------------------------------------

inline void slow_place_hips(SlowPose& pose, const Vec3& midpoint, const Quat& q)
{
    const Vec3 c = (pose.below_parent(LBXNodeLeftUpLeg).t + pose.below_parent(LBXNodeRightUpLeg).t) * 0.5;
    pose.place(LBXNodeHips, {midpoint - rotated(q, c), q});
}
inline void slow_place_hips(SlowPose& pose, const BodyGoal& hips)
{
    const Quat q = blend(pose.at(LBXNodeHips).q, hips.q, hips.reachR);
    const Vec3 m = pose.hip_midpoint();
    slow_place_hips(pose, lerp(m, hips.t - rotated(q, pose.hips_offset()), hips.reachT), q);
}
inline void slow_distribute(SlowPose& pose, const Quat& r, double resist)
{
    const Vec3 v = {r[0], r[1], r[2]};
    if (dot(v, v) <= 1e-6) return;
    const Vec3 axis = unit(v) * (r[3] < 0 ? -1.0 : 1.0);
    const double angle = 2 * std::acos(std::min(1.0, std::fabs(r[3])));
    const auto n = static_cast<double>(pose.spine.size() - 1);
    const double b = 2 * n * resist + 0.5;
    std::vector<Quat> wanted;
    for (size_t k = 0; k < pose.spine.size(); ++k)
        wanted.push_back(mul(about(axis, angle * (b + static_cast<double>(k)) / (b + n)), pose.at(pose.spine[k]).q));
    for (size_t k = 0; k < pose.spine.size(); ++k) pose.turn_to(pose.spine[k], wanted[k]);
}
inline void slow_turn_chest(SlowPose& pose, const BodyGoal& end, double resist)
{
    const Quat now = pose.at(pose.spine.back()).q;
    slow_distribute(pose, mul(blend(now, end.q, end.reachR), conj(now)), resist);
}
inline void slow_reach_chest(SlowPose& pose, const BodyGoal& end, double resist, double cR, double progress)
{
    const int bottom = pose.spine.front();
    const Vec3 e = pose.chest_end(), h = pose.at(LBXNodeHips).t;
    const Vec3 p = lerp(e, end.t, end.reachT);
    Quat q = shortest_arc(e - h, p - h);
    if (cR > 0)
    {
        for (size_t i = 0; i < 3; ++i) q[i] *= 1 - 2 * cR;
        q = normalized(q);
    }
    slow_distribute(pose, q, resist);
    const double stretch = pose.value(LBXPropertySnSReachChestEnd);
    if (stretch > 0)  // rigs without stretch records: only the chest's children move outward
    {
        const double ratio = distance(p, pose.at(bottom).t) / distance(pose.chest_end(), pose.at(bottom).t);
        const double f = (ratio - 1) * stretch * progress + 1;
        const double outward = pose.value(LBXPropertySnSScaleSpineChildren) * (f - 1) + 1;
        for (const int node : pose.order)
            if (pose.scene.parent(node) == pose.spine.back()) pose.below_parent(node).t = pose.below_parent(node).t * outward;
        pose.follow(bottom);
    }
    pose.turn_by(bottom, shortest_arc(pose.chest_end() - h, p - h));
}
// The single placement; the pull gives its chest rotation reach and progress.
inline void slow_place_body(SlowPose& pose, const BodyGoals& goals, bool with_spine, double cR = 0, double progress = 1)
{
    slow_place_hips(pose, goals.hips);
    if (!with_spine || pose.spine.empty()) return;
    const int bottom = pose.spine.front();
    pose.turn_to(bottom, blend(pose.at(bottom).q, goals.origin.q, goals.origin.reachR));
    slow_turn_chest(pose, goals.end, goals.origin.resist);
    slow_reach_chest(pose, goals.end, goals.origin.resist, cR, progress);
}

// How far the library's pose is from this one: metres and radians, over the nodes given (all when empty).
struct Distance
{
    double place = 0, turn = 0;
};
inline Distance distance_between(SlowPose& slow, const Scene& scene)
{
    Distance worst;
    for (const int node : slow.order)
    {
        worst.place = std::max(worst.place, distance(slow.at(node).t, scene.at(node)));
        worst.turn = std::max(worst.turn, angle_between(slow.at(node).q, normalized(scene.turn(node))));
    }
    return worst;
}

}  // namespace solver_test
