#include "tools/rig/rig_geometry.h"

#include <fmt/format.h>

#include "tools/rig/joint_mapping.h"
#include "tools/rig/stance_measure.h"

namespace limbrex_tools
{

using limbrex_host::Vec3d;

namespace
{

constexpr double kNoLength_m = 1e-5;
constexpr double kTurnedAway_deg = 45.0;
constexpr double kSlightlyTurned_deg = 15.0;
constexpr double kShortestLeg_m = 0.05;
constexpr double kLongestLeg_m = 5.0;

struct Twins
{
    int left, right;
};

constexpr Twins kTwins[] = {
    {LBXNodeLeftUpLeg, LBXNodeRightUpLeg}, {LBXNodeLeftLeg, LBXNodeRightLeg},         {LBXNodeLeftFoot, LBXNodeRightFoot},
    {LBXNodeLeftArm, LBXNodeRightArm},     {LBXNodeLeftForeArm, LBXNodeRightForeArm}, {LBXNodeLeftHand, LBXNodeRightHand},
};

constexpr int kLimbMiddlesAndEnds[] = {
    LBXNodeLeftLeg,     LBXNodeLeftFoot, LBXNodeRightLeg,     LBXNodeRightFoot,
    LBXNodeLeftForeArm, LBXNodeLeftHand, LBXNodeRightForeArm, LBXNodeRightHand,
};

NodePositions positions_of(const RigReading& rig)
{
    NodePositions positions;
    for (size_t i = 0; i < std::min(rig.bones.size(), rig.stances.size()); ++i)
    {
        if (rig.bones[i].node < 0 || !rig.stanceReadable[i]) { continue; }
        const std::array<double, 3>& t = rig.stances[i].translation;
        positions[static_cast<size_t>(rig.bones[i].node)] = Vec3d{t[0], t[1], t[2]};
    }
    return positions;
}

std::optional<double> distance(const NodePositions& positions, int a, int b)
{
    const auto& from = positions[static_cast<size_t>(a)];
    const auto& to = positions[static_cast<size_t>(b)];
    return from && to ? std::optional(limbrex_host::length(*to - *from)) : std::nullopt;
}

// Pairs with the left twin on the right: all of them mean a body that faces away or wholly exchanged sides, some of them a slip.
void check_sides(const NodePositions& positions, std::vector<Finding>& findings)
{
    std::string wrong;
    int pairs = 0, exchanged = 0;
    for (const Twins& twins : kTwins)
    {
        const auto& left = positions[static_cast<size_t>(twins.left)];
        const auto& right = positions[static_cast<size_t>(twins.right)];
        if (!left || !right || std::fabs(left->x - right->x) < kNoLength_m) { continue; }
        ++pairs;
        if (left->x > right->x) { continue; }
        ++exchanged;
        wrong += fmt::format("{}{}", wrong.empty() ? "" : ", ", LBXGetNodeNameFromId(twins.left));
    }
    if (exchanged == 0) { return; }
    const bool whole_body = exchanged == pairs && !sides_exchanged(positions);
    findings.push_back(
        {Severity::Error, "t_stance",
         whole_body ? std::string("left and right are exchanged, or the body faces -z: every left node lies on -x. Facing +z, the left "
                                  "side is on +x")
                    : fmt::format("left and right are exchanged: {} on the right side (-x)", wrong + (exchanged > 1 ? " lie" : " lies"))});
}

void check_facing(const NodePositions& positions, std::vector<Finding>& findings)
{
    const std::optional<double> facing = facing_deg(positions);
    if (!facing || std::fabs(*facing) <= kSlightlyTurned_deg || std::fabs(*facing) > 135.0)
    {
        return;
    }  // exchanged sides have their own words
    findings.push_back({std::fabs(*facing) > kTurnedAway_deg ? Severity::Error : Severity::Warning, "t_stance",
                        fmt::format("the body faces {:.0f} degrees away from +z; turn the whole stance about y", *facing)});
}

void check_bones(const RigReading& rig, const NodePositions& positions, std::vector<Finding>& findings)
{
    JointMapping mapping;
    for (const RigReading::Bone& bone : rig.bones)
    {
        if (bone.node >= 0) { mapping.joint[static_cast<size_t>(bone.node)] = 0; }
    }
    const std::array<int, LBXLastNodeId> parents = template_parents(mapping);
    for (int node = 2; node < LBXLastNodeId; ++node)
    {
        const int parent = parents[static_cast<size_t>(node)];
        if (parent <= LBXNodeReference || node == LBXNodeSpine) { continue; }
        const std::optional<double> bone_m = distance(positions, parent, node);
        if (!bone_m || *bone_m > kNoLength_m) { continue; }
        const bool limb = std::find(std::begin(kLimbMiddlesAndEnds), std::end(kLimbMiddlesAndEnds), node) != std::end(kLimbMiddlesAndEnds);
        findings.push_back(
            {limb ? Severity::Error : Severity::Note, "t_stance",
             limb ? fmt::format("the bone from {} to {} has no length, so the limb cannot bend", node_text(parent), node_text(node))
                  : fmt::format("{} lies on {}: a bone of no length, which turns but does not aim", node_text(node), node_text(parent))});
    }
}

void check_size(const NodePositions& positions, std::vector<Finding>& findings)
{
    const std::optional<double> upper = distance(positions, LBXNodeLeftUpLeg, LBXNodeLeftLeg);
    const std::optional<double> lower = distance(positions, LBXNodeLeftLeg, LBXNodeLeftFoot);
    if (!upper || !lower || (*upper + *lower > kShortestLeg_m && *upper + *lower < kLongestLeg_m)) { return; }
    findings.push_back(
        {Severity::Warning, "t_stance",
         fmt::format("the left leg is {:.3g} long; the host's lengths are metres. Is the rig in centimetres or inches?", *upper + *lower)});
}

}  // namespace

void check_rig_geometry(const RigReading& rig, std::vector<Finding>& findings)
{
    const NodePositions positions = positions_of(rig);
    check_sides(positions, findings);
    check_facing(positions, findings);
    for (const StanceFault& fault : measure_stance(positions))
    {
        findings.push_back({fault.severe ? Severity::Error : Severity::Warning, "t_stance", fault.text});
    }
    check_bones(rig, positions, findings);
    check_size(positions, findings);
}

}  // namespace limbrex_tools
