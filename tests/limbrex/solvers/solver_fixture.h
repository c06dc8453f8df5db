// A character with everything that a solve needs, random poses that a body could take, and what tests ask of a pose. All numbers are the stored ones:
// y up, rotations relative to the stance.
#pragma once

#include <algorithm>
#include <cstring>
#include <set>
#include <vector>

#include "limbrex/limbrex.h"
#include "limbrex/limbrex_debug.h"
#include "tests/support/double_math.h"
#include "tests/support/solver_objects.h"
#include "tests/support/t_stance_rig.h"

namespace solver_test
{

using double_math::Quat;
using double_math::Random;
using double_math::Vec3;
using limbrex_test::RigOptions;
using namespace double_math;

inline constexpr double kDegree = kPi / 180.0;

// ---- rotations ----------------------------------------------------------------------------------------------------------------

inline Quat identity() { return {0, 0, 0, 1}; }
inline Quat conj(const Quat& q) { return {-q[0], -q[1], -q[2], q[3]}; }
inline Quat mul(const Quat& a, const Quat& b)
{
    return {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1], a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
            a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3], a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
}
inline double dot4(const Quat& a, const Quat& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3]; }
inline Quat scaled(const Quat& q, double s) { return {q[0] * s, q[1] * s, q[2] * s, q[3] * s}; }
inline Quat sum(const Quat& a, const Quat& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2], a[3] + b[3]}; }
inline Quat normalized(const Quat& q) { return dot4(q, q) > 0.0 ? scaled(q, 1.0 / std::sqrt(dot4(q, q))) : identity(); }
inline Vec3 rotated(const Quat& q, const Vec3& v) { return matrix_of(q) * v; }
inline Quat about(const Vec3& axis, double angle)
{
    const Vec3 n = double_math::unit(axis) * std::sin(0.5 * angle);
    return {n[0], n[1], n[2], std::cos(0.5 * angle)};
}
inline Quat blend(const Quat& a, const Quat& b, double w)
{
    return normalized(sum(scaled(a, 1.0 - w), scaled(b, dot4(a, b) < 0.0 ? -w : w)));
}
inline Quat shortest_arc(const Vec3& a, const Vec3& b)
{
    const double scale = length(a) * length(b);
    if (scale == 0.0 || scale + dot(a, b) <= 1e-6 * scale) return identity();
    const Vec3 c = cross(a, b);
    return normalized(Quat{c[0], c[1], c[2], scale + dot(a, b)});
}
inline double angle_of(const Quat& q) { return 2.0 * std::atan2(std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2]), std::fabs(q[3])); }
inline double angle_between(const Quat& a, const Quat& b) { return angle_of(mul(a, conj(b))); }
inline Vec3 lerp(const Vec3& a, const Vec3& b, double w) { return a + (b - a) * w; }
inline double distance(const Vec3& a, const Vec3& b) { return length(a - b); }

// ---- limbs --------------------------------------------------------------------------------------------------------------------

struct Limb
{
    int upper, middle, end, extremity;  // nodes
    int rootEffector, middleEffector, endEffector, tipEffector;
    uint32_t bit;
};
inline constexpr Limb kLimbs[4] = {
    {LBXNodeLeftUpLeg, LBXNodeLeftLeg, LBXNodeLeftFoot, LBXNodeLeftToeBase, LBXEffectorLeftHip, LBXEffectorLeftKnee, LBXEffectorLeftAnkle,
     LBXEffectorLeftFoot, LBXSolvingStepLeftLeg},
    {LBXNodeRightUpLeg, LBXNodeRightLeg, LBXNodeRightFoot, LBXNodeRightToeBase, LBXEffectorRightHip, LBXEffectorRightKnee,
     LBXEffectorRightAnkle, LBXEffectorRightFoot, LBXSolvingStepRightLeg},
    {LBXNodeLeftArm, LBXNodeLeftForeArm, LBXNodeLeftHand, LBXNodeLeftFingerBase, LBXEffectorLeftShoulder, LBXEffectorLeftElbow,
     LBXEffectorLeftWrist, LBXEffectorLeftHand, LBXSolvingStepLeftArm},
    {LBXNodeRightArm, LBXNodeRightForeArm, LBXNodeRightHand, LBXNodeRightFingerBase, LBXEffectorRightShoulder, LBXEffectorRightElbow,
     LBXEffectorRightWrist, LBXEffectorRightHand, LBXSolvingStepRightArm},
};
inline constexpr uint32_t kAllLimbs = LBXSolvingStepLeftLeg | LBXSolvingStepRightLeg | LBXSolvingStepLeftArm | LBXSolvingStepRightArm;

