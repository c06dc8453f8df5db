#include "tools/rig/joint_mapping.h"

#include <fmt/format.h>

#include <cstdlib>
#include <map>

namespace limbrex_tools
{

using limbrex_host::Skeleton;

namespace
{

int32_t find_joint(const Skeleton& skeleton, const std::string& name)
{
    for (size_t j = 0; j < skeleton.joints.size(); ++j)
    {
        if (skeleton.joints[j].name == name) { return static_cast<int32_t>(j); }
    }
    return -1;
}

}  // namespace

bool is_ancestor(const Skeleton& skeleton, int32_t ancestor, int32_t joint)
{
    while (joint > ancestor) { joint = skeleton.joints[static_cast<size_t>(joint)].parent; }  // parents come first
    return joint == ancestor;
}

bool map_joints_as_given(const Skeleton& skeleton, const NamedPairs& pairs, JointMapping& mapping, std::string& error)
{
    std::map<int32_t, std::string> taken;
    for (const auto& [node_name, joint_name] : pairs)
    {
        const int node = LBXGetNodeIdFromName(node_name.c_str());
        if (node < 0)
        {
            error = fmt::format("\"{}\" is no template node; names are case-sensitive, for example \"LeftUpLeg\"", node_name);
            return false;
        }
        if (node == LBXNodeReference) { continue; }
        const int32_t joint = find_joint(skeleton, joint_name);
        if (joint < 0)
        {
            error = fmt::format("{} is mapped to \"{}\", which the skeleton does not have", node_name, joint_name);
            return false;
        }
        const auto [other, fresh] = taken.emplace(joint, node_name);
        if (!fresh || mapping.has(node))
        {
            error = fresh ? fmt::format("{} is mapped twice", node_name)
                          : fmt::format("joint \"{}\" is mapped to {} and to {}", joint_name, other->second, node_name);
            return false;
        }
        mapping.joint[static_cast<size_t>(node)] = joint;
    }
    if (!mapping.has(LBXNodeHips)) { return error = "the map names no joint for Hips, which every rig needs", false; }
    return true;
}

std::array<int, LBXLastNodeId> template_parents(const JointMapping& mapping)
{
    std::array<int, LBXLastNodeId> parents{};
    parents.fill(-1);
    LBXCharacterDefinition definition{};
    definition.nodeFlags[LBXNodeReference] = LBXNodeUsed;
    for (int node = 1; node < LBXLastNodeId; ++node)
    {
        if (mapping.has(node)) { definition.nodeFlags[node] = LBXNodeUsed; }
    }

    LBXCharacter* character = LBXCharacterCreate(&definition, std::malloc);
    if (character == nullptr) { return parents; }
    for (int node = 1; node < LBXLastNodeId; ++node)
    {
        if (mapping.has(node)) { parents[static_cast<size_t>(node)] = LBXGetParentNodeId(character, node); }
    }
    LBXCharacterDestroy(character, std::free);
    return parents;
}

void drop_nodes_outside_their_parent(const Skeleton& skeleton, JointMapping& mapping)
{
    for (bool dropped = true; dropped;)  // a dropped node may leave its children with another parent
    {
        dropped = false;
        const std::array<int, LBXLastNodeId> parents = template_parents(mapping);
        for (int node = 2; node < LBXLastNodeId; ++node)
        {
            const int parent = parents[static_cast<size_t>(node)];
            const int32_t joint = mapping.joint[static_cast<size_t>(node)];
            if (joint < 0 || parent == LBXNodeReference) { continue; }
            const std::string& joint_name = skeleton.joints[static_cast<size_t>(joint)].name;
            const int32_t parent_joint = parent > 0 ? mapping.joint[static_cast<size_t>(parent)] : -1;
            if (parent_joint >= 0 && parent_joint != joint && is_ancestor(skeleton, parent_joint, joint)) { continue; }
            mapping.notes.push_back(
                parent_joint < 0 ? fmt::format("{} (joint \"{}\") is left out: the node it would hang from is not mapped",
                                               LBXGetNodeNameFromId(node), joint_name)
                                 : fmt::format("{} (joint \"{}\") is left out: the joint does not hang below \"{}\", which is its {}",
                                               LBXGetNodeNameFromId(node), joint_name,
                                               skeleton.joints[static_cast<size_t>(parent_joint)].name, LBXGetNodeNameFromId(parent)));
            mapping.joint[static_cast<size_t>(node)] = -1;
            dropped = true;
            break;
        }
    }
}

std::vector<int32_t> joints_between(const Skeleton& skeleton, const JointMapping& mapping, int node, int template_parent)
{
    const int32_t stop = template_parent >= 0 ? mapping.joint[static_cast<size_t>(template_parent)] : -1;
    std::vector<int32_t> between;
    int32_t joint = skeleton.joints[static_cast<size_t>(mapping.joint[static_cast<size_t>(node)])].parent;
    for (; joint >= 0 && joint != stop; joint = skeleton.joints[static_cast<size_t>(joint)].parent) { between.push_back(joint); }
    return between;
}

}  // namespace limbrex_tools
