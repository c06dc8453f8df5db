// The two demonstration sequences: their phases by hand, and two whole cycles of each, solved.
#include <algorithm>

#include "constraints/test_biped_constraint.h"
#include "constraints/test_quadruped_constraint.h"
#include "tests/plugin/character_fixture.h"
#include "tests/plugin/kind_fixture.h"
#include "tests/plugin/variant_rigs.h"

namespace test_engine
{

namespace
{

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr float kStep_s = 1.0f / 60.0f;
constexpr double kTolerance = 1e-5;
constexpr double kTolerance_deg = 0.02;
constexpr Vec4 kX = {1, 0, 0, 0};
constexpr Vec4 kY = {0, 1, 0, 0};
constexpr Vec4 kZ = {0, 0, 1, 0};

double degrees(float radians) { return static_cast<double>(radians) * 180.0 / M_PI; }

class TestSequence : public KindTest
{
protected:
    explicit TestSequence(const TestRig& rig = biped_with_hands()) : KindTest(rig)
    {
        for (int effector = 0; effector < LBXLastEffectorId; ++effector) stance.push_back(goal(effector));
        spacing = stance[LBXEffectorLeftWrist].translation.x - stance[LBXEffectorRightWrist].translation.x;
    }
    template <class Sequence>
    void runAt(Sequence& sequence, float timer)
    {
        startFrame();
        sequence.timer = timer;
        sequence.evaluate(context, 0.0f);
    }
    Vec4 moved(int effector) const { return sub3(goal(effector).translation, stance[static_cast<size_t>(effector)].translation); }

