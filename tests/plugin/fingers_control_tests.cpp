// One hand's fingers, opened and curled by factors.
#include <limits>

#include "constraints/fingers_control_constraint.h"
#include "tests/plugin/character_fixture.h"
#include "tests/plugin/kind_fixture.h"
#include "tests/plugin/variant_rigs.h"

namespace test_engine
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr float kStep_s = 1.0f / 30.0f;
constexpr double kFullCurl_deg = 153.0;
constexpr double kTolerance_deg = 0.02;
constexpr Quat kArmTurn = {0.36f, -0.48f, 0.0f, 0.8f};

class Fingers : public KindTest
{
protected:
    Fingers() : KindTest(biped_with_hands())
    {
        fingers.left = fingers.builtForLeft = true;
        fingers.allFingers = true;
        moveHands();
    }
    // Hands somewhere else, otherwise turned, with fingers in disorder.
    void moveHands()
    {
        for (const int hand : {LBXNodeLeftHand, LBXNodeRightHand})
        {
            EffectorGoal pose = node(hand);
            pose.translation = add3(pose.translation, {0.1f, -0.2f, 0.3f, 0.0f});
            pose.rotation = kArmTurn;
            setNode(hand, pose);
        }
        EffectorGoal pose = node(LBX_NODE_FINGER(0, 2, 2));
        pose.rotation = axis_turn({1, 0, 0, 0}, 50.0);
        pose.translation = kZero4;
        setNode(LBX_NODE_FINGER(0, 2, 2), pose);
    }
    void setNode(int id, const EffectorGoal& pose)
    {
        LBXSetNodeStateTQSfv(context.character, context.state, id, &pose.translation.x, &pose.rotation.x, &pose.scale.x);
    }
    EffectorGoal stance(int id) const
    {
        EffectorGoal pose = {kZero4, kIdentityRotation, kOne4};
        LBXGetCharacterizeNodeStateTQSfv(context.character, id, &pose.translation.x, &pose.rotation.x, &pose.scale.x);
        return pose;
    }
    // The node's place on the hand, as it should be after the hand's turn.
    Vec4 carried(int id, int hand) const
    {
        return add3(node(hand).translation, rotate(kArmTurn, sub3(stance(id).translation, stance(hand).translation)));
    }
    double curlOf_deg(int finger, int wrist = LBXEffectorLeftWrist) const
    {
        return turn_between_deg(goal(wrist).rotation, goal(finger).rotation);
    }

    FingersControlConstraint fingers;
};

TEST_F(Fingers, SitOnTheHandAsInTheStance)
{
    const EffectorGoal other_hand = node(LBX_NODE_FINGER(1, 2, 2));
    fingers.globalFactor = 1.0f;
    fingers.evaluate(context, kStep_s);
    for (const int id : {LBX_NODE_FINGER(0, 0, 1), LBX_NODE_FINGER(0, 2, 2), LBX_NODE_FINGER(0, 4, 3), LBX_NODE_IN_EXTREMITY(0, 1),
                         static_cast<int>(LBXNodeLeftFingerBase)})
    {
        EXPECT_THAT(node(id).translation, NearPoint(carried(id, LBXNodeLeftHand), 1e-5)) << id;
        EXPECT_THAT(node(id).rotation, NearTurn(kArmTurn, kTolerance_deg)) << id;
    }
    EXPECT_THAT(node(LBX_NODE_FINGER(1, 2, 2)).translation, NearPoint(other_hand.translation, 0.0)) << "the other hand is left alone";
    for (int finger = 0; finger < 5; ++finger)
    {
        const int effector = LBXEffectorLeftHandThumb + finger;
        EXPECT_THAT(goal(effector).translation, NearPoint(carried(LBX_NODE_FINGER(0, finger, 1), LBXNodeLeftHand), 1e-5));
        EXPECT_THAT(weights(effector), ElementsAre(0, 1, 0, 0));
        EXPECT_NEAR(curlOf_deg(effector), 0.0, kTolerance_deg) << "factor 1 is straight";
        EXPECT_THAT(weights(LBXEffectorRightHandThumb + finger), ::testing::Each(0.0f));
    }
    EXPECT_THAT(weights(LBXEffectorLeftHandExtraFinger), ::testing::Each(0.0f));
    EXPECT_EQ(text(fingers), "(controlling fingers)");
}

