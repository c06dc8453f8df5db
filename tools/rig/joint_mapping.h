// Which joint of a skeleton plays which node of the template.
//
// Names say what a joint is called, the tree says what it can be: the hips are the joint that legs and trunk share, the spine runs from
// there to the joint that arms and head share, and a node is mapped only below the joint of its template parent. What lies in between
// is carried along as parent offsets.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "host/animation/clip.h"
#include "limbrex/limbrex.h"

namespace limbrex_tools
{

struct JointMapping
{
    std::array<int32_t, LBXLastNodeId> joint;  // joint index per template node, -1 where unmapped
    std::vector<std::string> notes;            // decisions and nodes left out, with the reason

    JointMapping() { joint.fill(-1); }
    bool has(int node) const { return joint[static_cast<size_t>(node)] >= 0; }
};

// Pairs of template node name and joint name, as a map file gives them.
using NamedPairs = std::vector<std::pair<std::string, std::string>>;

// By names and tree alone. False with `error` when there are no hips to build a body on.
bool map_joints_by_name(const limbrex_host::Skeleton& skeleton, JointMapping& mapping, std::string& error);

// As given. False with `error` at a node or joint that does not exist, or at one used twice.
bool map_joints_as_given(const limbrex_host::Skeleton& skeleton, const NamedPairs& pairs, JointMapping& mapping, std::string& error);

// The template parent of every mapped node in a rig with these nodes, -1 for none. Reference is 0 and always there.
std::array<int, LBXLastNodeId> template_parents(const JointMapping& mapping);

// Nodes whose joint is not below their template parent's joint cannot follow it; they are unmapped, with a note each.
void drop_nodes_outside_their_parent(const limbrex_host::Skeleton& skeleton, JointMapping& mapping);

// Joints between a node's joint and its template parent's joint, nearest first (Hips: all joints above it, up to one
// that plays Reference).
std::vector<int32_t> joints_between(const limbrex_host::Skeleton& skeleton, const JointMapping& mapping, int node, int template_parent);

bool is_ancestor(const limbrex_host::Skeleton& skeleton, int32_t ancestor, int32_t joint);  // true for the joint itself

}  // namespace limbrex_tools
