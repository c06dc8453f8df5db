// The pull of limbs and head on hips and chest: held against a slow one, and what it promises.

#include <gtest/gtest.h>

#include "tests/limbrex/solvers/slow_body.h"

namespace
{

using namespace solver_test;

constexpr int kLeftHand = 1, kRightHand = 2;  // selectors of the body-pull weights
constexpr uint32_t kPullOnly = LBXSolvingStepBodyPull | LBXSolvingStepSpine;

Quat partial(const Quat& q, double f) { return {q[0] * f, q[1] * f, q[2] * f, q[3]}; }
void accumulate(Quat& a, const Quat& q, double w) { a = sum(a, scaled(q, (dot4(a, q) < 0 ? -1 : 1) * w)); }
Vec3 vector_of(const Quat& q) { return {q[0], q[1], q[2]}; }

// The whole pull, one line of the derivation after the other.
struct SlowPull
{
    SlowPose& pose;
    const Scene& scene;
    explicit SlowPull(SlowPose& p) : pose(p), scene(p.scene) {}
    struct LimbData
    {
        Shares shares;
        double stiffness, compression, current, maximum;
    } limbs[4];
    double head_current = 0, head_maximum = 0, head_stiffness = 0;
    Joint goal_hips, goal_origin, goal_chest;
    double cT, hT, cR, hR, sLL, sRL, sLAc, sRAc, sHc, sLAh, sRAh, sHh, sCh, sLAr, sRAr, sLLr, sRLr, sCr, qH, qC;
    double SumHT, SumCT, SumHR, SumCR;

    double reachT(int e) const { return LBXGetEffectorReachT(scene.set.get(), e); }
    double reachR(int e) const { return LBXGetEffectorReachR(scene.set.get(), e); }
    double pull(int e) const { return LBXGetEffectorPull(scene.set.get(), e); }
    double resist(int e) const { return LBXGetEffectorResist(scene.set.get(), e); }
    double pT(int e) const { return pull(e) * reachT(e); }

