// How long a limb can get, and how softly it gets there.
#pragma once

#include "limbrex/solvers/limb_chain.h"

namespace lbx
{

// A limb's bend seen along its axis: both segments projected onto the plane that they bend in.
struct BendPlane
{
    Vec4 axis;          // unit
    Vec4 upper, lower;  // whole segments
    float a, b;         // projected lengths
    float along;        // extent of the whole limb along the axis, which no bend changes
    float chord;        // projected distance from the upper joint to the end, at most a + b
    float angle;        // interior angle at the middle joint, radians; positive when it bends its own way
};
BendPlane bend_plane(Vec4 axis, Vec4 upper_point, Vec4 middle_point, Vec4 end_point);

// Interior angle that puts the projected end at a distance from the upper joint.
float interior_angle(const BendPlane& plane, float chord);

// Distance from the upper joint to the end with the middle joint opened to the limb's maximum extension angle, its limit held.
float length_at_maximum_extension(const Solve& solve, const LimbRecord& limb, float maximum_angle_deg);

struct SoftExtension
{
    float maximumExtension;  // property, 0 to 1
    float resist;            // of the middle effector
    bool afterRetarget;      // a retargeted pose gets the sharper curve
};
// Draws a target beyond the soft range nearer, along its direction from `root`: near full length the limb opens ever more slowly. current: where the
// limb's tip is; length: what it can reach.
Vec4 soften_target(Vec4 root, Vec4 current, Vec4 target, float length, const SoftExtension& soft);

}  // namespace lbx
