#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "tests/limbrex/model/pose_oracle.h"

namespace
{

using namespace pose_oracle;

Transform target_of(const LBXEffectorSet* set, int effector)
{
    Transform r{};
    LBXGetEffectorStateTQSfv(set, effector, r.t, r.q, r.s);
    return r;
}

void expect_target(const LBXEffectorSet* set, int effector, std::array<float, 3> t, std::array<float, 4> q)
{
    const Transform wanted{{t[0], t[1], t[2], 0}, {q[0], q[1], q[2], q[3]}, {1, 1, 1, 1}};
    EXPECT_LT(difference(target_of(set, effector), wanted), 1e-5f) << LBXGetEffectorNameFromId(effector);
}

TEST(EffectorSet, StartsAtTheOriginWithoutWeightsAndEverySolvingStep)
{
    EXPECT_EQ(LBXEffectorSetGetSize(), 3936u);
    EXPECT_EQ(LBXEffectorSetCreate([](size_t) -> void* { return nullptr; }), nullptr);
    EXPECT_EQ(LBXEffectorSetCreate(nullptr), nullptr);
    EXPECT_EQ(LBXEffectorSetInit(nullptr), nullptr);
    LBXEffectorSetDestroy(nullptr, std::free);
    const auto set = limbrex_test::make_effector_set();
    EXPECT_EQ(reinterpret_cast<uintptr_t>(set.get()) % 16, 0u);
    const float t[3] = {1, 2, 3}, q[4] = {1, 0, 0, 0}, s[3] = {4, 5, 6};
    for (const bool again : {false, true})
    {
        if (again)
        {
            for (int e = 0; e < LBXLastEffectorId; ++e)
            {
                LBXSetEffectorStateTQSfv(set.get(), e, t, q, s);
                for (const auto setter : {LBXSetEffectorReachT, LBXSetEffectorReachR, LBXSetEffectorPull, LBXSetEffectorResist})
                    setter(set.get(), e, 1);
            }
            for (int contact = 0; contact < 4; ++contact) LBXSetEffectorFloorContactTQfv(set.get(), contact, t, q);
            LBXSetEffectorSetSolvingStep(set.get(), 0x21FFFF);
            LBXSetEffectorSetBodyPull(set.get(), 0, 0.25f);
            LBXSetEffectorSetBodyPull(set.get(), 1, 0.5f);
            EXPECT_EQ(LBXEffectorSetInit(set.get()), set.get());
        }
        for (int e = 0; e < LBXLastEffectorId; ++e)
        {
            expect_target(set.get(), e, {0, 0, 0}, {0, 0, 0, 1});
            for (const auto getter : {LBXGetEffectorReachT, LBXGetEffectorReachR, LBXGetEffectorPull, LBXGetEffectorResist})
                EXPECT_EQ(getter(set.get(), e), 0.0f);
        }
        float m[16];
        for (int contact = 0; contact < 4; ++contact)
        {
            LBXGetEffectorFloorContactMatrixfv(set.get(), contact, m);
            for (size_t i = 0; i < 16; ++i) EXPECT_EQ(m[i], i % 5 == 0 ? 1.0f : 0.0f);
        }
        EXPECT_EQ(LBXGetEffectorSetSolvingStep(set.get()), 0xFFFFFFFFu);
        for (int selector = -1; selector < 4; ++selector) EXPECT_EQ(LBXGetEffectorSetBodyPull(set.get(), selector), 1.0f);
    }
}

TEST(EffectorSet, WeightsAreHeldWithinOneAndStayApart)
{
    const auto set = limbrex_test::make_effector_set();
    struct Weight
    {
        void (*write)(LBXEffectorSet*, int, float);
        float (*read)(const LBXEffectorSet*, int);
    };
    const Weight weights[] = {{LBXSetEffectorReachT, LBXGetEffectorReachT},
                              {LBXSetEffectorReachR, LBXGetEffectorReachR},
                              {LBXSetEffectorPull, LBXGetEffectorPull},
                              {LBXSetEffectorResist, LBXGetEffectorResist}};
    const float given[][2] = {{0.25f, 0.25f}, {1.5f, 1},      {-0.2f, 0}, {NAN, 0},  {-NAN, 0},
                              {INFINITY, 1},  {-INFINITY, 0}, {1, 1},     {-0.0f, 0}};
    for (const Weight& weight : weights)
    {
        for (const auto& [value, held] : given)
        {
            weight.write(set.get(), 7, value);
            EXPECT_EQ(weight.read(set.get(), 7), held) << value;
            EXPECT_FALSE(std::signbit(weight.read(set.get(), 7)));
        }
        for (const int wild : {-1, -2, 44, 1 << 20, -(1 << 30)})
        {
            weight.write(set.get(), wild, 0.75f);
            EXPECT_EQ(weight.read(set.get(), wild), 0.0f);
        }
        weight.write(nullptr, 7, 1.0f);
        EXPECT_EQ(weight.read(nullptr, 7), 0.0f);
    }
    for (int e = 0; e < LBXLastEffectorId; ++e)
        for (int k = 0; k < 4; ++k) weights[k].write(set.get(), e, static_cast<float>(4 * e + k) / 256.0f);
    for (int e = 0; e < LBXLastEffectorId; ++e)
        for (int k = 0; k < 4; ++k) EXPECT_EQ(weights[k].read(set.get(), e), static_cast<float>(4 * e + k) / 256.0f);

    LBXSetEffectorSetBodyPull(set.get(), 1, 0.25f);
    LBXSetEffectorSetBodyPull(set.get(), 5, 0.75f);
    EXPECT_EQ(LBXGetEffectorSetBodyPull(set.get(), 1), 0.25f);
    for (const int right : {0, 2, -1}) EXPECT_EQ(LBXGetEffectorSetBodyPull(set.get(), right), 0.75f);
    LBXSetEffectorSetBodyPull(set.get(), 0, 3.0f);
    LBXSetEffectorSetBodyPull(set.get(), 1, NAN);
    EXPECT_EQ(LBXGetEffectorSetBodyPull(set.get(), 2), 1.0f);
    EXPECT_EQ(LBXGetEffectorSetBodyPull(set.get(), 1), 0.0f);
}

TEST(EffectorSet, TargetsComeBackInEveryFormAndInBulk)
{
    const auto set = limbrex_test::make_effector_set();
    Random random(1);
    std::vector<Transform> goals(LBXLastEffectorId);
    for (int e = 0; e < LBXLastEffectorId; ++e)
    {
        Transform goal = random.transform();
        goal.s[2] = -0.0f;
        LBXSetEffectorStateTQSfv(set.get(), e, goal.t, goal.q, goal.s);
        goal.s[2] = 0.0f;
        goals[static_cast<size_t>(e)] = goal;
        LBXSetEffectorReachT(set.get(), e, 0.125f);
        LBXSetEffectorResist(set.get(), e, static_cast<float>(e) / 64.0f);
    }
    for (int e = 0; e < LBXLastEffectorId; ++e)
    {
        const Transform found = target_of(set.get(), e);
        EXPECT_TRUE(same_bits(&found, &goals[static_cast<size_t>(e)], sizeof(found)));
        EXPECT_FALSE(std::signbit(found.s[2]));
    }
    double t[4], q[4], s[4];
    LBXGetEffectorStateTQSdv(set.get(), 9, t, q, s);
    LBXSetEffectorStateTQSdv(set.get(), 10, t, q, s);
    const Transform moved = target_of(set.get(), 10);
    EXPECT_TRUE(same_bits(&moved, &goals[9], sizeof(moved)));
    Transform plain = goals[3];
    LBXGetEffectorStateTQfv(set.get(), 9, plain.t, plain.q);
    EXPECT_TRUE(same_bits(&plain, &goals[9], 32));
    EXPECT_TRUE(same_bits(plain.s, goals[3].s, 16));

    struct Record
    {
        float weights[4];
        Transform transform;
        float untouched;
    };
    const int32_t ids[] = {9, -1, 44, -7, 3, -2, 5};
    std::vector<Record> records(7, Record{{-1, -1, -1, -1}, {}, -3.0f});
    LBXEffectorDataDescription description = {
        offsetof(Record, transform), offsetof(Record, transform) + 16, offsetof(Record, transform) + 32, 0, sizeof(Record), ids};
    LBXGetEffectorSetTransformTQS(set.get(), &description, records.data());
    for (const size_t i : {0, 4})
    {
        EXPECT_TRUE(same_bits(&records[i].transform, &goals[static_cast<size_t>(ids[i])], sizeof(Transform)));
        EXPECT_EQ(records[i].weights[0], 0.125f);
        EXPECT_EQ(records[i].weights[1], 0.0f);
        EXPECT_EQ(records[i].weights[3], static_cast<float>(ids[i]) / 64.0f);
        EXPECT_EQ(records[i].untouched, -3.0f);
    }
    for (const size_t i : {1, 2, 3, 5, 6}) EXPECT_EQ(records[i].weights[0], -1.0f) << i;

    std::vector<Record> all(44);
    description.effectorIds = nullptr;
    LBXGetEffectorSetTransformTQS(set.get(), &description, all.data());
    for (size_t e = 0; e < 44; ++e) EXPECT_EQ(all[e].weights[3], static_cast<float>(e) / 64.0f);

    LBXGetEffectorStateTQSBuffer(set.get(), 3, &description, records.data());
    LBXSetEffectorStateTQSBuffer(set.get(), 4, &description, records.data());
    const Transform third = target_of(set.get(), 4);
    EXPECT_TRUE(same_bits(&third, &goals[3], sizeof(third)));

    // Ids that name nothing write nothing.
    Transform canary = goals[0];
    for (const int wild : {-1, 44, 1 << 28})
    {
        LBXSetEffectorStateTQSfv(set.get(), wild, canary.t, canary.q, canary.s);
        LBXSetEffectorStateTQSdv(set.get(), wild, t, q, s);
        LBXGetEffectorStateTQSfv(set.get(), wild, canary.t, canary.q, canary.s);
        LBXGetEffectorStateTQSBuffer(set.get(), wild, &description, &canary);
        LBXSetEffectorStateTQSBuffer(set.get(), wild, &description, &canary);
    }
    EXPECT_TRUE(same_bits(&canary, &goals[0], sizeof(canary)));
    LBXGetEffectorSetTransformTQS(nullptr, &description, records.data());
    LBXGetEffectorSetTransformTQS(set.get(), nullptr, records.data());
    LBXGetEffectorSetTransformTQS(set.get(), &description, nullptr);
}

TEST(EffectorSet, FloorPlaneComesBackAsMatrixWithTheTurnedAxesAsRows)
{
    const auto set = limbrex_test::make_effector_set();
    const float half = std::sqrt(0.5f);
    const float t[3] = {1, 2, 3}, q[4] = {half, 0, 0, half};  // 90 degrees about x: y to z, z to -y
    LBXSetEffectorFloorContactTQfv(set.get(), 2, t, q);
    for (const int wild : {-1, 4, 77}) LBXSetEffectorFloorContactTQfv(set.get(), wild, t, q);
    float m[16];
    LBXGetEffectorFloorContactMatrixfv(set.get(), 2, m);
    const float wanted[16] = {1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 1, 2, 3, 1};
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(m[i], wanted[i], 1e-6f) << i;
    float t_read[4] = {9, 9, 9, 9}, q_read[4] = {9, 9, 9, 9};
    LBXGetEffectorFloorContactTQfv(set.get(), 4, t_read, q_read);
    EXPECT_EQ(t_read[0], 9.0f);
    LBXGetEffectorFloorContactTQfv(set.get(), 2, t_read, q_read);
    EXPECT_EQ(t_read[2], 3.0f);
    EXPECT_EQ(t_read[3], 0.0f);
    EXPECT_EQ(q_read[0], half);
    LBXGetEffectorFloorContactTQfv(set.get(), 3, t_read, q_read);
    EXPECT_EQ(t_read[2], 0.0f);
}

// A pose by hand: nodes of a rig whose stance is no turn at all put where the numbers are round.
struct HandPose
{
    Rig rig;
    StateOwner state;
    limbrex_test::EffectorSetOwner set = limbrex_test::make_effector_set();
    limbrex_test::PropertySetOwner properties = limbrex_test::make_property_set();

