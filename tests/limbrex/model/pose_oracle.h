// Rigs that leave nothing to symmetry, and slow double-precision transforms to hold the library's against.
#pragma once

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "limbrex/limbrex.h"
#include "tests/support/solver_objects.h"
#include "tests/support/t_stance_rig.h"

namespace pose_oracle
{

using limbrex_test::Rig;
using limbrex_test::StateOwner;

struct Transform  // as the library writes it
{
    float t[4], q[4], s[4];
};

// Zeros of different sign differ here.
inline bool same_bits(const void* a, const void* b, size_t size) { return std::memcmp(a, b, size) == 0; }

struct Random
{
    std::mt19937 engine;
    explicit Random(uint32_t seed) : engine(seed) {}
    float number(float low, float high) { return std::uniform_real_distribution<float>(low, high)(engine); }
    int index(int count) { return std::uniform_int_distribution<int>(0, count - 1)(engine); }
    bool coin() { return index(2) == 0; }
    // A unit rotation; a scale the same along all axes, so that matrices can follow it.
    Transform transform()
    {
        std::normal_distribution<float> normal;
        Transform r{};
        float length = 0.0f;
        for (float& v : r.q)
        {
            v = normal(engine);
            length += v * v;
        }
        for (float& v : r.q) v /= std::sqrt(length);
        for (int i = 0; i < 3; ++i) r.t[i] = number(-2.0f, 2.0f);
        r.s[0] = r.s[1] = r.s[2] = number(0.5f, 2.0f);
        r.s[3] = 1.0f;
        return r;
    }
};

// Row-major, row vectors: p' = p M. Parent times child is child's matrix first: M(child) M(parent).
using Matrix = std::array<std::array<double, 4>, 4>;

inline Matrix matrix_of(const Transform& a)
{
    const double x = a.q[0], y = a.q[1], z = a.q[2], w = a.q[3];
    const double rows[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y)},
                               {2 * (x * y - w * z), 1 - 2 * (x * x + z * z), 2 * (y * z + w * x)},
                               {2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y)}};
    Matrix m{};
    for (size_t i = 0; i < 3; ++i)
    {
        for (size_t j = 0; j < 3; ++j) m[i][j] = rows[i][j] * static_cast<double>(a.s[i]);
        m[3][i] = a.t[i];
    }
    m[3][3] = 1.0;
    return m;
}

inline Matrix operator*(const Matrix& a, const Matrix& b)
{
    Matrix m{};
    for (size_t i = 0; i < 4; ++i)
        for (size_t j = 0; j < 4; ++j)
            for (size_t k = 0; k < 4; ++k) m[i][j] += a[i][k] * b[k][j];
    return m;
}

inline Matrix identity_matrix() { return matrix_of({{0, 0, 0, 0}, {0, 0, 0, 1}, {1, 1, 1, 1}}); }

inline double largest_difference(const Matrix& a, const Matrix& b)
{
    double largest = 0.0;
    for (size_t i = 0; i < 4; ++i)
        for (size_t j = 0; j < 4; ++j) largest = std::fmax(largest, std::abs(a[i][j] - b[i][j]));
    return largest;
}

// Numbers apart, rotations up to sign.
inline float difference(const Transform& a, const Transform& b)
{
    float largest = 0.0f, plus = 0.0f, minus = 0.0f;
    for (int i = 0; i < 4; ++i)
    {
        largest = std::fmax(largest, std::fmax(std::abs(a.t[i] - b.t[i]), std::abs(a.s[i] - b.s[i])));
        plus = std::fmax(plus, std::abs(a.q[i] - b.q[i]));
        minus = std::fmax(minus, std::abs(a.q[i] + b.q[i]));
    }
    return std::fmax(largest, std::fmin(plus, minus));
}

// Turned and scaled stances, turned, shifted and scaled parent offsets, twist joints, HipsTranslation, in four kinds of body.
inline Rig awkward_rig(uint32_t kind)
{
    limbrex_test::RigOptions options;
    options.seed = kind + 1;
    options.awkwardRotations = true;
    options.hipsTranslation = kind % 2 == 1;
    options.armRolls = options.legRolls = kind == 1;
    options.leafRolls = kind == 2 ? 5 : 0;
    options.shoulders = kind != 3;
    options.spineNodes = static_cast<int>(kind);
    options.parentOffsets = true;
    options.beforeCharacterize = [kind](LBXCharacter* character)
    {
        Random random(100 + kind);
        for (int node = 0; node < LBXLastNodeId; ++node)
        {
            if (LBXGetNodeFlags(character, node) == 0) continue;
            Transform stance;
            LBXGetCharacterizeNodeStateTQSfv(character, node, stance.t, stance.q, stance.s);
            const Transform other = random.transform();
            LBXSetCharacterizeNodeStateTQSfv(character, node, stance.t, stance.q, other.s);
            if (node == LBXNodeReference) LBXSetCharacterizeNodeStateTQSfv(character, node, other.t, other.q, other.s);
            Transform offset = random.transform();
            for (float& t : offset.t) t *= 0.1f;
            for (int i = 0; i < 3; ++i) offset.s[i] = 0.75f + 0.25f * offset.s[i];
            if (random.coin()) LBXSetParentOffsetTQSfv(character, node, offset.t, offset.q, offset.s);
        }
    };
    return limbrex_test::make_rig(options);
}
inline constexpr uint32_t kAwkwardKinds = 4;

