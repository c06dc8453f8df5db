// Which way knees and elbows bend, and turning them round.
//
// The bend axis n lives in the stored frame of the middle joint's parent, where the stance is the identity: with u from the upper to the middle
// joint and l from the middle to the end, a properly bent limb has (n x u) . l above 0.

#include "limbrex/math/float_scope.h"
#include "limbrex/model/characterization.h"
#include "limbrex/model/characterization_tables.h"

namespace lbx
{
namespace
{

constexpr float kCosThirtyDegrees = 0.8660254f;
constexpr float kStraightSine = 0.0175f;  // one degree: a smaller bend is the noise of a straight limb, and its normal points anywhere

Vec4 direction(const LBXCharacter& c, int from_slot, int to_slot)
{
    return normalize3(stances(c)[to_slot].stance.t - stances(c)[from_slot].stance.t);
}

// An arm whose middle bone runs along the axis that its frame is built from, as a fore leg does that hangs under the body: the frame's third axis
// is noise there.
bool hangs(const LBXCharacter& c, int limb)
{
    const LimbRecord& record = c.limbs[limb];
    if (is_leg(limb) || !record.complete()) return false;
    const TemplateRow* row = find_template_row(kLimbs[static_cast<size_t>(limb)].middle);
    const Vec4 axis = vec4(row->axis[0], row->axis[1], row->axis[2]);
    const float along = dot3f(direction(c, record.slots[kLimbMiddle], record.slots[kLimbEnd]), axis);
    return along >= kCosThirtyDegrees || along <= -kCosThirtyDegrees;
}

// The normal of the limb's own bend. A straight limb takes the x axis with the sign that sends its elbow backwards, so that the hand comes forward.
Vec4 hanging_bend_axis(const LBXCharacter& c, const LimbRecord& record)
{
    const Vec4 upper = direction(c, record.slots[kLimbUpper], record.slots[kLimbMiddle]);
    const Vec4 lower = direction(c, record.slots[kLimbMiddle], record.slots[kLimbEnd]);
    const Vec4 normal = cross3(upper, lower);
    if (length_squared3(normal) > kStraightSine * kStraightSine) return normalize3(normal);
    return vec4(y_of(lower) < 0.0f ? -1.0f : 1.0f, 0.0f, 0.0f);
}

// Knees take the side of +x, elbows that of -y on the left and +y on the right: legs fold backwards, arms forwards.
Vec4 template_bend_axis(const LBXCharacter& c, int limb)
{
    const Vec4 z = node_records(c)[c.limbs[limb].slots[kLimbMiddle]].joint.axes[2];
    const int sign_lane = is_leg(limb) ? 1 : 2;
    bool negative = (mask_bits(z) & sign_lane) != 0;
    if (limb == LBXLimbLeftArm) negative = !negative;
    return negative ? -z : z;
}

Vec4 bend_axis(const LBXCharacter& c, int limb)
{
    const LimbRecord& record = c.limbs[limb];
    Vec4 n = hangs(c, limb) ? hanging_bend_axis(c, record) : template_bend_axis(c, limb);
    if (record.inverted != 0) n = -n;
    const LimitRecord* limit = limit_of_slot(c, record.slots[kLimbMiddle]);
    if (limit && has_active_bounds(limit->joint))
    {
        // Where the axis points while all the joint's angles are 0.
        n = rotate(normalize_quat(limit->joint.pre), rotate_inverse(normalize_quat(limit->joint.post), n));
    }
    return xyz(n);
}

// The frame seen in a mirror that exchanges front and back. Only its bone direction is mirrored; one of the other axes follows so that the
// result is a rotation again, and a renormalized one, since a frame off the template's planes is not exactly square afterwards.
Quat mirrored_pre_rotation(Quat pre, bool middle_joint)
{
    Vec4 x;
    Vec4 y;
    Vec4 z;
    quat_axes(pre, x, y, z);
    const Vec4 mirrored_x = x * vec4(1.0f, 1.0f, -1.0f);
    if (middle_joint) return quat_from_axes(mirrored_x, cross3(z, mirrored_x), z);
    return quat_from_axes(mirrored_x, y, cross3(mirrored_x, y));
}

}  // namespace

void apply_inversion(LBXCharacter& c, int limb)
{
    LimbRecord& record = c.limbs[limb];
    const bool inverted = record.inverted != 0;
    for (int joint = 0; joint < 2; ++joint)
    {
        const int slot = record.slots[joint == 0 ? kLimbUpper : kLimbMiddle];
        if (slot < 0) continue;
        // An arm's upper joint bends forwards and backwards alike and keeps its frame.
        const bool mirrored = inverted && (joint == 1 || is_leg(limb));
        set_pre_rotation(node_records(c)[slot].joint,
                         mirrored ? mirrored_pre_rotation(record.plainPre[joint], joint == 1) : record.plainPre[joint]);
    }
    record.bendAxis = bend_axis(c, limb);
}

void set_up_limb(LBXCharacter& c, int limb)
{
    LimbRecord& record = c.limbs[limb];
    record.plainPre[0] = node_records(c)[record.slots[kLimbUpper]].joint.pre;
    record.plainPre[1] = node_records(c)[record.slots[kLimbMiddle]].joint.pre;
    apply_inversion(c, limb);
}

}  // namespace lbx

using namespace lbx;

void LBXSetLimbInverted(LBXCharacter* character, int limb, bool inverted)
{
    if (!character || !is_limb(limb) || (character->limbs[limb].inverted != 0) == inverted) return;
    const SolverFloatScope scope;
    character->limbs[limb].inverted = inverted ? 1 : 0;
    if (character->characterized != 0) apply_inversion(*character, limb);
}

bool LBXGetLimbInverted(const LBXCharacter* character, int limb)
{
    return character && is_limb(limb) && character->limbs[limb].inverted != 0;
}
