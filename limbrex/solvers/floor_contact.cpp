// Stage 7: feet and hands that the solve has brought below their floors are set onto them, and their limbs follow.
//
// The goals of this second solve are where the joints stand now, so that it changes nothing but what the floor asks for, however far the first one
// came, and begins without a jump.
#include "limbrex/solvers/contact_rest.h"
#include "limbrex/solvers/fingers.h"
#include "limbrex/solvers/floor_tips.h"
#include "limbrex/solvers/limb_solve.h"
#include "limbrex/solvers/stages.h"

namespace lbx
{
namespace
{

constexpr float kFadeIn = 0.05f;  // of the limb's length: move of the end at which the second solve has its full say in the limb's plane

constexpr float kStraight = 0.9999f;  // of the limb's length

bool same_bits(Vec4 a, Vec4 b) { return mask_bits(equal4(a, b)) == 15; }
bool same_place(const Tqs& a, const Tqs& b) { return same_bits(xyz(a.t), xyz(b.t)) && same_bits(a.q, b.q); }

void put_goal(LimbGoal& goal, const Tqs& place)
{
    goal.t = place.t;
    goal.q = place.q;
}

float smooth_step(float s) { return (3.0f - 2.0f * s) * s * s; }

float limb_length(const Solve& solve, const LimbRecord& record)
{
    const Vec4 middle = position(solve, record.slots[kLimbMiddle]);
    return distance3(middle, position(solve, record.slots[kLimbUpper])) + distance3(position(solve, record.slots[kLimbEnd]), middle);
}

// A height that the limb cannot bridge where it stands, it bridges nearer to its root: the piece slides along the floor into reach, since a goal out
// of reach would leave it short of its height, below the floor.
void slide_into_reach(const FloorFrame& floor, Vec4 root_solver, float reach, ContactPiece& piece)
{
    const Vec4 from_root = piece.end.t - rotate_inverse(floor.q, root_solver - floor.t);
    const Vec4 flat = from_root * vec4(1.0f, 0.0f, 1.0f);
    const float held = sqrt_scalar(max_of(reach * reach - y_of(from_root) * y_of(from_root), 0.0f));
    const float distance = length3(flat);
    if (distance <= held) return;
    const Vec4 back = flat * (held / distance - 1.0f);
    piece.end.t += back;
    piece.base.t += back;
}

// The extremity leads where it carries the sole, the end otherwise.
void weigh_goals(LimbGoals& goals, const ContactShape& shape)
{
    const float end_leads = shape.soleOnBase ? 0.0f : 1.0f;
    goals.end.reachT = end_leads;
    goals.end.reachR = end_leads;
    goals.extremity.reachT = 1.0f - end_leads;
    goals.extremity.reachR = 1.0f;
    (shape.hasBase ? goals.extremity : goals.end).pull = 1.0f;
}

LimbGoals contact_goals(const Solve& solve, int limb, const ContactShape& shape, const ContactPiece& rested)
{
    const LimbRecord& record = solve.character.limbs[limb];
    const Tqs& end = solve.nodes[record.slots[kLimbEnd]].global;
    LimbGoals goals = limb_goals(solve, limb);
    put_goal(goals.root, solve.nodes[record.slots[kLimbUpper]].global);
    put_goal(goals.middle, solve.nodes[record.slots[kLimbMiddle]].global);
    put_goal(goals.end, rested.end);
    put_goal(goals.extremity, rested.base);
    goals.placed = true;
    goals.exact = true;  // softened once already, by the solve before
    weigh_goals(goals, shape);
    const float length = limb_length(solve, record);
    goals.plane = length > 0.0f ? smooth_step(clamp01(distance3(rested.end.t, end.t) / (kFadeIn * length))) : 0.0f;
    return goals;
}

void contact_extremity(const Solve& solve, int limb)
{
    const LimbRecord& record = solve.character.limbs[limb];
    if (!record.complete()) return;
    const int extremity = kLimbs[static_cast<size_t>(limb)].contact;
    const FloorFrame floor = floor_frame(solve.effectors, extremity);
    const ContactShape shape = contact_shape(solve.character, solve.properties, extremity);
    const Tqs end = to_floor(floor, solve.nodes[record.slots[kLimbEnd]].global);
    const ContactPiece piece = {end, shape.hasBase ? to_floor(floor, solve.nodes[record.slots[kLimbExtremity]].global) : end};
    ContactPiece rested = rest_on_floor(shape, contact_options(solve.properties, shape, extremity), piece);
    if (same_place(rested.end, piece.end) && same_place(rested.base, piece.base)) return;

    // A limb that stands straighter than that already keeps its length: a first touch shortens nothing.
    const Vec4 root = position(solve, record.slots[kLimbUpper]);
    const float present = distance3(position(solve, record.slots[kLimbEnd]), root);
    slide_into_reach(floor, root, max_of(kStraight * limb_length(solve, record), present), rested);
    const ContactPiece rested_solver = {from_floor(floor, rested.end), from_floor(floor, rested.base)};
    solve_limb_toward(solve, limb, !is_leg(limb), contact_goals(solve, limb, shape, rested_solver));
    finish_limb(solve, limb);
}

void contact_limb(const Solve& solve, int limb)
{
    const int extremity = kLimbs[static_cast<size_t>(limb)].contact;
    const ContactRow& row = contact_row(extremity);
    const bool whole = mode_of(solve.properties, row.enable) != 0;
    if (!whole && mode_of(solve.properties, row.fingerContact) == 0) return;
    const bool fingers = has_fingers(solve.character, extremity);
    const TipPlaces tips = fingers ? tip_places(solve, extremity) : TipPlaces{};
    if (whole) contact_extremity(solve, limb);
    if (fingers) contact_fingers(solve, extremity, tips);
}

}  // namespace

void floor_contact_stage(const Solve& solve)
{
    if (!(solve.mask & LBXSolvingStepFloorContact)) return;
    for (int limb = 0; limb < kLimbCount; ++limb) contact_limb(solve, limb);
}

}  // namespace lbx
