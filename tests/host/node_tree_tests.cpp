// World poses follow from local poses: against plain matrix products, for whole trees and for changes only.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "host/murmur.h"
#include "host/node_tree.h"

namespace limbrex_host
{
namespace
{

using Matrix = std::array<std::array<double, 4>, 4>;

// Row vectors: scale, then rotation, then translation, as one 4x4 matrix.
Matrix matrix_of(const LocalPose& pose)
{
    Matrix m{};
    for (size_t row = 0; row < 3; ++row)
    {
        for (size_t column = 0; column < 3; ++column)
        {
            m[row][column] = static_cast<double>(pose.scale[row]) * static_cast<double>(pose.rotation[3 * row + column]);
        }
        m[3][row] = static_cast<double>(pose.translation[row]);
    }
    m[3][3] = 1.0;
    return m;
}

Matrix product(const Matrix& a, const Matrix& b)
{
    Matrix out{};
    for (size_t i = 0; i < 4; ++i)
    {
        for (size_t j = 0; j < 4; ++j)
        {
            for (size_t k = 0; k < 4; ++k) { out[i][j] += a[i][k] * b[k][j]; }
        }
    }
    return out;
}

struct RandomTree
{
    HostNodeTree tree;
    std::mt19937 random;

    explicit RandomTree(unsigned seed, uint32_t nodes) : random(seed)
    {
        for (uint32_t i = 0; i < nodes; ++i)
        {
            const int32_t parent = i == 0 ? -1 : static_cast<int32_t>(random() % i);
            add_node(tree, "node " + std::to_string(i), parent, local_pose_from(pose()));
        }
        finish_tree(tree);
    }
    float between(float low, float high) { return std::uniform_real_distribution<float>(low, high)(random); }
    NodePose pose()
    {
        NodePose out;
        out.position = {between(-1.0f, 1.0f), between(-1.0f, 1.0f), between(-1.0f, 1.0f)};
        out.scale = {between(0.8f, 1.2f), between(0.8f, 1.2f), between(0.8f, 1.2f)};
        float square = 0.0f;
        for (float& component : out.rotation)
        {
            component = between(-1.0f, 1.0f);
            square += component * component;
        }
        for (float& component : out.rotation) { component /= std::sqrt(square); }
        return out;
    }
    std::vector<Matrix> expected() const
    {
        std::vector<Matrix> worlds;
        for (uint32_t node = 0; node < tree.node_count(); ++node)
        {
            const Matrix local = matrix_of(tree.locals[node]);
            worlds.push_back(tree.parents[node] < 0 ? local : product(local, worlds[static_cast<size_t>(tree.parents[node])]));
        }
        return worlds;
    }
};

void expect_same(const HostNodeTree& tree, const std::vector<Matrix>& expected)
{
    for (uint32_t node = 0; node < tree.node_count(); ++node)
    {
        for (size_t i = 0; i < 16; ++i)
        {
            ASSERT_NEAR(static_cast<double>(tree.worlds[node].m[i]), expected[node][i / 4][i % 4], 2e-4) << "node " << node;
        }
    }
}

TEST(NodeTree, WorldPosesAreProductsOfScaledMatricesAndOnlyChangedBranchesAreComputed)
{
    for (unsigned seed = 0; seed < 20; ++seed)
    {
        RandomTree random(seed, 70);
        HostNodeTree& tree = random.tree;
        EXPECT_EQ(propagate(tree), 70u);
        expect_same(tree, random.expected());
        EXPECT_EQ(propagate(tree), 0u);

        const auto changed = static_cast<uint32_t>(random.random() % 70);
        tree.locals[changed] = local_pose_from(random.pose());
        EXPECT_EQ(propagate(tree), 0u) << "a change that nobody announced";
        mark_changed(tree, changed);
        uint32_t below = 0;
        for (uint32_t node = 0; node < tree.node_count(); ++node)
        {
            int32_t at = static_cast<int32_t>(node);
            while (at >= 0 && at != static_cast<int32_t>(changed)) { at = tree.parents[static_cast<size_t>(at)]; }
            below += at >= 0 ? 1 : 0;
        }
        EXPECT_EQ(propagate(tree), below);
        expect_same(tree, random.expected());
    }
}

TEST(NodeTree, ChangedFlagsHoldABitForEveryNodeAndOneForAny)
{
    for (const uint32_t nodes : {1u, 31u, 32u, 63u, 64u})
    {
        RandomTree random(1, nodes);
        HostNodeTree& tree = random.tree;
        ASSERT_GE(tree.changedWords.size() * 32, nodes + 1);
        clear_changed(tree);
        // As a plugin sets them: through the first field of the record.
        const uint32_t bit = nodes;  // of the last node
        tree.changed.words[0] |= 1u;
        tree.changed.words[bit / 32] |= 1u << (bit % 32);
        EXPECT_TRUE(is_changed(tree, nodes - 1));
        EXPECT_EQ(propagate(tree), 1u);
        EXPECT_EQ(tree.changedWords[0] & 1u, 0u);
    }
}

TEST(NodeTree, PosesSurviveTheWayThroughMatrices)
{
    RandomTree random(3, 1);
    for (int i = 0; i < 500; ++i)
    {
        const NodePose pose = random.pose();
        const NodePose back = node_pose_from(local_pose_from(pose));
        float cosine = 0.0f;
        for (size_t k = 0; k < 4; ++k) { cosine += pose.rotation[k] * back.rotation[k]; }
        ASSERT_NEAR(std::abs(cosine), 1.0f, 1e-5f);
        for (size_t k = 0; k < 3; ++k) { ASSERT_EQ(pose.position[k], back.position[k]); }
    }
    // A quarter turn about x takes y to z: row 1 of the matrix is the turned y axis.
    NodePose quarter;
    quarter.rotation = {std::sqrt(0.5f), 0.0f, 0.0f, std::sqrt(0.5f)};
    const LocalPose turned = local_pose_from(quarter);
    EXPECT_NEAR(turned.rotation[5], 1.0f, 1e-6f);
    LocalPose broken = turned;
    EXPECT_TRUE(is_finite(broken));
    broken.rotation[4] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(is_finite(broken));
}

TEST(NodeTree, NamesHashAsTheEngineHashesThem)
{
    EXPECT_EQ(murmur64("character"), 0x394e4fef3b347ba9u);
    EXPECT_EQ(murmur64("creature"), 0x2b79ad2b80e86006u);
    HostNodeTree tree;
    add_node(tree, "character", -1, local_pose_from(NodePose{}));
    EXPECT_EQ(tree.nameHashes[0], 0x394e4fefu);
    EXPECT_EQ(tree.find("character"), 0);
    EXPECT_EQ(tree.find("Character"), -1);
}

}  // namespace
}  // namespace limbrex_host