    double longest(int limb)
    {
        const Limb& l = kLimbs[limb];
        const Vec3 n = rotated(pose.at(scene.parent(l.middle)).q, scene.bend_axis_local(limb));
        const Vec3 u = pose.at(l.middle).t - pose.at(l.upper).t, lower = pose.at(l.end).t - pose.at(l.middle).t;
        const Vec3 flat_u = u - n * dot(u, n), flat_l = lower - n * dot(lower, n);
        const double turn = std::atan2(dot(cross(flat_u, flat_l), n), dot(flat_u, flat_l));
        const double interior = turn >= 0 ? kPi - turn : -(kPi + turn);
        return length(u + rotated(about(n, interior - pose.value(LBXPropertyLeftLegMaxExtensionAngle + limb) * kDegree), lower));
    }
    void measure_limbs(double exponent)
    {
        for (int limb = 0; limb < 4; ++limb)
        {
            const Limb& l = kLimbs[limb];
            const double tip_reach = pose.has(l.extremity) ? reachT(l.tipEffector) : 0;
            LimbData& d = limbs[limb];
            d.shares = slow_shares(reachT(l.middleEffector), pull(l.middleEffector), reachT(l.endEffector), pull(l.endEffector), tip_reach,
                                   pull(l.tipEffector));
            const double m = std::min(1.0, std::max(0.0, d.shares.middle));
            d.stiffness = std::pow(m + (1 - m) * resist(l.middleEffector), exponent);
            d.compression = pose.value(LBXPropertyCtrlResistCompressionFactorLeftKnee + limb);
            const Vec3 u = pose.at(l.upper).t, e = pose.at(l.end).t, x = pose.has(l.extremity) ? pose.at(l.extremity).t : e;
            const double to_middle = distance(pose.at(l.middle).t, u), la = longest(limb);
            d.current = d.shares.middle * to_middle + d.shares.end * distance(e, u) + d.shares.extremity * distance(x, u);
            d.maximum = d.shares.middle * to_middle + d.shares.end * la + d.shares.extremity * (la + distance(x, e));
        }
        head_stiffness = std::pow(resist(LBXEffectorHead), exponent);
        if (pose.neck.empty()) return;
        head_current = distance(pose.at(LBXNodeHead).t, pose.at(LBXNodeNeck).t);
        for (const int node : pose.neck) head_maximum += distance(pose.at(node).t, pose.at(scene.parent(node)).t);
    }
    void weigh_body()
    {
        const double P[4] = {limbs[0].shares.pull, limbs[1].shares.pull, limbs[2].shares.pull, limbs[3].shares.pull};
        const double pH = pT(LBXEffectorHips), pC = pT(LBXEffectorChestEnd), pHead = pT(LBXEffectorHead);
        const double left = 1 - pT(LBXEffectorLeftShoulder), right = 1 - pT(LBXEffectorRightShoulder);
        const double left_hip = 1 - pT(LBXEffectorLeftHip), right_hip = 1 - pT(LBXEffectorRightHip);
        const double rH = reachR(LBXEffectorHips), rC = reachR(LBXEffectorChestEnd);
        sLL = (1 - pH) * left_hip * P[0];
        sRL = (1 - pH) * right_hip * P[1];
        sLAc = (1 - pC) * left * P[2];
        sRAc = (1 - pC) * right * P[3];
        sHc = (1 - pC) * pHead;
        cT = std::max(0.0, pC + (reachT(LBXEffectorChestEnd) - pC) * (1 - sLAc) * (1 - sHc) * (1 - sRAc));
        const double k = (1 - cT) * (1 - pH);
        sLAh = k * left * P[2] * LBXGetEffectorSetBodyPull(scene.set.get(), kLeftHand);
        sRAh = k * right * P[3] * LBXGetEffectorSetBodyPull(scene.set.get(), kRightHand);
        sHh = k * pHead;
        sCh = (1 - pH) * pC;
        hT = std::max(0.0, pH + (reachT(LBXEffectorHips) - pH) * (1 - sLL) * (1 - sCh) * (1 - sRL) * (1 - sHh) * (1 - sLAh) * (1 - sRAh));
        qH = rH * resist(LBXEffectorHips);
        qC = rC * resist(LBXEffectorChestEnd);
        sLAr = (1 - qC) * left * P[2];
        sRAr = (1 - qC) * right * P[3];
        cR = std::max(0.0, qC + (rC - qC) * (1 - sRAr) * (1 - sLAr));
        const double m = 1 - qH, x = cT * pC;
        sRLr = m * right_hip * P[1];
        sLLr = m * left_hip * P[0];
        sCr = 0.5 * m * ((x - (1 - rH)) * x + (1 - rH));
        hR = std::max(0.0, qH + (rH - qH) * (1 - sRLr) * (1 - sLLr) * (1 - sCr));
        SumHT = hT + sCh + sLL + sRL + sHh + sLAh + sRAh;
        SumCT = cT + sHc + sLAc + sRAc;
        SumHR = hR + sCr + sLLr + sRLr;
        SumCR = cR + sLAr + sRAr;
    }
    Joint hips() { return {pose.hip_midpoint() + rotated(pose.at(LBXNodeHips).q, pose.hips_offset()), pose.at(LBXNodeHips).q}; }
    Joint chest() { return {pose.chest_end(), pose.at(pose.spine.back()).q}; }
    Joint origin() { return pose.at(LBXNodeSpine); }
    Joint toward(const Joint& now, int e) const
    {
        return {lerp(now.t, scene.goal(e).t, reachT(e)), blend(now.q, scene.goal(e).q, reachR(e))};
    }
    void place_weighted(Joint h, Joint c, double w0, double w1, double w2, double w3)
    {
        if (w0 <= 0 && w1 <= 0 && w2 <= 0 && w3 <= 0) return;
        if (w2 > 0 || w3 > 0)
        {
            Quat q = scaled(normalized(partial(mul(goal_hips.q, conj(h.q)), w2)), w2);
            accumulate(q, normalized(partial(mul(goal_chest.q, conj(c.q)), w3)), w3);
            q = normalized(q);
            h.q = normalized(mul(q, h.q));
            c.t = h.t + rotated(q, c.t - h.t);
        }
        if (w0 > 0 || w1 > 0) h.t = h.t + (goal_hips.t - h.t) * w0 + (goal_chest.t - c.t) * w1;
        slow_place_hips(pose, h.t - rotated(h.q, pose.hips_offset()), h.q);
    }
    Vec3 limb_pull(int limb)
    {
        const Limb& l = kLimbs[limb];
        const LimbData& d = limbs[limb];
        const Vec3 u = pose.at(l.upper).t;
        const Vec3 v = (scene.goal(l.middleEffector).t - u) * d.shares.middle + (scene.goal(l.endEffector).t - u) * d.shares.end +
                       (scene.goal(l.tipEffector).t - u) * d.shares.extremity;
        const double far = length(v);
        if (far == 0) return v;
        const double w = d.stiffness * (far < d.current ? d.compression : 1);
        return unit(v) * slow_excess(far, d.current, d.maximum, w, d.shares.pull);
    }
    Quat swing(int node, const Vec3& about_point, const Vec3& p)
    {
        const Vec3 arm = pose.at(node).t - about_point;
        return shortest_arc(arm, arm + p);
    }

