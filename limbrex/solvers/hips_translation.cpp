// Stage 8: the node that carries the hips' travel apart from their turn.
#include "limbrex/solvers/stages.h"

namespace lbx
{
namespace
{

enum TranslationMode : int
{
    kWorldRigid = 0,
    kBodyRigid = 1,
    kTrajectory = 2
};

}  // namespace

void hips_translation_stage(const Solve& solve)
{
    const int slot = slot_of(solve, LBXNodeHipsTranslation);
    const int hips = slot_of(solve, LBXNodeHips);
    const int mode = rounded_value_of(solve.properties, record::HipsTranslationMode);
    if (!(solve.mask & LBXSolvingStepHipsTranslation) || slot < 0 || hips < 0 || mode == kTrajectory) return;

    // Stored rotations are relative to the stance, so the offset between two stances needs no turning.
    const CharacterizationEntry* stance = stances(solve.character);
    const Vec4 offset = stance[slot].stance.t - stance[hips].stance.t;
    const Tqs& body = solve.nodes[hips].global;
    const Vec4 scaled = xyz(offset * body.s);
    Tqs& node = solve.nodes[slot].global;
    node.t = body.t + (mode == kBodyRigid ? rotate(body.q, scaled) : scaled);
    node.q = quat_identity();
    node.s = body.s;
    update_local(solve, slot);
    update_local(solve, hips);
}

}  // namespace lbx
