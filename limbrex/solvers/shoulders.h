// Collars: they turn with an arm that reaches far, and follow the arm's new direction once it is solved.
#pragma once

#include "limbrex/solvers/limb_reach.h"

namespace lbx
{

// Left or right, as rows of a table in the source.
enum ShoulderSide : int
{
    kLeftShoulder = 0,
    kRightShoulder = 1
};

// Turns the collar toward its effector, then toward the goal that the arm cannot reach by itself. False when nothing was asked.
bool turn_shoulder(const Solve& solve, ShoulderSide side, const LimbReach& reach);

// Unit direction of the upper arm, to be compared after the arms are solved. Zero when no correction will be made.
Vec4 arm_direction(const Solve& solve, ShoulderSide side);
// Lets the collar follow the arm from the recorded direction to its new one, and solves the arm again so that its hand stands where it stood. False
// when the arm has not turned.
bool correct_shoulder(const Solve& solve, ShoulderSide side, Vec4 recorded_direction);

}  // namespace lbx
