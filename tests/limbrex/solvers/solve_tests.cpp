// The full solve as a whole: its mask, its last stages, twist joints, and that it repeats itself exactly.

#include <gtest/gtest.h>

#include "tests/limbrex/solvers/solver_fixture.h"

namespace
{

using namespace solver_test;

// Goals for everything, moved and turned from the pose.
void want_everything(Scene& scene, Random& random, double away = 0.15)
{
    for (int effector = 0; effector < 20; ++effector)
    {
        const Joint now = scene.goal(effector);
        scene.goal(effector, now.t + random.vector(away), mul(about(random.direction(), random.number(0, 2 * away)), now.q));
        scene.weigh(effector, {static_cast<float>(random.number(0, 1)), static_cast<float>(random.number(0, 1)),
                               static_cast<float>(random.number(0, 1)), static_cast<float>(random.number(0, 1))});
    }
}

RigOptions full_rig()
{
    RigOptions options;
    options.shoulderExtras = options.hipsTranslation = options.toes = true;
    options.armRolls = options.legRolls = true;
    return options;
}

int partner(int node)  // the right twin's left one and the other way round, by name
{
    const std::string name = LBXGetNodeNameFromId(node);
    for (const auto& [from, to] : {std::pair{"Left", "Right"}, std::pair{"Right", "Left"}})
        if (name.rfind(from, 0) == 0) return LBXGetNodeIdFromName((to + name.substr(std::strlen(from))).c_str());
    return node;
}
Joint in_mirror(const Joint& j) { return {{j.t[0], j.t[1], -j.t[2]}, {-j.q[2], j.q[3], -j.q[0], j.q[1]}}; }

}  // namespace

TEST(Solve, AnEmptyMaskStopsAfterThePoseIsPrepared)
{
    Random random(70);
    RigOptions options = full_rig();
    options.limitedNodes = {LBXNodeLeftForeArm, LBXNodeSpine1};
    options.beforeCharacterize = [](LBXCharacter* c)
    {
        const float low[3] = {-0.2f, -0.2f, -0.2f}, high[3] = {0.2f, 0.2f, 0.2f};
        for (const int node : {LBXNodeLeftForeArm, LBXNodeSpine1}) LBXSetNodeLimitsfv(c, node, low, high, nullptr, nullptr, 0x3F);
    };
    Scene scene(options), prepared(options);
    scene.random_pose(random, 0.6);
    prepared.restore(scene.bytes());
    want_everything(scene, random);
    const Pose before = scene.pose();
    scene.mask(0);
    prepared.mask(0);
    scene.solve();
    prepared.stages(kPrepare);
    EXPECT_EQ(scene.bytes(), prepared.bytes());
    EXPECT_GT(angle_between(scene.turn(LBXNodeLeftForeArm), before[LBXNodeLeftForeArm].q), 0.1);  // the limits were held
}

TEST(Solve, EachClearedBitLeavesItsPartAlone)
{
    Random random(71);
    Scene scene(full_rig());
    scene.random_pose(random);
    scene.stages(kPrepare);
    want_everything(scene, random);
    scene.value(LBXPropertyShoulderCorrection, 0.5);
    const auto start = scene.bytes();
    const Pose before = scene.pose();
    const auto changed_by = [&](uint32_t bits)
    {
        scene.restore(start);
        scene.mask(bits);
        scene.solve();
        return changed_nodes(scene, before, scene.pose());
    };
    const auto below = [&](const std::vector<int>& roots)
    {
        std::set<int> nodes;
        for (const int node : scene.linked())
            if (std::count(roots.begin(), roots.end(), node) || nodes.count(scene.parent(node))) nodes.insert(node);
        return nodes;
    };
    constexpr uint32_t still = 0x400000u;  // names no step; hips and chest are placed whenever the mask is not empty
    for (const int body : {LBXEffectorHips, LBXEffectorChestOrigin, LBXEffectorChestEnd}) scene.weigh(body, {});
    EXPECT_TRUE(changed_by(still).empty());
    const struct
    {
        uint32_t bit;
        std::vector<int> roots;
    } rows[] = {{LBXSolvingStepLeftArm, {LBXNodeLeftArm}},
                {LBXSolvingStepRightArm, {LBXNodeRightArm}},
                {LBXSolvingStepLeftLeg, {LBXNodeLeftUpLeg}},
                {LBXSolvingStepRightLeg, {LBXNodeRightUpLeg}},
                {LBXSolvingStepLeftShoulder, {LBXNodeLeftShoulder}},
                {LBXSolvingStepRightShoulder, {LBXNodeRightShoulder}},
                {LBXSolvingStepHead, {LBXNodeNeck}}};
    for (const auto& row : rows)
    {
        const std::set<int> changed = changed_by(row.bit), allowed = below(row.roots);
        EXPECT_FALSE(changed.empty()) << row.bit;
        for (const int node : changed) EXPECT_TRUE(allowed.count(node)) << row.bit << ' ' << LBXGetNodeNameFromId(node);
    }
}

