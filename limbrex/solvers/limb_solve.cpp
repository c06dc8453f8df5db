#include "limbrex/solvers/limb_solve.h"

#include "limbrex/solvers/limb_passes.h"
#include "limbrex/solvers/limb_plane.h"
#include "limbrex/solvers/limb_twist.h"

namespace lbx
{
namespace
{

constexpr float kNoShare = 1e-20f;

struct Pass
{
    float share;
    void (*run)(const LimbChain& chain);
};

// Local rotations along the path.
struct PathRotations
{
    Quat q[kMaxPath];
};

PathRotations local_rotations(const LimbChain& chain)
{
    PathRotations rotations;
    for (int i = 0; i < chain.pathCount; ++i) rotations.q[i] = chain.solve.nodes[chain.path[i]].local.q;
    return rotations;
}

void set_local_rotations(const LimbChain& chain, const PathRotations& rotations)
{
    for (int i = 0; i < chain.pathCount; ++i)
    {
        chain.solve.nodes[chain.path[i]].local.q = rotations.q[i];
        update_global(chain.solve, chain.path[i]);
    }
}

// Runs each pass from the same pose and blends their changes by their shares, all on one hemisphere. A single pass is its own blend.
bool run_passes(const LimbChain& chain, const Pass (&passes)[3])
{
    int wanted = 0;
    for (const Pass& pass : passes) wanted += pass.share > kNoShare ? 1 : 0;
    if (wanted == 0) return false;

    const PathRotations start = local_rotations(chain);
    PathRotations sum = {};
    for (const Pass& pass : passes)
    {
        if (pass.share <= kNoShare) continue;
        pass.run(chain);
        if (wanted == 1) return true;
        for (int i = 0; i < chain.pathCount; ++i)
        {
            const Quat change = quat_mul(chain.solve.nodes[chain.path[i]].local.q, conjugate(start.q[i]));
            sum.q[i] += change * sign_one(dot4(sum.q[i], change)) * pass.share;
        }
        set_local_rotations(chain, start);
    }
    for (int i = 0; i < chain.pathCount; ++i) sum.q[i] = quat_mul(normalize_quat(sum.q[i]), start.q[i]);
    set_local_rotations(chain, sum);
    return true;
}

// A rig without twist joints in its upper segment whose middle joint is bounded cannot take the aligning twist back further down, so it gets none.
bool may_align(const LimbChain& chain)
{
    if (chain.realisticArm || chain.record.slots[kLimbUpperRoll] >= 0) return true;
    const LimitRecord* limit = middle_limit(chain);
    const JointFrame& frame = limit != nullptr ? limit->joint : chain.solve.records[chain.middle].joint;
    return !has_active_bounds(frame);
}

bool asks_nothing(const LimbChain& chain, float shares)
{
    const float tip = chain.extremity >= 0 ? chain.extremityGoal.reachR : 0.0f;
    return shares <= kNoShare && chain.rootGoal.reachR <= 0.0f && chain.middleGoal.reachR <= 0.0f && chain.endGoal.reachR <= 0.0f &&
           tip <= 0.0f;
}

}  // namespace

bool solve_limb(const Solve& solve, int limb, bool arm) { return solve_limb_toward(solve, limb, arm, limb_goals(solve, limb)); }

bool solve_limb_toward(const Solve& solve, int limb, bool arm, const LimbGoals& goals)
{
    if (!solve.character.limbs[limb].complete()) return false;
    LimbChain chain = make_limb_chain(solve, limb, arm, goals);
    const float reach_x = chain.extremity >= 0 ? goals.extremity.reachT : 0.0f;
    const LimbShares shares = share_reach(splat(goals.middle.reachT), splat(goals.middle.pull), splat(goals.end.reachT),
                                          splat(goals.end.pull), splat(reach_x), splat(goals.extremity.pull));
    const Pass passes[3] = {{x_of(shares.middle), middle_pass}, {x_of(shares.end), end_pass}, {x_of(shares.extremity), extremity_pass}};
    const float total = min_of(1.0f, passes[0].share + passes[1].share + passes[2].share);
    if (asks_nothing(chain, total)) return false;

    orient_joint(chain, chain.upper, chain.rootGoal, true);
    orient_joint(chain, chain.middle, chain.middleGoal, true);
    chain.intoPlane = total * goals.plane;
    const float swing = realistic_swing(chain) * chain.intoPlane;
    Quat kept_turn = quat_identity();
    if (total > kNoShare)
    {
        if (!chain.realisticArm) unbend(chain, chain.intoPlane);
        if (may_align(chain)) kept_turn = align_bend_plane(chain, chain.intoPlane);
        if (yields_to_forearm_twist(chain)) spend_forearm_twist(chain);
    }
    if (!run_passes(chain, passes)) orient_joint(chain, chain.end, chain.endGoal, false);
    if (chain.extremity >= 0) orient_joint(chain, chain.extremity, chain.extremityGoal, false);
    if (!chain.realisticArm) final_twist(chain, swing, kept_turn);
    return true;
}

void finish_limb(const Solve& solve, int limb)
{
    const LimbRecord& record = solve.character.limbs[limb];
    for (int i = kLimbFirstUpperRoll; i < kLimbEnd; ++i)
        if (i != kLimbMiddle && record.slots[i] >= 0) update_global(solve, record.slots[i]);
    if (record.slots[kLimbEnd] >= 0) update_descendants(solve, record.slots[kLimbEnd]);
}

}  // namespace lbx