    explicit HandPose(const limbrex_test::RigOptions& options)
        : rig(limbrex_test::make_rig(options)), state(limbrex_test::make_state(rig.character))
    {}
    void put(int node, std::array<float, 3> t, std::array<float, 4> q = {0, 0, 0, 1}) const
    {
        LBXSetNodeStateTQfv(rig.character, state.get(), node, t.data(), q.data());
    }
    void place() const { LBXEffectorSetFromState(rig.character, set.get(), state.get(), properties.get()); }
};
const float kHalf = std::sqrt(0.5f);
const std::array<float, 4> kQuarterAboutZ = {0, 0, kHalf, kHalf};  // x to y, y to -x
const std::array<float, 4> kQuarterAboutX = {kHalf, 0, 0, kHalf};  // y to z, z to -y

TEST(EffectorPlacement, HipsStandBetweenTheLegsWithTheOffsetTurnedByTheHips)
{
    HandPose pose({});
    pose.put(LBXNodeHips, {5, 5, 5}, kQuarterAboutZ);
    pose.put(LBXNodeLeftUpLeg, {1, 2, 3});
    pose.put(LBXNodeRightUpLeg, {3, 4, 7});
    pose.place();
    expect_target(pose.set.get(), LBXEffectorHips, {2, 3, 5}, kQuarterAboutZ);
    LBXPropertySetValue(pose.properties.get(), LBXPropertyHipsTOffsetX, 10.0f);
    LBXPropertySetValue(pose.properties.get(), LBXPropertyHipsTOffsetY, 20.0f);
    LBXPropertySetValue(pose.properties.get(), LBXPropertyHipsTOffsetZ, 30.0f);
    pose.place();
    expect_target(pose.set.get(), LBXEffectorHips, {2 - 20, 3 + 10, 5 + 30}, kQuarterAboutZ);
}

TEST(EffectorPlacement, ChestEndStandsBetweenTheShouldersOrElseTheArmsAndTurnsWithTheChest)
{
    for (const bool shoulders : {true, false})
    {
        for (const int spine_nodes : {1, 3})
        {
            limbrex_test::RigOptions options;
            options.shoulders = shoulders;
            options.spineNodes = spine_nodes;
            HandPose pose(options);
            pose.put(LBXNodeSpine, {0, 1, 0}, kQuarterAboutX);
            if (spine_nodes == 3) pose.put(LBXNodeSpine2, {0, 1.5f, 0}, kQuarterAboutZ);
            pose.put(LBXNodeLeftShoulder, {1, 10, 0});
            pose.put(LBXNodeRightShoulder, {-3, 12, 2});
            pose.put(LBXNodeLeftArm, {4, 10, 0});
            pose.put(LBXNodeRightArm, {-2, 14, 2});
            LBXPropertySetValue(pose.properties.get(), LBXPropertyChestTOffsetX, 1.0f);
            LBXPropertySetValue(pose.properties.get(), LBXPropertyChestTOffsetY, 2.0f);
            LBXPropertySetValue(pose.properties.get(), LBXPropertyChestTOffsetZ, 3.0f);
            pose.place();
            const std::array<float, 3> middle = shoulders ? std::array<float, 3>{-1, 11, 1} : std::array<float, 3>{1, 12, 1};
            const std::array<float, 3> offset = spine_nodes == 3 ? std::array<float, 3>{-2, 1, 3} : std::array<float, 3>{1, -3, 2};
            expect_target(pose.set.get(), LBXEffectorChestEnd, {middle[0] + offset[0], middle[1] + offset[1], middle[2] + offset[2]},
                          spine_nodes == 3 ? kQuarterAboutZ : kQuarterAboutX);
        }
    }
}

// What is left of a body still has effectors where they make sense.
TEST(EffectorPlacement, OneOfAPairStandsForBothAndWithoutAnyTheBodyItself)
{
    for (const bool left : {true, false})
    {
        LBXCharacterDefinition definition{};
        for (const int node : {0, 1, 8}) definition.nodeFlags[node] = LBXNodeUsed;
        if (left) definition.nodeFlags[LBXNodeLeftUpLeg] = definition.nodeFlags[LBXNodeLeftArm] = LBXNodeUsed;
        LBXCharacter* character = LBXCharacterCreate(&definition, std::malloc);
        ASSERT_NE(character, nullptr);
        LBXCharacterize(character);
        const StateOwner state = limbrex_test::make_state(character);
        const auto set = limbrex_test::make_effector_set();
        const auto properties = limbrex_test::make_property_set();
        const float none[4] = {0, 0, 0, 1};
        const auto put = [&](int node, std::array<float, 3> t) { LBXSetNodeStateTQfv(character, state.get(), node, t.data(), none); };
        put(LBXNodeHips, {1, 1, 1});
        put(LBXNodeSpine, {2, 2, 2});
        put(LBXNodeLeftUpLeg, {3, 3, 3});
        put(LBXNodeLeftArm, {4, 4, 4});
        LBXEffectorSetFromState(character, set.get(), state.get(), properties.get());
        const float hips = left ? 3.0f : 1.0f, chest = left ? 4.0f : 2.0f;
        expect_target(set.get(), LBXEffectorHips, {hips, hips, hips}, {0, 0, 0, 1});
        expect_target(set.get(), LBXEffectorChestEnd, {chest, chest, chest}, {0, 0, 0, 1});
        LBXCharacterDestroy(character, std::free);
    }
}

TEST(EffectorPlacement, FingersStandOnTheirLastJointAndTurnWithTheThirdOrTheFirst)
{
    limbrex_test::RigOptions three, four;
    three.toes = four.toes = true;  // of two joints
    four.fingerTips = true;         // and fingers of four
    for (const bool tips : {false, true})
    {
        HandPose pose(tips ? four : three);
        const auto put_joint = [&pose](int extremity, int finger, int joint, std::array<float, 4> q)
        {
            pose.put(LBX_NODE_FINGER(extremity, finger, joint),
                     {static_cast<float>(extremity), static_cast<float>(finger), static_cast<float>(joint)}, q);
        };
        for (int extremity = 0; extremity < 4; ++extremity)
        {
            for (int finger = 0; finger < 5; ++finger)
            {
                const int joints = extremity >= 2 ? 2 : (tips ? 4 : 3);
                for (int joint = 1; joint <= joints; ++joint)
                    put_joint(extremity, finger, joint,
                              joint == 1 ? kQuarterAboutX : (joint == 3 ? kQuarterAboutZ : std::array<float, 4>{1, 0, 0, 0}));
            }
        }
        pose.place();
        for (int extremity = 0; extremity < 4; ++extremity)
        {
            for (int finger = 0; finger < 5; ++finger)
            {
                const float last = extremity >= 2 ? 2.0f : (tips ? 4.0f : 3.0f);
                expect_target(pose.set.get(), LBXEffectorLeftHandThumb + 6 * extremity + finger,
                              {static_cast<float>(extremity), static_cast<float>(finger), last},
                              extremity >= 2 ? kQuarterAboutX : kQuarterAboutZ);
            }
            // No such finger: the origin.
            expect_target(pose.set.get(), LBXEffectorLeftHandThumb + 6 * extremity + 5, {0, 0, 0}, {0, 0, 0, 1});
        }
    }
}

TEST(EffectorPlacement, JointEffectorsCopyTheirNodeRelativeToItsStanceAndLeaveWeightsAlone)
{
    const std::array<int, 2> rows[] = {{1, 4},   {2, 7},   {3, 11}, {4, 14},  {5, 3},   {6, 6},  {7, 10}, {8, 13},  {9, 8},
                                       {11, 16}, {12, 17}, {13, 9}, {14, 12}, {15, 15}, {16, 2}, {17, 5}, {18, 21}, {19, 22}};
    for (uint32_t kind = 1; kind < kAwkwardKinds; ++kind)
    {
        const Rig rig = awkward_rig(kind);
        const auto set = limbrex_test::make_effector_set();
        const auto properties = limbrex_test::make_property_set();
        const StateOwner state = limbrex_test::make_state(rig.character);
        const float size[3] = {7, 7, 7}, off[3] = {1, 1, 1}, none[4] = {0, 0, 0, 1};
        for (int e = 0; e < LBXLastEffectorId; ++e)
        {
            LBXSetEffectorStateTQSfv(set.get(), e, off, none, size);
            LBXSetEffectorPull(set.get(), e, 0.5f);
        }
        LBXEffectorSetFromState(rig.character, set.get(), state.get(), properties.get());
        for (int e = 0; e < LBXLastEffectorId; ++e)
        {
            const Transform target = target_of(set.get(), e);
            EXPECT_TRUE(same_bits(target.q, none, sizeof(none))) << e;  // the stance is no turn at all, however its nodes are turned
            for (const float s : target.s) EXPECT_EQ(s, 1.0f);
            EXPECT_EQ(LBXGetEffectorPull(set.get(), e), 0.5f);
        }
        // Turned by a quarter from the stance, wherever it points there.
        for (const auto& [effector, node] : rows)
        {
            if (!rig.uses(node)) continue;
            Transform stance;
            LBXGetCharacterizeNodeStateTQSfv(rig.character, node, stance.t, stance.q, stance.s);
            const float* q = stance.q;
            const float turned[4] = {kHalf * (q[0] + q[3]), kHalf * (q[1] - q[2]), kHalf * (q[2] + q[1]), kHalf * (q[3] - q[0])};
            const float t[3] = {1, 2, static_cast<float>(node)};
            LBXSetNodeStateTQSfv(rig.character, state.get(), node, t, turned, stance.s);
        }
        LBXEffectorSetFromState(rig.character, set.get(), state.get(), properties.get());
        for (const auto& [effector, node] : rows)
        {
            if (rig.uses(node)) expect_target(set.get(), effector, {1, 2, static_cast<float>(node)}, kQuarterAboutX);
        }
        LBXEffectorSetFromState(nullptr, set.get(), state.get(), properties.get());
        LBXEffectorSetFromState(rig.character, nullptr, state.get(), properties.get());
        LBXEffectorSetFromState(rig.character, set.get(), nullptr, properties.get());
        LBXEffectorSetFromState(rig.character, set.get(), state.get(), nullptr);
    }
}

}  // namespace
