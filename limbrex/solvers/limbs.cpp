// Stage 4: shoulders, stretch, arms and legs, and the shoulders' second thought. The right side goes first in stretch and solve.
#include "limbrex/solvers/limb_solve.h"
#include "limbrex/solvers/shoulders.h"
#include "limbrex/solvers/stages.h"

namespace lbx
{
namespace
{

constexpr int kLimbOrder[] = {LBXLimbRightArm, LBXLimbLeftArm, LBXLimbRightLeg, LBXLimbLeftLeg};

void turn_shoulders(const Solve& solve, bool (&moved)[kLimbCount])
{
    if (!(solve.mask & (LBXSolvingStepLeftShoulder | LBXSolvingStepRightShoulder))) return;
    const LimbReach reach = limb_reach(solve, LBXLimbLeftArm);
    // The left collar moves no part of the right arm, so one measurement serves both.
    moved[LBXLimbLeftArm] = turn_shoulder(solve, kLeftShoulder, reach);
    moved[LBXLimbRightArm] = turn_shoulder(solve, kRightShoulder, reach);
}

}  // namespace

void limbs_stage(const Solve& solve)
{
    bool moved[kLimbCount] = {};
    turn_shoulders(solve, moved);
    for (const int limb : kLimbOrder)
        if (solve.mask & kLimbs[static_cast<size_t>(limb)].stretchBit) moved[limb] = stretch_limb(solve, limb) || moved[limb];

    const ArmBefore left_arm = arm_before_solve(solve, kLeftShoulder);
    const ArmBefore right_arm = arm_before_solve(solve, kRightShoulder);
    for (const int limb : kLimbOrder)
        if (solve.mask & kLimbs[static_cast<size_t>(limb)].solveBit) moved[limb] = solve_limb(solve, limb, !is_leg(limb)) || moved[limb];
    if (solve.mask & LBXSolvingStepLeftShoulder)
        moved[LBXLimbLeftArm] = correct_shoulder(solve, kLeftShoulder, left_arm) || moved[LBXLimbLeftArm];
    if (solve.mask & LBXSolvingStepRightShoulder)
        moved[LBXLimbRightArm] = correct_shoulder(solve, kRightShoulder, right_arm) || moved[LBXLimbRightArm];

    for (const int limb : kLimbOrder)
        if (moved[limb]) finish_limb(solve, limb);
}

}  // namespace lbx
