// Solves of anything: rigs with any nodes missing, random masks, options and weights, numbers that are none. No crash; finite numbers give a finite pose.

#include <gtest/gtest.h>

#include <iterator>
#include <limits>

#include "tests/limbrex/solvers/solver_fixture.h"

namespace
{

using namespace solver_test;

constexpr int kOrdinary = 6, kFinite = 9, kAnything = 12;

struct Chaos
{
    Random random;
    int odd;  // how many of the odd numbers below may come

    float number(double usual)
    {
        // Ordinary, of any size whose square a float holds; beyond that; and none at all.
        constexpr float inf = std::numeric_limits<float>::infinity();
        static constexpr float kOdd[] = {0.0f, -0.0f, 1e-30f, -1e-20f, 1e10f, -1e18f, 1e25f, 3e38f, -3e38f, NAN, inf, -inf};
        if (random.index(12) != 0) return static_cast<float>(random.number(-usual, usual));
        return kOdd[random.index(odd)];
    }
    void properties(Scene& scene)
    {
        for (int id = 0; id < LBXLastPropertyId; ++id)
        {
            if (random.index(3) != 0) continue;
            LBXPropertySetMode(scene.properties.get(), id, random.index(3));
            const float low = LBXPropertyGetMin(id), high = LBXPropertyGetMax(id);
            LBXPropertySetValue(scene.properties.get(), id,
                                random.index(10) == 0 ? number(100) : static_cast<float>(random.number(low, high > low ? high : low + 1)));
        }
    }
    void effectors(Scene& scene)
    {
        for (int effector = 0; effector < LBXLastEffectorId; ++effector)
        {
            const float t[3] = {number(2), number(2), number(2)}, s[3] = {1, 1, 1};
            const Quat turned = random.rotation();
            float q[4];
            for (size_t i = 0; i < 4; ++i) q[i] = odd > kFinite && random.index(12) == 0 ? number(1) : static_cast<float>(turned[i]);
            LBXSetEffectorStateTQSfv(scene.set.get(), effector, t, q, s);
            const auto weight = [&] { return random.index(3) == 0 ? static_cast<float>(random.index(2)) : number(1); };
            scene.weigh(effector, {weight(), weight(), weight(), weight()});
        }
        for (const int selector : {1, 2}) LBXSetEffectorSetBodyPull(scene.set.get(), selector, number(1));
    }
    RigOptions options()
    {
        RigOptions o;
        o.spineNodes = random.index(11);
        o.neckNodes = random.index(11);
        o.shoulders = random.coin();
        o.shoulderExtras = random.coin();
        o.hands = random.index(4) != 0;
        o.fingerBases = random.coin();
        o.toeBases = random.coin();
        o.toes = random.coin();
        o.hipsTranslation = random.coin();
        o.armRolls = random.coin();
        o.legRolls = random.coin();
        o.leafRolls = random.coin() ? random.index(6) : 0;
        o.straightLimbs = random.coin();
        o.awkwardRotations = random.coin();
        o.seed = static_cast<uint32_t>(random.index(1000));
        for (int k = random.index(8); k > 0; --k) o.limitedNodes.push_back(random.index(60));
        o.beforeCharacterize = [this](LBXCharacter* character)
        {
            for (int node = 0; node < LBXLastNodeId; ++node)
            {
                const float low[3] = {number(1), number(1), number(1)}, high[3] = {number(1), number(1), number(1)};
                LBXSetNodeLimitsfv(character, node, low, high, nullptr, nullptr, static_cast<uint32_t>(random.index(64)));
                LBXSetNodeRotationOrder(character, node, random.index(13));
                LBXSetNodeTranslationLimit(character, node, number(1), number(2), random.coin());
            }
        };
        return o;
    }
};

void solve_any(Chaos& chaos, Scene& scene)
{
    scene.mask(chaos.random.index(4) == 0 ? uint32_t{LBXSolvingStepAllButStretch} : static_cast<uint32_t>(chaos.random.engine()));
    if (chaos.random.index(3) == 0)
        scene.solve_low();
    else
        scene.solve();
}

}  // namespace

TEST(SolverFuzz, FiniteNumbersGiveFinitePoses)
{
    Chaos chaos{Random(90), kOrdinary};
    int broken = 0;
    for (int i = 0; i < 400; ++i)
    {
        Scene scene(chaos.options());
        scene.random_pose(chaos.random, 1.0);
        for (int k = 0; k < 6; ++k)
        {
            const auto start = scene.bytes();
            chaos.properties(scene);
            chaos.effectors(scene);
            solve_any(chaos, scene);
            const bool finite = all_finite(scene);
            broken += finite ? 0 : 1;
            // Far goals may carry the pose off; the next solve begins near again.
            scene.restore(start);
            LBXPropertySetInit(scene.properties.get());
        }
    }
    EXPECT_EQ(broken, 0);
}

TEST(SolverFuzz, GoalsTooFarToMeasureStillGiveAFinitePose)
{
    Random random(93);
    int broken = 0;
    for (int i = 0; i < 300; ++i)
    {
        Scene scene;
        scene.random_pose(random);
        const int effector = random.index(20);
        for (int k = 0; k < 20; ++k)
            scene.weigh(k, {random.coin() ? 1.0f : 0.0f, 0.5f, random.coin() ? 1.0f : 0.0f, random.coin() ? 1.0f : 0.0f});
        constexpr double kFar[] = {1e19, 1e20, 1e25, 3e38};
        scene.want(effector, random.direction() * kFar[random.index(4)], {1, 0, 1, 0});
        (i % 3 == 0 ? LBXSolveForEffectorSetLowDefinition : LBXSolveForEffectorSet)(scene.character(), scene.state.get(), scene.set.get(),
                                                                                    scene.properties.get());
        broken += all_finite(scene) ? 0 : 1;
    }
    EXPECT_EQ(broken, 0);
}

