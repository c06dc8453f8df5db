#include "limbrex/model/characterization.h"

#include <cmath>

#include "limbrex/math/float_scope.h"
#include "limbrex/model/characterization_tables.h"
#include "limbrex/model/transform_io.h"

namespace lbx
{
namespace
{

Vec4 vec3_of(const float* v) { return vec4(v[0], v[1], v[2]); }
Vec4 position(const LBXCharacter& c, int slot) { return stances(c)[slot].stance.t; }

// Zero when either node is absent.
Vec4 between(const LBXCharacter& c, int from_node, int to_node)
{
    const int from = slot_of(c, from_node);
    const int to = slot_of(c, to_node);
    return from >= 0 && to >= 0 ? position(c, to) - position(c, from) : zero4();
}

// Template angles are constants of the trunk and limbs; taking library sines in double precision once per rig spares them the solver
// approximations' error, and rounding to float hides the last digits in which libraries differ.
Quat quat_from_degrees(const float* degrees)
{
    const auto turn = [degrees](int i) { return static_cast<double>(degrees[i]) * (3.14159265358979323846 / 360.0); };
    const double sx = std::sin(turn(0));
    const double cx = std::cos(turn(0));
    const double sy = std::sin(turn(1));
    const double cy = std::cos(turn(1));
    const double sz = std::sin(turn(2));
    const double cz = std::cos(turn(2));
    return vec4(static_cast<float>(sx * cy * cz - cx * sy * sz), static_cast<float>(cx * sy * cz + sx * cy * sz),
                static_cast<float>(cx * cy * sz - sx * sy * cz), static_cast<float>(cx * cy * cz + sx * sy * sz));
}

void set_bounds_deg(JointFrame& frame, const float* minimum, const float* maximum)
{
    frame.minimum = vec3_of(minimum) * kDegToRad;
    frame.maximum = vec3_of(maximum) * kDegToRad;
    frame.flags |= kAnyBoundActive;
}

// Frame whose x lies along the bone and whose y is across both bone and axis. Identity when they do not span a plane.
Quat frame_along_bone(Vec4 bone, Vec4 axis)
{
    const Vec4 x = normalize3(bone);
    const Vec4 y = normalize3(cross3(axis, x));
    const bool spans = dot3f(x, x) > 0.5f && dot3f(y, y) > 0.5f;  // false for lengths of nothing and for NaN alike
    return spans ? quat_from_axes(x, y, cross3(x, y)) : quat_identity();
}

void set_bare_frame(JointFrame& frame, Vec4 bone, Vec4 axis)
{
    set_post_rotation(frame, frame_along_bone(bone, axis));
    set_pre_rotation(frame, frame.post);
}

// Visits the nodes of one rig and writes their frames.
struct FrameBuilder
{
    LBXCharacter& c;
    float unit;  // length that the fixed directions are fractions of

    JointFrame* frame_of(int node) const
    {
        const int slot = slot_of(c, node);
        return slot >= 0 ? &node_records(c)[slot].joint : nullptr;
    }

    void main_joint(int node, Vec4 bone) const
    {
        JointFrame* frame = frame_of(node);
        const TemplateRow* row = find_template_row(node);
        if (!frame || !row) return;
        frame->order = row->twistAndSwing ? kTwistAndSwing : 0;
        set_pre_rotation(*frame, quat_from_degrees(row->preRotation));
        set_post_rotation(*frame, frame_along_bone(bone, vec3_of(row->axis)));
        set_bounds_deg(*frame, row->minimum, row->maximum);
    }
    void bare_joint(int node, Vec4 bone, Vec4 axis, int order) const
    {
        JointFrame* frame = frame_of(node);
        if (!frame) return;
        set_bare_frame(*frame, bone, axis);
        frame->order = order;
    }
    void bounded_joint(int node, Vec4 bone, Vec4 axis, const BoundsRow& bounds) const
    {
        JointFrame* frame = frame_of(node);
        if (!frame) return;
        set_bare_frame(*frame, bone, axis);
        if (bounds.twist_deg != 0.0f)
        {
            const float about_z[3] = {0.0f, 0.0f, bounds.twist_deg};
            // Turning about the frame's own z is the frame's rotation, the turn, and the frame's rotation undone.
            const Quat twist = quat_mul(quat_mul(frame->post, quat_from_degrees(about_z)), conjugate(frame->post));
            set_pre_rotation(*frame, normalize_quat(quat_mul(twist, frame->pre)));
        }
        frame->order = bounds.twistAndSwing ? kTwistAndSwing : 0;
        set_bounds_deg(*frame, bounds.minimum, bounds.maximum);
    }

