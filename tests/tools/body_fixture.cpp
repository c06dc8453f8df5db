#include "tests/tools/body_fixture.h"

#include <algorithm>

namespace limbrex_tests
{

using limbrex_host::Joint;
using limbrex_host::Skeleton;

namespace
{

constexpr int kNodes[] = {LBXNodeHips,
                          LBXNodeSpine,
                          LBXNodeSpine1,
                          LBXNodeNeck,
                          LBXNodeHead,
                          LBXNodeLeftShoulder,
                          LBXNodeLeftArm,
                          LBXNodeLeftForeArm,
                          LBXNodeLeftHand,
                          LBX_NODE_FINGER(0, 0, 1),
                          LBX_NODE_FINGER(0, 1, 1),
                          LBX_NODE_FINGER(0, 1, 2),
                          LBXNodeLeftUpLeg,
                          LBXNodeLeftLeg,
                          LBXNodeLeftFoot,
                          LBXNodeLeftToeBase};

NameConvention convention(const char* title, const char* left, const char* right, const std::vector<const char*>& names)
{
    NameConvention result{title, left, right, {}};
    for (size_t i = 0; i < names.size(); ++i) { result.names.emplace_back(kNodes[i], names[i]); }
    return result;
}

}  // namespace

const std::vector<NameConvention>& name_conventions()
{
    // clang-format off
    static const std::vector<NameConvention> conventions{
        convention("capture studio", "Left", "Right",
                   {"Hips", "Spine", "Spine1", "Neck", "Head", "{S}Shoulder", "{S}Arm", "{S}ForeArm", "{S}Hand", "{S}HandThumb1", "{S}HandIndex1",
                    "{S}HandIndex2", "{S}UpLeg", "{S}Leg", "{S}Foot", "{S}ToeBase"}),
        convention("prefixed capture studio", "Left", "Right",
                   {"rig:Hips", "rig:Spine", "rig:Spine1", "rig:Neck", "rig:Head", "rig:{S}Shoulder", "rig:{S}Arm", "rig:{S}ForeArm", "rig:{S}Hand",
                    "rig:{S}HandThumb1", "rig:{S}HandIndex1", "rig:{S}HandIndex2", "rig:{S}UpLeg", "rig:{S}Leg", "rig:{S}Foot", "rig:{S}ToeBase"}),
        convention("collar, elbow, wrist", "Left", "Right",
                   {"Hips", "lowerback", "Chest", "Neck", "Head", "{S}Collar", "{S}Shoulder", "{S}Elbow", "{S}Wrist", "{S}Thumb", "{S}Index1",
                    "{S}Index2", "{S}Hip", "{S}Knee", "{S}Ankle", "{S}Toe"}),
        convention("short names", "l", "r",
                   {"hip", "abdomen", "chest", "neck", "head", "{S}Collar", "{S}Shldr", "{S}ForeArm", "{S}Hand", "{S}Thumb1", "{S}Index1",
                    "{S}Index2", "{S}Thigh", "{S}Shin", "{S}Foot", "{S}Toe"}),
        convention("humanoid of interchange files", "left", "right",
                   {"hips", "spine", "chest", "neck", "head", "{S}Shoulder", "{S}UpperArm", "{S}LowerArm", "{S}Hand", "{S}ThumbProximal",
                    "{S}IndexProximal", "{S}IndexIntermediate", "{S}UpperLeg", "{S}LowerLeg", "{S}Foot", "{S}Toes"}),
        convention("engine, side last", "l", "r",
                   {"pelvis", "spine_01", "spine_02", "neck_01", "head", "clavicle_{S}", "upperarm_{S}", "lowerarm_{S}", "hand_{S}", "thumb_01_{S}",
                    "index_01_{S}", "index_02_{S}", "thigh_{S}", "calf_{S}", "foot_{S}", "ball_{S}"}),
        convention("numbered fingers", "L", "R",
                   {"Bip01 Pelvis", "Bip01 Spine", "Bip01 Spine1", "Bip01 Neck", "Bip01 Head", "Bip01 {S} Clavicle", "Bip01 {S} UpperArm",
                    "Bip01 {S} Forearm", "Bip01 {S} Hand", "Bip01 {S} Finger0", "Bip01 {S} Finger1", "Bip01 {S} Finger11", "Bip01 {S} Thigh",
                    "Bip01 {S} Calf", "Bip01 {S} Foot", "Bip01 {S} Toe0"}),
        convention("side as an ending", "L", "R",
                   {"DEF-hips", "DEF-spine.001", "DEF-spine.002", "DEF-neck", "DEF-head", "DEF-shoulder.{S}", "DEF-upper_arm.{S}", "DEF-forearm.{S}",
                    "DEF-hand.{S}", "DEF-thumb.01.{S}", "DEF-index.01.{S}", "DEF-index.02.{S}", "DEF-thigh.{S}", "DEF-shin.{S}", "DEF-foot.{S}",
                    "DEF-toe.{S}"}),
        convention("lower case, glued sides", "left", "right",
                   {"root_hips", "torso", "chest", "neck", "head", "{S}collar", "{S}upperarm", "{S}lowerarm", "{S}hand", "{S}thumb", "{S}_index_1",
                    "{S}_index_2", "{S}thigh", "{S}calf", "{S}foot", "{S}toes"}),
    };
    // clang-format on
    return conventions;
}

int right_twin(int node)
{
    const std::string name = LBXGetNodeNameFromId(node);
    return name.compare(0, 4, "Left") == 0 ? LBXGetNodeIdFromName(("Right" + name.substr(4)).c_str()) : node;
}

std::string side_name(const char* pattern, const char* side)
{
    std::string name = pattern;
    const size_t place = name.find("{S}");
    return place == std::string::npos ? name : name.replace(place, 3, side);
}

Skeleton build_body(const NameConvention& convention)
{
    Skeleton skeleton;
    std::vector<std::pair<int, int32_t>> placed;  // template node, joint
    const auto place = [&](const BodyJoint& body, int node, int parent, const std::string& name, float mirror)
    {
        const auto found = std::find_if(placed.begin(), placed.end(), [parent](const auto& p) { return p.first == parent; });
        Joint joint{name, found == placed.end() ? -1 : found->second, {}, false};
        joint.rest.translation = {mirror * body.offset[0], body.offset[1], body.offset[2]};
        placed.emplace_back(node, static_cast<int32_t>(skeleton.joints.size()));
        skeleton.joints.push_back(joint);
    };
    for (const BodyJoint& body : kBodyJoints)
    {
        const auto pattern =
            std::find_if(convention.names.begin(), convention.names.end(), [&](const auto& n) { return n.first == body.node; });
        if (pattern == convention.names.end()) { continue; }
        place(body, body.node, body.parent, side_name(pattern->second, convention.left), 1.0f);
        const int twin = right_twin(body.node);
        if (twin == body.node) { continue; }
        place(body, twin, right_twin(body.parent), side_name(pattern->second, convention.right), -1.0f);
    }
    return skeleton;
}

Skeleton plain_body() { return build_body(name_conventions().front()); }

int32_t joint_index(const Skeleton& skeleton, const std::string& name)
{
    for (size_t j = 0; j < skeleton.joints.size(); ++j)
    {
        if (skeleton.joints[j].name == name) { return static_cast<int32_t>(j); }
    }
    return -1;
}

void set_rest_offset(Skeleton& skeleton, const std::string& joint, float x, float y, float z)
{
    skeleton.joints[static_cast<size_t>(joint_index(skeleton, joint))].rest.translation = {x, y, z};
}

}  // namespace limbrex_tests
