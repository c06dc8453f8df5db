#include "tools/rig/rig_init.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/rig/contact_sizes.h"

namespace limbrex_tools
{

using namespace limbrex_host;

namespace
{

constexpr int kExpectedNodes[] = {
    LBXNodeSpine,       LBXNodeNeck,      LBXNodeHead,          LBXNodeLeftShoulder, LBXNodeLeftArm,
    LBXNodeLeftForeArm, LBXNodeLeftHand,  LBXNodeRightShoulder, LBXNodeRightArm,     LBXNodeRightForeArm,
    LBXNodeRightHand,   LBXNodeLeftUpLeg, LBXNodeLeftLeg,       LBXNodeLeftFoot,     LBXNodeLeftToeBase,
    LBXNodeRightUpLeg,  LBXNodeRightLeg,  LBXNodeRightFoot,     LBXNodeRightToeBase,
};

// The pose that the stance is made from: one local pose per joint.
bool source_pose(const Asset& asset, const RigInitOptions& options, std::vector<JointPose>& locals, std::string& error)
{
    for (const Joint& joint : asset.skeleton.joints) { locals.push_back(joint.rest); }
    if (!options.frame) { return true; }
    if (asset.clips.empty() || *options.frame >= asset.clips.front().frameCount)
    {
        error = asset.clips.empty() ? std::string("the file has no clip to take a frame from; leave --frame out")
                                    : fmt::format("frame {} of clip \"{}\" does not exist; it has frames 0 to {}", *options.frame,
                                                  asset.clips.front().name, asset.clips.front().frameCount - 1);
        return false;
    }
    const auto first = asset.clips.front().poses.begin() + static_cast<std::ptrdiff_t>(*options.frame * locals.size());
    std::copy(first, first + static_cast<std::ptrdiff_t>(locals.size()), locals.begin());
    return true;
}

MappedBone mapped_bone(const Skeleton& skeleton, const RigInitResult& result, int node)
{
    MappedBone bone;
    const auto joint = static_cast<size_t>(result.mapping.joint[static_cast<size_t>(node)]);
    const RigidPose& pose = result.stance.joints[joint];
    bone.node = node;
    bone.bone = skeleton.joints[joint].name;
    bone.stance.translation = {pose.position.x, pose.position.y, pose.position.z};
    const Quatd q = pose.rotation.w < 0.0 ? -pose.rotation : pose.rotation;
    bone.stance.rotation = {q.x, q.y, q.z, q.w};
    return bone;
}

// The host's reference node has no pose of its own: on the floor below the hips, along the axes.
MappedBone reference_bone(const Skeleton& skeleton, const RigInitOptions& options, const RigInitResult& result)
{
    if (result.mapping.has(LBXNodeReference)) { return mapped_bone(skeleton, result, LBXNodeReference); }
    MappedBone bone;
    bone.node = LBXNodeReference;
    bone.bone = options.reference;
    return bone;
}

// A joint of the file may play Reference when it stands still; it has to be above the hips.
bool map_reference(const Skeleton& skeleton, const RigInitOptions& options, JointMapping& mapping, std::string& error)
{
    for (size_t j = 0; j < skeleton.joints.size(); ++j)
    {
        if (skeleton.joints[j].name == options.reference) { mapping.joint[LBXNodeReference] = static_cast<int32_t>(j); }
    }
    const int32_t reference = mapping.joint[LBXNodeReference];
    const int32_t hips = mapping.joint[LBXNodeHips];
    if (reference < 0 || (reference != hips && is_ancestor(skeleton, reference, hips))) { return true; }
    error = fmt::format("joint \"{}\" cannot be the reference: the hips (joint \"{}\") do not hang below it. Name another with --reference",
                        options.reference, skeleton.joints[static_cast<size_t>(hips)].name);
    return false;
}

bool fill_parent_offsets(const Skeleton& skeleton, RigInitResult& result, std::string& error)
{
    const std::array<int, LBXLastNodeId> parents = template_parents(result.mapping);
    for (int node = 1; node < LBXLastNodeId; ++node)
    {
        if (!result.mapping.has(node)) { continue; }
        ParentOffset offset;
        offset.node = node;
        for (const int32_t joint : joints_between(skeleton, result.mapping, node, parents[static_cast<size_t>(node)]))
        {
            offset.parents.push_back(skeleton.joints[static_cast<size_t>(joint)].name);
        }
        if (offset.parents.empty()) { continue; }
        if (offset.parents.size() > kParentOffsetCapacity)
        {
            error = fmt::format("{} (joint \"{}\") has {} unmapped joints between it and its {}; at most {} can be carried along. Map some "
                                "of them ({} ... {}) with --map, or take joints out of the skeleton",
                                LBXGetNodeNameFromId(node),
                                skeleton.joints[static_cast<size_t>(result.mapping.joint[static_cast<size_t>(node)])].name,
                                offset.parents.size(), LBXGetNodeNameFromId(parents[static_cast<size_t>(node)]), kParentOffsetCapacity,
                                offset.parents.front(), offset.parents.back());
            return false;
        }
        result.source.parentOffsets.push_back(std::move(offset));
    }
    return true;
}

void list_leftovers(const Skeleton& skeleton, RigInitResult& result)
{
    const auto& used = result.mapping.joint;
    for (size_t j = 0; j < skeleton.joints.size(); ++j)
    {
        const bool mapped = std::find(used.begin(), used.end(), static_cast<int32_t>(j)) != used.end();
        if (!mapped && !skeleton.joints[j].endSite) { result.unmapped.push_back(skeleton.joints[j].name); }
    }
    for (const int node : kExpectedNodes)
    {
        if (!result.mapping.has(node)) { result.missing.push_back(LBXGetNodeNameFromId(node)); }
    }
}

// Whole characters only: a cut within one would leave bytes that no reader accepts.
std::string cut_name(const std::string& name)
{
    if (name.size() <= kUnitNameCapacity) { return name; }
    size_t end = kUnitNameCapacity;
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0u) == 0x80u) { --end; }
    return name.substr(0, end);
}

}  // namespace

bool init_rig(const Asset& asset, const RigInitOptions& options, RigInitResult& result, std::string& error)
{
    const Skeleton& skeleton = asset.skeleton;
    std::vector<JointPose> locals;
    if (skeleton.joints.empty()) { return error = "the file has no joints", false; }
    if (!source_pose(asset, options, locals, error)) { return false; }
    const bool mapped = options.map ? map_joints_as_given(skeleton, *options.map, result.mapping, error)
                                    : map_joints_by_name(skeleton, result.mapping, error);
    if (!mapped || !map_reference(skeleton, options, result.mapping, error)) { return false; }
    drop_nodes_outside_their_parent(skeleton, result.mapping);

    result.stance = build_stance(skeleton, result.mapping, locals.data(), !options.frame, options.stance);
    const double sole_m = sole_thickness(result.mapping, result.stance);
    for (RigidPose& joint : result.stance.joints) { joint.position.y += sole_m; }  // soles, not toe joints, on the floor

    result.source.unitName = cut_name(options.unitName);
    result.source.bones.push_back(reference_bone(skeleton, options, result));
    for (int node = 1; node < LBXLastNodeId; ++node)
    {
        if (result.mapping.has(node)) { result.source.bones.push_back(mapped_bone(skeleton, result, node)); }
    }
    if (!fill_parent_offsets(skeleton, result, error)) { return false; }
    result.source.foot = measure_foot(skeleton, result.mapping, result.stance);
    result.source.hand = measure_hand(skeleton, result.mapping, result.stance);
    list_leftovers(skeleton, result);
    return true;
}

}  // namespace limbrex_tools
