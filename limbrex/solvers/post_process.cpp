// Stage 10: the whole pose mirrored left to right, and hips held on axes.
#include <utility>

#include "limbrex/solvers/stages.h"

namespace lbx
{
namespace
{

// Right twin of a left node, -1 for right and centre nodes. Pairs follow the id formulas: the right side stands a fixed step after the left one.
constexpr int right_twin(int node)
{
    struct Block
    {
        int first, count, step;
    };
    constexpr Block kLeftBlocks[] = {{LBXNodeLeftUpLeg, 3, 3},
                                     {LBXNodeLeftArm, 3, 3},
                                     {LBXNodeLeftToeBase, 1, 1},
                                     {LBXNodeLeftShoulder, 1, 1},
                                     {LBXNodeLeftFingerBase, 1, 1},
                                     {LBXNodeLeftUpLegRoll, 2, 2},
                                     {LBXNodeLeftArmRoll, 2, 2},
                                     {LBX_NODE_FINGER(0, 0, 1), 24, 24},
                                     {LBX_NODE_FINGER(2, 0, 1), 24, 24},
                                     {LBX_NODE_IN_EXTREMITY(0, 0), 6, 6},
                                     {LBX_NODE_IN_EXTREMITY(2, 0), 6, 6},
                                     {LBXNodeLeftShoulderExtra, 1, 1}};
    for (const Block& block : kLeftBlocks)
        if (node >= block.first && node < block.first + block.count) return node + block.step;
    if (node >= LBXNodeFirstLeafRoll)
    {
        const int segment = (node - LBXNodeFirstLeafRoll) % kSegmentCount;  // left and right segments alternate by pairs
        return segment % 4 < 2 ? node + 2 : -1;
    }
    return -1;
}
static_assert(right_twin(LBXNodeLeftHand) == LBXNodeRightHand && right_twin(LBXNodeRightHand) == -1 && right_twin(LBXNodeHips) == -1,
              "twins stand where the ids say");

void mirror_in_place(Tqs& transform)
{
    transform.t = transform.t * vec4(1.0f, 1.0f, -1.0f);
    transform.q = lanes<2, 3, 0, 1>(transform.q) * vec4(-1.0f, 1.0f, -1.0f, 1.0f);
}

void mirror_pose(const Solve& solve)
{
    const int count = static_cast<int>(solve.character.slotCount);
    for (int slot = 1; slot < count; ++slot)  // every node but Reference
        mirror_in_place(solve.nodes[slot].global);
    for (int node = 0; node < kNodeCount; ++node)
    {
        const int twin = right_twin(node);
        if (twin >= 0 && slot_of(solve, node) >= 0 && slot_of(solve, twin) >= 0)
            std::swap(solve.nodes[slot_of(solve, node)].global, solve.nodes[slot_of(solve, twin)].global);
    }
    refresh_locals(solve.character, solve.nodes);
}

void mirror_effectors(LBXEffectorSet& effectors)
{
    for (Tqs& target : effectors.targets) mirror_in_place(target);
    for (int effector = 0; effector < kEffectorCount; ++effector)
    {
        const int twin = kEffectors[static_cast<size_t>(effector)].mirror;
        if (twin < 0) continue;
        std::swap(effectors.targets[effector].t, effectors.targets[twin].t);
        std::swap(effectors.targets[effector].q, effectors.targets[twin].q);
        std::swap(effectors.weights[effector], effectors.weights[twin]);
    }
}

void lock_hips(const Solve& solve)
{
    const int hips = slot_of(solve, LBXNodeHips);
    const Vec4 locks = vec4(value_of(solve.properties, record::LockX), value_of(solve.properties, record::LockY),
                            value_of(solve.properties, record::LockZ));
    const Vec4 is_free = equal4(locks, zero4());
    if (hips < 0 || (mask_bits(is_free) & 7) == 7) return;
    Tqs& global = solve.nodes[hips].global;
    global.t = select4(is_free, global.t, stances(solve.character)[hips].stance.t);
    update_local(solve, hips);
    update_descendants(solve, hips);
}

}  // namespace

void post_process_stage(const Solve& solve)
{
    if (!(solve.mask & LBXSolvingStepPostProcess)) return;
    if (is_in_effect(solve.properties, record::Mirror))
    {
        mirror_pose(solve);
        mirror_effectors(solve.effectors);
    }
    lock_hips(solve);
}

}  // namespace lbx
