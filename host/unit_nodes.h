// A unit's node tree from an asset's skeleton and the rig that goes with it.
//
//   0  "#unit"        the unit's place in the world
//   1  "#z_up"        turns the asset's y up into the world's z up: (x, y, z) -> (x, -z, y)
//   2  the reference  the node that the rig maps to Reference, unless that is one of the asset's joints; on the floor under the character
//   3+ the joints     in the asset's order
// The reference always keeps the pose that the rig gives it: goals and pose share a frame only while it does.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/animation/clip.h"
#include "host/node_tree.h"
#include "host/recording.h"

namespace limbrex_host
{

constexpr const char* kReferenceName = "reference";  // of the made reference node, when the rig does not say another

// What the host needs to know of a compiled character.
struct RigNodes
{
    struct Mapped
    {
        int32_t templateNode;
        uint32_t nameHash;
    };
    std::vector<Mapped> mapped;
    std::vector<uint32_t> parentHashes;  // nodes that parent offsets name
    bool hasReference = false;
    uint32_t referenceHash = 0;
    NodePose referencePose;     // its T-stance
    std::string referenceName;  // from the rig's source where there is one
};

// False with `error` for a block whose counts and offsets do not fit its size.
bool read_rig_nodes(const void* block, size_t size, RigNodes& rig, std::string& error);
// The bone that a rig source maps to Reference; empty when it does not say.
std::string reference_name_in_source(const std::string& text);

struct UnitLayout
{
    uint32_t referenceNode = 0;
    bool madeReference = false;  // not a joint of the asset
    NodePose referencePose;
    std::vector<uint32_t> jointNodes;  // node of each joint
};

// `rig` may be null for a unit without one. The tree stands in the skeleton's rest pose.
void build_unit_nodes(const Skeleton& skeleton, const RigNodes* rig, HostNodeTree& tree, UnitLayout& layout);

// Template nodes of the rig whose bone this tree does not have.
std::vector<int32_t> missing_bones(const RigNodes& rig, const HostNodeTree& tree);

// Writes joint poses (one per joint) as local poses and marks them changed. What is directly below the reference takes over the
// reference's own animation, preceded by `shift` in the frame above it (asset frame, y up).
void pose_joints(const Skeleton& skeleton, const UnitLayout& layout, const std::vector<JointPose>& poses, const std::array<float, 3>& shift,
                 HostNodeTree& tree);

}  // namespace limbrex_host
