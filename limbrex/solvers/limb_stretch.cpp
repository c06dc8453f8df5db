// Stretch: bones grow a little, from a goal near the edge of a limb's reach onward, instead of the limb stopping short.
#include "limbrex/solvers/limb_chain.h"
#include "limbrex/solvers/limb_solve.h"

namespace lbx
{
namespace
{

constexpr float kNoShare = 1e-20f;

struct StretchRange
{
    float start, stop;  // reach ratios; stop is also the largest factor
};

// Bones of the limb from first_bone to last_bone take factor k; the joints above each of them take the scale that goes with it.
void stretch_slots(const Solve& solve, const LimbRecord& record, int first_bone, int last_bone, float k)
{
    const float scale = (k - 1.0f) * value_of(solve.properties, record::SnSScaleArmsAndLegs) + 1.0f;
    for (int i = first_bone; i <= last_bone; ++i)
        if (record.slots[i] >= 0) solve.nodes[record.slots[i]].local.t *= k;
    for (int i = kLimbUpper; i < last_bone; ++i)
        if (record.slots[i] >= 0)
        {
            Vec4& s = solve.nodes[record.slots[i]].global.s;
            s = with_w(s * scale, s);
        }
}

}  // namespace

bool stretch_limb(const Solve& solve, int limb)
{
    const StretchRange range = {value_of(solve.properties, record::StretchStartArmsAndLegs),
                                value_of(solve.properties, record::StretchStopArmsAndLegs)};
    if (!solve.character.limbs[limb].complete() || !(range.start < range.stop)) return false;
    const LimbChain chain = make_limb_chain(solve, limb, false, limb_goals(solve, limb));
    const LimbRow& row = chain.row;
    const float stretch_reach = value_of(solve.properties, record_of_property(row.stretchReach));
    const Vec4 none = zero4();
    const float reach_x = chain.extremity >= 0 ? chain.extremityGoal.reachT : 0.0f;
    const LimbShares shares =
        share_reach(none, none, splat(chain.endGoal.reachT), splat(chain.endGoal.pull), splat(reach_x), splat(chain.extremityGoal.pull));
    const float share_e = x_of(shares.end);
    const float share_x = x_of(shares.extremity);
    if (stretch_reach <= 0.0f || (share_e <= kNoShare && share_x <= kNoShare)) return false;

    // Both factors come from the pose as it was found; a ratio beyond the stop stretches no further.
    const Vec4 root = at(chain, chain.upper);
    const float length = distance3(at(chain, chain.middle), root) + distance3(at(chain, chain.end), at(chain, chain.middle));
    const auto factor = [&](Vec4 tip, Vec4 goal, float share, float whole)
    {
        const float ratio = whole > 0.0f ? min_of(distance3(lerp4(tip, goal, share), root) / whole, range.stop) : 0.0f;
        return ratio > range.start ? stretch_reach * share * (ratio - range.start) / (range.stop - range.start) * (range.stop - 1.0f) + 1.0f
                                   : 1.0f;
    };
    bool moved = false;
    if (share_e > kNoShare)
    {
        const float k = factor(at(chain, chain.end), chain.endGoal.t, share_e, length);
        if (k != 1.0f) stretch_slots(solve, chain.record, kLimbUpperRoll, kLimbEnd, k);
        moved = moved || k != 1.0f;
    }
    if (share_x > kNoShare)
    {
        const Vec4 tip = at(chain, chain.extremity);
        const float k = factor(tip, chain.extremityGoal.t, share_x, distance3(tip, at(chain, chain.end)) + length);
        if (k != 1.0f) stretch_slots(solve, chain.record, kLimbUpperRoll, kLimbExtremity, k);
        moved = moved || k != 1.0f;
    }
    if (moved) follow(chain, chain.upper);
    return moved;
}

}  // namespace lbx