TEST(Solve, GoalsThatAreMetMoveNothing)
{
    Random random(72);
    for (int i = 0; i < 60; ++i)
    {
        RigOptions options = i % 3 == 0 ? full_rig() : RigOptions{};
        options.straightLimbs = i % 3 < 2;  // with twist joints a bend beside the axis would be turned into it
        options.hipsTranslation = false;
        Scene scene(options);
        scene.random_pose(random);
        for (const int effector : {LBXEffectorHips, LBXEffectorChestEnd, LBXEffectorHead, LBXEffectorLeftAnkle, LBXEffectorRightAnkle,
                                   LBXEffectorLeftWrist, LBXEffectorRightWrist})
            scene.weigh(effector, {1, 1, i % 2 ? 1.0f : 0.0f, i % 5 == 0 ? 1.0f : 0.0f});
        if (i % 4 == 0)
        {
            for (const Limb& limb : kLimbs) scene.weigh(limb.middleEffector, {1, 0, 0, 0});
        }
        scene.value(LBXPropertyShoulderCorrection, 0.5);
        const Pose before = scene.pose();
        scene.solve();
        EXPECT_LT(largest_joint_turn(scene, before, scene.pose()) / kDegree, 0.02) << i;
        EXPECT_LT(largest_move(scene, before, scene.pose()), 1e-4 * scene.height()) << i;
    }
}

TEST(Solve, RepeatsItselfToTheBit)
{
    Random random(73);
    for (int i = 0; i < 20; ++i)
    {
        Scene scene(full_rig());
        scene.random_pose(random);
        want_everything(scene, random);
        scene.value(LBXPropertyShoulderCorrection, 0.5);
        const auto start = scene.bytes();
        scene.solve();
        const auto first = scene.bytes();
        scene.restore(start);
        scene.solve();
        EXPECT_EQ(scene.bytes(), first);
        // The same bytes elsewhere, of a character made anew.
        Scene twin(full_rig());
        twin.restore(start);
        std::memcpy(static_cast<void*>(twin.set.get()), scene.set.get(), LBXEffectorSetGetSize());
        std::memcpy(static_cast<void*>(twin.properties.get()), scene.properties.get(), LBXPropertySetGetSize());
        twin.solve();
        EXPECT_EQ(twin.bytes(), first);
    }
}

TEST(Solve, KeepsBonesAndThePartsInStepThroughEverything)
{
    Random random(74);
    for (int i = 0; i < 80; ++i)
    {
        RigOptions options = i % 2 ? full_rig() : RigOptions{};
        options.awkwardRotations = i % 3 == 0;
        options.shoulders = i % 5 != 0;
        options.shoulderExtras = options.shoulders && options.shoulderExtras;
        Scene scene(options);
        scene.random_pose(random);
        want_everything(scene, random, 0.3);
        scene.value(LBXPropertyShoulderCorrection, 0.7);
        scene.value(LBXPropertyExtraCollarRatio, 0.4);
        scene.mask(LBXSolvingStepAllButStretch & ~static_cast<uint32_t>(LBXSolvingStepHipsTranslation));
        const Pose before = scene.pose();
        scene.solve();
        const Pose solved = scene.pose();
        EXPECT_LT(worst_bone_drift(scene, before, solved), 1e-5) << i;
        // Nothing is stale: a preparation derives every local from the globals again and finds the same pose.
        scene.mask(0);
        scene.solve();
        EXPECT_LT(largest_move(scene, solved, scene.pose()), 1e-6);
    }
}

TEST(Solve, ArmsThatHangOnNothingStayInStepAsWell)
{
    Random random(75);
    for (int i = 0; i < 60; ++i)
    {
        RigOptions options;
        options.spineNodes = 0;
        options.shoulders = i % 2 == 0;
        Scene scene(options);
        scene.random_pose(random);
        want_everything(scene, random, 0.3);
        for (const int stiffness : {LBXPropertyCollarStiffnessX, LBXPropertyCollarStiffnessY, LBXPropertyCollarStiffnessZ})
            scene.value(stiffness, 0.6);
        scene.value(LBXPropertyShoulderCorrection, 0.7);
        const bool low = i % 3 == 0;
        scene.mask(LBXSolvingStepAllButStretch & ~static_cast<uint32_t>(LBXSolvingStepHipsTranslation));
        const Pose before = scene.pose();
        if (low)
            LBXSolveForEffectorSetLowDefinition(scene.character(), scene.state.get(), scene.set.get(), scene.properties.get());
        else
            scene.solve();
        const Pose solved = scene.pose();
        EXPECT_LT(worst_bone_drift(scene, before, solved), 1e-5) << i;
        scene.mask(0);
        scene.solve();
        EXPECT_LT(largest_move(scene, solved, scene.pose()), 1e-6) << i;
    }
}

