// How a limb's reach is divided among its middle, end and extremity effectors: a pull moves its effector ahead of the others; among equals the
// extremity comes first, then the end, then the middle. The four limbs are the four lanes (left leg, right leg, left arm, right arm).
#pragma once

#include "limbrex/solvers/solve.h"

namespace lbx
{

struct LimbShares
{
    Vec4 middle, end, extremity;              // shares of the reach
    Vec4 pullMiddle, pullEnd, pullExtremity;  // what each takes by pulling
    Vec4 pull;                                // their sum
    Vec4 resistMiddle;                        // resist of the middle effector
};

// The rule itself, lane by lane. r: reach translations, p: pulls.
LimbShares share_reach(Vec4 r_middle, Vec4 p_middle, Vec4 r_end, Vec4 p_end, Vec4 r_extremity, Vec4 p_extremity);
// All four limbs from the effector set. A limb without an extremity has no reach there; one that is not whole has none at all.
LimbShares limb_shares(const Solve& solve);

template <int Limb>
inline float of_limb(Vec4 v)
{
    return lane<Limb>(v);
}
inline float of_limb(Vec4 v, int limb)
{
    alignas(16) float values[4];
    store4(values, v);
    return values[limb];
}

}  // namespace lbx