TEST(SolverFuzz, NumbersThatAreNoneDoNoHarm)
{
    Chaos chaos{Random(91), kAnything};
    for (int i = 0; i < 250; ++i)
    {
        chaos.odd = kOrdinary;
        Scene scene(chaos.options());
        chaos.odd = kAnything;
        scene.random_pose(chaos.random, 1.0);
        const auto start = scene.bytes();
        for (int k = 0; k < 6; ++k)
        {
            if (k % 2 == 0) scene.restore(start);
            chaos.properties(scene);
            chaos.effectors(scene);
            if (chaos.random.index(4) == 0)
            {
                const float t[3] = {NAN, 1, 3e38f}, q[4] = {NAN, 0, 0, 1};
                const auto pick = static_cast<size_t>(chaos.random.index(static_cast<int>(scene.rig.nodes.size())));
                LBXSetNodeStateTQfv(scene.character(), scene.state.get(), scene.rig.nodes[pick], t, q);
            }
            solve_any(chaos, scene);
        }
        // Nothing of it stays behind in the character: a clean solve afterwards is the one of a fresh scene.
        scene.restore(start);
        LBXPropertySetInit(scene.properties.get());
        LBXEffectorSetInit(scene.set.get());
        scene.place_effectors();
        scene.mask(0);
        scene.solve();
        EXPECT_TRUE(all_finite(scene));
    }
}

TEST(SolverFuzz, AnyNodesMayBeMissing)
{
    Random random(92);
    for (int i = 0; i < 400; ++i)
    {
        Scene scene;  // for its options and sets; the character is another
        LBXCharacterDefinition definition{};
        const int keep = 1 + random.index(10);
        for (uint32_t& flags : definition.nodeFlags) flags = random.index(10) < keep ? (random.index(6) == 0 ? 7u : 1u) : 0u;
        scene.rig.definition = definition;
        LBXCharacterDestroy(scene.rig.character, std::free);
        scene.rig.character = LBXCharacterCreate(&definition, std::malloc);
        scene.rig.nodes.clear();
        for (int node = 0; node < LBXLastNodeId; ++node)
            if (LBXGetNodeFlags(scene.rig.character, node) != 0)
            {
                scene.rig.nodes.push_back(node);
                const Vec3 t = random.vector(1);
                const Quat q = random.rotation();
                const double s[3] = {1, 1, 1};
                LBXSetCharacterizeNodeStateTQSdv(scene.rig.character, node, t.data(), q.data(), s);
            }
        LBXCharacterize(scene.rig.character);
        scene.state = limbrex_test::make_state(scene.rig.character);
        Chaos chaos{Random(static_cast<uint32_t>(1000 + i)), kOrdinary};
        for (int k = 0; k < 3; ++k)
        {
            for (int effector = 0; effector < LBXLastEffectorId; ++effector)
            {
                scene.goal(effector, random.vector(2), random.rotation());
                scene.weigh(effector, {random.coin() ? 1.0f : 0.5f, random.coin() ? 1.0f : 0.0f, random.coin() ? 1.0f : 0.3f, 0.5f});
            }
            chaos.properties(scene);
            solve_any(chaos, scene);
            ASSERT_TRUE(all_finite(scene)) << i;
        }
    }
}

TEST(SolverFuzz, RotationsThatAreNoneAndPlacesOfMissingLimbsDoNoHarm)
{
    for (const float size : {0.0f, 1.2f, 1.5f, 5.0f, 1e10f})
    {
        Scene scene;
        const float q[4] = {0, 0, 0, size};
        for (const int node : {LBXNodeHips, LBXNodeSpine, LBXNodeSpine1, LBXNodeLeftArm, LBXNodeLeftForeArm})
        {
            const Vec3 place = scene.at(node);
            const float t[3] = {static_cast<float>(place[0]), static_cast<float>(place[1]), static_cast<float>(place[2])};
            LBXSetNodeStateTQfv(scene.character(), scene.state.get(), node, t, q);
        }
        scene.place_effectors();
        const Vec3 goal = scene.at(LBXNodeLeftHand) + Vec3{0.1, 0.1, 0.2};
        scene.want(LBXEffectorLeftWrist, goal, {1, 0, 1, 0});
        scene.solve();
        ASSERT_TRUE(all_finite(scene)) << size;
        EXPECT_NEAR(distance(scene.at(LBXNodeLeftHand), goal), 0.0, 1e-3) << size;
    }
    RigOptions options;
    options.hands = options.fingers = options.fingerBases = false;  // arms are not whole
    Scene scene(options);
    const float t[3] = {3e38f, 3e38f, 0}, q[4] = {0, 0, 0, 1};
    LBXSetNodeStateTQfv(scene.character(), scene.state.get(), LBXNodeLeftHand, t, q);
    scene.want(LBXEffectorLeftAnkle, scene.at(LBXNodeLeftFoot) + Vec3{0.1, 0.2, 0.1}, {1, 0, 1, 0});
    scene.solve();
    EXPECT_TRUE(all_finite(scene));
}

TEST(SolverFuzz, MissingArgumentsDoNothing)
{
    Scene scene;
    const auto before = scene.bytes();
    for (int missing = 0; missing < 4; ++missing)
        for (const bool low : {false, true})
            (low ? LBXSolveForEffectorSetLowDefinition
                 : LBXSolveForEffectorSet)(missing == 0 ? nullptr : scene.character(), missing == 1 ? nullptr : scene.state.get(),
                                           missing == 2 ? nullptr : scene.set.get(), missing == 3 ? nullptr : scene.properties.get());
    EXPECT_EQ(scene.bytes(), before);
}
