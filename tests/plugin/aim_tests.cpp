// Bodies that point a carried thing at a target. The goals of the single stages are read with the final solve switched off; what comes of
// them in the solved pose is read with it on.
#include <limits>

#include "constraints/aim_constraint.h"
#include "tests/plugin/character_fixture.h"
#include "tests/plugin/kind_fixture.h"
#include "tests/plugin/variant_rigs.h"

namespace test_engine
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr double kTolerance_deg = 0.05;

struct Weights
{
    double hips = 0, chest = 0, shoulder = 0, elbow = 0;
};

class Aim : public CharacterTest
{
protected:
    Aim() : animation(unit->localPoses), stance(snapshot()) {}

    std::vector<Transform> snapshot()
    {
        std::vector<Transform> all;
        for (int id = 0; id < 20; ++id) all.push_back(effector(id));
        return all;
    }
    int nodeOf(const std::string& name) { return static_cast<int>(rig.nodeIndex(name)) + 1; }  // script indices count from 1
    void push(int attachment, const Weights& w, int node, bool two_hands, Value target, Value target_effector, const Vec3& position,
              bool in_place, double alpha = 1.0)
    {
        engine.call("character_push_aim", {unit, attachment, w.hips, w.chest, w.shoulder, w.elbow, node, two_hands, target, target_effector,
                                           position, false, 33.0, in_place, alpha, 0.0, 1});
    }
    void pushAtPoint(int attachment, const Weights& w, const Vec3& position)
    {
        push(attachment, w, nodeOf("LeftHand"), false, Nil(), 0, position, false);
    }
    void updateFromAnimation()
    {
        unit->localPoses = animation;
        engine.update(world);
    }
    // World turn of an effector's goal since the stance.
    Quat4 turnOf(int id)
    {
        const Quat4& before = stance[static_cast<size_t>(id)].rotation;
        return quat_product(effector(id).rotation, {-before[0], -before[1], -before[2], before[3]});
    }
    double angleOf_deg(int id) { return turn_between_deg(turnOf(id), {0, 0, 0, 1}); }
    Vec3 node(int id) { return std::get<Vec3>(engine.call("character_get_node_position", {unit, id, 0}).at(0)); }

    std::vector<LocalPose> animation;
    std::vector<Transform> stance;
};

// The left hand is held out to the left, at (0.71, 0, 1.5); everything points along it.
TEST_F(Aim, EveryStageTurnsByItsShareOfTheWholeTurn)
{
    keepGoals();
    // Seen from each pivot another angle: all lie on or near the vertical through the body or on the arm's line.
    const Vec3 target = {0.18f, -2.0f, 1.5f};
    pushAtPoint(LBXEffectorLeftWrist, {0.25, 0.5, 0.75, 0.125}, target);
    updateFromAnimation();
    const auto angle_from = [&](int id)
    {
        const Vec3& pivot = stance[static_cast<size_t>(id)].position;
        const Vec3& hand = stance[LBXEffectorLeftWrist].position;
        double to_hand[3], to_target[3], dot = 0;
        for (size_t k = 0; k < 3; ++k)
        {
            to_hand[k] = static_cast<double>(hand[k]) - pivot[k];
            to_target[k] = static_cast<double>(target[k]) - pivot[k];
            dot += to_hand[k] * to_target[k];
        }
        return std::acos(dot / (distance(hand, pivot) * distance(target, pivot))) * 180.0 / M_PI;
    };
    EXPECT_NEAR(angleOf_deg(LBXEffectorHips), 0.25 * angle_from(LBXEffectorHips), kTolerance_deg);
    EXPECT_NEAR(angleOf_deg(LBXEffectorChestEnd), 0.5 * angle_from(LBXEffectorChestEnd), kTolerance_deg);
    EXPECT_NEAR(angleOf_deg(LBXEffectorLeftShoulder), 0.75 * 90.0, kTolerance_deg) << "the target is straight before the shoulder";
    EXPECT_NEAR(angleOf_deg(LBXEffectorLeftElbow), 0.125 * angle_from(LBXEffectorLeftElbow), kTolerance_deg);
    EXPECT_NEAR(angleOf_deg(LBXEffectorLeftWrist), 0.0, kTolerance_deg) << "the reference lies on the wrist: no direction, no turn";
    const Quat4 shoulder = turnOf(LBXEffectorLeftShoulder);
    EXPECT_LT(shoulder[2] * shoulder[3], 0.0f) << "from +x to -y is clockwise seen from above";
    EXPECT_NEAR(angleOf_deg(LBXEffectorRightShoulder), 0.0, kTolerance_deg);
    for (const int id : {0, 10, 13, 7, 3}) EXPECT_THAT(effector(id).position, Near3(stance[static_cast<size_t>(id)].position, 1e-5));
}

