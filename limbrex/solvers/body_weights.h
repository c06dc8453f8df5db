// Who holds the body and who pulls it: the weights of hips, chest, limbs and head against each other, fixed for a whole body pull. A pull takes its
// effector ahead of the others, as within a limb.
#pragma once

#include "limbrex/solvers/limb_reach.h"

namespace lbx
{

struct BodyWeights
{
    float pullHips, pullChest, pullHead;                        // pull times reach T
    float legOnHips[2], armOnHips[2], headOnHips, chestOnHips;  // shares of the hips' translation; left, right
    float armOnChest[2], headOnChest;                           // of the chest's translation
    float armTurnsChest[2];                                     // of the chest's rotation
    float legTurnsHips[2], chestTurnsHips;                      // of the hips' rotation
    float chestT, hipsT, chestR, hipsR;                         // effective reach of the two body effectors
    float heldHipsR, heldChestR;                                // rotation reach that resists
    float sumHipsT, sumChestT, sumHipsR, sumChestR;
};

BodyWeights body_weights(const LBXEffectorSet& effectors, Vec4 limb_pull, bool has_spine);

}  // namespace lbx
