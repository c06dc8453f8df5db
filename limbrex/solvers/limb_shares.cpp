#include "limbrex/solvers/limb_shares.h"

namespace lbx
{
namespace
{

struct WeightLanes
{
    Vec4 reachT, pull, resist;
};

// The same effector of the four limbs, weight by weight.
WeightLanes gather(const LBXEffectorSet& effectors, int32_t LimbRow::*effector)
{
    Vec4 a = effectors.weights[kLimbs[0].*effector];
    Vec4 b = effectors.weights[kLimbs[1].*effector];
    Vec4 c = effectors.weights[kLimbs[2].*effector];
    Vec4 d = effectors.weights[kLimbs[3].*effector];
    transpose4(a, b, c, d);
    return {a, c, d};
}

template <class Test>
Vec4 mask_of_limbs(const Solve& solve, Test test)
{
    uint32_t m[kLimbCount];
    for (int limb = 0; limb < kLimbCount; ++limb) m[limb] = test(solve.character.limbs[limb]) ? ~0u : 0u;
    return bits4(m[0], m[1], m[2], m[3]);
}

}  // namespace

LimbShares share_reach(Vec4 r_middle, Vec4 p_middle, Vec4 r_end, Vec4 p_end, Vec4 r_extremity, Vec4 p_extremity)
{
    const Vec4 one = splat(1.0f);
    LimbShares s;
    s.pullMiddle = p_middle * r_middle;
    s.pullEnd = p_end * r_end * (one - s.pullMiddle);
    const Vec4 rest = (one - s.pullMiddle) - s.pullEnd;
    s.pullExtremity = (one - s.pullEnd) * (one - s.pullMiddle) * p_extremity * r_extremity;
    s.extremity = (rest - s.pullExtremity) * r_extremity + s.pullExtremity;
    s.end = (rest - s.extremity) * r_end + s.pullEnd;
    s.middle = ((one - s.pullMiddle) - s.end - s.extremity) * r_middle + s.pullMiddle;
    s.pull = s.pullMiddle + s.pullEnd + s.pullExtremity;
    s.resistMiddle = zero4();
    return s;
}

LimbShares limb_shares(const Solve& solve)
{
    const Vec4 whole = mask_of_limbs(solve, [](const LimbRecord& limb) { return limb.complete(); });
    const Vec4 with_extremity =
        mask_of_limbs(solve, [](const LimbRecord& limb) { return limb.complete() && limb.slots[kLimbExtremity] >= 0; });
    const WeightLanes middle = gather(solve.effectors, &LimbRow::middleEffector);
    const WeightLanes end = gather(solve.effectors, &LimbRow::endEffector);
    const WeightLanes extremity = gather(solve.effectors, &LimbRow::extremityEffector);
    LimbShares shares = share_reach(and4(whole, middle.reachT), middle.pull, and4(whole, end.reachT), end.pull,
                                    and4(with_extremity, extremity.reachT), extremity.pull);
    shares.resistMiddle = middle.resist;
    return shares;
}

}  // namespace lbx
