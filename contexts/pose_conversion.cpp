#include "contexts/pose_conversion.h"

#include <cmath>
#include <cstddef>

namespace
{

// Below this a row is noise of a collapsed scale, not an axis. In the world's length unit.
constexpr float kShortestAxis = 1e-4f;

// Squared length of a quaternion below which dividing by it overflows: such a one counts as zero.
constexpr float kSmallestSquare = 1e-37f;

Vec4 normalized_axis(Vec4 axis)
{
    const float length = length3(axis);
    return length < kShortestAxis ? kZero4 : scale3(axis, 1.0f / length);
}

float square4(Quat q) { return q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w; }

void store3(Vec4 v, float* xyz)
{
    xyz[0] = v.x;
    xyz[1] = v.y;
    xyz[2] = v.z;
}

}  // namespace

// With a trace t >= 0 the scalar part is at least 1/2 and divides safely; otherwise the largest diagonal element names the
// component of at least 1/2. That branch yields the negative of the textbook sign, which is the same rotation.
Quat quat_from_axes(const float* axes)
{
    const float* m = axes;
    const float trace = m[0] + m[4] + m[8];
    if (trace >= 0.0f)
    {
        const float s = std::sqrt(trace + 1.0f);
        const float half_inverse = 0.5f / s;
        return {(m[5] - m[7]) * half_inverse, (m[6] - m[2]) * half_inverse, (m[1] - m[3]) * half_inverse, 0.5f * s};
    }
    size_t i = m[0] > m[4] ? 0 : 1;
    if (m[8] > std::fmax(m[0], m[4])) i = 2;
    const size_t j = (i + 1) % 3;
    const size_t k = (j + 1) % 3;
    const float s = std::sqrt(m[4 * i] - m[4 * j] - m[4 * k] + 1.0f);
    const float half_inverse = 0.5f / s;
    float xyz[3];
    xyz[i] = -0.5f * s;
    xyz[j] = -(m[3 * j + i] + m[3 * i + j]) * half_inverse;
    xyz[k] = -(m[3 * i + k] + m[3 * k + i]) * half_inverse;
    return {xyz[0], xyz[1], xyz[2], (m[3 * k + j] - m[3 * j + k]) * half_inverse};
}

void axes_from_quat(Quat q, float* axes)
{
    const float square = square4(q);
    const float k = square > kSmallestSquare ? 2.0f / square : 1.0f;
    axes[0] = 1.0f - k * (q.y * q.y + q.z * q.z);
    axes[1] = k * (q.x * q.y + q.w * q.z);
    axes[2] = k * (q.x * q.z - q.w * q.y);
    axes[3] = k * (q.x * q.y - q.w * q.z);
    axes[4] = 1.0f - k * (q.x * q.x + q.z * q.z);
    axes[5] = k * (q.y * q.z + q.w * q.x);
    axes[6] = k * (q.x * q.z + q.w * q.y);
    axes[7] = k * (q.y * q.z - q.w * q.x);
    axes[8] = 1.0f - k * (q.x * q.x + q.y * q.y);
}

void orthonormalize_rows(float* matrix)
{
    const Vec4 x_axis = normalized_axis(load3(matrix));
    const Vec4 y_row = load3(matrix + 4);
    const Vec4 y_axis = normalized_axis(sub3(y_row, scale3(x_axis, dot3(x_axis, y_row))));
    store3(x_axis, matrix);
    store3(y_axis, matrix + 4);
    store3(cross3(x_axis, y_axis), matrix + 8);
}

Quat quat_from_matrix_rows(const float* matrix)
{
    const float axes[9] = {matrix[0], matrix[1], matrix[2], matrix[4], matrix[5], matrix[6], matrix[8], matrix[9], matrix[10]};
    return normalize(quat_from_axes(axes));
}

bool read_local_pose(const LocalPose& pose, NodeTQS& node)
{
    node.translation = load3(pose.translation);
    node.rotation = quat_from_axes(pose.rotation);
    node.scale = load3(pose.scale);
    node.scale.w = 1.0f;
    // A matrix that is far from a rotation can have finite numbers and no quaternion: the square root goes negative.
    return is_finite3(node.translation) && is_finite4(node.rotation) && is_finite3(node.scale);
}

bool is_writable(const NodeTQS& node) { return is_finite3(node.translation) && std::isfinite(square4(node.rotation)); }

void write_local_pose(const NodeTQS& node, LocalPose& pose)
{
    axes_from_quat(node.rotation, pose.rotation);
    store3(node.translation, pose.translation);
}
