// The nodes of one unit: local poses that animation and plugin write, world poses that follow from them.
//
// A rotation's rows are the node's axes, so points are row vectors: p_world = p_local * world. Lengths of a world pose's rows are its scale.
// Whoever writes a local pose sets the node's bit in the changed flags; propagate() brings what hangs below up to date.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/recording.h"
#include "plugin/limbrex_plugin.h"

namespace limbrex_host
{

struct WorldPose
{
    float m[16];  // rows 0 to 2 the axes, row 3 the position
};

LocalPose local_pose_from(const NodePose& pose);
NodePose node_pose_from(const LocalPose& pose);
NodePose node_pose_from(const WorldPose& pose);  // scales from the lengths of the rows; a mirrored pose carries it in the last scale
bool is_finite(const LocalPose& pose);

// Row-vector product: first `local`, then `parent`.
WorldPose combine(const LocalPose& local, const WorldPose& parent);

struct HostNodeTree
{
    std::vector<std::string> names;
    std::vector<int32_t> parents;  // an earlier node, -1 for the root
    std::vector<uint32_t> nameHashes;
    std::vector<LocalPose> locals;
    std::vector<WorldPose> worlds;
    std::vector<uint32_t> changedWords;  // bit 0 "some node", bit i + 1 "node i"
    ChangedFlags changed{nullptr};       // what the plugin sees of them
    std::vector<uint8_t> movedNodes;     // of the last propagate: 1 for every node whose world pose was computed anew

    uint32_t node_count() const { return static_cast<uint32_t>(names.size()); }
    int32_t find(std::string_view name) const;  // -1 when no node has that name
};

// A tree of nodes at the origin. Parents must come first. Returns the new node's index.
uint32_t add_node(HostNodeTree& tree, std::string_view name, int32_t parent, const LocalPose& local);
// To be called once all nodes are there: everything is marked changed.
void finish_tree(HostNodeTree& tree);

void mark_changed(HostNodeTree& tree, uint32_t node);
bool is_changed(const HostNodeTree& tree, uint32_t node);
void clear_changed(HostNodeTree& tree);

// World poses of changed nodes and of everything below them; then no node is changed. Returns the number of poses computed.
uint32_t propagate(HostNodeTree& tree);

}  // namespace limbrex_host
