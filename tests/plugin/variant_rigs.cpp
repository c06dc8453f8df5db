#include "tests/plugin/variant_rigs.h"

#include "limbrex/limbrex.h"

namespace test_engine
{

namespace
{

constexpr const char* kFingers[] = {"Thumb", "Index", "Middle", "Ring", "Pinky"};

void add_joint(TestRig& rig, int node_id, const std::string& name, const std::string& parent, const Vec3& offset)
{
    rig.nodes.push_back({name, static_cast<int>(rig.nodeIndex(parent)), offset});
    Vec3 stance = offset;
    for (const Mapped& mapped : rig.mapping)
    {
        if (mapped.name != parent) continue;
        for (size_t k = 0; k < 3; ++k) stance[k] += mapped.stance[k];
    }
    rig.mapping.push_back({node_id, name, stance});
}

void add_hand(TestRig& rig, bool left)
{
    const std::string hand = left ? "LeftHand" : "RightHand";
    const int extremity = left ? 0 : 1;
    const float out = left ? 1.0f : -1.0f;
    add_joint(rig, left ? LBXNodeLeftFingerBase : LBXNodeRightFingerBase, hand + "FingerBase", hand, {out * 0.08f, 0, 0});
    for (int finger = 0; finger < 5; ++finger)
    {
        const std::string name = hand + kFingers[finger];
        const float across = 0.04f - 0.02f * static_cast<float>(finger);
        std::string parent = hand;
        if (finger == 1)  // the index stands on a bone inside the hand
        {
            add_joint(rig, LBX_NODE_IN_EXTREMITY(extremity, finger), name + "In", hand, {out * 0.03f, 0, across});
            parent = name + "In";
        }
        for (int joint = 1; joint <= 3; ++joint)
        {
            const Vec3 first = {out * (finger == 1 ? 0.05f : 0.08f), 0, finger == 1 ? 0.0f : across};
            add_joint(rig, LBX_NODE_FINGER(extremity, finger, joint), name + std::to_string(joint), parent,
                      joint == 1 ? first : Vec3{out * 0.03f, 0, 0});
            parent = name + std::to_string(joint);
        }
    }
}

struct Bone
{
    int nodeId;
    const char* name;
    const char* parent;
    Vec3 offset;
};

constexpr Bone kQuadruped[] = {
    {LBXNodeReference, "Reference", "y_up", {0, 0, 0}},
    {LBXNodeHips, "Hips", "Reference", {0, 0.6f, -0.35f}},
    {LBXNodeLeftUpLeg, "LeftUpLeg", "Hips", {0.1f, -0.05f, 0}},
    {LBXNodeLeftLeg, "LeftLeg", "LeftUpLeg", {0, -0.25f, 0.05f}},
    {LBXNodeLeftFoot, "LeftFoot", "LeftLeg", {0, -0.25f, -0.05f}},
    {LBXNodeLeftToeBase, "LeftToe", "LeftFoot", {0, -0.04f, 0.06f}},
    {LBXNodeRightUpLeg, "RightUpLeg", "Hips", {-0.1f, -0.05f, 0}},
    {LBXNodeRightLeg, "RightLeg", "RightUpLeg", {0, -0.25f, 0.05f}},
    {LBXNodeRightFoot, "RightFoot", "RightLeg", {0, -0.25f, -0.05f}},
    {LBXNodeRightToeBase, "RightToe", "RightFoot", {0, -0.04f, 0.06f}},
    {LBXNodeSpine, "Spine", "Hips", {0, 0.02f, 0.15f}},
    {LBXNodeSpine1, "Spine1", "Spine", {0, 0, 0.25f}},
    {LBXNodeLeftArm, "LeftArm", "Spine1", {0.1f, -0.08f, 0.28f}},
    {LBXNodeLeftForeArm, "LeftForeArm", "LeftArm", {0, -0.25f, -0.05f}},
    {LBXNodeLeftHand, "LeftHand", "LeftForeArm", {0, -0.24f, 0.05f}},
    {LBXNodeLeftFingerBase, "LeftFingerBase", "LeftHand", {0, -0.04f, 0.05f}},
    {LBXNodeRightArm, "RightArm", "Spine1", {-0.1f, -0.08f, 0.28f}},
    {LBXNodeRightForeArm, "RightForeArm", "RightArm", {0, -0.25f, -0.05f}},
    {LBXNodeRightHand, "RightHand", "RightForeArm", {0, -0.24f, 0.05f}},
    {LBXNodeRightFingerBase, "RightFingerBase", "RightHand", {0, -0.04f, 0.05f}},
    {LBXNodeNeck, "Neck", "Spine1", {0, 0.08f, 0.3f}},
    {LBXNodeHead, "Head", "Neck", {0, 0.2f, 0.15f}},
};

}  // namespace

TestRig quadruped()
{
    TestRig rig;
    rig.unitName = "test quadruped";
    rig.nodes = {{"unit", -1, {0, 0, 0}}, {"y_up", 0, {0, 0, 0}}};
    for (const Bone& bone : kQuadruped) add_joint(rig, bone.nodeId, bone.name, bone.parent, bone.offset);
    return rig;
}

TestRig biped_with_hands()
{
    TestRig rig = biped();
    for (Mapped& mapped : rig.mapping)  // knees a little bent, as people stand
    {
        if (mapped.nodeId == LBXNodeLeftLeg || mapped.nodeId == LBXNodeRightLeg) mapped.stance[2] += 0.03f;
    }
    rig.nodes[rig.nodeIndex("LeftLeg")].offset[2] = rig.nodes[rig.nodeIndex("RightLeg")].offset[2] = 0.03f;
    rig.nodes[rig.nodeIndex("LeftFoot")].offset[2] = rig.nodes[rig.nodeIndex("RightFoot")].offset[2] = -0.03f;
    add_joint(rig, LBXNodeLeftToeBase, "LeftToe", "LeftFoot", {0, -0.06f, 0.12f});
    add_joint(rig, LBXNodeRightToeBase, "RightToe", "RightFoot", {0, -0.06f, 0.12f});
    add_hand(rig, true);
    add_hand(rig, false);
    return rig;
}

}  // namespace test_engine
