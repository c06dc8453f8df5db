#include "limbrex/solvers/body_weights.h"

namespace lbx
{
namespace
{

float pull_of(const LBXEffectorSet& effectors, int effector)
{
    return weight_of<kPull>(effectors, effector) * weight_of<kReachT>(effectors, effector);
}

// An effector's own claim plus what the others' shares leave of the rest of its reach; never below 0.
float effective_reach(float held, float reach, float left_over) { return max_of(held + (reach - held) * left_over, 0.0f); }

}  // namespace

BodyWeights body_weights(const LBXEffectorSet& effectors, Vec4 limb_pull, bool has_spine)
{
    // Without a spine nothing above the hips hangs on them: it can neither pull nor be pulled.
    const float above = has_spine ? 1.0f : 0.0f;
    const float leg[2] = {lane<LBXLimbLeftLeg>(limb_pull), lane<LBXLimbRightLeg>(limb_pull)};
    const float arm[2] = {above * lane<LBXLimbLeftArm>(limb_pull), above * lane<LBXLimbRightArm>(limb_pull)};
    const float pull_hip[2] = {pull_of(effectors, LBXEffectorLeftHip), pull_of(effectors, LBXEffectorRightHip)};
    const float pull_shoulder[2] = {pull_of(effectors, LBXEffectorLeftShoulder), pull_of(effectors, LBXEffectorRightShoulder)};
    const float reach_hips_t = weight_of<kReachT>(effectors, LBXEffectorHips);
    const float reach_hips_r = weight_of<kReachR>(effectors, LBXEffectorHips);
    const float reach_chest_t = above * weight_of<kReachT>(effectors, LBXEffectorChestEnd);
    const float reach_chest_r = above * weight_of<kReachR>(effectors, LBXEffectorChestEnd);

    BodyWeights w;
    w.pullHips = pull_of(effectors, LBXEffectorHips);
    w.pullChest = above * pull_of(effectors, LBXEffectorChestEnd);
    w.pullHead = above * pull_of(effectors, LBXEffectorHead);
    w.heldHipsR = reach_hips_r * weight_of<kResist>(effectors, LBXEffectorHips);
    w.heldChestR = reach_chest_r * weight_of<kResist>(effectors, LBXEffectorChestEnd);

    for (int side = 0; side < 2; ++side)
    {
        w.legOnHips[side] = (1.0f - w.pullHips) * (1.0f - pull_hip[side]) * leg[side];
        w.armOnChest[side] = (1.0f - w.pullChest) * (1.0f - pull_shoulder[side]) * arm[side];
        w.armTurnsChest[side] = (1.0f - w.heldChestR) * (1.0f - pull_shoulder[side]) * arm[side];
        w.legTurnsHips[side] = (1.0f - w.heldHipsR) * (1.0f - pull_hip[side]) * leg[side];
    }
    w.headOnChest = (1.0f - w.pullChest) * w.pullHead;
    w.chestT = effective_reach(w.pullChest, reach_chest_t, (1.0f - w.armOnChest[0]) * (1.0f - w.headOnChest) * (1.0f - w.armOnChest[1]));

    const float through_body = (1.0f - w.chestT) * (1.0f - w.pullHips);
    for (int side = 0; side < 2; ++side)
        w.armOnHips[side] = through_body * (1.0f - pull_shoulder[side]) * arm[side] * effectors.bodyPull[side];
    w.headOnHips = through_body * w.pullHead;
    w.chestOnHips = (1.0f - w.pullHips) * w.pullChest;
    w.hipsT = effective_reach(w.pullHips, reach_hips_t,
                              (1.0f - w.legOnHips[0]) * (1.0f - w.chestOnHips) * (1.0f - w.legOnHips[1]) * (1.0f - w.headOnHips) *
                                  (1.0f - w.armOnHips[0]) * (1.0f - w.armOnHips[1]));

    w.chestR = effective_reach(w.heldChestR, reach_chest_r, (1.0f - w.armTurnsChest[1]) * (1.0f - w.armTurnsChest[0]));
    const float x = w.chestT * w.pullChest;
    const float hips_free = 1.0f - reach_hips_r;
    w.chestTurnsHips = above * 0.5f * (1.0f - w.heldHipsR) * ((x - hips_free) * x + hips_free);
    w.hipsR =
        effective_reach(w.heldHipsR, reach_hips_r, (1.0f - w.legTurnsHips[1]) * (1.0f - w.legTurnsHips[0]) * (1.0f - w.chestTurnsHips));

    w.sumHipsT = w.hipsT + w.chestOnHips + w.legOnHips[0] + w.legOnHips[1] + w.headOnHips + w.armOnHips[0] + w.armOnHips[1];
    w.sumChestT = w.chestT + w.headOnChest + w.armOnChest[0] + w.armOnChest[1];
    w.sumHipsR = w.hipsR + w.chestTurnsHips + w.legTurnsHips[0] + w.legTurnsHips[1];
    w.sumChestR = w.chestR + w.armTurnsChest[0] + w.armTurnsChest[1];
    return w;
}

}  // namespace lbx
