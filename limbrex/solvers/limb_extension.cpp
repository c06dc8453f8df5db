#include "limbrex/solvers/limb_extension.h"

namespace lbx
{
namespace
{

constexpr float kNothing = 1e-20f;

}  // namespace

BendPlane bend_plane(Vec4 axis, Vec4 upper_point, Vec4 middle_point, Vec4 end_point)
{
    BendPlane plane;
    plane.axis = axis;
    plane.upper = middle_point - upper_point;
    plane.lower = end_point - middle_point;
    const Vec4 u = reject3(plane.upper, axis);
    const Vec4 l = reject3(plane.lower, axis);
    plane.a = length3(u);
    plane.b = length3(l);
    plane.along = dot3f(plane.upper + plane.lower, axis);
    plane.chord = min_of(length3(u + l), plane.a + plane.b);
    const float angle = interior_angle(plane, plane.chord);
    plane.angle = dot3f(cross3(axis, u), l) < 0.0f ? -angle : angle;
    return plane;
}

float interior_angle(const BendPlane& plane, float chord)
{
    const float product = 2.0f * plane.a * plane.b;
    if (product <= 0.0f) return kPi;
    return acos_approx(clampf((plane.a * plane.a + plane.b * plane.b - chord * chord) / product, -1.0f, 1.0f));
}

namespace
{

// Opened about its axis as far as its limit lets it.
float length_within_limit(const Solve& solve, const LimbRecord& limb, const JointFrame& joint, Vec4 axis, float widest)
{
    const StateNode* nodes = solve.nodes;
    const Tqs& middle = nodes[limb.slots[kLimbMiddle]].global;
    const BendPlane plane = bend_plane(axis, nodes[limb.slots[kLimbUpper]].global.t, middle.t, nodes[limb.slots[kLimbEnd]].global.t);
    const Quat parent = nodes[limb.middleParent].global.q;
    const Quat opening = quat_from_axis_angle(axis, plane.angle - widest);
    const Quat opened = quat_mul(conjugate(parent), quat_mul(opening, middle.q));
    const Quat held = rotation_from_angles(joint, clamp_angles(joint, angles_from_rotation(joint, opened)));
    return length3(plane.upper + rotate(normalize_quat(quat_mul(parent, held)), rotate_inverse(middle.q, plane.lower)));
}

}  // namespace

float length_at_maximum_extension(const Solve& solve, const LimbRecord& limb, float maximum_angle_deg)
{
    const StateNode* nodes = solve.nodes;
    const Vec4 axis = rotate(nodes[limb.middleParent].global.q, limb.bendAxis);
    const float widest = clampf(maximum_angle_deg, 0.0f, 180.0f) * kDegToRad;
    const LimitRecord* limit = limit_of_slot(solve.character, limb.slots[kLimbMiddle]);
    if (limit != nullptr && has_active_bounds(limit->joint)) return length_within_limit(solve, limb, limit->joint, axis, widest);

    // The law of cosines across the axis; what the segments run along it stays.
    const Vec4 middle = nodes[limb.slots[kLimbMiddle]].global.t;
    const Vec4 upper = middle - nodes[limb.slots[kLimbUpper]].global.t;
    const Vec4 lower = nodes[limb.slots[kLimbEnd]].global.t - middle;
    const float along = dot3f(upper + lower, axis);
    const float a = length_squared3(reject3(upper, axis));
    const float b = length_squared3(reject3(lower, axis));
    return sqrt_scalar(max_of(along * along + a + b - 2.0f * sqrt_scalar(a * b) * cos_approx(widest), 0.0f));
}

Vec4 soften_target(Vec4 root, Vec4 current, Vec4 target, float length, const SoftExtension& soft)
{
    const float s = sqrt_scalar(max_of(soft.maximumExtension * soft.resist, 0.0f));
    const float distance = distance3(target, root);
    if (s < kNothing || distance <= 0.0f || length <= 0.0f) return target;
    // Extension as an angle: 0 at full length, 90 degrees with the tip on the root.
    const float current_deg = acos_approx(clamp01(distance3(current, root) / length)) * kRadToDeg;
    const float target_deg = acos_approx(clamp01(distance / length)) * kRadToDeg;
    const float exponent = 30.0f * (1.0f - s) + (soft.afterRetarget ? 0.0f : 15.0f);
    const float f = pow_approx(clamp01((current_deg + target_deg) / 180.0f), exponent);
    const float final_deg = target_deg + (current_deg - target_deg) * f;
    return root + (target - root) * (length * cos_approx(final_deg * kDegToRad) / distance);
}

}  // namespace lbx
