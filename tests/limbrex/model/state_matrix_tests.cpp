// Poses given as matrices.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/limbrex/model/pose_oracle.h"

namespace
{

using namespace pose_oracle;

// One matrix through the library and back.
Transform split(const Rig& rig, const Matrix& matrix)
{
    struct
    {
        float before;
        float m[16];
    } record{};
    for (size_t i = 0; i < 16; ++i) record.m[i] = static_cast<float>(matrix[i / 4][i % 4]);
    const int32_t ids[] = {LBXNodeHead, -2};
    const LBXDataDescription description = {0, 4, 0, 0, sizeof(record), ids};
    const StateOwner state = limbrex_test::make_state(rig.character);
    LBXSetCharacterStateTransformMatrix(rig.character, state.get(), &description, &record);
    return node_global(rig.character, state.get(), LBXNodeHead);
}

TEST(PoseTransfer, MatricesSplitIntoWhatRebuildsThemAndBrokenOnesIntoUnitRotations)
{
    const Rig rig = limbrex_test::make_rig();
    Random random(90);
    for (int round = 0; round < 200; ++round)
    {
        Transform wanted = random.transform();
        wanted.s[0] *= 1.5f;
        if (round % 2 == 1) wanted.s[0] = -wanted.s[0];  // mirrored
        const Matrix matrix = matrix_of(wanted);
        const Transform found = split(rig, matrix);
        EXPECT_LT(largest_difference(matrix_of(found), matrix), 1e-5) << round;
        EXPECT_LT(difference(found, wanted), 1e-5f) << round;
    }
    // Any two rows of length, one, none; rows that coincide; skewed, tiny and huge ones.
    const double rows[][9] = {{0, 0, 0, 0, 2, 0, 0, 0, 3},
                              {1, 0, 0, 0, 0, 0, 0, 0, 1},
                              {0, 1, 0, 0, 0, 1, 0, 0, 0},
                              {0, 0, 0, 0, 0, 0, 0, 0, 0},
                              {0, 0, 2, 0, 0, 0, 0, 0, 0},
                              {0, 0, 0, 0, 0, 0, 0, -2, 0},
                              {1, 1, 1, 1, 1, 1, 1, 1, 1},
                              {1, 0, 0, 1, 0, 0, 0, 0, 1},
                              {1, 0, 0, 0.5, 1, 0, 0.2, 0.3, 1},
                              {1e30, 0, 0, 0, 1e30, 0, 0, 0, 1e30},
                              {0, 1e-30, 0, -1e-30, 0, 0, 0, 0, 1e-30}};
    for (const auto& row : rows)
    {
        Matrix matrix = identity_matrix();
        for (size_t i = 0; i < 9; ++i) matrix[i / 3][i % 3] = row[i];
        const Transform found = split(rig, matrix);
        float length = 0.0f;
        for (const float v : found.q) length += v * v;
        EXPECT_NEAR(length, 1.0f, 1e-4f);
        for (size_t i = 0; i < 3; ++i)
        {
            const double wanted = std::hypot(row[3 * i], row[3 * i + 1], row[3 * i + 2]);
            EXPECT_NEAR(std::abs(static_cast<double>(found.s[i])), wanted, 1e-5 * wanted);
        }
    }
}

TEST(PoseTransfer, MatricesAgreeWithTransformsInEitherSpace)
{
    const Rig rig = awkward_rig(1);
    Random random(95);
    for (const int32_t space : {0, 1})
    {
        const std::vector<Transform> records = random_locals(random, rig.nodes.size());
        std::vector<std::array<float, 16>> matrices(records.size());
        for (size_t i = 0; i < records.size(); ++i)
            for (size_t k = 0; k < 16; ++k) matrices[i][k] = static_cast<float>(matrix_of(records[i])[k / 4][k % 4]);
        const std::vector<int32_t> ids = list_of(rig.nodes);
        LBXDataDescription description = described(space, ids);
        const StateOwner by_transform = limbrex_test::make_state(rig.character);
        LBXSetCharacterStateTransformTQS(rig.character, by_transform.get(), &description, records.data());
        description = {space, 0, 0, 0, 64, ids.data()};
        const StateOwner by_matrix = limbrex_test::make_state(rig.character);
        LBXSetCharacterStateTransformMatrix(rig.character, by_matrix.get(), &description, matrices.data());
        for (const int node : rig.nodes)
            EXPECT_LT(difference(node_global(rig.character, by_matrix.get(), node), node_global(rig.character, by_transform.get(), node)),
                      5e-5f);
    }
}

}  // namespace