TEST_F(Aim, TheCarriedThingPointsAtTheTargetWhereverTheUnitStands)
{
    const TestRig with_hands = biped_with_hands();
    engine.addResource("hands", with_hands.compile());
    EngineUnit& handed = spawn_biped(engine, world, with_hands);
    engine.call("character_declare_context", {&handed, "hands"});
    handed.place(kAwkwardPlace, awkward_turn());
    const auto fingers = with_hands.nodeIndex("RightHandMiddle1");
    const auto played = handed.localPoses;
    engine.update(world);
    const Vec3 hand = world_position(handed, with_hands.nodeIndex("RightHand"));
    for (const Vec3& step : {Vec3{0, -1, 0.1f}, Vec3{0.4f, 0.7f, -0.6f}, Vec3{-1, 0.2f, 0.3f}, Vec3{0.3f, 0.3f, 1}})
    {
        const Vec3 target = {hand[0] + 3 * step[0], hand[1] + 3 * step[1], hand[2] + 3 * step[2]};
        engine.call("character_push_aim", {&handed, LBXEffectorRightWrist, 0.0, 0.1, 0.2, 0.3, static_cast<int>(fingers) + 1, false, Nil(),
                                           0, target, true, 0.0, false, 1.0, 0.0, 1});
        handed.localPoses = played;
        engine.update(world);
        handed.propagate();
        const Vec3 from = world_position(handed, with_hands.nodeIndex("RightHand")), to = world_position(handed, fingers);
        double along = 0.0;
        for (size_t k = 0; k < 3; ++k) along += (static_cast<double>(to[k]) - from[k]) * (static_cast<double>(target[k]) - from[k]);
        const double cosine = along / (distance(from, to) * distance(from, target));
        EXPECT_GT(cosine, std::cos(20.0 * M_PI / 180.0)) << "the arm has moved, the direction was from where the hand was";
        engine.call("character_pop", {&handed});
    }
}

TEST_F(Aim, StagesEndAtTheAttachmentWhichTurnsAllTheWay)
{
    keepGoals();
    const struct
    {
        int attachment;
        std::vector<int> turned, still;
    } cases[] = {
        {LBXEffectorHips, {0}, {10, 13, 7, 3, 14, 8, 4, 15}},     {LBXEffectorHead, {0, 10}, {13, 7, 3, 14, 8, 4, 15}},
        {LBXEffectorLeftShoulder, {0, 10, 13}, {7, 3, 14, 8, 4}}, {LBXEffectorLeftElbow, {0, 10, 13, 7}, {3, 14, 8, 4}},
        {LBXEffectorLeftHand, {0, 10, 13, 7, 3}, {14, 8, 4}},     {LBXEffectorRightElbow, {0, 10, 14, 8}, {4, 13, 7, 3}},
        {LBXEffectorRightWrist, {0, 10, 14, 8, 4}, {13, 7, 3}},
    };
    for (const auto& example : cases)
    {
        push(example.attachment, {0.5, 0.5, 0.5, 0.5}, nodeOf("Head"), false, Nil(), 0, {2, -2, 0.5f}, false);
        updateFromAnimation();
        for (const int id : example.turned) EXPECT_GT(angleOf_deg(id), 5.0) << example.attachment << " turns " << id;
        for (const int id : example.still) EXPECT_LT(angleOf_deg(id), kTolerance_deg) << example.attachment << " leaves " << id;
        engine.call("character_pop", {unit});
    }
    // Weight 0 for the hips, but they are what is aimed: the turn is whole.
    push(LBXEffectorHips, {}, nodeOf("Head"), false, Nil(), 0, {0, -2, stance[0].position[2]}, false);
    updateFromAnimation();
    EXPECT_NEAR(angleOf_deg(LBXEffectorHips), 90.0, 0.5);
}

