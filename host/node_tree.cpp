#include "host/node_tree.h"

#include <algorithm>
#include <cmath>

#include "host/murmur.h"

namespace limbrex_host
{
namespace
{

constexpr WorldPose kIdentityPose{{1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f}};

void rows_from_quaternion(const std::array<float, 4>& q, float rows[9])
{
    const float x = q[0], y = q[1], z = q[2], w = q[3];
    const float square = x * x + y * y + z * z + w * w;
    const float k = square > 0.0f ? 2.0f / square : 0.0f;
    rows[0] = 1.0f - k * (y * y + z * z);
    rows[1] = k * (x * y + w * z);
    rows[2] = k * (x * z - w * y);
    rows[3] = k * (x * y - w * z);
    rows[4] = 1.0f - k * (x * x + z * z);
    rows[5] = k * (y * z + w * x);
    rows[6] = k * (x * z + w * y);
    rows[7] = k * (y * z - w * x);
    rows[8] = 1.0f - k * (x * x + y * y);
}

// From orthonormal rows. The largest of the four squares is taken, so no division is by little.
std::array<float, 4> quaternion_from_rows(const float r[9])
{
    const float squares[4] = {1.0f + r[0] - r[4] - r[8], 1.0f - r[0] + r[4] - r[8], 1.0f - r[0] - r[4] + r[8], 1.0f + r[0] + r[4] + r[8]};
    const auto largest = std::max_element(squares, squares + 4) - squares;
    const float root = std::sqrt(std::max(squares[largest], 0.0f));
    const float k = root > 0.0f ? 0.5f / root : 0.0f;
    const float half = 0.5f * root;
    switch (largest)
    {
    case 0: return {half, k * (r[1] + r[3]), k * (r[2] + r[6]), k * (r[5] - r[7])};
    case 1: return {k * (r[1] + r[3]), half, k * (r[5] + r[7]), k * (r[6] - r[2])};
    case 2: return {k * (r[2] + r[6]), k * (r[5] + r[7]), half, k * (r[1] - r[3])};
    default: return {k * (r[5] - r[7]), k * (r[6] - r[2]), k * (r[1] - r[3]), half};
    }
}

float row_length(const float* row) { return std::sqrt(row[0] * row[0] + row[1] * row[1] + row[2] * row[2]); }

bool bit(const std::vector<uint32_t>& words, uint32_t place) { return (words[place / 32] >> (place % 32) & 1u) != 0; }

}  // namespace

LocalPose local_pose_from(const NodePose& pose)
{
    LocalPose local{};
    rows_from_quaternion(pose.rotation, local.rotation);
    std::copy(pose.position.begin(), pose.position.end(), local.translation);
    std::copy(pose.scale.begin(), pose.scale.end(), local.scale);
    return local;
}

NodePose node_pose_from(const LocalPose& pose)
{
    NodePose out;
    std::copy(pose.translation, pose.translation + 3, out.position.begin());
    std::copy(pose.scale, pose.scale + 3, out.scale.begin());
    out.rotation = quaternion_from_rows(pose.rotation);
    return out;
}

NodePose node_pose_from(const WorldPose& pose)
{
    NodePose out;
    const float* m = pose.m;
    std::copy(m + 12, m + 15, out.position.begin());
    float rows[9];
    for (size_t row = 0; row < 3; ++row)
    {
        const float length = row_length(m + 4 * row);
        out.scale[row] = length;
        for (size_t column = 0; column < 3; ++column) { rows[3 * row + column] = length > 0.0f ? m[4 * row + column] / length : 0.0f; }
    }
    const float volume = rows[0] * (rows[4] * rows[8] - rows[5] * rows[7]) - rows[1] * (rows[3] * rows[8] - rows[5] * rows[6]) +
                         rows[2] * (rows[3] * rows[7] - rows[4] * rows[6]);
    if (volume < 0.0f)
    {
        out.scale[2] = -out.scale[2];
        for (size_t column = 6; column < 9; ++column) { rows[column] = -rows[column]; }
    }
    out.rotation = quaternion_from_rows(rows);
    return out;
}

bool is_finite(const LocalPose& pose)
{
    const auto finite = [](float value) { return std::isfinite(value); };
    return std::all_of(pose.rotation, pose.rotation + 9, finite) && std::all_of(pose.translation, pose.translation + 3, finite) &&
           std::all_of(pose.scale, pose.scale + 3, finite);
}

WorldPose combine(const LocalPose& local, const WorldPose& parent)
{
    WorldPose out;
    const float* p = parent.m;
    for (size_t row = 0; row < 3; ++row)
    {
        const float* axis = local.rotation + 3 * row;
        for (size_t column = 0; column < 3; ++column)
        {
            out.m[4 * row + column] = local.scale[row] * (axis[0] * p[column] + axis[1] * p[4 + column] + axis[2] * p[8 + column]);
        }
        out.m[4 * row + 3] = 0.0f;
    }
    const float* t = local.translation;
    for (size_t column = 0; column < 3; ++column)
    {
        out.m[12 + column] = t[0] * p[column] + t[1] * p[4 + column] + t[2] * p[8 + column] + p[12 + column];
    }
    out.m[15] = 1.0f;
    return out;
}

int32_t HostNodeTree::find(std::string_view name) const
{
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? -1 : static_cast<int32_t>(found - names.begin());
}

uint32_t add_node(HostNodeTree& tree, std::string_view name, int32_t parent, const LocalPose& local)
{
    const uint32_t node = tree.node_count();
    tree.names.emplace_back(name);
    tree.parents.push_back(parent);
    tree.nameHashes.push_back(node_name_hash(name));
    tree.locals.push_back(local);
    tree.worlds.push_back(kIdentityPose);
    return node;
}

void finish_tree(HostNodeTree& tree)
{
    tree.changedWords.assign((tree.node_count() + 1 + 31) / 32, 0u);
    tree.changed.words = tree.changedWords.data();
    tree.movedNodes.assign(tree.node_count(), 0);
    for (uint32_t node = 0; node < tree.node_count(); ++node) { mark_changed(tree, node); }
}

void mark_changed(HostNodeTree& tree, uint32_t node)
{
    tree.changedWords[0] |= 1u;
    tree.changedWords[(node + 1) / 32] |= 1u << ((node + 1) % 32);
}

bool is_changed(const HostNodeTree& tree, uint32_t node) { return bit(tree.changedWords, node + 1); }

void clear_changed(HostNodeTree& tree) { std::fill(tree.changedWords.begin(), tree.changedWords.end(), 0u); }

uint32_t propagate(HostNodeTree& tree)
{
    std::fill(tree.movedNodes.begin(), tree.movedNodes.end(), uint8_t{0});
    if (tree.changedWords.empty() || (tree.changedWords[0] & 1u) == 0) { return 0; }
    uint32_t computed = 0;
    for (uint32_t node = 0; node < tree.node_count(); ++node)
    {
        const int32_t parent = tree.parents[node];
        const bool parent_moved = parent >= 0 && tree.movedNodes[static_cast<size_t>(parent)] != 0;
        if (!parent_moved && !is_changed(tree, node)) { continue; }
        tree.worlds[node] = combine(tree.locals[node], parent >= 0 ? tree.worlds[static_cast<size_t>(parent)] : kIdentityPose);
        tree.movedNodes[node] = 1;
        ++computed;
    }
    clear_changed(tree);
    return computed;
}

}  // namespace limbrex_host