// Stages of the full solve, as bits of LBXDebugSolveStages.
enum Stage : uint32_t
{
    kPrepare = 1u << 0,
    kBody = 1u << 2,
    kLimbStage = 1u << 3,
    kHead = 1u << 5,
    kHipsTranslation = 1u << 7,
    kRolls = 1u << 8,
    kPostProcess = 1u << 9
};

struct Weights
{
    float reachT = 0.0f, reachR = 0.0f, pull = 0.0f, resist = 0.0f;
};
struct Joint
{
    Vec3 t;
    Quat q;
};
using Pose = std::vector<Joint>;  // by node id

// ---- a character about to be solved ---------------------------------------------------------------------------------------------

struct Scene
{
    limbrex_test::Rig rig;
    limbrex_test::StateOwner state;
    limbrex_test::EffectorSetOwner set;
    limbrex_test::PropertySetOwner properties;

    explicit Scene(const RigOptions& options = {})
        : rig(limbrex_test::make_rig(options)),
          state(limbrex_test::make_state(rig.character)),
          set(limbrex_test::make_effector_set()),
          properties(limbrex_test::make_property_set())
    {
        mask(LBXSolvingStepAllButStretch);
        place_effectors();
    }

    const LBXCharacter* character() const { return rig.character; }
    int parent(int node) const { return LBXGetParentNodeId(rig.character, node); }
    void mask(uint32_t bits) const { LBXSetEffectorSetSolvingStep(set.get(), bits); }
    void value(int property, double v) const { LBXPropertySetValue(properties.get(), property, static_cast<float>(v)); }
    void place_effectors() const { LBXEffectorSetFromState(character(), set.get(), state.get(), properties.get()); }
    void weigh(int effector, const Weights& w) const
    {
        LBXSetEffectorReachT(set.get(), effector, w.reachT);
        LBXSetEffectorReachR(set.get(), effector, w.reachR);
        LBXSetEffectorPull(set.get(), effector, w.pull);
        LBXSetEffectorResist(set.get(), effector, w.resist);
    }
    Joint goal(int effector) const
    {
        float t[4], q[4];
        LBXGetEffectorStateTQfv(set.get(), effector, t, q);
        return {{t[0], t[1], t[2]}, {q[0], q[1], q[2], q[3]}};
    }
    void goal(int effector, const Vec3& at, const Quat& turned) const
    {
        float t[3], q[4], s[3] = {1, 1, 1};
        for (size_t i = 0; i < 3; ++i) t[i] = static_cast<float>(at[i]);
        for (size_t i = 0; i < 4; ++i) q[i] = static_cast<float>(turned[i]);
        LBXSetEffectorStateTQSfv(set.get(), effector, t, q, s);
    }
    void goal(int effector, const Vec3& at) const { goal(effector, at, goal(effector).q); }
    void want(int effector, const Vec3& at, const Weights& w) const
    {
        goal(effector, at);
        weigh(effector, w);
    }

    void solve() const { LBXSolveForEffectorSet(character(), state.get(), set.get(), properties.get()); }
    void solve_low() const { LBXSolveForEffectorSetLowDefinition(character(), state.get(), set.get(), properties.get()); }
    void stages(uint32_t bits) const { LBXDebugSolveStages(character(), state.get(), set.get(), properties.get(), bits); }