    void run(int count)
    {
        const double n = count + 2;
        const Joint h0 = hips(), c0 = chest();
        goal_hips = toward(h0, LBXEffectorHips);
        goal_origin = toward(origin(), LBXEffectorChestOrigin);
        goal_chest = toward(c0, LBXEffectorChestEnd);
        measure_limbs(std::max(1.0, n * 0.2));
        weigh_body();
        Vec3 up = unit(pose.at(LBXNodeHips).t - (pose.at(LBXNodeLeftFoot).t + pose.at(LBXNodeRightFoot).t) * 0.5);
        const double gravity = pose.value(LBXPropertyPosture) == 0 ? pose.value(LBXPropertyCtrlEnforceGravity) : 0;
        const Quat spine_start = pose.below_parent(LBXNodeSpine).q;
        pose.turn_to(LBXNodeSpine, blend(pose.at(LBXNodeSpine).q, goal_origin.q, reachR(LBXEffectorChestOrigin)));
        const double tH = reachT(LBXEffectorHips), tC = reachT(LBXEffectorChestEnd), pH = pT(LBXEffectorHips);
        place_weighted(h0, c0, pH + (1 - pH) * (1 - pT(LBXEffectorChestEnd)) * tH, sCh + (1 - sCh) * (1 - tH) * tC, hR, 0);

        for (int i = 1; i <= count + 2; ++i)
        {
            const double t = i / n, f5 = 0.5 * t + 0.5, f7 = 0.7 * t + 0.3, f4 = 0.4 * t + 0.6, f6 = 0.6 * t + 0.4, f3 = 0.3 * t + 0.7;
            const Joint H = hips(), C = chest(), O = origin();
            const Vec3 dH = goal_hips.t - H.t, dC = goal_chest.t - C.t;
            const Quat dRh = mul(goal_hips.q, conj(H.q)), dRc = mul(goal_chest.q, conj(C.q));
            const Vec3 pLL = limb_pull(0), pRL = limb_pull(1), pLA = limb_pull(2), pRA = limb_pull(3);
            const Vec3 to_head = scene.goal(LBXEffectorHead).t - pose.at(pose.neck.empty() ? LBXNodeHead : LBXNodeNeck).t;
            const Vec3 pHead = length(to_head) == 0 ? to_head
                                                    : unit(to_head) * slow_excess(length(to_head), head_current, head_maximum,
                                                                                  head_stiffness, pT(LBXEffectorHead));
            const Quat X = mul(O.q, conj(mul(H.q, spine_start)));
            Vec3 a = (pLA * sLAh + pRA * sRAh) * f4;
            a = a + (up * dot(a, up) - a) * gravity;
            const Vec3 D = (a + pHead * (f7 * sHh) + (dC * sCh + pLL * sLL + pRL * sRL + dH * hT) * f5) * (1 / std::max(1.0, SumHT));
            const Vec3 C1 = C.t + ((pHead * sHc + dC * cT) * f5 + (pLA * sLAc + pRA * sRAc) * f7) * (1 / std::max(2 - cT, SumCT)) +
                            dC * (tC * (1 - cT) / n) + D;
            const Vec3 H1 = H.t + D + dH * (tH * (1 - hT) * ((1 - sLL) * (1 - sRL) + sCh) / n);

            Quat A = sum({0, 0, 0, 1 - std::min(1.0, SumCR)}, scaled(partial(swing(LBXNodeLeftArm, C.t, pLA), f6), sLAr));
            accumulate(A, partial(swing(LBXNodeRightArm, C.t, pRA), f6), sRAr);
            if (dot4(A, A) > 0)
            {
                const Vec3 u = unit(C1 - H1);
                const double h = dot(u, vector_of(A));
                A = {u[0] * h, u[1] * h, u[2] * h, std::sqrt(std::max(0.0, dot4(A, A) - h * h))};
            }
            accumulate(A, partial(dRc, f5), cR);
            const Quat Qc = normalized(partial(A, 1 / std::max(1.0, SumCR)));
            const double rc = (dRc[3] < 0 ? -1 : 1) * reachR(LBXEffectorChestEnd) * (1 - cR);
            const Quat Ec = normalized(Quat{rc * dRc[0] / n, rc * dRc[1] / n, rc * dRc[2] / n, 1 + rc * dRc[3]});
            const Vec3 v = C1 - O.t;

            Quat B = identity();
            accumulate(B, partial(dRh, f5), hR);
            accumulate(B, partial(X, f3), sCr);
            accumulate(B, partial(swing(LBXNodeLeftUpLeg, H.t, pLL), f4), sLLr);
            accumulate(B, partial(swing(LBXNodeRightUpLeg, H.t, pRL), f4), sRLr);
            const Quat Qh = normalized(partial(B, 1 / std::max(1.0, SumHR)));
            const double rh = (dRh[3] < 0 ? -1 : 1) * reachR(LBXEffectorHips) * (1 - hR);
            const Quat Eh = normalized(Quat{rh * dRh[0] / n, rh * dRh[1] / n, rh * dRh[2] / n, 1 + rh * dRh[3]});

            const BodyGoals working = {{H1, normalized(mul(Eh, mul(Qh, H.q))), 1, 1, 0},
                                       {O.t, normalized(mul(shortest_arc(v, rotated(Ec, v)), O.q)), 1, 1, resist(LBXEffectorChestOrigin)},
                                       {C1, normalized(mul(Ec, mul(Qc, C.q))), std::min(1.0, SumCT), 1, 0}};
            slow_place_body(pose, working, true, cR, t);
        }
        place_weighted(hips(), chest(), pT(LBXEffectorHips), sCh, qH, (1 - qH) * qC);
    }
};

// Feet held where they are, with all their pull.
void hold_feet(Scene& scene)
{
    for (const int ankle : {LBXEffectorLeftAnkle, LBXEffectorRightAnkle}) scene.weigh(ankle, {1, 1, 1, 0});
}

}  // namespace

