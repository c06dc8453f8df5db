#include "tools/rig/contact_sizes.h"

#include <algorithm>

namespace limbrex_tools
{

using namespace limbrex_host;

namespace
{

constexpr double kSoleOfLeg = 0.02;        // flesh under the lowest foot joint, of the leg's length
constexpr double kHeelOfMiddle = 0.4;      // heel behind the ankle, of ankle to ball
constexpr double kEdgeOfMiddle = 0.3;      // half the foot's width
constexpr double kToesOfMiddle = 0.45;     // ball to tip, where the skeleton ends at the ball
constexpr double kFootOfLeg = 0.16;        // ankle to ball, where the skeleton ends at the ankle
constexpr double kPalmOfArm = 0.03;        // flesh under the wrist
constexpr double kHandOfArm = 0.15;        // wrist to knuckles, where the skeleton ends at the wrist
constexpr double kFingersOfMiddle = 0.9;   // knuckles to tips
constexpr double kHandEdgeOfMiddle = 0.4;  // half the hand's width

struct ExtremityNodes
{
    int upper, middle, end;
    int base[3];  // the first that the rig has is the ball of the foot, the knuckles of the hand
};

constexpr ExtremityNodes kFeet[] = {
    {LBXNodeLeftUpLeg, LBXNodeLeftLeg, LBXNodeLeftFoot, {LBXNodeLeftToeBase, LBX_NODE_FINGER(2, 2, 1), LBX_NODE_FINGER(2, 1, 1)}},
    {LBXNodeRightUpLeg, LBXNodeRightLeg, LBXNodeRightFoot, {LBXNodeRightToeBase, LBX_NODE_FINGER(3, 2, 1), LBX_NODE_FINGER(3, 1, 1)}},
};
constexpr ExtremityNodes kHands[] = {
    {LBXNodeLeftArm, LBXNodeLeftForeArm, LBXNodeLeftHand, {LBXNodeLeftFingerBase, LBX_NODE_FINGER(0, 2, 1), LBX_NODE_FINGER(0, 1, 1)}},
    {LBXNodeRightArm, LBXNodeRightForeArm, LBXNodeRightHand, {LBXNodeRightFingerBase, LBX_NODE_FINGER(1, 2, 1), LBX_NODE_FINGER(1, 1, 1)}},
};

struct Measure
{
    double limb = 0.0;    // upper plus lower bone
    double bottom = 0.0;  // end joint above its lowest descendant
    double middle = 0.0;  // end joint to base, along the extremity
    double tip = 0.0;     // end joint to its farthest descendant
};

Measure measure(const Skeleton& skeleton, const JointMapping& mapping, const Stance& stance, const ExtremityNodes& nodes, Vec3d along)
{
    const auto at = [&](int node) { return stance.joints[static_cast<size_t>(mapping.joint[static_cast<size_t>(node)])].position; };
    Measure result;
    const Vec3d end = at(nodes.end);
    if (mapping.has(nodes.upper) && mapping.has(nodes.middle))
    {
        result.limb = length(at(nodes.middle) - at(nodes.upper)) + length(end - at(nodes.middle));
    }
    for (size_t j = 0; j < stance.joints.size(); ++j)
    {
        if (!is_ancestor(skeleton, mapping.joint[static_cast<size_t>(nodes.end)], static_cast<int32_t>(j))) { continue; }
        const Vec3d way = stance.joints[j].position - end;
        result.bottom = std::max(result.bottom, -way.y);
        result.tip = std::max(result.tip, dot(way, along));
    }
    for (const int base : nodes.base)
    {
        if (result.middle <= 0.0 && mapping.has(base)) { result.middle = std::max(0.0, dot(at(base) - end, along)); }
    }
    return result;
}

const ExtremityNodes* first_mapped(const JointMapping& mapping, const ExtremityNodes (&sides)[2])
{
    for (const ExtremityNodes& side : sides)
    {
        if (mapping.has(side.end)) { return &side; }
    }
    return nullptr;
}

// Ball and tip from what was measured, in proportion where the skeleton stops early.
void fill_lengths(const Measure& measured, double middle_of_limb, double front_of_middle, ContactShape& shape)
{
    constexpr double kShortest = 0.01;  // metres; below this a bone is a marker, not an extent
    shape.middle = measured.middle;
    if (shape.middle < kShortest) { shape.middle = measured.tip / (1.0 + front_of_middle); }
    if (shape.middle < kShortest) { shape.middle = middle_of_limb * measured.limb; }
    shape.front = measured.tip - shape.middle;
    if (shape.front < kShortest) { shape.front = front_of_middle * shape.middle; }
}

}  // namespace

double sole_thickness(const JointMapping& mapping, const Stance& stance)
{
    const ExtremityNodes* foot = first_mapped(mapping, kFeet);
    if (foot == nullptr || !mapping.has(foot->upper) || !mapping.has(foot->middle)) { return 0.0; }
    const auto at = [&](int node) { return stance.joints[static_cast<size_t>(mapping.joint[static_cast<size_t>(node)])].position; };
    return kSoleOfLeg * (length(at(foot->middle) - at(foot->upper)) + length(at(foot->end) - at(foot->middle)));
}

ContactShape measure_foot(const Skeleton& skeleton, const JointMapping& mapping, const Stance& stance)
{
    ContactShape shape;
    const ExtremityNodes* nodes = first_mapped(mapping, kFeet);
    if (nodes == nullptr) { return shape; }
    const Measure measured = measure(skeleton, mapping, stance, *nodes, {0.0, 0.0, 1.0});
    fill_lengths(measured, kFootOfLeg, kToesOfMiddle, shape);
    shape.bottom = measured.bottom + kSoleOfLeg * measured.limb;
    shape.back = kHeelOfMiddle * shape.middle;
    shape.in = shape.out = kEdgeOfMiddle * shape.middle;
    return shape;
}

ContactShape measure_hand(const Skeleton& skeleton, const JointMapping& mapping, const Stance& stance)
{
    ContactShape shape;
    const ExtremityNodes* nodes = first_mapped(mapping, kHands);
    if (nodes == nullptr) { return shape; }
    const Vec3d along{nodes->end == LBXNodeLeftHand ? 1.0 : -1.0, 0.0, 0.0};
    const Measure measured = measure(skeleton, mapping, stance, *nodes, along);
    fill_lengths(measured, kHandOfArm, kFingersOfMiddle, shape);
    shape.bottom = kPalmOfArm * measured.limb;
    shape.in = shape.out = kHandEdgeOfMiddle * shape.middle;
    return shape;
}

}  // namespace limbrex_tools
