#include "host/unit_nodes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/animation/pose_math.h"
#include "host/murmur.h"

namespace limbrex_host
{
namespace
{

constexpr int32_t kReferenceTemplateNode = 0;
constexpr int32_t kZUpNode = 1;

// Places in a compiled character.
constexpr size_t kHeaderSize = 128;
constexpr size_t kMappingSize = 8;
constexpr size_t kStanceSize = 48;
constexpr size_t kParentOffsetSize = 76;
constexpr size_t kParentHashes = 52;
constexpr size_t kParentHashCount = 6;
constexpr uint32_t kNoParent = 0xFFFFFFFFu;

struct Section
{
    uint32_t offset;
    uint32_t count;
};

template <class Value>
Value read_at(const void* block, size_t offset)
{
    Value value;
    std::memcpy(&value, static_cast<const char*>(block) + offset, sizeof value);
    return value;
}

NodePose stance_pose(const void* block, size_t offset)
{
    const auto floats = read_at<std::array<float, 12>>(block, offset);
    NodePose pose;
    std::copy(floats.begin(), floats.begin() + 3, pose.position.begin());
    std::copy(floats.begin() + 4, floats.begin() + 8, pose.rotation.begin());
    std::copy(floats.begin() + 8, floats.begin() + 11, pose.scale.begin());
    return pose;
}

bool finite(const NodePose& pose)
{
    const auto is_number = [](float value) { return std::isfinite(value); };
    return std::all_of(pose.position.begin(), pose.position.end(), is_number) &&
           std::all_of(pose.rotation.begin(), pose.rotation.end(), is_number) &&
           std::all_of(pose.scale.begin(), pose.scale.end(), is_number);
}

NodePose node_pose_of(const JointPose& pose) { return {pose.translation, pose.rotation, pose.scale}; }

RigidPose rigid_of(const NodePose& pose) { return {to_vec3d(pose.position), normalized(to_quatd(pose.rotation))}; }

NodePose z_up_pose()
{
    NodePose pose;
    pose.rotation = {std::sqrt(0.5f), 0.0f, 0.0f, std::sqrt(0.5f)};
    return pose;
}

int32_t joint_with_hash(const Skeleton& skeleton, uint32_t hash)
{
    const auto found = std::find_if(skeleton.joints.begin(), skeleton.joints.end(),
                                    [hash](const Joint& joint) { return node_name_hash(joint.name) == hash; });
    return found == skeleton.joints.end() ? -1 : static_cast<int32_t>(found - skeleton.joints.begin());
}

// A name that gives the rig's hash, if the host can know one.
std::string made_reference_name(const RigNodes* rig)
{
    if (rig != nullptr && !rig->referenceName.empty()) { return rig->referenceName; }
    for (const char* const name : {"reference", "Reference", "root", "Root"})
    {
        if (rig != nullptr && rig->hasReference && node_name_hash(name) == rig->referenceHash) { return name; }
    }
    return kReferenceName;
}

}  // namespace

bool read_rig_nodes(const void* block, size_t size, RigNodes& rig, std::string& error)
{
    const auto within = [size](const Section& section, size_t record) { return section.offset + uint64_t{section.count} * record <= size; };
    if (block == nullptr || size < kHeaderSize)
    {
        error = "the compiled rig is shorter than its header";
        return false;
    }
    const auto mapping = read_at<Section>(block, 8);
    const auto stance = read_at<Section>(block, 16);
    const auto offsets = read_at<Section>(block, 24);
    if (!within(mapping, kMappingSize) || !within(stance, kStanceSize) || !within(offsets, kParentOffsetSize))
    {
        error = "the compiled rig names records past its end";
        return false;
    }
    RigNodes read;
    read.referenceName = rig.referenceName;
    for (uint32_t i = 0; i < mapping.count; ++i)
    {
        const auto record = read_at<RigNodes::Mapped>(block, mapping.offset + i * kMappingSize);
        read.mapped.push_back(record);
        if (record.templateNode != kReferenceTemplateNode || read.hasReference) { continue; }
        read.hasReference = true;
        read.referenceHash = record.nameHash;
        if (i < stance.count) { read.referencePose = stance_pose(block, stance.offset + i * kStanceSize); }
    }
    if (!finite(read.referencePose)) { read.referencePose = {}; }
    for (uint32_t i = 0; i < offsets.count; ++i)
    {
        for (size_t level = 0; level < kParentHashCount; ++level)
        {
            const auto hash = read_at<uint32_t>(block, offsets.offset + i * kParentOffsetSize + kParentHashes + 4 * level);
            if (hash != kNoParent) { read.parentHashes.push_back(hash); }
        }
    }
    rig = read;
    return true;
}

std::string reference_name_in_source(const std::string& text)
{
    const nlohmann::json source = nlohmann::json::parse(text, nullptr, false, true);
    if (!source.is_object() || !source.contains("bones_mapping") || !source["bones_mapping"].is_array()) { return {}; }
    for (const nlohmann::json& element : source["bones_mapping"])
    {
        const bool complete = element.is_object() && element.contains("id") && element["id"].is_number() && element.contains("bone") &&
                              element["bone"].is_string();
        if (complete && element["id"].get<double>() == static_cast<double>(kReferenceTemplateNode))
        {
            return element["bone"].get<std::string>();
        }
    }
    return {};
}

void build_unit_nodes(const Skeleton& skeleton, const RigNodes* rig, HostNodeTree& tree, UnitLayout& layout)
{
    add_node(tree, "#unit", -1, local_pose_from(NodePose{}));
    add_node(tree, "#z_up", 0, local_pose_from(z_up_pose()));
    const bool has_reference = rig != nullptr && rig->hasReference;
    const int32_t reference_joint =
        has_reference ? joint_with_hash(skeleton, rig->referenceHash) : joint_with_hash(skeleton, node_name_hash(kReferenceName));
    layout.madeReference = reference_joint < 0;
    if (has_reference) { layout.referencePose = rig->referencePose; }
    else if (reference_joint >= 0) { layout.referencePose = node_pose_of(skeleton.joints[static_cast<size_t>(reference_joint)].rest); }
    if (layout.madeReference)
    {
        layout.referenceNode = add_node(tree, made_reference_name(rig), kZUpNode, local_pose_from(layout.referencePose));
    }
    const auto top = static_cast<int32_t>(tree.node_count()) - 1;
    for (const Joint& joint : skeleton.joints)
    {
        const int32_t parent = joint.parent < 0 ? top : static_cast<int32_t>(layout.jointNodes[static_cast<size_t>(joint.parent)]);
        layout.jointNodes.push_back(add_node(tree, joint.name, parent, local_pose_from(node_pose_of(joint.rest))));
    }
    if (reference_joint >= 0) { layout.referenceNode = layout.jointNodes[static_cast<size_t>(reference_joint)]; }
    finish_tree(tree);
    std::vector<JointPose> rest;
    for (const Joint& joint : skeleton.joints) { rest.push_back(joint.rest); }
    pose_joints(skeleton, layout, rest, {0.0f, 0.0f, 0.0f}, tree);
}

std::vector<int32_t> missing_bones(const RigNodes& rig, const HostNodeTree& tree)
{
    std::vector<int32_t> missing;
    for (const RigNodes::Mapped& mapped : rig.mapped)
    {
        const bool there = std::find(tree.nameHashes.begin(), tree.nameHashes.end(), mapped.nameHash) != tree.nameHashes.end();
        if (!there) { missing.push_back(mapped.templateNode); }
    }
    return missing;
}

void pose_joints(const Skeleton& skeleton, const UnitLayout& layout, const std::vector<JointPose>& poses, const std::array<float, 3>& shift,
                 HostNodeTree& tree)
{
    // The reference as the clip would have it, seen from the reference as it stands.
    RigidPose animated;
    for (size_t j = 0; j < skeleton.joints.size(); ++j)
    {
        if (layout.jointNodes[j] == layout.referenceNode) { animated = to_rigid(poses[j]); }
    }
    const RigidPose moved{to_vec3d(shift) + animated.position, animated.rotation};
    const RigidPose below_reference = inverse(rigid_of(layout.referencePose)) * moved;

    for (size_t j = 0; j < skeleton.joints.size(); ++j)
    {
        const uint32_t node = layout.jointNodes[j];
        NodePose pose = node_pose_of(poses[j]);
        if (node == layout.referenceNode) { pose = layout.referencePose; }
        else if (tree.parents[node] == static_cast<int32_t>(layout.referenceNode))
        {
            const RigidPose local = below_reference * to_rigid(poses[j]);
            pose.position = to_floats(local.position);
            pose.rotation = to_floats(local.rotation);
        }
        const LocalPose local = local_pose_from(pose);
        if (std::memcmp(&local, &tree.locals[node], sizeof local) == 0) { continue; }
        tree.locals[node] = local;
        mark_changed(tree, node);
    }
}

}  // namespace limbrex_host
