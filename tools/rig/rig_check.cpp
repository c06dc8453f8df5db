#include "tools/rig/rig_check.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "tools/rig/joint_mapping.h"
#include "tools/rig/rig_geometry.h"
#include "tools/rig/rig_reader.h"

namespace limbrex_tools
{
namespace
{

struct Report
{
    std::vector<Finding>& findings;

    void error(std::string place, std::string text) { findings.push_back({Severity::Error, std::move(place), std::move(text)}); }
    void warning(std::string place, std::string text) { findings.push_back({Severity::Warning, std::move(place), std::move(text)}); }
};

JointMapping mapped_nodes(const RigReading& rig)
{
    JointMapping mapping;
    for (size_t i = 0; i < rig.bones.size(); ++i)
    {
        if (rig.bones[i].node >= 0) { mapping.joint[static_cast<size_t>(rig.bones[i].node)] = static_cast<int32_t>(i); }
    }
    return mapping;
}

void check_counts(const RigReading& rig, Report& report)
{
    if (rig.bones.size() > LBXLastNodeId)
    {
        report.error("bones_mapping",
                     fmt::format("has {} elements; there are {} nodes", rig.bones.size(), static_cast<int>(LBXLastNodeId)));
    }
    if (rig.stances.size() == rig.bones.size()) { return; }
    report.error("t_stance", fmt::format("has {} elements and bones_mapping {}; element i is the stance of mapping i, so both need as many",
                                         rig.stances.size(), rig.bones.size()));
}

void check_duplicates(const RigReading& rig, Report& report)
{
    std::map<int, size_t> nodes;
    std::map<std::string, size_t> bones;
    for (size_t i = 0; i < rig.bones.size(); ++i)
    {
        const auto [node, fresh_node] = nodes.emplace(rig.bones[i].node, i);
        if (!fresh_node && rig.bones[i].node >= 0)
        {
            report.error(fmt::format("bones_mapping[{}].id", i),
                         fmt::format("maps {} again; element {} did already", node_text(rig.bones[i].node), node->second));
        }
        const auto [bone, fresh_bone] = bones.emplace(rig.bones[i].bone, i);
        if (!fresh_bone && !rig.bones[i].bone.empty())
        {
            report.error(fmt::format("bones_mapping[{}].bone", i),
                         fmt::format("uses bone \"{}\" again; element {} did already, and one bone can play one node", rig.bones[i].bone,
                                     bone->second));
        }
    }
}

void check_roots(const JointMapping& mapping, Report& report)
{
    if (!mapping.has(LBXNodeReference))
    {
        report.error("bones_mapping", "maps no bone to Reference (id 0); without it the solver does not know where the character stands. "
                                      "Map the node above the hips that does not move by itself");
    }
    if (!mapping.has(LBXNodeHips)) { report.error("bones_mapping", "maps no bone to Hips (id 1), from which legs and spine hang"); }
}

void check_links(const JointMapping& mapping, Report& report)
{
    const std::array<int, LBXLastNodeId> parents = template_parents(mapping);
    for (int node = 1; node < LBXLastNodeId; ++node)
    {
        if (mapping.has(node) && parents[static_cast<size_t>(node)] < 0)
        {
            report.warning(fmt::format("bones_mapping[{}]", mapping.joint[static_cast<size_t>(node)]),
                           fmt::format("{} hangs from nothing: the node before it in its chain is not mapped", node_text(node)));
        }
    }
    constexpr int kLimbs[][3] = {{LBXNodeLeftUpLeg, LBXNodeLeftLeg, LBXNodeLeftFoot},
                                 {LBXNodeRightUpLeg, LBXNodeRightLeg, LBXNodeRightFoot},
                                 {LBXNodeLeftArm, LBXNodeLeftForeArm, LBXNodeLeftHand},
                                 {LBXNodeRightArm, LBXNodeRightForeArm, LBXNodeRightHand}};
    for (const auto& limb : kLimbs)
    {
        const auto mapped = std::count_if(std::begin(limb), std::end(limb), [&](int node) { return mapping.has(node); });
        if (mapped == 3) { continue; }
        report.warning("bones_mapping",
                       fmt::format("{} {}, {}, {} mapped: this limb cannot reach", mapped == 0 ? "has none of" : "has only some of",
                                   LBXGetNodeNameFromId(limb[0]), LBXGetNodeNameFromId(limb[1]), LBXGetNodeNameFromId(limb[2])));
    }
}

void check_parent_offsets(const RigReading& rig, const JointMapping& mapping, Report& report)
{
    std::map<int, size_t> seen;
    for (size_t i = 0; i < rig.parentOffsets.size(); ++i)
    {
        const ParentOffset& offset = rig.parentOffsets[i];
        if (offset.node < 0) { continue; }
        const std::string place = fmt::format("parent_offsets[{}]", i);
        if (!mapping.has(offset.node))
        {
            report.error(place, fmt::format("belongs to {}, which bones_mapping does not map", node_text(offset.node)));
        }
        if (!seen.emplace(offset.node, i).second)
        {
            report.error(place, fmt::format("is a second list for {}; put all parents into one", node_text(offset.node)));
        }
        for (const std::string& parent : offset.parents)
        {
            if (mapping.has(offset.node) && parent == rig.bones[static_cast<size_t>(mapping.joint[static_cast<size_t>(offset.node)])].bone)
            {
                report.error(place, fmt::format("lists \"{}\", which is {} itself", parent, node_text(offset.node)));
            }
        }
    }
}

void check_limits(const RigReading& rig, const JointMapping& mapping, Report& report)
{
    std::map<int, size_t> seen;
    for (const LimitElement& limit : rig.limits)
    {
        if (limit.node < 0) { continue; }
        const std::string place = fmt::format("limits[{}]", limit.index);
        if (!mapping.has(limit.node)) { report.warning(place, fmt::format("limits {}, which is not mapped", node_text(limit.node))); }
        if (!seen.emplace(limit.node, limit.index).second)
        {
            report.error(place, fmt::format("limits {} a second time", node_text(limit.node)));
        }
    }
}

// The rig's mapping as joints of a skeleton; -1 for bones that it does not have.
JointMapping joints_of(const RigReading& rig, const limbrex_host::Skeleton& skeleton)
{
    JointMapping joints;
    for (const RigReading::Bone& bone : rig.bones)
    {
        const auto found =
            std::find_if(skeleton.joints.begin(), skeleton.joints.end(), [&](const auto& joint) { return joint.name == bone.bone; });
        if (bone.node >= 0 && found != skeleton.joints.end())
        {
            joints.joint[static_cast<size_t>(bone.node)] = static_cast<int32_t>(found - skeleton.joints.begin());
        }
    }
    return joints;
}

std::string list(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) { text += (text.empty() ? "\"" : ", \"") + name + "\""; }
    return names.empty() ? "none" : text;
}

void check_against_skeleton(const RigReading& rig, const limbrex_host::Skeleton& skeleton, Report& report)
{
    const JointMapping joints = joints_of(rig, skeleton);
    const std::array<int, LBXLastNodeId> parents = template_parents(joints);
    std::map<int, std::vector<std::string>> listed;
    for (const ParentOffset& offset : rig.parentOffsets) { listed[offset.node] = offset.parents; }

    for (size_t i = 0; i < rig.bones.size(); ++i)
    {
        const int node = rig.bones[i].node;
        if (node < 0 || rig.bones[i].bone.empty()) { continue; }
        const std::string place = fmt::format("bones_mapping[{}]", i);
        if (!joints.has(node))
        {
            if (node == LBXNodeReference) { continue; }  // usually the host's own node above the joints
            report.error(place + ".bone", fmt::format("the skeleton has no joint \"{}\"", rig.bones[i].bone));
            continue;
        }
        const int parent = parents[static_cast<size_t>(node)];
        if (parent < 0) { continue; }
        const int32_t parent_joint = joints.joint[static_cast<size_t>(parent)];
        if (parent_joint >= 0 && (parent_joint == joints.joint[static_cast<size_t>(node)] ||
                                  !is_ancestor(skeleton, parent_joint, joints.joint[static_cast<size_t>(node)])))
        {
            report.error(place, fmt::format("joint \"{}\" does not hang below \"{}\", which plays {}, so {} cannot follow it",
                                            rig.bones[i].bone, skeleton.joints[static_cast<size_t>(parent_joint)].name,
                                            LBXGetNodeNameFromId(parent), LBXGetNodeNameFromId(node)));
            continue;
        }
        std::vector<std::string> between;
        for (const int32_t joint : joints_between(skeleton, joints, node, parent))
        {
            between.push_back(skeleton.joints[static_cast<size_t>(joint)].name);
        }
        if (between == listed[node]) { continue; }
        report.error("parent_offsets", fmt::format("between {} and {} the skeleton has {}, nearest first; the rig lists {}",
                                                   node_text(node), node_text(parent), list(between), list(listed[node])));
    }
}

}  // namespace

std::vector<Finding> check_rig(const nlohmann::json& source, const limbrex_host::Skeleton* skeleton)
{
    std::vector<Finding> findings;
    const RigReading rig = read_rig(source, findings);
    if (!source.is_object()) { return findings; }
    const JointMapping mapping = mapped_nodes(rig);
    Report report{findings};
    check_counts(rig, report);
    check_duplicates(rig, report);
    check_roots(mapping, report);
    check_links(mapping, report);
    check_parent_offsets(rig, mapping, report);
    check_limits(rig, mapping, report);
    check_rig_geometry(rig, findings);
    if (skeleton != nullptr) { check_against_skeleton(rig, *skeleton, report); }
    return findings;
}

bool has_error(const std::vector<Finding>& findings)
{
    return std::any_of(findings.begin(), findings.end(), [](const Finding& finding) { return finding.severity == Severity::Error; });
}

}  // namespace limbrex_tools