    Joint stored(int node) const
    {
        float t[4] = {}, q[4] = {0, 0, 0, 1};
        LBXDebugGetStoredNodeTQ(character(), state.get(), node, t, q);
        return {{t[0], t[1], t[2]}, {q[0], q[1], q[2], q[3]}};
    }
    Vec3 at(int node) const { return stored(node).t; }
    Quat turn(int node) const { return stored(node).q; }
    Quat local_turn(int node) const { return parent(node) < 0 ? turn(node) : mul(conj(normalized(turn(parent(node)))), turn(node)); }
    Vec3 stance(int node) const
    {
        const auto& t = rig.stance[static_cast<size_t>(node)].t;
        return {t[0], t[1], t[2]};
    }
    void put(int node, const Joint& joint) const
    {
        const auto& q = rig.stance[static_cast<size_t>(node)].q;
        const Quat absolute = normalized(mul(joint.q, Quat{q[0], q[1], q[2], q[3]}));
        float t[3], turned[4];
        for (size_t i = 0; i < 3; ++i) t[i] = static_cast<float>(joint.t[i]);
        for (size_t i = 0; i < 4; ++i) turned[i] = static_cast<float>(absolute[i]);
        LBXSetNodeStateTQfv(character(), state.get(), node, t, turned);
    }
    Pose pose() const
    {
        Pose joints(LBXLastNodeId, Joint{{0, 0, 0}, identity()});
        for (const int node : rig.nodes) joints[static_cast<size_t>(node)] = stored(node);
        return joints;
    }
    std::vector<char> bytes() const
    {
        std::vector<char> all(LBXCharacterStateGetSizeFromState(state.get()));
        std::memcpy(all.data(), state.get(), all.size());
        return all;
    }
    void restore(const std::vector<char>& all) const { std::memcpy(static_cast<void*>(state.get()), all.data(), all.size()); }
    // Linked nodes, parents before children.
    std::vector<int> linked() const
    {
        std::vector<int> order;
        for (const int node : rig.nodes)
            if (parent(node) < 0) order.push_back(node);
        for (size_t i = 0; i < order.size(); ++i)
            for (const int node : rig.nodes)
                if (parent(node) == order[i]) order.push_back(node);
        return order;
    }
    // Every node by a local rotation; bones keep their stance lengths.
    template <class LocalTurn>
    void pose_by(LocalTurn local, const Vec3& shift = {0, 0, 0}) const
    {
        Pose joints(LBXLastNodeId, Joint{{0, 0, 0}, identity()});
        for (const int node : linked())
        {
            Joint& joint = joints[static_cast<size_t>(node)];
            if (parent(node) < 0)
                joint = {stance(node), identity()};
            else
            {
                const Joint& above = joints[static_cast<size_t>(parent(node))];
                joint.t = above.t + rotated(above.q, stance(node) - stance(parent(node)));
                if (node == LBXNodeHips) joint.t = joint.t + shift;
                joint.q = mul(above.q, local(node));
            }
            put(node, joint);
        }
        place_effectors();
    }
    // A pose as captured motion has them: knees and elbows bent their own way, everything else turned by up to `size` radians.
    void random_pose(Random& random, double size = 0.4) const
    {
        const Quat hips = about(random.direction(), random.number(0, 2.5 * size));
        pose_by(
            [&](int node)
            {
                for (int limb = 0; limb < 4; ++limb)
                    if (node == kLimbs[limb].middle) return about(bend_axis_local(limb), random.number(0.15, 1.7));
                if (node == LBXNodeHips) return hips;
                const bool rigid = node == LBXNodeReference || node == LBXNodeHipsTranslation || node >= LBXNodeFirstLeafRoll ||
                                   (node >= LBXNodeLeftUpLegRoll && node <= LBXNodeRightForeArmRoll);
                return rigid ? identity() : about(random.direction(), random.number(0, size));
            },
            random.vector(0.3 * height()));
    }