TEST_F(Aim, TwoHandsSolvedInPlacePutTheReferenceOnTheTargetAndKeepTheGrip)
{
    // Both hands before the chest, as around a pole; the reference is the right hand's own joint.
    const auto bend = [this](const char* name, float degrees)
    {
        const float c = std::cos(degrees * 3.14159265f / 180.0f), s = std::sin(degrees * 3.14159265f / 180.0f);
        const float rows[9] = {c, 0, -s, 0, 1, 0, s, 0, c};  // about the solver's y
        std::copy_n(rows, 9, animation[rig.nodeIndex(name)].rotation);
    };
    bend("LeftArm", -40.0f);
    bend("LeftForeArm", -70.0f);
    bend("RightArm", 40.0f);
    bend("RightForeArm", 70.0f);
    updateFromAnimation();
    const Transform right = effector(LBXEffectorRightWrist), left = effector(LBXEffectorLeftWrist);
    const double grip = distance(right.position, left.position);
    const double held_turn = turn_between_deg(right.rotation, left.rotation);

    const Vec3 target = {left.position[0] - 0.05f, left.position[1] - 0.1f, left.position[2] + 0.08f};
    push(LBXEffectorRightWrist, {0.1, 0.3, 0.5, 0.5}, nodeOf("LeftHand"), true, Nil(), 0, target, true);
    for (int frame = 0; frame < 3; ++frame) updateFromAnimation();
    EXPECT_THAT(node(LBXNodeLeftHand), Near3(target, 0.03)) << "the reference point is the other hand, which comes along";
    EXPECT_NEAR(distance(node(LBXNodeRightHand), node(LBXNodeLeftHand)), grip, 0.02);
    EXPECT_NEAR(turn_between_deg(effector(LBXEffectorRightWrist).rotation, effector(LBXEffectorLeftWrist).rotation), held_turn, 3.0);
    EXPECT_THAT(node(LBXNodeLeftFoot), Near3(stance[LBXEffectorLeftAnkle].position, 0.01)) << "on locked feet";
}

TEST_F(Aim, FollowsTargetsThatComeAndGo)
{
    keepGoals();
    EngineUnit& other = addCharacter();
    other.place({0.18f, -3, 0}, {0, 0, 0, 1});
    engine.update(world);
    engine.takeLog();
    push(LBXEffectorLeftWrist, {0, 0, 1, 0}, nodeOf("LeftHand"), false, &other, LBXEffectorHips, {}, false);
    updateFromAnimation();
    EXPECT_NEAR(angleOf_deg(LBXEffectorLeftShoulder), 90.0, kTolerance_deg) << "ahead and down: square to the arm";

    engine.call("character_delete_context", {&other});
    updateFromAnimation();
    EXPECT_NEAR(angleOf_deg(LBXEffectorLeftShoulder), 0.0, kTolerance_deg);
    engine.call("character_declare_context", {&other, "rig"});
    updateFromAnimation();
    EXPECT_NEAR(angleOf_deg(LBXEffectorLeftShoulder), 0.0, kTolerance_deg) << "declared, not yet built";
    updateFromAnimation();
    EXPECT_NEAR(angleOf_deg(LBXEffectorLeftShoulder), 90.0, kTolerance_deg);
    engine.deleteUnit(other);
    updateFromAnimation();
    EXPECT_NEAR(angleOf_deg(LBXEffectorLeftShoulder), 0.0, kTolerance_deg);

    engine.takeLog();
    engine.call("character_aim_set_target_unit", {unit, 1, Nil(), 0});
    engine.call("character_aim_set_target_position", {unit, 1, Vec3{0.18f, 0, 4}});
    updateFromAnimation();
    EXPECT_NEAR(angleOf_deg(LBXEffectorLeftShoulder), 90.0, kTolerance_deg) << "straight up";
    engine.call("character_aim_set_target_unit", {unit, 1, unit, LBXEffectorRightWrist});
    updateFromAnimation();
    EXPECT_NEAR(angleOf_deg(LBXEffectorLeftShoulder), 0.0, kTolerance_deg) << "one's own other hand, straight behind: no turn";
    EXPECT_THAT(engine.takeLog(), IsEmpty());
}

