#include "limbrex/solvers/floor_tips.h"

#include "limbrex/solvers/fingers.h"

namespace lbx
{
namespace
{

constexpr int kSteps = 4;
constexpr float kStickyRange = 0.5f;    // of the finger's length: height from which a sticky finger comes down to the floor
constexpr float kLargestSpread = 2.0f;  // factor of a tip's way along the floor
constexpr float kThickestTip = 0.25f;   // of the last bone: a size meant for another length unit does not lift the hand

// How tips meet the floor, the finger contact mode.
struct TipManner
{
    bool sticky;  // tips that come near are drawn onto the floor
    bool spread;  // a tip that is pushed up slides outward and keeps its distance from the finger's base, so that the finger keeps its curl
};
TipManner manner_of(const LBXPropertySet& properties, const ContactRow& row)
{
    enum Mode : int
    {
        kSticky = 0,
        kSpread = 1
    };
    const int mode = rounded_value_of(properties, row.fingerContactMode);
    return {mode != kSpread, mode != kSticky};
}

struct TipContact
{
    const FloorFrame& floor;
    Vec4 up;
    Vec4 base;
    float length;     // of the finger
    float distance;   // base to the tip's target before the floor has its say
    float clearance;  // half the tip's thickness, over the floor
    TipManner manner;
};

// The tip's height once the floor holds it: not below its clearance, and from a little above drawn down to it where fingers stick.
float height_in_contact(const TipContact& contact, float height)
{
    const float above = height - contact.clearance;
    if (above <= 0.0f) return contact.clearance;
    if (!contact.manner.sticky) return height;
    const float s = clamp01(above / (kStickyRange * contact.length));
    return contact.clearance + above * ((3.0f - 2.0f * s) * s * s);
}

// Where a tip that is wanted at `target` touches.
Vec4 tip_in_contact(const TipContact& contact, Vec4 target)
{
    const float height = height_above(contact.floor, target);
    const float held = height_in_contact(contact, height);
    if (held == height) return target;
    const Vec4 raised = target + contact.up * (held - height);
    const float over_base = dot3f(raised - contact.base, contact.up);
    const Vec4 along = raised - contact.base - contact.up * over_base;
    const float reach = contact.manner.spread ? contact.distance : min_of(distance3(raised, contact.base), contact.length);
    const float span = sqrt_scalar(max_of(reach * reach - over_base * over_base, 0.0f));
    const float flat = length3(along);
    const float factor = span < kLargestSpread * flat ? span / flat : kLargestSpread;
    return contact.base + along * factor + contact.up * over_base;
}

Vec4 target_on_floor(const TipContact& contact, Vec4 target, float roll_stiffness)
{
    for (int step = 0; step < kSteps; ++step)
    {
        const Vec4 touch = tip_in_contact(contact, target);
        target = touch - contact.up * (dot3f(touch - target, contact.up) * roll_stiffness);
    }
    // A stiff finger keeps its height, but not below the floor.
    return target + contact.up * max_of(contact.clearance - height_above(contact.floor, target), 0.0f);
}

float clearance_of(const Solve& solve, int extremity, int finger)
{
    const ContactRow& row = contact_row(extremity);
    const int joints = finger_joints(solve.character, extremity, finger);
    const int before_tip = slot_of(solve, finger_node(extremity, finger, joints - 1));
    const float last_bone = distance3(position(solve, tip_slot(solve.character, extremity, finger)), position(solve, before_tip));
    return clampf(value_of(solve.properties, row.firstTipSize + finger), 0.0f, kThickestTip * last_bone);
}

}  // namespace

TipPlaces tip_places(const Solve& solve, int extremity)
{
    TipPlaces places = {};
    for (int finger = 0; finger < kFingerCount; ++finger) places.at[finger] = position(solve, tip_slot(solve.character, extremity, finger));
    return places;
}

void contact_fingers(const Solve& solve, int extremity, const TipPlaces& before)
{
    const ContactRow& row = contact_row(extremity);
    if (mode_of(solve.properties, row.fingerSolving) != 1) return;
    const FloorFrame floor = floor_frame(solve.effectors, extremity);
    const TipManner manner = manner_of(solve.properties, row);
    const float stiffness = clamp01(value_of(solve.properties, row.rollStiffness));
    for (int finger = 0; finger < kFingerCount; ++finger)
    {
        if (finger_joints(solve.character, extremity, finger) < 2) continue;
        const int tip = tip_slot(solve.character, extremity, finger);
        const Vec4 base = position(solve, slot_of(solve, finger_node(extremity, finger, 1)));
        const float length = finger_length(solve, extremity, finger);
        const float reach = weight_of<kReachT>(solve.effectors, row.firstTip + finger);
        Vec4 target = lerp4(position(solve, tip), before.at[finger], reach);
        // Beyond the finger's length only the direction matters.
        const float distance = distance3(target, base);
        if (distance > length) target = base + (target - base) * (length / distance);
        const TipContact contact = {floor, floor_up(floor), base, length, min_of(distance, length), clearance_of(solve, extremity, finger),
                                    manner};
        solve_finger(solve, extremity, finger, target_on_floor(contact, target, stiffness));
    }
}

}  // namespace lbx