TEST(BodyPull, FollowsTheDerivationIterationByIteration)
{
    Random random(60);
    double total = 0;
    for (int i = 0; i < 200; ++i)
    {
        Scene scene(rig_with(1 + i % 4, i % 3, i % 5 != 0));
        scene.random_pose(random, 0.2);
        const int count = i % 2 ? 10 : i % 13;
        scene.value(LBXPropertyPullIterationCount, count);
        scene.value(LBXPropertyCtrlEnforceGravity, i % 3 ? random.number(0, 1) : 0);
        scene.value(LBXPropertyPosture, i % 7 == 0 ? 1 : 0);
        if (i % 3 == 1) scene.value(LBXPropertyHipsTOffsetY, 0.04);
        if (i % 4 == 1) scene.value(LBXPropertyChestTOffsetZ, 0.03);
        LBXSetEffectorSetBodyPull(scene.set.get(), kLeftHand, static_cast<float>(random.number(0, 1)));
        LBXSetEffectorSetBodyPull(scene.set.get(), kRightHand, static_cast<float>(random.number(0, 1)));
        scene.place_effectors();
        const auto weight = [&random] { return random.index(3) == 0 ? 0.0f : static_cast<float>(random.number(0, 1)); };
        for (int effector = 0; effector < 20; ++effector)
        {
            const Joint now = scene.goal(effector);
            scene.goal(effector, now.t + random.vector(0.15), mul(about(random.direction(), random.number(0, 0.6)), now.q));
            if (random.coin()) scene.weigh(effector, {weight(), weight(), weight(), weight()});
        }
        SlowPose slow(scene);
        SlowPull(slow).run(count);
        scene.mask(kPullOnly);
        scene.stages(kPrepare | kBody);
        const Distance apart = distance_between(slow, scene);
        EXPECT_LT(apart.place, 5e-3) << i;
        EXPECT_LT(apart.turn, 1.5e-2) << i;
        total += apart.place;
    }
    EXPECT_LT(total / 200, 5e-4);
}