inline Transform parent_offset(const LBXCharacter* character, int node)
{
    Transform offset{{0, 0, 0, 0}, {0, 0, 0, 1}, {1, 1, 1, 1}};
    LBXGetParentOffsetTQSfv(character, node, offset.t, offset.q, offset.s);
    return offset;
}

inline Transform node_global(const LBXCharacter* character, const LBXCharacterState* state, int node)
{
    Transform r{};
    LBXGetNodeStateTQSfv(character, state, node, r.t, r.q, r.s);
    return r;
}

// The records of all transforms, one after the other.
inline LBXDataDescription described(int32_t space, const std::vector<int32_t>& ids)
{
    return {space, offsetof(Transform, t), offsetof(Transform, q), offsetof(Transform, s), sizeof(Transform), ids.data()};
}

inline std::vector<int32_t> list_of(const std::vector<int>& nodes)
{
    std::vector<int32_t> ids(nodes.begin(), nodes.end());
    ids.push_back(-2);
    return ids;
}

inline std::vector<unsigned char> bytes_of(const LBXCharacterState* state)
{
    std::vector<unsigned char> bytes(LBXCharacterStateGetSizeFromState(state));
    std::memcpy(bytes.data(), state, bytes.size());
    return bytes;
}

// Random host locals near those of the stance in size.
inline std::vector<Transform> random_locals(Random& random, size_t count)
{
    std::vector<Transform> locals(count);
    for (Transform& local : locals)
    {
        local = random.transform();
        const float scale = 0.9f + 0.1f * local.s[0];  // chains of thirty keep their size
        for (int i = 0; i < 3; ++i) local.s[i] = scale;
        for (float& t : local.t) t *= 0.2f;
    }
    return locals;
}

// A state in a random pose.
inline StateOwner random_pose(Random& random, const Rig& rig)
{
    StateOwner state = limbrex_test::make_state(rig.character);
    const std::vector<int32_t> ids = list_of(rig.nodes);
    const std::vector<Transform> locals = random_locals(random, rig.nodes.size());
    const LBXDataDescription description = described(1, ids);
    LBXSetCharacterStateTransformTQS(rig.character, state.get(), &description, locals.data());
    return state;
}

// The bytes of a state as what they are: a header of 16 bytes, the spare entry, then an entry a slot.
struct Entry
{
    Transform global, local;
};
inline const Entry* entries(const LBXCharacterState* state)
{
    return reinterpret_cast<const Entry*>(reinterpret_cast<const char*>(state) + 16) + 1;
}

// Found by a mark that only this node carries.
inline int slot_by_mark(const LBXCharacter* character, int node)
{
    const StateOwner state(LBXCharacterStateCreate(character, std::malloc));
    const float mark[3] = {12345.0f, 0.0f, 0.0f};
    const float turn[4] = {0, 0, 0, 1};
    LBXSetNodeStateTQfv(character, state.get(), node, mark, turn);
    const int count = static_cast<int>(LBXCharacterStateGetSizeFromState(state.get()) / sizeof(Entry)) - 1;
    for (int slot = -1; slot < count; ++slot)
    {
        if (std::abs(entries(state.get())[slot].global.t[0]) > 10000.0f) return slot;
    }
    return -2;
}

// What the solver relies on: local = parent's stored global inverse times own stored global, scales and parent offsets apart.
inline double worst_local(const Rig& rig, const LBXCharacterState* state)
{
    double worst = 0.0;
    for (const int node : rig.nodes)
    {
        const int parent = LBXGetParentNodeId(rig.character, node);
        const Entry& entry = entries(state)[slot_by_mark(rig.character, node)];
        Transform own = entry.global;
        Transform local = entry.local;
        for (int i = 0; i < 3; ++i) own.s[i] = local.s[i] = 1.0f;
        Matrix rebuilt = matrix_of(local);
        if (parent >= 0)
        {
            Transform above = entries(state)[slot_by_mark(rig.character, parent)].global;
            for (int i = 0; i < 3; ++i) above.s[i] = 1.0f;
            rebuilt = rebuilt * matrix_of(above);
        }
        worst = std::fmax(worst, largest_difference(rebuilt, matrix_of(own)));
    }
    return worst;
}

}  // namespace pose_oracle
