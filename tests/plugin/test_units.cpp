// Units and names of the test engine.
#include <algorithm>
#include <cstring>

#include "tests/plugin/test_engine.h"

namespace test_engine
{

namespace
{

void set_rotation(LocalPose& pose, const Quat4& q)
{
    const auto [x, y, z, w] = q;
    const float rows[9] = {1 - 2 * (y * y + z * z), 2 * (x * y + w * z),     2 * (x * z - w * y),
                           2 * (x * y - w * z),     1 - 2 * (x * x + z * z), 2 * (y * z + w * x),
                           2 * (x * z + w * y),     2 * (y * z - w * x),     1 - 2 * (x * x + y * y)};
    std::copy_n(rows, 9, pose.rotation);
}

}  // namespace

uint64_t name_key(const std::string& name)
{
    const uint64_t m = 0xC6A4A7935BD1E995ull;
    uint64_t h = name.size() * m;
    size_t i = 0;
    for (; i + 8 <= name.size(); i += 8)
    {
        uint64_t k;
        std::memcpy(&k, name.data() + i, 8);
        k *= m;
        k ^= k >> 47;
        k *= m;
        h = (h ^ k) * m;
    }
    if (i < name.size())
    {
        for (size_t b = 0; i + b < name.size(); ++b) h ^= static_cast<uint64_t>(static_cast<uint8_t>(name[i + b])) << (8 * b);
        h *= m;
    }
    h = (h ^ (h >> 47)) * m;
    return h ^ (h >> 47);
}

void EngineUnit::place(const Vec3& position, const Quat4& rotation)
{
    set_rotation(localPoses[0], rotation);
    std::copy_n(position.data(), 3, localPoses[0].translation);
    propagate();
}

// Row vectors: world = local * parent's world. Scales stay one.
void EngineUnit::propagate()
{
    for (size_t i = 0; i < localPoses.size(); ++i)
    {
        const LocalPose& local = localPoses[i];
        static const float kIdentity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
        const float* parent = parents[i] < 0 ? kIdentity : &worldPoses[16 * static_cast<size_t>(parents[i])];
        float* pose = &worldPoses[16 * i];
        for (size_t row = 0; row < 4; ++row)
        {
            const float* from = row < 3 ? local.rotation + 3 * row : local.translation;
            for (size_t k = 0; k < 3; ++k)
            {
                pose[4 * row + k] =
                    from[0] * parent[k] + from[1] * parent[4 + k] + from[2] * parent[8 + k] + (row == 3 ? parent[12 + k] : 0.0f);
            }
            pose[4 * row + 3] = row == 3 ? 1.0f : 0.0f;
        }
    }
}

}  // namespace test_engine
