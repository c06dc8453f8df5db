#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>

#include "limbrex/limbrex.h"

namespace
{

const std::array<std::string, 50> kNodes = {"Reference",
                                            "Hips",
                                            "LeftUpLeg",
                                            "LeftLeg",
                                            "LeftFoot",
                                            "RightUpLeg",
                                            "RightLeg",
                                            "RightFoot",
                                            "Spine",
                                            "LeftArm",
                                            "LeftForeArm",
                                            "LeftHand",
                                            "RightArm",
                                            "RightForeArm",
                                            "RightHand",
                                            "Head",
                                            "LeftToeBase",
                                            "RightToeBase",
                                            "LeftShoulder",
                                            "RightShoulder",
                                            "Neck",
                                            "LeftFingerBase",
                                            "RightFingerBase",
                                            "Spine1",
                                            "Spine2",
                                            "Spine3",
                                            "Spine4",
                                            "Spine5",
                                            "Spine6",
                                            "Spine7",
                                            "Spine8",
                                            "Spine9",
                                            "Neck1",
                                            "Neck2",
                                            "Neck3",
                                            "Neck4",
                                            "Neck5",
                                            "Neck6",
                                            "Neck7",
                                            "Neck8",
                                            "Neck9",
                                            "LeftUpLegRoll",
                                            "LeftLegRoll",
                                            "RightUpLegRoll",
                                            "RightLegRoll",
                                            "LeftArmRoll",
                                            "LeftForeArmRoll",
                                            "RightArmRoll",
                                            "RightForeArmRoll",
                                            "HipsTranslation"};
const std::array<std::string, 20> kEffectors = {"HipsEffector",       "LeftAnkleEffector",    "RightAnkleEffector",    "LeftWristEffector",
                                                "RightWristEffector", "LeftKneeEffector",     "RightKneeEffector",     "LeftElbowEffector",
                                                "RightElbowEffector", "ChestOriginEffector",  "ChestEndEffector",      "LeftFootEffector",
                                                "RightFootEffector",  "LeftShoulderEffector", "RightShoulderEffector", "HeadEffector",
                                                "LeftHipEffector",    "RightHipEffector",     "LeftHandEffector",      "RightHandEffector"};
const std::array<std::string, 4> kExtremities = {"LeftHand", "RightHand", "LeftFoot", "RightFoot"};
const std::array<std::string, 4> kInside = {"LeftInHand", "RightInHand", "LeftInFoot", "RightInFoot"};
const std::array<std::string, 6> kFingers = {"Thumb", "Index", "Middle", "Ring", "Pinky", "ExtraFinger"};
const std::array<std::string, 8> kSegments = {"LeftUpLeg", "LeftLeg",     "RightUpLeg", "RightLeg",
                                              "LeftArm",   "LeftForeArm", "RightArm",   "RightForeArm"};

void expect_node(int id, const std::string& name)
{
    ASSERT_NE(LBXGetNodeNameFromId(id), nullptr) << id;
    EXPECT_EQ(LBXGetNodeNameFromId(id), name);
    EXPECT_EQ(LBXGetNodeIdFromName(name.c_str()), id);
}

}  // namespace

