#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <fstream>
#include <set>

#include "host/animation/import.h"
#include "tests/tools/body_fixture.h"
#include "tools/rig/joint_mapping.h"
#include "tools/rig/joint_names.h"

namespace
{

using namespace limbrex_host;
using namespace limbrex_tests;
using namespace limbrex_tools;

std::string joint_name(const Skeleton& skeleton, const JointMapping& mapping, int node)
{
    return mapping.has(node) ? skeleton.joints[static_cast<size_t>(mapping.joint[static_cast<size_t>(node)])].name : std::string("(none)");
}

JointMapping map_by_name(const Skeleton& skeleton)
{
    JointMapping mapping;
    std::string error;
    EXPECT_TRUE(map_joints_by_name(skeleton, mapping, error)) << error;
    drop_nodes_outside_their_parent(skeleton, mapping);
    return mapping;
}

TEST(JointMapping, EveryConventionFindsEveryJointOfTheSameBody)
{
    for (const NameConvention& convention : name_conventions())
    {
        SCOPED_TRACE(convention.title);
        const Skeleton skeleton = build_body(convention);
        const JointMapping mapping = map_by_name(skeleton);
        for (const auto& [node, pattern] : convention.names)
        {
            EXPECT_EQ(joint_name(skeleton, mapping, node), side_name(pattern, convention.left)) << LBXGetNodeNameFromId(node);
            EXPECT_EQ(joint_name(skeleton, mapping, right_twin(node)), side_name(pattern, convention.right));
        }
        EXPECT_EQ(std::count_if(mapping.joint.begin(), mapping.joint.end(), [](int32_t j) { return j >= 0; }), 27);
    }
}

// Puts a new joint between a joint and its parent, at the parent's place.
void insert_above(Skeleton& skeleton, const std::string& joint, const std::string& name)
{
    const auto at = static_cast<size_t>(joint_index(skeleton, joint));
    for (Joint& other : skeleton.joints)
    {
        if (other.parent >= static_cast<int32_t>(at)) { ++other.parent; }
    }
    const Joint helper{name, skeleton.joints[at].parent, {}, false};
    skeleton.joints[at].parent = static_cast<int32_t>(at);
    skeleton.joints.insert(skeleton.joints.begin() + static_cast<std::ptrdiff_t>(at), helper);
}

TEST(JointMapping, JointsInBetweenAreListedNearestFirst)
{
    Skeleton skeleton = plain_body();
    insert_above(skeleton, "LeftUpLeg", "LHipJoint");
    insert_above(skeleton, "LeftUpLeg", "LeftSpacer");
    insert_above(skeleton, "Hips", "root");
    const JointMapping mapping = map_by_name(skeleton);
    const auto names = [&](int node, int parent)
    {
        std::vector<std::string> result;
        for (const int32_t j : joints_between(skeleton, mapping, node, parent))
        {
            result.push_back(skeleton.joints[static_cast<size_t>(j)].name);
        }
        return result;
    };
    EXPECT_EQ(names(LBXNodeLeftUpLeg, LBXNodeHips), (std::vector<std::string>{"LeftSpacer", "LHipJoint"}));
    EXPECT_EQ(names(LBXNodeHips, LBXNodeReference), std::vector<std::string>{"root"});
    EXPECT_TRUE(names(LBXNodeRightUpLeg, LBXNodeHips).empty());
}

TEST(JointMapping, TheHipsAreWhereLegsAndTrunkMeetWhateverTheyAreCalled)
{
    Skeleton skeleton = plain_body();  // thighs re-hung from the first spine joint
    const int32_t spine = joint_index(skeleton, "Spine");
    for (const char* leg : {"LeftUpLeg", "RightUpLeg"}) { skeleton.joints[static_cast<size_t>(joint_index(skeleton, leg))].parent = spine; }
    const JointMapping mapping = map_by_name(skeleton);
    EXPECT_EQ(joint_name(skeleton, mapping, LBXNodeHips), "Spine");
    EXPECT_EQ(joint_name(skeleton, mapping, LBXNodeSpine), "Spine1");
    EXPECT_FALSE(mapping.notes.empty());
}

TEST(JointMapping, JointsOnTheHandGiveNoBoneAndAreReported)
{
    Skeleton skeleton = plain_body();
    skeleton.joints.push_back({"LeftFingerBase", joint_index(skeleton, "LeftHand"), {}, false});
    skeleton.joints.push_back({"LFingers", joint_index(skeleton, "LeftFingerBase"), {}, false});
    skeleton.joints.back().rest.translation = {0.05f, 0.0f, 0.0f};
    const JointMapping mapping = map_by_name(skeleton);
    EXPECT_EQ(joint_name(skeleton, mapping, LBXNodeLeftFingerBase), "LFingers");
    ASSERT_FALSE(mapping.notes.empty());
    EXPECT_NE(mapping.notes.front().find("\"LeftFingerBase\" lies on \"LeftHand\""), std::string::npos);
}

TEST(JointMapping, ATwistJointCarryingTheLimbIsARollNodeAndOneBesideItALeaf)
{
    Skeleton skeleton = plain_body();
    insert_above(skeleton, "LeftForeArm", "LeftArmRoll");
    skeleton.joints.push_back({"upperarm_twist_01_r", joint_index(skeleton, "RightArm"), {}, false});
    skeleton.joints.push_back({"upperarm_twist_02_r", joint_index(skeleton, "RightArm"), {}, false});
    const JointMapping mapping = map_by_name(skeleton);
    EXPECT_EQ(joint_name(skeleton, mapping, LBXNodeLeftArmRoll), "LeftArmRoll");
    EXPECT_EQ(joint_name(skeleton, mapping, LBX_NODE_LEAF_ROLL(6, 1)), "upperarm_twist_01_r");
    EXPECT_EQ(joint_name(skeleton, mapping, LBX_NODE_LEAF_ROLL(6, 2)), "upperarm_twist_02_r");
    EXPECT_EQ(joint_name(skeleton, mapping, LBXNodeRightArm), "RightArm");
}

TEST(JointMapping, AFootThatHangsElsewhereIsLeftOutWithItsToe)
{
    Skeleton skeleton = plain_body();
    skeleton.joints[static_cast<size_t>(joint_index(skeleton, "LeftFoot"))].parent = joint_index(skeleton, "Hips");
    JointMapping mapping;
    std::string error;
    NamedPairs pairs;
    for (const char* name : {"Hips", "LeftUpLeg", "LeftLeg", "LeftFoot", "LeftToeBase"}) { pairs.emplace_back(name, name); }
    ASSERT_TRUE(map_joints_as_given(skeleton, pairs, mapping, error)) << error;
    drop_nodes_outside_their_parent(skeleton, mapping);
    EXPECT_TRUE(mapping.has(LBXNodeLeftLeg));
    EXPECT_FALSE(mapping.has(LBXNodeLeftFoot));
    EXPECT_FALSE(mapping.has(LBXNodeLeftToeBase));
    EXPECT_EQ(mapping.notes.size(), 2u);
}

TEST(JointMapping, AGivenMapIsRefusedAtItsFirstSlipAndSaysWhere)
{
    const Skeleton skeleton = plain_body();
    const auto refusal = [&](const NamedPairs& pairs)
    {
        JointMapping mapping;
        std::string error;
        EXPECT_FALSE(map_joints_as_given(skeleton, pairs, mapping, error));
        return error;
    };
    EXPECT_NE(refusal({{"hips", "Hips"}}).find("\"hips\" is no template node"), std::string::npos);
    EXPECT_NE(refusal({{"Hips", "Pelvis"}}).find("\"Pelvis\", which the skeleton does not have"), std::string::npos);
    EXPECT_NE(refusal({{"Hips", "Hips"}, {"Spine", "Hips"}}).find("to Hips and to Spine"), std::string::npos);
    EXPECT_NE(refusal({{"Spine", "Spine"}}).find("no joint for Hips"), std::string::npos);
}

TEST(JointNames, HelpersEndsAndHandlesAreNoBodyParts)
{
    for (const char* name :
         {"LHipJoint", "rButtock", "ik_foot_l", "ik_hand_gun", "PoleTarget.L", "Bip01 HeadNub", "leftEye", "ROOT", "weapon_r"})
    {
        const Part part = read_joint_name(name).part;
        EXPECT_TRUE(part == Part::Helper || part == Part::Unknown) << name;
    }
    EXPECT_EQ(read_joint_name("lowerback").side, Side::None);
    EXPECT_EQ(read_joint_name("LeftHandRingPinky1").finger, 4);
    EXPECT_TRUE(read_joint_name("leftIndexMetacarpal").metacarpal);
    EXPECT_FALSE(read_joint_name("leftThumbMetacarpal").metacarpal);
    for (const char* odd : {"", ":", "...", "42", "l", "L_", "\xff\xfe"}) { EXPECT_EQ(read_joint_name(odd).part, Part::Unknown) << odd; }
}

#ifdef LIMBREX_SHARED_DATA
// Where our choice differs on purpose: bases and thumbs on the wrist itself, a rig whose legs hang from the spine.
struct KnownSkeleton
{
    const char *file, *map;
    int disagreements;
};

TEST(JointMapping, AgreesWithMapsMadeByHand)
{
    constexpr KnownSkeleton kKnown[] = {
        {"bvh/cmu_01_01_hops.bvh", "cmu_motionbuilder", 4},
        {"bvh/boxing_fall.bvh", "boxing", 0},
        {"bvh/cmu_02_02_walk_fingers.bvh", "cmu_daz", 0},
        {"bvh/cmu_jumping_jacks.bvh", "cmu_3dsmax", 4},
        {"bvh/cmu_131_01_walk_metres.bvh", "cmu_3dsmax_metres", 4},
        {"bvh/cmu_10_01_kick.bvh", "short_19", 0},
        {"bvh/dab_zup.bvh", "zup", 0},
        {"humanoid/mannequin.glb", "mannequin", 0},
        {"humanoid/pab_man.glb", "pab_man", 6},
    };
    for (const KnownSkeleton& known : kKnown)
    {
        SCOPED_TRACE(known.file);
        Asset asset;
        std::string error;
        ASSERT_TRUE(import_asset(std::string(LIMBREX_SHARED_DATA "/") + known.file, asset, error)) << error;
        const JointMapping mapping = map_by_name(asset.skeleton);
        std::ifstream file(std::string(LIMBREX_SHARED_DATA "/maps/") + known.map + ".json");
        const nlohmann::json map = nlohmann::json::parse(file);
        int disagreements = 0;
        std::string differences;
        for (const auto& [node, joint] : map["nodes"].items())
        {
            const std::string ours = joint_name(asset.skeleton, mapping, LBXGetNodeIdFromName(node.c_str()));
            if (node == "Reference" || ours == joint) { continue; }
            ++disagreements;
            differences += node + ": " + joint.get<std::string>() + " by hand, " + ours + " by name\n";
        }
        EXPECT_EQ(disagreements, known.disagreements) << differences;
    }
}
#endif

}  // namespace