TEST(BodyPull, ABodyThatNothingAsksOfKeepsItsBits)
{
    Random random(61);
    for (int i = 0; i < 40; ++i)
    {
        Scene scene(rig_with(i % 5, i % 3, i % 2 == 0));
        scene.random_pose(random, 0.5);
        scene.stages(kPrepare);
        const auto before = scene.bytes();
        for (int effector = 0; effector < LBXLastEffectorId; ++effector) scene.goal(effector, random.vector(3), random.rotation());
        scene.value(LBXPropertyShoulderCorrection, 0.5);
        scene.mask(LBXSolvingStepAllButStretch & ~LBXSolvingStepRollExtraction);
        scene.solve();
        EXPECT_EQ(scene.bytes(), before);
    }
}

TEST(BodyPull, AFarReachDrawsChestAndHipsWhileHeldFeetKeepTheirGround)
{
    Random random(62);
    for (const bool left : {true, false})
        for (int i = 0; i < 25; ++i)
        {
            Scene scene;
            const Limb& arm = kLimbs[left ? 2 : 3];
            const Vec3 shoulder = scene.at(arm.upper);
            const Vec3 direction = unit(Vec3{(left ? 1 : -1) * random.number(0.1, 1), random.number(-1.2, -0.1), random.number(0.2, 1)});
            const Vec3 target = shoulder + direction * (scene.limb_length(left ? 2 : 3) + 0.25);
            hold_feet(scene);
            scene.want(arm.endEffector, target, {1, 0, 1, 0});
            const Pose before = scene.pose();
            scene.solve();
            EXPECT_LT(distance(scene.at(arm.end), target), 0.06);
            EXPECT_GT(distance(scene.at(arm.upper), shoulder), 0.1);
            EXPECT_GT(dot(scene.at(LBXNodeHips) - before[LBXNodeHips].t, direction), 0.0);
            for (const int foot : {LBXNodeLeftFoot, LBXNodeRightFoot})
                EXPECT_LT(distance(scene.at(foot), before[static_cast<size_t>(foot)].t), 2e-3);
            EXPECT_LT(worst_bone_drift(scene, before, scene.pose()), 1e-5);
        }
}

TEST(BodyPull, LegsPullFromWhereTheyAreAlsoUnderASpineThatStretchesItsShoulders)
{
    const auto fall = [](double children)
    {
        Scene scene;
        scene.value(LBXPropertySnSReachChestEnd, 0.5);
        scene.value(LBXPropertySnSScaleSpineChildren, children);
        const Vec3 hips = scene.at(LBXNodeHips);
        scene.want(LBXEffectorLeftAnkle, scene.at(LBXNodeLeftFoot) + Vec3{0, -0.3, 0}, {1, 0, 1, 0});
        scene.solve();
        return scene.at(LBXNodeHips) - hips;
    };
    EXPECT_LT(fall(0.0)[1], -0.2);
    EXPECT_LT(distance(fall(0.0), fall(1e-6)), 1e-3);
    EXPECT_LT(distance(fall(0.0), fall(0.5)), 0.05);
}

TEST(BodyPull, WithoutPullTheBodyStaysAndTheArmOnlyPoints)
{
    Scene scene;
    scene.want(LBXEffectorLeftWrist, {3, 1, 1}, {1, 0, 0, 0});
    const Pose before = scene.pose();
    scene.solve();
    for (const int node : {LBXNodeHips, LBXNodeSpine, LBXNodeSpine2, LBXNodeHead, LBXNodeRightHand, LBXNodeLeftFoot})
        EXPECT_EQ(scene.at(node), before[static_cast<size_t>(node)].t);
    EXPECT_LT(length(cross(unit(scene.at(LBXNodeLeftHand) - scene.at(LBXNodeLeftArm)), unit(Vec3{3, 1, 1} - scene.at(LBXNodeLeftArm)))),
              1e-3);
}

