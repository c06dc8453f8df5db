#include "debug/limit_arcs.h"

#include <algorithm>
#include <cmath>

#include "contexts/character_context.h"
#include "contexts/node_limits.h"

namespace
{

constexpr float kDegrees = 57.29578f;
constexpr float kRadians = 0.01745329f;
constexpr float kArcRadius = 0.1f;
constexpr float kNarrowestArc_deg = 20.0f;  // of the second and third axis; a thinner arc would be lost
constexpr float kSamplesPerDegree = 0.05f;
constexpr LimitColour kAxisColours[] = {{180, 0, 0}, {0, 180, 0}, {0, 0, 180}};

// Axes in the order in which they turn, for half the rotation-order code; twist and swing takes them as x, y, z.
constexpr int kAxisOrders[][3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}, {1, 0, 2}, {2, 0, 1}, {2, 1, 0}, {0, 1, 2}};

struct Range
{
    float low_deg, high_deg;
    int steps() const { return std::max(1, static_cast<int>((high_deg - low_deg) * kSamplesPerDegree)); }
    float at(int step) const { return low_deg + (high_deg - low_deg) * static_cast<float>(step) / static_cast<float>(steps()); }
    float middle() const { return 0.5f * (low_deg + high_deg); }
};

struct Joint
{
    Vec4 position;    // solver frame
    Quat rotation;    // of the joint frame, before the joint turns
    const int* axes;  // in turning order
    bool twistAndSwing;
    Range ranges[3];  // in turning order
};

float component(Vec4 v, int axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }
Vec4 unit_axis(int axis) { return {axis == 0 ? 1.0f : 0.0f, axis == 1 ? 1.0f : 0.0f, axis == 2 ? 1.0f : 0.0f, 0.0f}; }

// What is drawn of the axis that turns at a place (0 first): the limits where they are active, no more than the axis can turn.
Range drawn_range(const NodeLimits& limits, int axis, int place)
{
    const float widest_deg = place == 1 && limits.rotationOrder != kTwistAndSwingOrder ? 90.0f : 180.0f;
    const auto bound = [&](Vec4 bounds_rad, int bit, float otherwise_deg)
    {
        if ((limits.active >> bit & 1u) == 0) return otherwise_deg;
        return std::clamp(component(bounds_rad, axis) * kDegrees, -widest_deg, widest_deg);
    };
    Range range = {bound(limits.minimum_rad, axis, -widest_deg), bound(limits.maximum_rad, 3 + axis, widest_deg)};
    if (place > 0 && range.high_deg - range.low_deg < kNarrowestArc_deg)
    {
        const float middle = range.middle();
        range = {middle - 0.5f * kNarrowestArc_deg, middle + 0.5f * kNarrowestArc_deg};
    }
    return range;
}

Quat turn_about(int axis, float angle_deg)
{
    const float half_rad = 0.5f * angle_deg * kRadians;
    const Vec4 direction = scale3(unit_axis(axis), std::sin(half_rad));
    return {direction.x, direction.y, direction.z, std::cos(half_rad)};
}

// The joint's turn for three angles in turning order.
Quat joint_turn(const Joint& joint, const float (&angles_deg)[3])
{
    const Quat first = turn_about(joint.axes[0], angles_deg[0]);
    const Quat second = turn_about(joint.axes[1], angles_deg[1]);
    const Quat third = turn_about(joint.axes[2], angles_deg[2]);
    if (!joint.twistAndSwing) return mul(third, mul(second, first));
    return mul(normalize({0.0f, second.y, third.z, second.w * third.w}), first);
}

// Draws the path of the end of an axis while one angle goes through its range and the others stand still.
void trace_arc(LimitArcTable& table, const Joint& joint, float (&angles_deg)[3], int moving, int drawn_axis)
{
    const Range& range = joint.ranges[moving];
    const auto tip = [&](int step)
    {
        angles_deg[moving] = range.at(step);
        const Vec4 axis_end = scale3(unit_axis(drawn_axis), kArcRadius);
        return add3(joint.position, rotate(mul(joint.rotation, joint_turn(joint, angles_deg)), axis_end));
    };
    Vec4 last = tip(0);
    for (int step = 1; step <= range.steps() && table.segmentCount < kMostLimitSegments; ++step)
    {
        const Vec4 next = tip(step);
        table.segments[table.segmentCount++] = {last, next, kAxisColours[joint.axes[moving]]};
        last = next;
    }
}

// Arcs of one swing axis at every sample of the other.
void trace_swing(LimitArcTable& table, const Joint& joint, int moving, int sampled)
{
    const Range& others = joint.ranges[sampled];
    for (int step = 0; step <= others.steps(); ++step)
    {
        float angles_deg[3] = {};
        angles_deg[sampled] = others.at(step);
        trace_arc(table, joint, angles_deg, moving, joint.axes[0]);
    }
}

// Where the joint stands and how its frame is turned: the node's rotation with its own turn taken off.
void place_joint(const CharacterContext& context, int32_t node, Quat pre_rotation, Joint& joint)
{
    Vec4 scale = kOne4;
    Quat rotation = kIdentityRotation;
    LBXGetNodeStateTQSfv(context.character, context.state, node, &joint.position.x, &rotation.x, &scale.x);
    struct
    {
        Vec4 translation;
        Quat rotation;
        Vec4 scale;
    } local = {kZero4, kIdentityRotation, kOne4};
    const int32_t nodes[] = {node, -2};
    const LBXDataDescription description = {1, 0, sizeof(Vec4), 2 * sizeof(Vec4), sizeof local, nodes};
    LBXGetCharacterStateTransformTQS(context.character, context.state, &description, &local);
    joint.rotation = normalize(mul(mul(rotation, conjugate(local.rotation)), pre_rotation));
}

}  // namespace

LimitArcTable& limit_arcs()
{
    static LimitArcTable table;
    return table;
}

void trace_limit_arcs(const CharacterContext& context, int32_t node, LimitArcTable& table)
{
    table.segmentCount = 0;
    NodeLimits limits;
    if (!find_node_limits(context, node, limits)) return;

    Joint joint = {};
    joint.axes = kAxisOrders[limits.rotationOrder / 2];
    joint.twistAndSwing = limits.rotationOrder == kTwistAndSwingOrder;
    for (int place = 0; place < 3; ++place) joint.ranges[place] = drawn_range(limits, joint.axes[place], place);
    place_joint(context, node, limits.preRotation, joint);

    // The first axis only twists about itself: what shows its turn is the end of the second one.
    float middle_deg[3] = {0.0f, joint.ranges[1].middle(), joint.ranges[2].middle()};
    trace_arc(table, joint, middle_deg, 0, joint.axes[1]);
    trace_swing(table, joint, 1, 2);
    trace_swing(table, joint, 2, 1);
}