    std::vector<EffectorGoal> stance;
    float spacing;
};

class TestBiped : public TestSequence
{
protected:
    TestBiped() { sequence.blendAlpha = 0.75f; }
    TestBipedConstraint sequence;
};

TEST_F(TestBiped, LocksHandsAndFeetByItsWeight)
{
    runAt(sequence, 1.0f);
    for (const int effector : {LBXEffectorLeftHand, LBXEffectorRightHand, LBXEffectorLeftFoot, LBXEffectorRightFoot})
    {
        EXPECT_THAT(weights(effector), ElementsAre(0.75f, 0.75f, 0.75f, 0));
    }
    for (const int effector : {LBXEffectorLeftWrist, LBXEffectorRightWrist, LBXEffectorLeftAnkle, LBXEffectorRightAnkle})
    {
        EXPECT_THAT(weights(effector), Each(0.0f));
    }
    EXPECT_EQ(text(sequence), "(ankles and wrists are locked, hips circles)");
}

TEST_F(TestBiped, StartsFromTheStanceWhateverThePose)
{
    EffectorGoal hand = node(LBXNodeLeftHand);
    hand.translation = {5, 5, 5, 0};
    LBXSetNodeStateTQSfv(context.character, context.state, LBXNodeLeftHand, &hand.translation.x, &hand.rotation.x, &hand.scale.x);
    runAt(sequence, 30.0f);
    EXPECT_THAT(moved(LBXEffectorLeftWrist), NearPoint(kZero4, kTolerance));
    EXPECT_THAT(node(LBXNodeLeftHand).translation, NearPoint(stance[LBXEffectorLeftWrist].translation, kTolerance));
}

TEST_F(TestBiped, CirclesTheHipsThenBobsTheChestThenMovesEverything)
{
    const float s = spacing / 6.0f;
    float t = 7.0f;
    runAt(sequence, t);
    const Vec4 circle = {std::cos(3 * t) * 0.6f * s, std::sin(3 * t) * 0.6f * s - s, std::cos(3.3f * t) * 0.6f * s, 0};
    EXPECT_THAT(moved(LBXEffectorHips), NearPoint(circle, kTolerance));
    EXPECT_THAT(weights(LBXEffectorHips), ElementsAre(0.75f, 0.25f, 0.75f, 0));
    EXPECT_THAT(weights(LBXEffectorChestEnd), Each(0.0f));

    t = 20.0f;
    runAt(sequence, t);
    EXPECT_THAT(weights(LBXEffectorHips), Each(0.0f)) << "the hips' phase ends at 20";
    EXPECT_THAT(moved(LBXEffectorChestEnd), NearPoint(Vec4{0, std::sin(3 * t) * s - s, 0, 0}, kTolerance));
    EXPECT_THAT(weights(LBXEffectorChestEnd), ElementsAre(0.75f, 0.25f, 0.75f, 0));
    EXPECT_EQ(LBXPropertyGetValue(context.propertySet, LBXPropertyLeftArmMaxExtensionAngle),
              LBXPropertyGetValue(context.propertySet, LBXPropertyLeftLegMaxExtensionAngle));

    t = 41.3f;
    runAt(sequence, t);
    EXPECT_EQ(LBXPropertyGetValue(context.propertySet, LBXPropertyLeftArmMaxExtensionAngle), 170.0f);
    EXPECT_EQ(LBXPropertyGetValue(context.propertySet, LBXPropertyRightArmMaxExtensionAngle), 170.0f);
    EXPECT_THAT(weights(LBXEffectorLeftAnkle), ElementsAre(0.75f, 0, 0.75f, 0));
    EXPECT_THAT(weights(LBXEffectorHips), ElementsAre(0.75f, 0.75f, 0.25f, 0));
    EXPECT_THAT(goal(LBXEffectorHips).rotation, NearTurn(axis_turn(kY, degrees(std::cos(3 * t) * 0.5f)), kTolerance_deg));
    EXPECT_THAT(moved(LBXEffectorHips), NearPoint(Vec4{0, std::sin(2 * t) * 0.4f * s - 0.3f * s, 0, 0}, kTolerance));
    EXPECT_THAT(weights(LBXEffectorChestEnd), ElementsAre(0.75f, 0.75f, 0.25f, 0));
    EXPECT_THAT(goal(LBXEffectorChestEnd).rotation,
                NearTurn(mul(axis_turn(kY, degrees(std::cos(3 * (t - 0.2f)) / 3)), axis_turn(kX, degrees(std::cos(t - 0.6f) / 3))),
                         kTolerance_deg));
    EXPECT_THAT(moved(LBXEffectorChestEnd), NearPoint(Vec4{0, 0, std::cos(2 * t) * 0.5f * s, 0}, kTolerance));
    EXPECT_THAT(
        goal(LBXEffectorHead).rotation,
        NearTurn(mul(axis_turn(kX, degrees(std::cos(3 * t) * 0.5f)), axis_turn(kY, degrees(std::cos(t - 0.6f) * 0.5f))), kTolerance_deg));
    EXPECT_THAT(weights(LBXEffectorHead), ElementsAre(0, 0.75f, 0, 0));
    EXPECT_THAT(moved(LBXEffectorRightHand), NearPoint(Vec4{std::sin(2.1f * t) * 0.5f * s + 0.8f * s,
                                                            std::cos(3.1f * t) * 1.3f * s + 0.1f * s, (std::cos(2.1f * t) + 1.3f) * s, 0},
                                                       kTolerance));
    EXPECT_THAT(weights(LBXEffectorRightHand), ElementsAre(0.75f, 0.25f, 0.25f, 0));
    EXPECT_THAT(moved(LBXEffectorLeftHand), NearPoint(Vec4{-0.8f * s - std::sin(1.9f * t) * 0.5f * s,
                                                           std::sin(2.3f * t) * 1.2f * s + 0.1f * s, (std::sin(2.1f * t) + 0.8f) * s, 0},
                                                      kTolerance));
    EXPECT_THAT(weights(LBXEffectorLeftHand), ElementsAre(0.75f, 0.25f, 0.25f, 0));
    for (const int wrist : {LBXEffectorLeftWrist, LBXEffectorRightWrist}) EXPECT_THAT(weights(wrist), ElementsAre(0, 0.75f, 0.25f, 0));
    EXPECT_THAT(goal(LBXEffectorRightWrist).rotation, NearTurn(axis_turn(kX, degrees(std::sin(3 * t) * 0.5f)), kTolerance_deg));
    EXPECT_THAT(goal(LBXEffectorLeftWrist).rotation, NearTurn(axis_turn(kX, degrees(std::cos(3 * t) * 0.5f)), kTolerance_deg));
}

TEST_F(TestBiped, RestartsAfterSixtySeconds)
{
    sequence.timer = 59.5f;
    sequence.evaluate(context, 0.25f);
    EXPECT_EQ(sequence.timer, 59.75f);
    sequence.evaluate(context, 0.25f);
    EXPECT_EQ(sequence.timer, 0.0f);
}

class TestQuadruped : public TestSequence
{
protected:
    TestQuadrupedConstraint sequence;
};

TEST_F(TestQuadruped, GoesThroughItsEightPhases)
{
    const float s = spacing / 2.0f;
    const auto swing = [](float t, float share) { return degrees(std::cos(3 * t) * share); };
    runAt(sequence, 1.0f);
    EXPECT_THAT(goal(LBXEffectorHead).rotation, NearTurn(axis_turn(kZ, swing(1.0f, 0.5f)), kTolerance_deg));
    EXPECT_THAT(weights(LBXEffectorHead), ElementsAre(1, 1, 1, 0));
    for (const int effector : {LBXEffectorLeftHand, LBXEffectorRightHand, LBXEffectorLeftFoot, LBXEffectorRightFoot})
    {
        EXPECT_THAT(weights(effector), ElementsAre(1, 1, 1, 0));
    }
    runAt(sequence, 6.0f);
    EXPECT_THAT(weights(LBXEffectorHead), Each(0.0f));
    EXPECT_THAT(goal(LBXEffectorHips).rotation, NearTurn(axis_turn(kY, swing(6.0f, 0.5f)), kTolerance_deg));
    EXPECT_THAT(weights(LBXEffectorHips), ElementsAre(1, 1, 1, 0));
    runAt(sequence, 13.0f);
    for (const int effector : {LBXEffectorHips, LBXEffectorChestEnd})
    {
        EXPECT_THAT(goal(effector).rotation, NearTurn(axis_turn(kZ, swing(13.0f, 0.5f)), kTolerance_deg));
        EXPECT_THAT(weights(effector), ElementsAre(1, 1, 1, 0));
    }
    runAt(sequence, 19.0f);
    EXPECT_THAT(goal(LBXEffectorHips).rotation, NearTurn(axis_turn(kX, swing(19.0f, 0.25f)), kTolerance_deg));
    EXPECT_THAT(weights(LBXEffectorHips), ElementsAre(0, 1, 0, 0));
    EXPECT_THAT(weights(LBXEffectorChestEnd), Each(0.0f));
    runAt(sequence, 25.0f);
    EXPECT_THAT(moved(LBXEffectorHead), NearPoint(Vec4{std::sin(75.0f) * 5 * s, 0, 0, 0}, kTolerance));
    EXPECT_THAT(weights(LBXEffectorHead), ElementsAre(1, 0, 0.5f, 0));
    runAt(sequence, 31.0f);
    for (const int hand : {LBXEffectorLeftHand, LBXEffectorRightHand})
    {
        EXPECT_THAT(moved(hand), NearPoint(Vec4{0, (std::sin(93.0f) + 1) * s, 0, 0}, kTolerance));
        EXPECT_THAT(weights(hand), ElementsAre(1, 0, 1, 0));
    }
    EXPECT_THAT(moved(LBXEffectorChestEnd), NearPoint(Vec4{0, std::sin(93.0f) * 0.5f * s + s, 0, 0}, kTolerance));
    EXPECT_THAT(weights(LBXEffectorChestEnd), ElementsAre(1, 0, 1, 0));
    runAt(sequence, 37.0f);
    EXPECT_THAT(moved(LBXEffectorLeftHand), NearPoint(Vec4{0, 0, std::sin(111.0f) * 6 * s + s, 0}, kTolerance));
    EXPECT_THAT(weights(LBXEffectorLeftFoot), ElementsAre(1, 1, 0.75f, 0));
    runAt(sequence, 43.0f);
    EXPECT_THAT(goal(LBXEffectorChestEnd).rotation,
                NearTurn(mul(axis_turn(kY, swing(43.0f, 0.5f)), axis_turn(kZ, swing(43.0f, 0.2f))), kTolerance_deg));
    EXPECT_THAT(weights(LBXEffectorChestEnd), ElementsAre(0, 1, 1, 0));
    EXPECT_EQ(text(sequence), "(various tests)");
}

TEST_F(TestQuadruped, ACycleLastsALittleOverFortyEightSeconds)
{
    sequence.timer = 48.0f;
    sequence.evaluate(context, 0.25f);
    EXPECT_EQ(sequence.timer, 48.25f);
    sequence.evaluate(context, 0.25f);
    EXPECT_EQ(sequence.timer, 0.25f);
}

TEST_F(TestQuadruped, KeepsTheAnimatedPose)
{
    EffectorGoal head = node(LBXNodeHead);
    head.translation.y += 0.1f;
    LBXSetNodeStateTQSfv(context.character, context.state, LBXNodeHead, &head.translation.x, &head.rotation.x, &head.scale.x);
    runAt(sequence, 7.0f);
    EXPECT_THAT(moved(LBXEffectorHead), NearPoint(Vec4{0, 0.1f, 0, 0}, kTolerance));
}

class TestSequenceOnABareRig : public TestSequence
{
protected:
    TestSequenceOnABareRig() : TestSequence(biped()) {}
};

TEST_F(TestSequenceOnABareRig, WithoutFingersAndToesWristsAndAnklesAreLocked)
{
    TestBipedConstraint biped_sequence;
    TestQuadrupedConstraint quadruped_sequence;
    runAt(biped_sequence, 1.0f);
    for (const int effector : {1, 2, 3, 4}) EXPECT_THAT(weights(effector), ElementsAre(1, 1, 1, 0));
    for (const int effector : {11, 12, 18, 19}) EXPECT_THAT(weights(effector), Each(0.0f));
    runAt(quadruped_sequence, 1.0f);
    for (const int effector : {1, 2, 3, 4}) EXPECT_THAT(weights(effector), ElementsAre(1, 1, 1, 0));
    for (const int effector : {11, 12, 18, 19}) EXPECT_THAT(weights(effector), Each(0.0f));
}

// ---- Two whole cycles, solved -----------------------------------------------------------------------------------------------------

// The largest turn of any node from one frame to the next, over two cycles. The choreography itself is cut between its phases: the goals leap
// there, so those frames are counted apart.
struct Turns
{
    double within_deg = 0.0;
    double between_deg = 0.0;
    int frames = 0;
};

class SequenceRun : public TestSequence
{
protected:
    explicit SequenceRun(const TestRig& rig = biped_with_hands()) : TestSequence(rig) {}
    template <class Sequence>
    Turns runTwoCycles(Sequence& sequence, float phase_s)
    {
        Turns turns;
        std::vector<Quat> previous;
        int cycles = 0;
        float last_timer = 0.0f;
        while (cycles < 2)
        {
            LBXGetCharacterizeState(context.character, context.state);
            startFrame();
            const int phase = static_cast<int>(sequence.timer / phase_s);
            const bool leapt = turns.frames > 0 && phase != static_cast<int>(last_timer / phase_s);
            last_timer = sequence.timer;
            sequence.evaluate(context, kStep_s);
            solve();
            ++turns.frames;
            if (sequence.timer < last_timer) ++cycles;
            const std::vector<Quat> now = rotations();
            for (size_t i = 0; i < previous.size(); ++i)
            {
                double& largest = leapt ? turns.between_deg : turns.within_deg;
                largest = std::max(largest, turn_between_deg(previous[i], now[i]));
            }
            previous = now;
        }
        return turns;
    }
    std::vector<Quat> rotations()
    {
        std::vector<Quat> all;
        for (int id = 0; id < LBXLastNodeId; ++id)
        {
            const EffectorGoal pose = node(id);
            if (!is_finite4(pose.rotation) || !is_finite3(pose.translation)) ADD_FAILURE() << "node " << id << " is not finite";
            all.push_back(pose.rotation);
        }
        return all;
    }
};

TEST_F(SequenceRun, TheBipedMovesWithoutAPop)
{
    TestBipedConstraint sequence;
    const Turns turns = runTwoCycles(sequence, 20.0f);
    EXPECT_NEAR(turns.frames, 2 * 60 * 60, 4);
    EXPECT_GT(turns.within_deg, 1.0);
    EXPECT_LT(turns.within_deg, 15.0) << "hands that wave at 1 m/s at the end of short arms";
    EXPECT_LT(turns.between_deg, 120.0);
}

class QuadrupedRun : public SequenceRun
{
protected:
    QuadrupedRun() : SequenceRun(quadruped()) {}
};

TEST_F(QuadrupedRun, TheQuadrupedMovesWithoutAPop)
{
    TestQuadrupedConstraint sequence;
    const Turns turns = runTwoCycles(sequence, 6.0f);
    EXPECT_NEAR(turns.frames, 2 * 48 * 60, 10);
    EXPECT_GT(turns.within_deg, 1.0);
    EXPECT_LT(turns.within_deg, 12.0) << "fore feet whose goals move at 1.8 m/s";
    EXPECT_LT(turns.between_deg, 120.0);
}

TEST(TestSequenceScript, PushesTakeWhatTheyShould)
{
    Engine engine;
    EngineWorld& world = engine.addWorld();
    const TestRig rig = biped();
    engine.addResource("rig", rig.compile());
    engine.call("enable", {true});
    EngineUnit& unit = spawn_biped(engine, world, rig);
    engine.call("character_push_test_biped", {&unit, 1.0, 0.0, 4});
    engine.call("character_push_test_quadruped", {&unit});
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_push_test_biped: cannot find context for unit",
                                              "error: character_push_test_quadruped: cannot find context for unit"));
    engine.call("character_declare_context", {&unit, "rig"});
    engine.update(world);
    engine.takeLog();
    engine.call("character_push_test_biped", {&unit, std::nan(""), 0.0, 4});
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: character_push_test_biped: wrong inputs"));
    engine.call("character_push_test_biped", {&unit, 1.0, 0.0, 4});
    engine.call("character_push_test_quadruped", {&unit});
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {&unit, 4}), 1);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_index_from_constraint_id", {&unit, -1}), 2);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_type", {&unit, 1}), 3);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_type", {&unit, 2}), 4);
    EXPECT_THAT(engine.takeLog(), IsEmpty());
}

}  // namespace

}  // namespace test_engine