TEST(Solve, FollowsASlowGoalWithoutAJump)
{
    for (const float reach : {1.0f, 0.5f})
        for (const float pull : {1.0f, 0.0f})
            for (const bool tip : {false, true})
            {
                Scene scene;
                Random random(75);
                scene.random_pose(random, 0.15);
                scene.value(LBXPropertyShoulderCorrection, 0.5);
                const auto start = scene.bytes();
                const Vec3 shoulder = scene.at(LBXNodeLeftArm);
                Pose before;
                double worst = 0;
                int where = 0;
                for (int step = 0; step <= 1200; ++step)
                {
                    const double a = step * 0.01;  // a spiral from beside the body, across it, up and out of reach
                    const Vec3 goal = shoulder + Vec3{0.1 + 0.35 * std::cos(a), -0.3 + 0.0006 * step, 0.35 + 0.3 * std::sin(a)};
                    scene.restore(start);
                    scene.want(tip ? LBXEffectorLeftHand : LBXEffectorLeftWrist, goal, {reach, 0, pull, 0});
                    scene.solve();
                    const double turn = step > 0 ? largest_joint_turn(scene, before, scene.pose()) : 0.0;
                    if (turn > worst)
                    {
                        worst = turn;
                        where = step;
                    }
                    before = scene.pose();
                }
                EXPECT_LT(worst / kDegree, 12.0) << "reach " << reach << " pull " << pull << " tip " << tip << " step " << where;
            }
}

TEST(HipsTranslationNode, FollowsTheHipsByItsMode)
{
    for (const int mode : {0, 1, 2, 3})
    {
        RigOptions options;
        options.hipsTranslation = true;
        options.beforeCharacterize = [](LBXCharacter* c)
        {
            const float t[3] = {0.0f, 0.5f, 0.1f}, q[4] = {0, 0, 0, 1}, s[3] = {1, 1, 1};
            LBXSetCharacterizeNodeStateTQSfv(c, LBXNodeHipsTranslation, t, q, s);
        };
        Scene scene(options);
        scene.value(LBXPropertyHipsTranslationMode, mode);
        const Vec3 offset = Vec3{0, 0.5, 0.1} - scene.stance(LBXNodeHips);
        const Quat turned = about({1, 2, 0}, 0.7);
        scene.goal(LBXEffectorHips, {0.3, 0.8, 0.2}, turned);
        scene.weigh(LBXEffectorHips, {1, 1, 0, 0});
        scene.mask(LBXSolvingStepHipsTranslation);
        const Joint before = scene.stored(LBXNodeHipsTranslation);
        scene.solve();
        const Joint node = scene.stored(LBXNodeHipsTranslation);
        EXPECT_LT(angle_between(scene.turn(LBXNodeHips), turned), 1e-4);  // the node takes nothing from the hips
        if (mode == 2)
        {
            EXPECT_EQ(node.t, before.t);
            continue;
        }
        EXPECT_LT(distance(node.t, scene.at(LBXNodeHips) + (mode == 1 ? rotated(turned, offset) : offset)), 1e-5) << mode;
        EXPECT_LT(angle_of(node.q), 1e-6);
    }
}

TEST(PostProcess, MirrorExchangesTheSidesOnceAndTwiceGivesThePoseBack)
{
    Random random(77);
    Scene scene(full_rig());
    scene.random_pose(random, 0.6);
    want_everything(scene, random);
    scene.mask(LBXSolvingStepPostProcess);
    LBXPropertySetMode(scene.properties.get(), LBXPropertyMirror, 1);
    const Pose before = scene.pose();
    std::vector<Joint> goals;
    goals.reserve(LBXLastEffectorId);
    for (int e = 0; e < LBXLastEffectorId; ++e) goals.push_back(scene.goal(e));
    const float pull = LBXGetEffectorPull(scene.set.get(), LBXEffectorLeftWrist);
    scene.stages(kPostProcess);
    for (const int node : scene.rig.nodes)
    {
        if (node == LBXNodeReference) continue;
        const Joint expected = in_mirror(before[static_cast<size_t>(partner(node))]);
        EXPECT_LT(distance(scene.at(node), expected.t), 1e-6) << LBXGetNodeNameFromId(node);
        EXPECT_LT(angle_between(scene.turn(node), expected.q), 1e-5);
    }
    EXPECT_EQ(LBXGetEffectorPull(scene.set.get(), LBXEffectorRightWrist), pull);
    EXPECT_EQ(scene.goal(LBXEffectorRightWrist).t, in_mirror(goals[LBXEffectorLeftWrist]).t);
    EXPECT_EQ(scene.goal(LBXEffectorHead).q, in_mirror(goals[LBXEffectorHead]).q);
    scene.stages(kPostProcess);
    EXPECT_LT(largest_move(scene, before, scene.pose()), 1e-6);
    for (int e = 0; e < LBXLastEffectorId; ++e) EXPECT_EQ(scene.goal(e).t, goals[static_cast<size_t>(e)].t);
}