    // ---- limbs ----
    Vec3 bend_axis_local(int limb) const
    {
        float n[4] = {};
        LBXDebugGetLimbBendAxis(character(), limb, n);
        return {n[0], n[1], n[2]};
    }
    Vec3 bend_axis(int limb) const { return rotated(turn(parent(kLimbs[limb].middle)), bend_axis_local(limb)); }
    double upper_length(int limb) const { return distance(at(kLimbs[limb].middle), at(kLimbs[limb].upper)); }
    double limb_length(int limb) const { return upper_length(limb) + distance(at(kLimbs[limb].end), at(kLimbs[limb].middle)); }
    // Bend at the middle joint in its own plane: 0 straight, positive the natural way.
    double bend(int limb) const
    {
        const Vec3 n = bend_axis(limb);
        const Vec3 u = at(kLimbs[limb].middle) - at(kLimbs[limb].upper);
        const Vec3 l = at(kLimbs[limb].end) - at(kLimbs[limb].middle);
        const Vec3 flat_u = u - n * dot(u, n);
        const Vec3 flat_l = l - n * dot(l, n);
        return std::atan2(dot(cross(flat_u, flat_l), n), dot(flat_u, flat_l));
    }
    double height() const { return stance(LBXNodeHead)[1]; }
    // A point that the limb reaches without help: between a folded and a nearly straight limb, off the straight-backward cone.
    Vec3 reachable(Random& random, int limb, double nearest = 0.35, double furthest = 0.97) const
    {
        const Limb& l = kLimbs[limb];
        const Vec3 now = at(l.end) - at(l.upper);
        for (;;)
        {
            const Vec3 direction = random.direction();
            if (dot(direction, double_math::unit(now)) < -0.5) continue;
            return at(l.upper) + direction * (limb_length(limb) * random.number(nearest, furthest));
        }
    }
};

// ---- comparing poses --------------------------------------------------------------------------------------------------------------

// Largest turn of any joint against its parent, radians.
inline double largest_joint_turn(const Scene& scene, const Pose& a, const Pose& b)
{
    double worst = 0.0;
    for (const int node : scene.rig.nodes)
    {
        const auto i = static_cast<size_t>(node);
        const int parent = scene.parent(node);
        const auto p = static_cast<size_t>(parent < 0 ? 0 : parent);
        const Quat local_a = parent < 0 ? a[i].q : mul(conj(a[p].q), a[i].q);
        const Quat local_b = parent < 0 ? b[i].q : mul(conj(b[p].q), b[i].q);
        worst = std::max(worst, angle_between(local_a, local_b));
    }
    return worst;
}
// Largest difference of any bone's length, as a part of it (of a centimetre for shorter ones).
inline double worst_bone_drift(const Scene& scene, const Pose& a, const Pose& b)
{
    double worst = 0.0;
    for (const int node : scene.rig.nodes)
    {
        const int parent = scene.parent(node);
        if (parent < 0 || node == LBXNodeHips || node == LBXNodeHipsTranslation) continue;
        const auto i = static_cast<size_t>(node), p = static_cast<size_t>(parent);
        const double before = distance(a[i].t, a[p].t);
        worst = std::max(worst, std::fabs(distance(b[i].t, b[p].t) - before) / std::max(before, 0.01));
    }
    return worst;
}
inline double largest_move(const Scene& scene, const Pose& a, const Pose& b)
{
    double worst = 0.0;
    for (const int node : scene.rig.nodes)
        worst = std::max(worst, distance(a[static_cast<size_t>(node)].t, b[static_cast<size_t>(node)].t));
    return worst;
}
inline bool all_finite(const Scene& scene)
{
    for (const int node : scene.rig.nodes)
    {
        const Joint joint = scene.stored(node);
        for (const double v : joint.t)
            if (!std::isfinite(v)) return false;
        for (const double v : joint.q)
            if (!std::isfinite(v)) return false;
    }
    return true;
}
// Nodes whose stored transform differs in any bit between two snapshots.
inline std::set<int> changed_nodes(const Scene& scene, const Pose& a, const Pose& b)
{
    std::set<int> changed;
    for (const int node : scene.rig.nodes)
    {
        const auto i = static_cast<size_t>(node);
        if (a[i].t != b[i].t || a[i].q != b[i].q) changed.insert(node);
    }
    return changed;
}

inline RigOptions rig_with(int spine, int neck, bool shoulders = true)
{
    RigOptions options;
    options.spineNodes = spine;
    options.neckNodes = neck;
    options.shoulders = shoulders;
    return options;
}

}  // namespace solver_test