TEST_F(Fingers, CurlByTheirFactorsAboutTheHandsAxis)
{
    fingers.globalFactor = 0.0f;
    fingers.evaluate(context, kStep_s);
    for (int finger = 1; finger < 5; ++finger)
    {
        const Quat curl = mul(axis_turn(rotate(kArmTurn, {0, 0, -1, 0}), kFullCurl_deg), kArmTurn);
        EXPECT_THAT(goal(LBXEffectorLeftHandThumb + finger).rotation, NearTurn(curl, kTolerance_deg));
    }
    const float diagonal = -std::sqrt(0.5f);
    const Quat thumb = mul(axis_turn(rotate(kArmTurn, {0, diagonal, diagonal, 0}), 0.25 * kFullCurl_deg), kArmTurn);
    EXPECT_THAT(goal(LBXEffectorLeftHandThumb).rotation, NearTurn(thumb, kTolerance_deg));

    fingers.allFingers = false;
    fingers.globalFactor = 0.5f;
    for (int number = 1; number <= 6; ++number) fingers.factor(number) = 0.2f * static_cast<float>(number - 1);
    fingers.evaluate(context, kStep_s);
    for (int finger = 1; finger < 5; ++finger)
    {
        EXPECT_NEAR(curlOf_deg(LBXEffectorLeftHandThumb + finger), (1.0 - 0.1 * finger) * kFullCurl_deg, kTolerance_deg);
    }
    fingers.factor(2) = 0.5f;
    fingers.evaluate(context, kStep_s);
    EXPECT_NEAR(curlOf_deg(LBXEffectorLeftHandIndex), 114.75, kTolerance_deg);
    fingers.allFingers = true;
    fingers.evaluate(context, kStep_s);
    EXPECT_NEAR(curlOf_deg(LBXEffectorLeftHandPinky), 0.5 * kFullCurl_deg, kTolerance_deg) << "single factors are ignored";
}

// Solved, both hands close toward their palms: the right one as the left one's mirror image.
class SolvedFingers : public KindTest
{
protected:
    SolvedFingers() : KindTest(biped_with_hands()) { LBXGetCharacterizeState(context.character, context.state); }
    void curl(bool left, float factor)
    {
        FingersControlConstraint fingers;
        fingers.left = left;
        fingers.allFingers = true;
        fingers.globalFactor = factor;
        fingers.evaluate(context, kStep_s);
        solve();
    }
};

TEST_F(SolvedFingers, CloseTowardThePalmByEqualSharesOnBothHands)
{
    for (const float factor : {1.0f, 0.8f, 0.5f, 0.0f})
    {
        LBXGetCharacterizeState(context.character, context.state);
        const double palm = node(LBXNodeLeftHand).translation.y;
        const Vec4 open = node(LBX_NODE_FINGER(0, 2, 3)).translation;
        curl(true, factor);
        curl(false, factor);
        const double whole_deg = (1.0 - factor) * kFullCurl_deg;
        for (int joint = 1; joint <= 3; ++joint)
        {
            const EffectorGoal left = node(LBX_NODE_FINGER(0, 2, joint));
            const EffectorGoal right = node(LBX_NODE_FINGER(1, 2, joint));
            EXPECT_NEAR(turn_between_deg(node(LBXNodeLeftHand).rotation, left.rotation), whole_deg * joint / 3.0, 0.05);
            EXPECT_NEAR(turn_between_deg(node(LBXNodeRightHand).rotation, right.rotation), whole_deg * joint / 3.0, 0.05);
            const Vec4 mirrored = {-left.translation.x, left.translation.y, left.translation.z, 0};
            EXPECT_THAT(right.translation, NearPoint(mirrored, 1e-4)) << joint;
        }
        const Vec4 tip = node(LBX_NODE_FINGER(0, 2, 3)).translation;
        if (factor < 1.0f)
            EXPECT_LT(tip.y, palm - 0.005);
        else
            EXPECT_THAT(tip, NearPoint(open, 1e-5));
    }
}