TEST(Names, NodesFollowTheirListAndTheirFormulas)
{
    for (int id = 0; id < 50; ++id) expect_node(id, kNodes[static_cast<size_t>(id)]);
    for (int limb = 0; limb < 4; ++limb)
    {
        for (int finger = 0; finger < 6; ++finger)
        {
            const auto l = static_cast<size_t>(limb);
            const auto f = static_cast<size_t>(finger);
            for (int joint = 1; joint <= 4; ++joint)
            {
                expect_node(50 + 24 * limb + 4 * finger + joint - 1, kExtremities[l] + kFingers[f] + std::to_string(joint));
                EXPECT_EQ(LBX_NODE_FINGER(limb, finger, joint), 50 + 24 * limb + 4 * finger + joint - 1);
            }
            expect_node(146 + 6 * limb + finger, kInside[l] + kFingers[f]);
            EXPECT_EQ(LBX_NODE_IN_EXTREMITY(limb, finger), 146 + 6 * limb + finger);
        }
    }
    expect_node(170, "LeftShoulderExtra");
    expect_node(171, "RightShoulderExtra");
    for (int segment = 0; segment < 8; ++segment)
    {
        expect_node(41 + segment, kSegments[static_cast<size_t>(segment)] + "Roll");
        for (int n = 1; n <= 5; ++n)
        {
            expect_node(172 + 8 * (n - 1) + segment, "Leaf" + kSegments[static_cast<size_t>(segment)] + "Roll" + std::to_string(n));
            EXPECT_EQ(LBX_NODE_LEAF_ROLL(segment, n), 172 + 8 * (n - 1) + segment);
        }
    }
    // The ends of each range, as written down by hand.
    expect_node(50, "LeftHandThumb1");
    expect_node(73, "LeftHandExtraFinger4");
    expect_node(122, "RightFootThumb1");
    expect_node(145, "RightFootExtraFinger4");
    expect_node(151, "LeftInHandExtraFinger");
    expect_node(158, "LeftInFootThumb");
    expect_node(179, "LeafRightForeArmRoll1");
    expect_node(211, "LeafRightForeArmRoll5");
}

TEST(Names, EffectorsFollowTheirListAndTheFingerFormula)
{
    const auto expect_effector = [](int id, const std::string& name)
    {
        EXPECT_EQ(LBXGetEffectorNameFromId(id), name);
        EXPECT_EQ(LBXGetEffectorIdFromName(name.c_str()), id);
    };
    for (int id = 0; id < 20; ++id) expect_effector(id, kEffectors[static_cast<size_t>(id)]);
    for (int limb = 0; limb < 4; ++limb)
        for (int finger = 0; finger < 6; ++finger)
        {
            expect_effector(20 + 6 * limb + finger,
                            kExtremities[static_cast<size_t>(limb)] + kFingers[static_cast<size_t>(finger)] + "Effector");
        }
    expect_effector(43, "RightFootExtraFingerEffector");
    EXPECT_EQ(static_cast<int>(LBXLastEffectorId), 44);
    EXPECT_EQ(static_cast<int>(LBXLastNodeId), 212);
}

TEST(Names, AreUniqueExactAndNeutralOutsideTheirRange)
{
    std::set<std::string> nodes;
    std::set<std::string> effectors;
    for (int id = 0; id < LBXLastNodeId; ++id) nodes.insert(LBXGetNodeNameFromId(id));
    for (int id = 0; id < LBXLastEffectorId; ++id) effectors.insert(LBXGetEffectorNameFromId(id));
    EXPECT_EQ(nodes.size(), 212u);
    EXPECT_EQ(effectors.size(), 44u);
    EXPECT_EQ(LBXGetNodeIdFromName("hips"), -1);
    EXPECT_EQ(LBXGetNodeIdFromName("HipsEffector"), -1);
    EXPECT_EQ(LBXGetEffectorIdFromName("Hips"), -1);
    for (const char* name : {"", " Hips", "Hips ", "Hip", "Spine10", "LeftHandThumb5", "LeafLeftLegRoll6"})
    {
        EXPECT_EQ(LBXGetNodeIdFromName(name), -1) << name;
        EXPECT_EQ(LBXGetEffectorIdFromName(name), -1) << name;
    }
    EXPECT_EQ(LBXGetNodeIdFromName(nullptr), -1);
    EXPECT_EQ(LBXGetEffectorIdFromName(nullptr), -1);
    for (const int id : {-1, -1000000, 212, 1 << 30}) EXPECT_EQ(LBXGetNodeNameFromId(id), nullptr);
    for (const int id : {-1, 44, 211, 1 << 30}) EXPECT_EQ(LBXGetEffectorNameFromId(id), nullptr);
}