TEST(PostProcess, LocksHoldTheHipsOnTheirAxesAndTheBodyHangsOnThem)
{
    Random random(78);
    for (int locks = 0; locks < 8; ++locks)
    {
        Scene scene;
        scene.random_pose(random);
        for (int axis = 0; axis < 3; ++axis) scene.value(LBXPropertyLockX + axis, locks >> axis & 1);
        scene.mask(LBXSolvingStepPostProcess);
        const Pose before = scene.pose();
        scene.stages(kPrepare | kPostProcess);
        const Vec3 travel = scene.at(LBXNodeHips) - before[LBXNodeHips].t;
        for (size_t axis = 0; axis < 3; ++axis)
            EXPECT_EQ(scene.at(LBXNodeHips)[axis], locks >> axis & 1 ? scene.stance(LBXNodeHips)[axis] : before[LBXNodeHips].t[axis]);
        EXPECT_LT(distance(scene.at(LBXNodeLeftHand), before[LBXNodeLeftHand].t + travel), 1e-5);
    }
}

TEST(Rolls, TwistGoesToTheTwistJointsWhileTheNextJointKeepsItsPlace)
{
    Random random(79);
    for (const int leaves : {0, 1, 3, 5})
        for (const int mode : {0, 1})
        {
            RigOptions options;
            options.armRolls = options.legRolls = leaves == 0;
            options.leafRolls = leaves;
            Scene scene(options);
            scene.random_pose(random, 0.2);
            for (int p = LBXPropertyLeftUpLegRoll; p <= LBXPropertyRightForeArmRoll; ++p)
            {
                LBXPropertySetMode(scene.properties.get(), p, 1);
                scene.value(p, 1);
            }
            for (int p = LBXPropertyParamLeafLeftUpLegRoll1; p < LBXPropertyParamLeafLeftUpLegRoll1 + 40; ++p)
            {
                LBXPropertySetMode(scene.properties.get(), p, 1);
                scene.value(p, 0.5);
            }
            scene.value(LBXPropertyRollExtractionMode, mode);
            scene.stages(kPrepare);
            // The solve twists the left upper arm about its bone.
            const int segment = LBXNodeLeftArm, child = LBXNodeLeftForeArm;
            const Vec3 bone = unit(scene.at(child) - scene.at(segment));
            const Quat twisted = mul(about(bone, 0.8), scene.turn(segment));
            scene.goal(LBXEffectorLeftShoulder, {0, 0, 0}, twisted);
            scene.weigh(LBXEffectorLeftShoulder, {0, 1, 0, 0});
            scene.mask(LBXSolvingStepLeftArm | LBXSolvingStepRollExtraction);
            const Quat relaxed = scene.turn(leaves == 0 ? LBX_NODE_ROLL(4) : LBX_NODE_LEAF_ROLL(4, 1));
            const Quat before_leaf = relaxed;
            scene.stages(kLimbStage);
            const Pose solved = scene.pose();
            scene.stages(kRolls);
            for (const int node : scene.rig.nodes)
            {
                const std::string name = LBXGetNodeNameFromId(node);
                if (name.find("Roll") != std::string::npos || node == LBXNodeLeftArm) continue;
                if (mode == 0)
                {
                    EXPECT_LT(distance(scene.at(node), solved[static_cast<size_t>(node)].t), 2e-3) << name << leaves;
                    EXPECT_LT(angle_between(scene.turn(node), solved[static_cast<size_t>(node)].q), 1e-3) << name << leaves;
                }
            }
            if (mode == 1) continue;
            if (leaves == 0)
            {
                EXPECT_NEAR(angle_between(scene.turn(segment), solved[static_cast<size_t>(segment)].q), 0.4, 5e-3);  // each has half
            }
            else
            {
                // A leaf at half its share keeps half of what the segment turned by.
                EXPECT_NEAR(angle_between(scene.turn(LBX_NODE_LEAF_ROLL(4, 1)), before_leaf), 0.4, 5e-3);
            }
        }
}