TEST_F(SolvedFingers, CloseAlikeHoweverTheRigTurnsItsJoints)
{
    const auto fist = [&]
    {
        LBXGetCharacterizeState(context.character, context.state);
        curl(true, 0.3f);
        curl(false, 0.3f);
        std::vector<Vec4> tips;
        for (int hand = 0; hand < 2; ++hand)
            for (int finger = 0; finger < kControlledFingers; ++finger) tips.push_back(node(LBX_NODE_FINGER(hand, finger, 3)).translation);
        return tips;
    };
    const std::vector<Vec4> plain = fist();
    for (int hand = 0; hand < 2; ++hand)
        for (int finger = 0; finger < kControlledFingers; ++finger)
            for (int joint = 1; joint <= 3; ++joint)
            {
                const int id = LBX_NODE_FINGER(hand, finger, joint);
                EffectorGoal stance = {kZero4, kIdentityRotation, kOne4};
                LBXGetCharacterizeNodeStateTQSfv(context.character, id, &stance.translation.x, &stance.rotation.x, &stance.scale.x);
                stance.rotation = axis_turn({0.6f, 0.0f, hand == 0 ? 0.8f : -0.8f, 0}, 40.0 + 25.0 * finger - 10.0 * joint);
                LBXSetCharacterizeNodeStateTQSfv(context.character, id, &stance.translation.x, &stance.rotation.x, &stance.scale.x);
            }
    LBXCharacterize(context.character);
    const std::vector<Vec4> turned = fist();
    for (size_t i = 0; i < plain.size(); ++i) EXPECT_THAT(turned[i], NearPoint(plain[i], 1e-4)) << i;
}

TEST_F(Fingers, TakeTheGoalsAgainAndKeepTheWeights)
{
    EffectorGoal reach = goal(LBXEffectorRightWrist);
    reach.translation = {9, 9, 9, 0};
    write_goal(context, LBXEffectorRightWrist, reach);
    write_weights(context, LBXEffectorRightWrist, 0.5f, 0.25f, 0.125f);
    fingers.evaluate(context, kStep_s);
    EXPECT_THAT(goal(LBXEffectorRightWrist).translation, NearPoint(node(LBXNodeRightHand).translation, 1e-5));
    EXPECT_THAT(weights(LBXEffectorRightWrist), ElementsAre(0.5f, 0.25f, 0.125f, 0));
    EXPECT_EQ(fingers.alpha, 0.0f) << "nothing blends";
}

TEST_F(Fingers, TheCopyOfTheStanceIsMadeOncePerHand)
{
    const size_t before = services.allocationSizes.size();
    for (int frame = 0; frame < 3; ++frame) fingers.evaluate(context, kStep_s);
    EXPECT_EQ(services.allocationSizes.size(), before + 1);
    fingers.left = false;
    for (int frame = 0; frame < 3; ++frame) fingers.evaluate(context, kStep_s);
    EXPECT_EQ(services.allocationSizes.size(), before + 2);
    EXPECT_THAT(node(LBXNodeRightFingerBase).translation, NearPoint(carried(LBXNodeRightFingerBase, LBXNodeRightHand), 1e-5));
    EXPECT_NEAR(curlOf_deg(LBXEffectorRightHandRing, LBXEffectorRightWrist), kFullCurl_deg, kTolerance_deg);
}

class FingersOfABareHand : public KindTest
{};

TEST_F(FingersOfABareHand, NodesThatTheRigDoesNotHaveAreSkipped)
{
    FingersControlConstraint fingers;
    fingers.evaluate(context, kStep_s);
    for (int effector = 0; effector < LBXLastEffectorId; ++effector) EXPECT_THAT(weights(effector), ::testing::Each(0.0f));
}

// ---- From a script --------------------------------------------------------------------------------------------------------------

