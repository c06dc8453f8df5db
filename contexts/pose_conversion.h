// Between the engine's pose records and the library's transforms. The engine keeps a rotation as three rows, row r being the
// node's axis r in its parent; the library keeps it as a quaternion.
#pragma once

#include "contexts/spatial.h"
#include "plugin/limbrex_plugin.h"

// One node's transform as the library's bulk transfers read and write it.
struct alignas(16) NodeTQS
{
    Vec4 translation;
    Quat rotation;
    Vec4 scale;
};
static_assert(sizeof(NodeTQS) == 48, "three four-float groups a record");

// `axes`: nine floats, three rows. Proper rotations give unit quaternions; w is not negative while the trace is not.
Quat quat_from_axes(const float* axes);

// Nine floats. A quaternion of any length gives the rotation of its direction; one of no length the identity.
void axes_from_quat(Quat q, float* axes);

// Makes the first three rows of a 4 x 4 matrix a right-handed orthonormal frame: row 0 keeps its direction, row 1 its half plane. A row
// shorter than 1e-4 has no direction left and becomes zero.
void orthonormalize_rows(float* matrix);

// The rotation of such a matrix, by its first three rows.
Quat quat_from_matrix_rows(const float* matrix);

// False when any number of the record is not finite.
bool read_local_pose(const LocalPose& pose, NodeTQS& node);

// True when writing the node gives finite numbers only.
bool is_writable(const NodeTQS& node);

// Writes rotation and translation; the engine keeps its scale.
void write_local_pose(const NodeTQS& node, LocalPose& pose);

inline Vec4 load3(const float* xyz) { return {xyz[0], xyz[1], xyz[2], 0.0f}; }
