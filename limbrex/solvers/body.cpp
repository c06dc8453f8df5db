// Stage 3: hips, spine and chest, pulled by the limbs or placed once.
#include "limbrex/solvers/body_placement.h"
#include "limbrex/solvers/body_pull.h"
#include "limbrex/solvers/stages.h"

namespace lbx
{

void body_stage(const Solve& solve)
{
    const int hips = slot_of(solve, LBXNodeHips);
    if (hips < 0) return;
    const bool spine = (solve.mask & LBXSolvingStepSpine) != 0;
    if (solve.mask & LBXSolvingStepBodyPull)
        pull_body(solve, spine);
    else if (solve.mask != 0 && place_body(solve, load_body_effectors(solve.effectors), {0.0f, 1.0f, spine}))
    {
        settle_body(solve);
        update_descendants(solve, hips);
    }
}

}  // namespace lbx
