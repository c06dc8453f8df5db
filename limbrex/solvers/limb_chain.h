// One limb while it is being solved: its path of nodes, its goals and the options that steer it. Turns are made in the state itself; the path below
// a turned joint follows at once, what hangs beside it or below the end waits for the stage.
#pragma once

#include "limbrex/solvers/solve.h"

namespace lbx
{

// What an effector asks of a limb.
struct LimbGoal
{
    Vec4 t;
    Quat q;
    float reachT, reachR, pull, resist;
};
struct LimbGoals
{
    LimbGoal root, middle, end, extremity;
    bool placed;  // translations are where the joints shall stand; their reaches have been applied and only share the limb
    bool exact;   // no soft extension: the end shall stand just there
    float plane;  // 1: the limb is brought into its own bending plane as far as it reaches; less: by less
};
// As the effector set has them.
LimbGoals limb_goals(const Solve& solve, int limb);

constexpr int kMaxPath = 6;  // upper, its twist joint, middle, its twist joint, end, extremity

struct LimbChain
{
    const Solve& solve;
    const LimbRecord& record;
    const LimbRow& row;
    int path[kMaxPath];  // slots from the upper joint to the extremity (to the end without one)
    int pathCount;
    int upper, middle, end;  // slots
    int extremity;           // slot or -1
    LimbGoal rootGoal, middleGoal, endGoal, extremityGoal;
    bool placed;
    bool exact;
    bool leg;
    bool killPitch;
    bool realisticArm;
    float maximumExtension;       // 0 to 1
    float maximumExtensionAngle;  // degrees
    float realistic;              // legs: weight of the realistic knee
    float intoPlane;              // how far the limb is brought into its own bending plane
};

// The limb must be complete.
LimbChain make_limb_chain(const Solve& solve, int limb, bool arm, const LimbGoals& goals);

inline Vec4 at(const LimbChain& chain, int slot) { return chain.solve.nodes[slot].global.t; }
// The axis that the middle joint bends about, in the solver frame. Unit.
inline Vec4 bend_axis(const LimbChain& chain)
{
    return rotate(chain.solve.nodes[chain.record.middleParent].global.q, chain.record.bendAxis);
}
inline const LimitRecord* middle_limit(const LimbChain& chain) { return limit_of_slot(chain.solve.character, chain.middle); }

// The point that a goal asks of a joint that stands at `place`.
inline Vec4 asked_point(const LimbChain& chain, Vec4 place, Vec4 target, float reach)
{
    return chain.placed ? target : lerp4(place, target, reach);
}

// Globals of the path below a slot.
void follow(const LimbChain& chain, int slot);
// Pre-multiplies a joint's rotation, holds its limit, lets the path follow.
void turn_joint(const LimbChain& chain, int slot, Quat turn);
// Turns a joint so that `tip` points at the target, whatever its distance. Holds the joint's limit.
void aim_joint(const LimbChain& chain, int slot, Vec4 tip, Vec4 target);
// Blends a joint's rotation toward a goal's. Limits are held where the joint is one that carries the limb, not at its end.
void orient_joint(const LimbChain& chain, int slot, const LimbGoal& goal, bool hold_limit);

}  // namespace lbx