TEST_F(Aim, DegenerateTargetsLeaveNoNan)
{
    constexpr float huge = std::numeric_limits<float>::max();
    for (const Vec3& target : {stance[3].position, stance[13].position, stance[0].position, Vec3{huge, -huge, huge}, Vec3{}})
    {
        for (const bool both : {false, true})
        {
            push(LBXEffectorLeftWrist, {1e30, 1, 1, -5}, nodeOf("LeftHand"), both, Nil(), 0, target, both);
            updateFromAnimation();
            for (const Transform& each : snapshot())
            {
                for (const float number : each.position) EXPECT_TRUE(std::isfinite(number));
                for (const float number : each.rotation) EXPECT_TRUE(std::isfinite(number));
            }
            engine.call("character_pop", {unit});
        }
    }
    for (const int reference : {0, -7, 1000, 2000000000})
    {
        push(LBXEffectorLeftWrist, {1, 1, 1, 1}, reference, true, Nil(), 0, {2, 2, 2}, true);
        updateFromAnimation();
        EXPECT_THAT(node(LBXNodeLeftHand), Near3(stance[LBXEffectorLeftWrist].position, 1e-3)) << "no such node: nothing is aimed";
        engine.call("character_pop", {unit});
    }
}

TEST_F(Aim, RefusesWhatItCannotAimAtOrWith)
{
    EngineUnit& stranger = spawn_biped(engine, world, rig);
    push(3, {}, 1, false, &stranger, 0, {}, false);
    EXPECT_THAT(
        engine.takeLog(),
        ElementsAre("error: character_push_aim: only CHARACTERIZED units can be set as target",
                    "error: If the unit IS characterized, make sure it has been declared before that call (Limbrex Character flow node)",
                    "error: If you want to aim at a non characterized unit, rather use character_look_at_set_target_position."));
    push(44, {}, 1, false, Nil(), 0, {}, false);
    push(3, {}, 1, false, unit, 44, {}, false);
    push(3, {0, std::nan(""), 0, 0}, 1, false, Nil(), 0, {}, false);
    push(3, {}, 1, false, Nil(), 0, {0, std::nanf(""), 0}, false);
    EXPECT_THAT(engine.takeLog(), ::testing::AllOf(::testing::SizeIs(4), ::testing::Each("error: character_push_aim: wrong inputs")));
    EXPECT_EQ(constraintCount(), 0);

    push(3, {}, 1, false, Nil(), 0, {}, false);
    EXPECT_EQ(engine.ask<int>("character_get_constraint_type", {unit, 1}), 19);
    engine.call("character_aim_set_target_unit", {unit, 1, &stranger, 0});
    EXPECT_THAT(engine.takeLog(),
                ElementsAre("error: character_aim_set_target_unit: only CHARACTERIZED units can be set as target",
                            "error: If you want to look at a non characterized unit, rather use character_aim_set_target_position."));
    engine.call("character_aim_set_target_position", {unit, 2, Vec3{}});
    EXPECT_THAT(engine.takeLog(), ElementsAre("error: check_index_and_constraint: constraint index out of range",
                                              StartsWith("error: character_aim_set_target_position: wrong inputs (unit 0x")));
    engine.call("character_aim_set_target_position", {unit, 1, Vec3{std::nanf(""), 0, 0}});
    EXPECT_THAT(engine.takeLog(), ElementsAre(StartsWith("error: character_aim_set_target_position: wrong inputs (unit 0x")));
}

TEST(AimDescription, NamesTargetAndReference)
{
    AimConstraint aim;
    aim.attachmentEffector = 4;
    aim.lastTargetPosition = {1, 2, 3, 0};
    DescriptionText description;
    aim.describe(description);
    EXPECT_STREQ(description.text, "(aiming at unit, attachment effector 4, last target pos (1.000000 2.000000 3.000000), last ref pos "
                                   "(0.000000 0.000000 0.000000))");
    aim.target.useRawPosition = true;
    aim.describe(description);
    EXPECT_THAT(description.text, StartsWith("(aiming at raw position, attachment effector 4,"));
}

}  // namespace

}  // namespace test_engine
