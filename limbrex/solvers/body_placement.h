// The single body placement: hips onto their point, then the spine toward the chest's. The body pull runs it once an iteration; without the pull it
// is the whole body stage.
#pragma once

#include "limbrex/solvers/solve.h"

namespace lbx
{

// Working copy of a body effector: the solve moves it, the caller's goals stay.
struct BodyEffector
{
    Vec4 t;
    Quat q;        // unit
    Vec4 weights;  // reach T, reach R, pull, resist
};
struct BodyTriple
{
    BodyEffector hips, chestOrigin, chestEnd;
};
BodyTriple load_body_effectors(const LBXEffectorSet& effectors);

struct SpineInputs
{
    float chestRotationReach;  // damps the spine's first turn, which may then go the other way; 0 outside the body pull
    float progress;            // 0 to 1 over the pull's iterations; scales the stretch
    bool spine;                // whether the spine part runs at all
};

// Midpoint of the up legs, in the frame of the hips; of the one that the rig has; the hips' own place without any.
Vec4 midpoint_in_hips(const Solve& solve);
// The same in the solver frame, wherever the hips stand now.
Vec4 hip_joint_midpoint(const Solve& solve);
// Puts the hip-joint midpoint on a point with the hips turned as given, within their limit. What hangs on them is the caller's to update.
void place_hips(const Solve& solve, Vec4 midpoint, Quat rotation);
// Hips and spine by the triple's targets and weights. Globals are current up to the chest afterwards; what hangs on hips and chest is the caller's to
// update. False when no weight asked for anything and the pose was not touched.
bool place_body(const Solve& solve, const BodyTriple& body, const SpineInputs& inputs);
// The hips part alone (steps shared with the low-definition solve).
bool place_hips_by_effector(const Solve& solve, const BodyEffector& effector);
// Locals of hips and spine, which the placements leave behind, from the globals.
void settle_body(const Solve& solve);

}  // namespace lbx
