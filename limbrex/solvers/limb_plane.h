// The plane that a limb bends in: which way its middle joint points.
#pragma once

#include "limbrex/solvers/limb_chain.h"

namespace lbx
{

// A middle joint that bends backwards is straightened, as far as `weight` says.
void unbend(const LimbChain& chain, float weight);
// Twists the upper joint so that the limb bends in the plane of its axis, as far as `weight` says; fades out as the limb straightens. The turn made.
Quat align_bend_plane(const LimbChain& chain, float weight);
// Turns the limb about the line from upper joint to end so that the middle joint points at its effector, by the effector's reach; fades out near full
// extension.
void turn_plane_to_middle_goal(const LimbChain& chain);
// Turns the limb about its upper segment, so that the middle joint stays, and brings the end toward a point; fades out likewise.
void turn_end_about_upper(const LimbChain& chain, Vec4 end_target);
// Turns the limb about the same line by an angle. The end keeps its place and its orientation.
void swing_middle(const LimbChain& chain, float angle);

}  // namespace lbx
