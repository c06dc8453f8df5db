// Stage 1: locals from the pose's globals, then every joint within its limits.
#include "limbrex/solvers/roll_extraction.h"
#include "limbrex/solvers/stages.h"

namespace lbx
{
namespace
{

// Walks the tree parents first. A node whose limit changed it carries everything below: those globals follow as the walk reaches them, so each
// node is recomputed at most once.
void hold_all_limits(const Solve& solve)
{
    const int count = static_cast<int>(solve.character.slotCount);
    int follows_until = 0;  // places before this one hang under a node that moved
    for (int place = 0; place < count; ++place)
    {
        const int slot = solve.order[place];
        if (place < follows_until) update_global(solve, slot);
        if (enforce_limit(solve, slot))
        {
            const int end = place + solve.subtree[slot];
            follows_until = end > follows_until ? end : follows_until;
        }
    }
}

}  // namespace

void prepare_stage(const Solve& solve)
{
    solve.effectors.retargetFlag = 0;
    begin_pose(solve);
    if (solve.mask & LBXSolvingStepRollExtraction) take_roll_snapshot(solve, solve.effectors.rollSnapshot);
    if (solve.character.limitCount > 0) hold_all_limits(solve);
}

}  // namespace lbx