TEST(BodyPull, ArmsDoNotTipABipedOverUnderFullGravity)
{
    double travel[4];
    for (int k = 0; k < 4; ++k)
    {
        Scene scene;
        scene.value(LBXPropertyCtrlEnforceGravity, k == 1 ? 1 : (k == 2 ? 1 : 0));
        scene.value(LBXPropertyPosture, k == 2 ? 1 : 0);
        if (k == 3) LBXSetEffectorSetBodyPull(scene.set.get(), kLeftHand, 0);
        scene.want(LBXEffectorLeftWrist, scene.at(LBXNodeLeftHand) + Vec3{0.1, 0, 0.5}, {1, 0, 1, 0});
        scene.mask(kPullOnly & ~static_cast<uint32_t>(LBXSolvingStepSpine));
        const Vec3 before = scene.at(LBXNodeHips);
        scene.solve();
        const Vec3 moved = scene.at(LBXNodeHips) - before;
        travel[k] = std::hypot(moved[0], moved[2]);
    }
    EXPECT_GT(travel[0], 0.05);
    EXPECT_LT(travel[1], 0.25 * travel[0]);  // what is left comes of the hips' turn under the chest
    EXPECT_NEAR(travel[2], travel[0], 1e-6);
    EXPECT_LT(travel[3], 0.25 * travel[0]);
}

TEST(BodyPull, BodyEffectorsAreReachedByThemselves)
{
    Random random(63);
    for (int i = 0; i < 60; ++i)
    {
        Scene scene;
        scene.random_pose(random, 0.2);
        const int effector = i % 2 ? LBXEffectorHips : LBXEffectorChestEnd;
        const Joint now = scene.goal(effector);
        const Vec3 target = now.t + random.vector(0.15);
        const Quat turned = mul(about(random.direction(), random.number(0, 0.5)), now.q);
        scene.goal(effector, target, turned);
        scene.weigh(effector, {1, i % 4 < 2 ? 1.0f : 0.0f, i % 3 ? 1.0f : 0.0f, 0});
        scene.solve();
        scene.place_effectors();
        EXPECT_LT(distance(scene.goal(effector).t, target), i % 2 ? 1e-3 : 8e-3) << i;
        if (i % 4 < 2) { EXPECT_LT(angle_between(scene.goal(effector).q, turned), i % 2 ? 1e-2 : 0.1) << i; }
    }
}

TEST(BodyPull, AResistingElbowPushesTheChestBack)
{
    double back[2];
    for (int k = 0; k < 2; ++k)
    {
        Scene scene;
        scene.value(LBXPropertyCtrlResistCompressionFactorLeftElbow, 1);
        const Vec3 folded = lerp(scene.at(LBXNodeLeftHand), scene.at(LBXNodeLeftArm), 0.5);
        scene.want(LBXEffectorLeftWrist, folded, {1, 0, 1, 0});
        scene.weigh(LBXEffectorLeftElbow, {0, 0, 0, k ? 1.0f : 0.0f});
        const double before = scene.at(LBXNodeLeftArm)[0];
        scene.solve();
        back[k] = before - scene.at(LBXNodeLeftArm)[0];
    }
    EXPECT_GT(back[1], back[0] + 0.05);
}

TEST(BodyPull, TwoIterationsRunEvenWhenNoneAreAskedForAndWildCountsAreHeld)
{
    std::vector<char> held[2];
    for (const float count : {0.0f, 30.0f, 1e9f, -5.0f})
    {
        Scene scene;
        LBXPropertySetValue(scene.properties.get(), LBXPropertyPullIterationCount, count);
        scene.want(LBXEffectorLeftWrist, scene.at(LBXNodeLeftHand) + Vec3{0.2, 0.3, 0.3}, {1, 0, 1, 0});
        const Vec3 before = scene.at(LBXNodeHips);
        scene.solve();
        EXPECT_GT(distance(scene.at(LBXNodeHips), before), 0.01);
        std::vector<char>& first = held[count > 0 ? 1 : 0];
        if (first.empty()) first = scene.bytes();
        EXPECT_EQ(scene.bytes(), first) << count;
    }
}
