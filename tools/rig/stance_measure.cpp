#include "tools/rig/stance_measure.h"

#include <fmt/format.h>

namespace limbrex_tools
{

using limbrex_host::Vec3d;

namespace
{

constexpr double kDegrees = 57.29577951308232;
constexpr Vec3d kLeft{1.0, 0.0, 0.0};
constexpr Vec3d kRight{-1.0, 0.0, 0.0};
constexpr Vec3d kUp{0.0, 1.0, 0.0};
constexpr Vec3d kDown{0.0, -1.0, 0.0};
constexpr Vec3d kForward{0.0, 0.0, 1.0};
constexpr double kNoLength_m = 1e-5;

struct StanceBone
{
    int from, to;
    Vec3d direction;
    const char* wanted;
    bool onFloor;  // only the direction along the floor counts: a foot slopes from ankle to toe
};

constexpr StanceBone kStanceBones[] = {
    // clang-format off
    {LBXNodeLeftArm,      LBXNodeLeftForeArm,  kLeft,    "straight out to +x",  false},
    {LBXNodeLeftForeArm,  LBXNodeLeftHand,     kLeft,    "straight out to +x",  false},
    {LBXNodeRightArm,     LBXNodeRightForeArm, kRight,   "straight out to -x",  false},
    {LBXNodeRightForeArm, LBXNodeRightHand,    kRight,   "straight out to -x",  false},
    {LBXNodeLeftUpLeg,    LBXNodeLeftLeg,      kDown,    "straight down",       false},
    {LBXNodeLeftLeg,      LBXNodeLeftFoot,     kDown,    "straight down",       false},
    {LBXNodeRightUpLeg,   LBXNodeRightLeg,     kDown,    "straight down",       false},
    {LBXNodeRightLeg,     LBXNodeRightFoot,    kDown,    "straight down",       false},
    {LBXNodeLeftFoot,     LBXNodeLeftToeBase,  kForward, "forward to +z",       true},
    {LBXNodeRightFoot,    LBXNodeRightToeBase, kForward, "forward to +z",       true},
    {LBXNodeHips,         LBXNodeHead,         kUp,      "straight up",         false},
    // clang-format on
};

std::optional<Vec3d> between(const NodePositions& positions, int from, int to)
{
    const auto& a = positions[static_cast<size_t>(from)];
    const auto& b = positions[static_cast<size_t>(to)];
    if (!a || !b) { return std::nullopt; }
    return *b - *a;
}

// From the right side to the left, by the widest pair that the rig has.
std::optional<Vec3d> left_direction(const NodePositions& positions)
{
    constexpr int kPairs[][2] = {
        {LBXNodeRightUpLeg, LBXNodeLeftUpLeg}, {LBXNodeRightArm, LBXNodeLeftArm}, {LBXNodeRightHand, LBXNodeLeftHand}};
    for (const auto& pair : kPairs)
    {
        const std::optional<Vec3d> across = between(positions, pair[0], pair[1]);
        if (across && std::hypot(across->x, across->z) > kNoLength_m) { return Vec3d{across->x, 0.0, across->z}; }
    }
    return std::nullopt;
}

Vec3d toes_direction(const NodePositions& positions)
{
    Vec3d sum;
    for (const auto& foot : {std::pair{LBXNodeLeftFoot, LBXNodeLeftToeBase}, std::pair{LBXNodeRightFoot, LBXNodeRightToeBase}})
    {
        const std::optional<Vec3d> toe = between(positions, foot.first, foot.second);
        if (toe) { sum = sum + limbrex_host::normalized(Vec3d{toe->x, 0.0, toe->z}); }
    }
    return sum;
}

}  // namespace

double angle_between_deg(Vec3d a, Vec3d b)
{
    return kDegrees * std::atan2(limbrex_host::length(limbrex_host::cross(a, b)), limbrex_host::dot(a, b));
}

std::optional<double> facing_deg(const NodePositions& positions)
{
    const std::optional<Vec3d> left = left_direction(positions);
    if (!left) { return std::nullopt; }
    const Vec3d forward = limbrex_host::cross(*left, kUp);
    return kDegrees * std::atan2(forward.x, forward.z);
}

bool sides_exchanged(const NodePositions& positions)
{
    const std::optional<Vec3d> left = left_direction(positions);
    const Vec3d toes = toes_direction(positions);
    return left &&
           limbrex_host::dot(limbrex_host::cross(*left, kUp), toes) < -0.5 * limbrex_host::length(*left) * limbrex_host::length(toes);
}

std::vector<StanceFault> measure_stance(const NodePositions& positions)
{
    std::vector<StanceFault> faults;
    for (const StanceBone& bone : kStanceBones)
    {
        std::optional<Vec3d> way = between(positions, bone.from, bone.to);
        if (!way || limbrex_host::length(*way) < kNoLength_m) { continue; }
        if (bone.onFloor) { way->y = 0.0; }
        const double angle_deg = angle_between_deg(*way, bone.direction);
        if (angle_deg <= kSlantedLimb_deg) { continue; }
        faults.push_back({fmt::format("{} to {} should point {}, but is {:.0f} degrees away from it", LBXGetNodeNameFromId(bone.from),
                                      LBXGetNodeNameFromId(bone.to), bone.wanted, angle_deg),
                          angle_deg, angle_deg > kWrongLimb_deg});
    }
    return faults;
}

}  // namespace limbrex_tools
