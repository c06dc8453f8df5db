#include "constraints/node_pose.h"

#include <algorithm>

#include "contexts/pose_conversion.h"
#include "resources/host_services.h"

bool read_node_pose(Unit* unit, int32_t node_index, NodePose& pose)
{
    NodeTree* tree = host_services().unit->node_tree(unit);
    if (!tree || node_index < 0 || static_cast<uint32_t>(node_index) >= host_services().nodeTree->node_count(tree)) return false;
    const float* matrix = host_services().nodeTree->world_poses(tree, static_cast<uint32_t>(node_index));
    float rows[16];
    std::copy_n(matrix, 16, rows);
    orthonormalize_rows(rows);
    pose.position_world = load3(matrix + 12);
    pose.rotation_world = quat_from_matrix_rows(rows);
    return is_finite3(pose.position_world) && is_finite4(pose.rotation_world);
}