    // Toward the node that a joint carries, or along a fixed direction when the rig has none.
    Vec4 toward_or(int node, int next, Vec4 fixed) const { return has_node(c, next) ? between(c, node, next) : fixed; }

    void legs() const
    {
        main_joint(LBXNodeHips, vec4(0.0f, unit / 4, 0.0f));
        for (int limb = 0; limb < kLimbCount; ++limb)
        {
            const LimbRow& row = kLimbs[static_cast<size_t>(limb)];
            main_joint(row.upper, between(c, row.upper, row.middle));
            main_joint(row.middle, between(c, row.middle, row.end));
            if (!is_leg(limb)) continue;
            const Vec4 forward = vec4(0.0f, 0.0f, unit / 4);
            bounded_joint(row.end, toward_or(row.end, row.extremity, forward), vec4(1.0f, 0.0f, 0.0f), kFootBounds);
            main_joint(row.extremity, forward * 0.5f);
        }
    }
    void arms() const
    {
        const Vec4 z = vec4(0.0f, 0.0f, 1.0f);
        const Vec4 left = vec4(unit / 4, 0.0f, 0.0f);
        main_joint(LBXNodeLeftHand, toward_or(LBXNodeLeftHand, LBXNodeLeftFingerBase, left));
        main_joint(LBXNodeRightHand, toward_or(LBXNodeRightHand, LBXNodeRightFingerBase, -left));
        bare_joint(LBXNodeLeftFingerBase, left * 0.5f, z, 0);
        bare_joint(LBXNodeRightFingerBase, left * -0.5f, z, 0);
        bare_joint(LBXNodeLeftShoulder, between(c, LBXNodeLeftShoulder, LBXNodeLeftArm), z, kTwistAndSwing);
        bare_joint(LBXNodeRightShoulder, between(c, LBXNodeRightShoulder, LBXNodeRightArm), z, kTwistAndSwing);
        bare_joint(LBXNodeLeftShoulderExtra, between(c, LBXNodeLeftShoulderExtra, LBXNodeLeftShoulder), z, kTwistAndSwing);
        bare_joint(LBXNodeRightShoulderExtra, between(c, LBXNodeRightShoulderExtra, LBXNodeRightShoulder), z, kTwistAndSwing);
    }
    void rolls() const
    {
        for (int segment = 0; segment < kSegmentCount; ++segment)
        {
            const int next = kSegments[static_cast<size_t>(segment)].next;
            const Vec4 axis = vec3_of(kRollAxes[static_cast<size_t>(segment)].data());
            bounded_joint(roll_node(segment), between(c, roll_node(segment), next), axis, kRollBounds);
            for (int n = 1; n <= kLeafRollCount; ++n)
            {
                bounded_joint(leaf_roll_node(segment, n), between(c, leaf_roll_node(segment, n), next), axis, kRollBounds);
            }
        }
    }
    // Each node of a chain points at the next, the last at `after`.
    void chain(const ChainRecord& nodes, int after, const BoundsRow& bounds) const
    {
        for (int i = 0; i < nodes.count; ++i)
        {
            const int node = node_records(c)[nodes.slots[i]].node;
            const int next = i + 1 < nodes.count ? node_records(c)[nodes.slots[i + 1]].node : after;
            bounded_joint(node, between(c, node, next), vec4(1.0f, 0.0f, 0.0f), bounds);
        }
    }
    void finger(int extremity, int finger_index) const
    {
        const FingerAxes& axes = kFingerAxes[static_cast<size_t>(extremity)];
        const Vec4 axis = vec3_of(finger_index == 0 ? axes.thumb : axes.finger);
        for (int joint = 1; joint <= kFingerJointCount; ++joint)
        {
            const int node = finger_node(extremity, finger_index, joint);
            const bool has_next = joint < kFingerJointCount && has_node(c, node + 1);
            Vec4 bone = vec3_of(axes.tip) * (unit / 8);
            if (has_next)
                bone = between(c, node, node + 1);
            else if (joint > 1)
                bone = between(c, node - 1, node);
            bounded_joint(node, bone, axis, finger_bounds(finger_index, joint));
        }
    }
    void in_extremity(int extremity, int finger_index) const
    {
        const FingerAxes& axes = kFingerAxes[static_cast<size_t>(extremity)];
        const ExtremityRow& row = kExtremities[static_cast<size_t>(extremity)];
        const int node = in_extremity_node(extremity, finger_index);
        const int first_joint = finger_node(extremity, finger_index, 1);
        const int root = finger_index != 0 && has_node(c, row.base) ? row.base : row.node;
        const Vec4 bone = has_node(c, first_joint) ? between(c, node, first_joint) : between(c, root, node);
        bounded_joint(node, bone, vec3_of(finger_index == 0 ? axes.inThumb : axes.inFinger), kInExtremityBounds);
    }
};

// Length of a leg, the rig's own measure. A rig without legs has no say in directions that are fixed anyway.
float measure(const LBXCharacter& c)
{
    for (int limb = 0; limb <= LBXLimbRightLeg; ++limb)
    {
        const LimbRow& row = kLimbs[static_cast<size_t>(limb)];
        if (has_node(c, row.upper) && has_node(c, row.end)) return length3(between(c, row.upper, row.end));
    }
    return 1.0f;
}

}  // namespace

Quat stance_of_pre_rotation(const LBXCharacter& c, int slot)
{
    const NodeRecord& record = node_records(c)[slot];
    const Quat parent = record.parent >= 0 ? stances(c)[record.parent].stance.q : quat_identity();
    const Quat offset = record.parentOffset >= 0 ? parent_offsets(c)[record.parentOffset].q : quat_identity();
    return quat_mul(parent, offset);
}

Quat stance_of_post_rotation(const LBXCharacter& c, int slot) { return stances(c)[slot].stance.q; }

void carry_limits_into_stance(LBXCharacter& c)
{
    for (int slot = 1; slot < static_cast<int>(c.slotCount); ++slot)
    {
        const NodeRecord& record = node_records(c)[slot];
        if (record.limit < 0) continue;
        LimitRecord& limit = limit_records(c)[record.limit];
        set_pre_rotation(limit.joint, quat_mul(stance_of_pre_rotation(c, slot), limit.joint.pre));
        set_post_rotation(limit.joint, quat_mul(stance_of_post_rotation(c, slot), limit.joint.post));
        limit.reference = record.parent >= 0 ? position(c, slot) - position(c, record.parent) : position(c, slot);
    }
}

void build_joint_frames(LBXCharacter& c)
{
    const FrameBuilder build{c, measure(c)};
    build.legs();
    build.arms();
    build.rolls();
    const int above_spine = has_node(c, LBXNodeNeck) ? LBXNodeNeck : LBXNodeHead;
    build.chain(c.spine, above_spine, kSpineBounds);
    build.chain(c.neck, LBXNodeHead, kNeckBounds);
    build.main_joint(LBXNodeHead, vec4(0.0f, build.unit / 4, 0.0f));
    for (int extremity = 0; extremity < kExtremityCount; ++extremity)
    {
        for (int finger = 0; finger < kFingerCount; ++finger)
        {
            build.finger(extremity, finger);
            build.in_extremity(extremity, finger);
        }
    }
}

}  // namespace lbx

