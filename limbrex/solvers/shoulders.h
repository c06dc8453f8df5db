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

// Turns the collar toward its effector, then toward the goal that the arm cannot reach by itself. The arm is current afterwards, what else hangs on it
// when the limb is finished. False when nothing was asked.
bool turn_shoulder(const Solve& solve, ShoulderSide side, const LimbReach& reach);

// An arm before it is solved: which way it points, and where its joints are asked to go.
struct ArmBefore
{
    Vec4 direction;  // of the upper arm, unit; zero when no correction will be made
    Vec4 middle, end, extremity;
};
ArmBefore arm_before_solve(const Solve& solve, ShoulderSide side);
// Lets the collar follow the arm from its direction before the solve to its new one, and solves the arm again so that its hand stands where it was
// asked to be. False when the arm has not turned.
bool correct_shoulder(const Solve& solve, ShoulderSide side, const ArmBefore& before);

}  // namespace lbx