class FingersScript : public CharacterTest
{
protected:
    FingersScript()
    {
        const TestRig with_hands = biped_with_hands();
        engine.addResource("hands", with_hands.compile());
        handed = &spawn_biped(engine, world, with_hands);
        engine.call("character_declare_context", {handed, "hands"});
        engine.call("character_set_solve_flags", {handed, true, true});
        engine.update(world);
        engine.takeLog();
    }
    void push(EngineUnit* who, bool all, double global)
    {
        engine.call("character_push_fingers_control", {who, all, true, global, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.5, 2.0, 9});
    }
    double factor(int finger) { return engine.ask<double>("character_fingers_get_factor", {handed, 1, finger}); }
    EngineUnit* handed;
};

TEST_F(FingersScript, FactorsArePickedByTheFingersNumber)
{
    push(handed, false, 0.7);
    EXPECT_THAT(engine.takeLog(), IsEmpty());
    EXPECT_FALSE(engine.ask<bool>("character_fingers_is_all", {handed, 1}));
    EXPECT_TRUE(engine.ask<bool>("character_fingers_is_left", {handed, 1}));
    EXPECT_EQ(engine.ask<int>("character_get_constraint_type", {handed, 1}), 14);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {handed, 9}), 1);
    for (int finger = 1; finger <= 6; ++finger) EXPECT_FLOAT_EQ(static_cast<float>(factor(finger)), 0.1f * static_cast<float>(finger));
    for (const int other : {0, 7, -1, 2000000000}) EXPECT_FLOAT_EQ(static_cast<float>(factor(other)), 0.7f);

    engine.call("character_fingers_set_factor", {handed, 1, 3, 0.875});
    engine.call("character_fingers_set_factor", {handed, 1, 7, 0.25});
    engine.call("character_fingers_set_factor", {handed, 1, 3, std::nan("")});
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_fingers_set_factor: wrong inputs"));
    EXPECT_EQ(factor(3), 0.875);
    EXPECT_EQ(factor(0), 0.25);
    EXPECT_FLOAT_EQ(static_cast<float>(factor(2)), 0.2f);
    engine.call("character_fingers_set_all", {handed, 1, true});
    engine.call("character_fingers_set_left", {handed, 1, false});
    EXPECT_TRUE(engine.ask<bool>("character_fingers_is_all", {handed, 1}));
    EXPECT_FALSE(engine.ask<bool>("character_fingers_is_left", {handed, 1}));
}

TEST_F(FingersScript, NothingIsAllocatedPerFrameAndTheCopyIsGivenBack)
{
    const size_t blocks = engine.liveBlocks();
    push(handed, true, 0.5);
    engine.update(world);
    const size_t allocations = engine.allocations();
    for (int frame = 0; frame < 5; ++frame) engine.update(world);
    EXPECT_EQ(engine.allocations(), allocations);
    engine.call("character_fingers_set_left", {handed, 1, false});
    for (int frame = 0; frame < 5; ++frame) engine.update(world);
    EXPECT_EQ(engine.allocations(), allocations + 1);
    engine.call("character_pop", {handed});
    EXPECT_EQ(engine.liveBlocks(), blocks);
}

TEST_F(FingersScript, WithoutMemoryForTheCopyTheFingersAreLeftAlone)
{
    push(handed, true, 0.0);
    const auto index_turn = [this]
    {
        const auto results = engine.call("character_get_effector_transform", {handed, LBXEffectorLeftHandIndex});
        return turn_between_deg(std::get<Quat4>(results.at(1)), kYUpToZUp);
    };
    engine.failAllocations(0);
    engine.update(world);
    EXPECT_NEAR(index_turn(), 0.0, 0.05);
    engine.failAllocations(SIZE_MAX);
    engine.update(world);
    EXPECT_NEAR(index_turn(), kFullCurl_deg, 0.05) << "and follow as soon as there is some";
    engine.call("character_fingers_set_left", {handed, 1, false});
    engine.failAllocations(0);
    engine.update(world);
    EXPECT_NEAR(index_turn(), 0.0, 0.05) << "the lost copy is not used";
    engine.failAllocations(SIZE_MAX);
}

TEST_F(FingersScript, PushesRefuseNumbersThatAreNotFinite)
{
    push(handed, true, std::numeric_limits<double>::infinity());
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_push_fingers_control: wrong inputs"));
    EXPECT_EQ(engine.ask<int>("character_num_constraints", {handed}), 0);
}

}  // namespace

}  // namespace test_engine