using namespace lbx;

bool LBXCharacterize(LBXCharacter* character)
{
    if (!character) return false;
    const SolverFloatScope scope;
    carry_limits_into_stance(*character);
    build_joint_frames(*character);
    for (int limb = 0; limb < kLimbCount; ++limb) set_up_limb(*character, limb);
    character->characterized = 1;
    return true;
}

void LBXSetCharacterizeNodeStateTQSfv(LBXCharacter* character, int node, const float* t, const float* q, const float* s)
{
    if (!character || !t || !q || !s) return;
    stances(*character)[slot_of(*character, node)].stance = read_transform(t, q, s);
}
void LBXSetCharacterizeNodeStateTQSdv(LBXCharacter* character, int node, const double* t, const double* q, const double* s)
{
    if (!character || !t || !q || !s) return;
    const SolverFloatScope scope;
    stances(*character)[slot_of(*character, node)].stance = read_transform(t, q, s);
}
void LBXGetCharacterizeNodeStateTQSfv(const LBXCharacter* character, int node, float* t, float* q, float* s)
{
    if (character) write_transform(stances(*character)[slot_of(*character, node)].stance, t, q, s);
}
void LBXGetCharacterizeNodeStateTQSdv(const LBXCharacter* character, int node, double* t, double* q, double* s)
{
    if (!character) return;
    const SolverFloatScope scope;
    write_transform(stances(*character)[slot_of(*character, node)].stance, t, q, s);
}
