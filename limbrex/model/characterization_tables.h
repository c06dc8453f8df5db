// What a T-stance alone cannot tell: which way each joint's axes lie about its bone, and how far it bends by default.
#pragma once

#include "limbrex/model/template.h"

namespace lbx
{

// The main joints. Degrees about the joint's own axes; axis and pre-rotation in the global frame of the stance.
struct TemplateRow
{
    int32_t node;
    float axis[3];         // across the bone; the frame's y is axis x bone
    float preRotation[3];  // turns about x, then y, then z
    float minimum[3];
    float maximum[3];
    bool twistAndSwing;
};
extern const std::array<TemplateRow, 14> kTemplateRows;
const TemplateRow* find_template_row(int node);  // null for the others

// The others take default bounds by the kind of joint they are.
struct BoundsRow
{
    float minimum[3];
    float maximum[3];
    bool twistAndSwing;
    float twist_deg;  // of the pre-rotation about the frame's z axis
};
extern const BoundsRow kFootBounds;
extern const BoundsRow kRollBounds;
extern const BoundsRow kSpineBounds;
extern const BoundsRow kNeckBounds;
extern const BoundsRow kInExtremityBounds;
extern const BoundsRow kThumbRootBounds;
extern const BoundsRow kFingerRootBounds;
extern const BoundsRow kFingerMiddleBounds;
extern const BoundsRow kFingerTipBounds;
const BoundsRow& finger_bounds(int finger, int joint);  // joint 1 to 4

// Axes across the bones of hands and feet, by extremity.
struct FingerAxes
{
    float thumb[3], finger[3];
    float inThumb[3], inFinger[3];  // metacarpals and metatarsals
    float tip[3];                   // direction of a finger of one joint
};
extern const std::array<FingerAxes, kExtremityCount> kFingerAxes;

// Axis across a twist joint's bone, by segment.
extern const std::array<std::array<float, 3>, kSegmentCount> kRollAxes;

}  // namespace lbx
