// The body pull, iteration by iteration: measure what every limb still lacks, turn that into a displacement of hips and chest and into turns of both,
// place the body, measure again.
#include "limbrex/solvers/body_pull.h"

#include "limbrex/solvers/body_placement.h"
#include "limbrex/solvers/body_weights.h"
#include "limbrex/solvers/spine.h"

namespace lbx
{
namespace
{

constexpr int kMostIterations = 30;

// A body effector's place and target, without its weights.
struct Placement
{
    Vec4 t;
    Quat q;
};
struct BodyPlacements
{
    Placement hips, chestOrigin, chestEnd;
};

// The head as a fifth limb, whose chain is the neck.
struct HeadReach
{
    int base;  // slot of Neck, else of Head; -1 without either
    float currentLength, maximumLength;
};

struct Gravity
{
    Vec4 up;         // unit; zero when nothing stands on feet
    float strength;  // 0 off
};

// What hips and chest carry along without its own joints moving, in their frames, so that the iterations leave legs, shoulders and neck alone.
struct Carried
{
    PointLanes limbRoots;  // of the legs on the hips, of the arms on the chest
    Vec4 headBase;         // on the chest
};

// All but the carried points stays as it is through the iterations.
struct Pull
{
    const Solve& solve;
    int hips, spine, chest;  // slots; without a spine the hips are the chest
    int iterations;          // N + 2
    bool moveSpine;
    BodyPlacements goals;
    LimbReach limbs;
    HeadReach head;
    BodyWeights weights;
    ExcessCurve limbCurve, headCurve;
    Gravity gravity;
    Quat spineStart;        // local rotation of Spine
    Vec4 hipsPoint;         // of the hips effector, in the frame of the hips
    Vec4 chestOffset;       // in the frame of the chest
    bool hipsHeld;          // the hips effector wants something
    bool chestHeld;         // the chest's end effector does
    bool shouldersStretch;  // with the spine, so that what the chest carries changes its place
    Carried carried;
};

QuatLanes carriers(const Pull& pull) { return quat_lanes(global_rotation(pull.solve, pull.hips), global_rotation(pull.solve, pull.chest)); }
PointLanes carrier_points(const Pull& pull) { return point_lanes(position(pull.solve, pull.hips), position(pull.solve, pull.chest)); }

Carried carried_points(const Pull& pull)
{
    const Solve& solve = pull.solve;
    const Tqs& chest = solve.nodes[pull.chest].global;
    const QuatLanes q = carriers(pull);
    const QuatLanes inverse = {-q.x, -q.y, -q.z, q.w};
    const Vec4 head = pull.head.base >= 0 ? rotate_inverse(chest.q, position(solve, pull.head.base) - chest.t) : zero4();
    return {rotate_lanes(inverse, limb_roots(solve, pull.limbs) - carrier_points(pull)), head};
}
PointLanes current_roots(const Pull& pull) { return carrier_points(pull) + rotate_lanes(carriers(pull), pull.carried.limbRoots); }

BodyPlacements current_placements(const Pull& pull)
{
    const Solve& solve = pull.solve;
    BodyPlacements placed;
    const Tqs& hips = solve.nodes[pull.hips].global;
    placed.hips = {hips.t + rotate(hips.q, pull.hipsPoint), hips.q};
    if (pull.spine < 0)
    {
        placed.chestOrigin = placed.hips;
        placed.chestEnd = placed.hips;
        return placed;
    }
    placed.chestOrigin = {position(solve, pull.spine), global_rotation(solve, pull.spine)};
    placed.chestEnd = {current_chest_end(solve, pull.chestOffset), global_rotation(solve, pull.chest)};
    return placed;
}

Placement toward_target(const Placement& current, const LBXEffectorSet& effectors, int effector)
{
    const float reach_r = weight_of<kReachR>(effectors, effector);
    return {lerp4(current.t, goal_point(effectors, effector), weight_of<kReachT>(effectors, effector)),
            reach_r > 0.0f ? quat_blend(current.q, effectors.targets[effector].q, reach_r) : current.q};
}

HeadReach head_reach(const Solve& solve)
{
    const ChainRecord& neck = solve.character.neck;
    const int head = slot_of(solve, LBXNodeHead);
    if (neck.count == 0 || head < 0) return {head, 0.0f, 0.0f};
    HeadReach reach = {neck.slots[0], distance3(position(solve, head), position(solve, neck.slots[0])), 0.0f};
    for (int i = 0; i < neck.count; ++i)
    {
        const int parent = solve.parents[neck.slots[i]];
        if (parent >= 0) reach.maximumLength += distance3(position(solve, neck.slots[i]), position(solve, parent));
    }
    return reach;
}

Gravity gravity(const Solve& solve, int hips)
{
    constexpr int kBiped = 0;
    const float strength = value_of(solve.properties, record::CtrlEnforceGravity);
    const int left = slot_of(solve, LBXNodeLeftFoot);
    const int right = slot_of(solve, LBXNodeRightFoot);
    if (!(strength > 0.0f) || rounded_value_of(solve.properties, record::Posture) != kBiped || (left < 0 && right < 0))
        return {zero4(), 0.0f};
    const Vec4 feet =
        left >= 0 && right >= 0 ? (position(solve, left) + position(solve, right)) * 0.5f : position(solve, left >= 0 ? left : right);
    return {normalize3(position(solve, hips) - feet), strength};
}

int iteration_count(const LBXPropertySet& properties)
{
    const int n = rounded_value_of(properties, record::PullIterationCount);
    return (n < 0 ? 0 : (n > kMostIterations ? kMostIterations : n)) + 2;
}

// Makes the sum one of small turns: q joins on the hemisphere of what is there already.
void accumulate(Quat& sum, Quat q, float weight) { sum += q * (sign_one(dot4(sum, q)) * weight); }

// A unit rotation pre-multiplied by the turn that a sum amounts to; by none when nothing has come together.
Quat turned_by_sum(Quat q, Quat sum, float weight_sum)
{
    const Quat product = quat_mul(partial_quat(sum, 1.0f / max_of(1.0f, weight_sum)), q);
    const Vec4 r = reciprocal_sqrt4(dot4(product, product));
    return select4(equal4(r, zero4()), q, product * r);
}

// One iteration's part of a rotation that is reached directly, without being pulled.
Quat direct_turn(Quat difference, float reach, int iterations)
{
    const Quat facing = difference * (sign_one(lanes<3, 3, 3, 3>(difference)) * reach);
    return normalize_quat(partial_quat(facing, 1.0f / static_cast<float>(iterations)) + quat_identity());
}

// Keeps of a sum its twist about a unit axis, at the same length.
Quat twist_of_sum(Quat sum, Vec4 axis)
{
    const float h = dot3f(axis, sum);
    const float square = dot4f(sum, sum) - h * h;
    return with_w(axis * h, splat(sqrt_scalar(max_of(square, 0.0f))));
}

struct WeightedPlacement
{
    float hipsT, chestT, hipsR, chestR;
};

// Moves hips, and with them the chest, by weighted differences to the goals.
void place_weighted(const Pull& pull, BodyPlacements body, const WeightedPlacement& w)
{
    if (!(w.hipsT > 0.0f || w.chestT > 0.0f || w.hipsR > 0.0f || w.chestR > 0.0f)) return;
    const BodyPlacements& goals = pull.goals;
    if (w.hipsR > 0.0f || w.chestR > 0.0f)
    {
        const Quat to_hips = normalize_quat(quat_mul(goals.hips.q, conjugate(body.hips.q)));
        const Quat to_chest = normalize_quat(quat_mul(goals.chestEnd.q, conjugate(body.chestEnd.q)));
        const Quat a = normalize_quat(partial_quat(to_hips, w.hipsR)) * w.hipsR;
        Quat sum = a;
        accumulate(sum, normalize_quat(partial_quat(to_chest, w.chestR)), w.chestR);
        const Quat turn = normalize_quat(sum);
        body.hips.q = normalize_quat(quat_mul(turn, body.hips.q));
        body.chestEnd.t = body.hips.t + rotate(turn, body.chestEnd.t - body.hips.t);
    }
    if (w.hipsT > 0.0f || w.chestT > 0.0f)
        body.hips.t += (goals.hips.t - body.hips.t) * w.hipsT + (goals.chestEnd.t - body.chestEnd.t) * w.chestT;
    place_hips(pull.solve, body.hips.t - rotate(body.hips.q, hips_offset(pull.solve.properties)), body.hips.q);
    bring_spine(pull.solve, quat_identity(), 0.0f);
}

// How eagerly each kind of pull acts at progress t, 0 to 1: all end at 1, the directest start highest.
float eased(float t, float rise) { return rise * t + (1.0f - rise); }

Vec4 head_pull(const Pull& pull)
{
    if (pull.head.base < 0 || pull.weights.pullHead == 0.0f) return zero4();
    const Tqs& chest = pull.solve.nodes[pull.chest].global;
    const Vec4 to_goal = goal_point(pull.solve.effectors, LBXEffectorHead) - (chest.t + rotate(chest.q, pull.carried.headBase));
    return normalize3(to_goal) * smooth_excess(pull.headCurve, splat(length3(to_goal)));
}

// What the four limbs ask of the body in this iteration: by their pulls, and by the swings about hips and chest that these pulls amount to.
struct LimbPulls
{
    FourVectors pull;
    FourVectors swing;
};
LimbPulls limb_pulls(const Pull& pull, const BodyPlacements& body)
{
    const PointLanes roots = current_roots(pull);
    const PointLanes pulls = pull_vectors(pull.limbs, roots, pull.limbCurve);
    const PointLanes levers = roots - point_lanes(body.hips.t, body.chestEnd.t);
    return {vectors_of(pulls), vectors_of(shortest_arc_lanes(levers, levers + pulls))};
}

// Sums of turns: of the chest, and of the hips.
Quat chest_turn(const Pull& pull, const FourVectors& swing, Vec4 spine_axis, Quat to_goal, float t)
{
    const BodyWeights& w = pull.weights;
    Quat sum = quat_identity() * (1.0f - min_of(1.0f, w.sumChestR));
    const float ease = eased(t, 0.6f);
    sum += partial_quat(swing.v[LBXLimbLeftArm], ease) * w.armTurnsChest[0];
    accumulate(sum, partial_quat(swing.v[LBXLimbRightArm], ease), w.armTurnsChest[1]);
    if (dot4f(sum, sum) > 0.0f)
        sum = twist_of_sum(sum, spine_axis);  // leaning belongs to the spine's reach; only turning is the chest's own
    if (pull.chestHeld) accumulate(sum, partial_quat(to_goal, eased(t, 0.5f)), w.chestR);
    return sum;
}

Quat hips_turn(const Pull& pull, const FourVectors& swing, Quat chest_deviation, Quat to_goal, float t)
{
    const BodyWeights& w = pull.weights;
    Quat sum = quat_identity();
    if (pull.hipsHeld) accumulate(sum, partial_quat(to_goal, eased(t, 0.5f)), w.hipsR);
    accumulate(sum, partial_quat(chest_deviation, eased(t, 0.3f)), w.chestTurnsHips);
    accumulate(sum, partial_quat(swing.v[LBXLimbLeftLeg], eased(t, 0.4f)), w.legTurnsHips[0]);
    accumulate(sum, partial_quat(swing.v[LBXLimbRightLeg], eased(t, 0.4f)), w.legTurnsHips[1]);
    return sum;
}

// Displacement of the hips and the chest together.
Vec4 common_displacement(const Pull& pull, const FourVectors& p, Vec4 head, Vec4 to_hips, Vec4 to_chest, float t)
{
    const BodyWeights& w = pull.weights;
    Vec4 arms = (p.v[LBXLimbLeftArm] * w.armOnHips[0] + p.v[LBXLimbRightArm] * w.armOnHips[1]) * eased(t, 0.4f);
    if (pull.gravity.strength > 0.0f)
        arms +=
            (pull.gravity.up * dot3(arms, pull.gravity.up) - arms) * pull.gravity.strength;  // arms lift and lower, they do not tip over
    const Vec4 body =
        to_chest * w.chestOnHips + p.v[LBXLimbLeftLeg] * w.legOnHips[0] + p.v[LBXLimbRightLeg] * w.legOnHips[1] + to_hips * w.hipsT;
    return (arms + head * (eased(t, 0.7f) * w.headOnHips) + body * eased(t, 0.5f)) * (1.0f / max_of(1.0f, w.sumHipsT));
}

void iterate(Pull& pull, int i)
{
    const Solve& solve = pull.solve;
    const BodyWeights& w = pull.weights;
    const float count = static_cast<float>(pull.iterations);
    const float t = static_cast<float>(i) / count;
    const BodyPlacements body = current_placements(pull);
    const Vec4 to_hips = pull.goals.hips.t - body.hips.t;
    const Vec4 to_chest = pull.goals.chestEnd.t - body.chestEnd.t;
    const Quat hips_difference = pull.hipsHeld ? quat_mul(pull.goals.hips.q, conjugate(body.hips.q)) : quat_identity();
    const Quat chest_difference = pull.chestHeld ? quat_mul(pull.goals.chestEnd.q, conjugate(body.chestEnd.q)) : quat_identity();
    const LimbPulls limbs = limb_pulls(pull, body);
    const FourVectors& p = limbs.pull;
    const Vec4 head = head_pull(pull);

    const float reach_hips_t = weight_of<kReachT>(solve.effectors, LBXEffectorHips);
    const float reach_hips_r = weight_of<kReachR>(solve.effectors, LBXEffectorHips);
    const float reach_chest_t = weight_of<kReachT>(solve.effectors, LBXEffectorChestEnd);
    const float reach_chest_r = weight_of<kReachR>(solve.effectors, LBXEffectorChestEnd);

    const Vec4 common = common_displacement(pull, p, head, to_hips, to_chest, t);
    const Vec4 arms_on_chest = p.v[LBXLimbLeftArm] * w.armOnChest[0] + p.v[LBXLimbRightArm] * w.armOnChest[1];
    const Vec4 chest_pulls = (head * w.headOnChest + to_chest * w.chestT) * eased(t, 0.5f) + arms_on_chest * eased(t, 0.7f);
    const Vec4 chest_point = body.chestEnd.t + chest_pulls * (1.0f / max_of(2.0f - w.chestT, w.sumChestT)) +
                             to_chest * (reach_chest_t * (1.0f - w.chestT) / count) + common;
    const float hips_left_over = (1.0f - w.legOnHips[0]) * (1.0f - w.legOnHips[1]) + w.chestOnHips;
    const Vec4 hips_point = body.hips.t + common + to_hips * (reach_hips_t * (1.0f - w.hipsT) * hips_left_over / count);

    BodyTriple placed;
    const Quat chest_sum = chest_turn(pull, limbs.swing, normalize3(chest_point - hips_point), chest_difference, t);
    const float chest_reach = reach_chest_r * (1.0f - w.chestR);
    placed.chestEnd.t = chest_point;
    placed.chestEnd.q = turned_by_sum(body.chestEnd.q, chest_sum, w.sumChestR);
    placed.chestEnd.weights = vec4(min_of(1.0f, w.sumChestT), 1.0f, 0.0f, 0.0f);
    placed.chestOrigin.t = body.chestOrigin.t;
    placed.chestOrigin.q = body.chestOrigin.q;
    placed.chestOrigin.weights = vec4(1.0f, 1.0f, 0.0f, weight_of<kResist>(solve.effectors, LBXEffectorChestOrigin));
    if (chest_reach != 0.0f)
    {
        const Quat direct = direct_turn(chest_difference, chest_reach, pull.iterations);
        placed.chestEnd.q = renormalized(quat_mul(direct, placed.chestEnd.q));
        // The chest's origin follows the direct turn of its end.
        const Vec4 to_end = chest_point - body.chestOrigin.t;
        placed.chestOrigin.q = renormalized(quat_mul(shortest_arc(to_end, rotate(direct, to_end)), body.chestOrigin.q));
    }

    const Quat deviation = quat_mul(body.chestOrigin.q, conjugate(quat_mul(body.hips.q, pull.spineStart)));
    const float hips_reach = reach_hips_r * (1.0f - w.hipsR);
    placed.hips.t = hips_point;
    placed.hips.q = turned_by_sum(body.hips.q, hips_turn(pull, limbs.swing, deviation, hips_difference, t), w.sumHipsR);
    if (hips_reach != 0.0f)
        placed.hips.q = renormalized(quat_mul(direct_turn(hips_difference, hips_reach, pull.iterations), placed.hips.q));
    placed.hips.weights = vec4(1.0f, 1.0f, 0.0f, 0.0f);

    place_body(solve, placed, {w.chestR, t, pull.moveSpine});
    if (!pull.shouldersStretch) return;
    update_around_hips(solve);
    update_shoulders(solve);
    if (pull.head.base >= 0) update_global(solve, pull.head.base);
    pull.carried = carried_points(pull);
}

bool nothing_pulls(const LBXEffectorSet& effectors, const LimbReach& limbs)
{
    const Vec4 reaches = vec4(1.0f, 1.0f, 0.0f, 0.0f);
    const Vec4 body = (effectors.weights[LBXEffectorHips] + effectors.weights[LBXEffectorChestEnd]) * reaches +
                      effectors.weights[LBXEffectorChestOrigin] * vec4(0.0f, 1.0f, 0.0f, 0.0f);
    const float head = weight_of<kPull>(effectors, LBXEffectorHead) * weight_of<kReachT>(effectors, LBXEffectorHead);
    return dot4f(body, body) == 0.0f && dot4f(limbs.shares.pull, limbs.shares.pull) == 0.0f && head == 0.0f;
}

void prepare(const Pull& pull, const BodyPlacements& start)
{
    const Solve& solve = pull.solve;
    const float origin_reach_r = weight_of<kReachR>(solve.effectors, LBXEffectorChestOrigin);
    if (pull.spine >= 0 && origin_reach_r > 0.0f)
    {
        const Tqs before = solve.nodes[pull.spine].global;
        set_rotation(solve, pull.spine, quat_blend(before.q, pull.goals.chestOrigin.q, origin_reach_r));
        carry_spine(solve, before);
    }
    const BodyWeights& w = pull.weights;
    const float reach_hips_t = weight_of<kReachT>(solve.effectors, LBXEffectorHips);
    const float reach_chest_t = pull.spine >= 0 ? weight_of<kReachT>(solve.effectors, LBXEffectorChestEnd) : 0.0f;
    place_weighted(pull, start,
                   {w.pullHips + (1.0f - w.pullHips) * (1.0f - w.pullChest) * reach_hips_t,
                    w.chestOnHips + (1.0f - w.chestOnHips) * (1.0f - reach_hips_t) * reach_chest_t, w.hipsR, 0.0f});
}

}  // namespace

void pull_body(const Solve& solve, bool spine)
{
    const int hips = slot_of(solve, LBXNodeHips);
    const LimbReach limbs = limb_reach(solve);
    if (hips < 0 || nothing_pulls(solve.effectors, limbs)) return;

    const int spine_slot = slot_of(solve, LBXNodeSpine);
    const int iterations = iteration_count(solve.properties);
    // The powered stiffness acts once an iteration; the exponent keeps its combined effect about the same for any count.
    const float exponent = max_of(1.0f, static_cast<float>(iterations) * 0.2f);
    const LBXPropertySet& properties = solve.properties;
    const bool moves_spine = spine && spine_slot >= 0;
    const HeadReach head = head_reach(solve);
    const BodyWeights weights = body_weights(solve.effectors, limbs.shares.pull, spine_slot >= 0);
    const Vec4 head_stiffness = splat(pow_approx(weight_of<kResist>(solve.effectors, LBXEffectorHead), exponent));
    const auto held = [&](int effector) { return dot4f(solve.effectors.weights[effector], solve.effectors.weights[effector]) > 0.0f; };
    Pull pull = {
        solve,
        hips,
        spine_slot,
        spine_slot >= 0 ? chest_slot(solve.character) : hips,
        iterations,
        moves_spine,
        {},
        limbs,
        head,
        weights,
        pull_curve(limbs, pow4(limbs.stiffness, splat(exponent))),
        excess_curve(splat(head.currentLength), splat(head.maximumLength), head_stiffness, head_stiffness, splat(weights.pullHead)),
        gravity(solve, hips),
        spine_slot >= 0 ? solve.nodes[spine_slot].local.q : quat_identity(),
        midpoint_in_hips(solve) + hips_offset(properties),
        chest_offset(properties),
        held(LBXEffectorHips),
        held(LBXEffectorChestEnd),
        moves_spine && value_of(properties, record::SnSReachChestEnd) > 0.0f && value_of(properties, record::SnSScaleSpineChildren) != 0.0f,
        {}};
    pull.carried = carried_points(pull);
    const BodyPlacements start = current_placements(pull);
    pull.goals = {toward_target(start.hips, solve.effectors, LBXEffectorHips),
                  spine_slot >= 0 ? toward_target(start.chestOrigin, solve.effectors, LBXEffectorChestOrigin) : start.chestOrigin,
                  spine_slot >= 0 ? toward_target(start.chestEnd, solve.effectors, LBXEffectorChestEnd) : start.chestEnd};

    prepare(pull, start);
    for (int i = 1; i <= pull.iterations; ++i) iterate(pull, i);
    const BodyWeights& w = pull.weights;
    place_weighted(pull, current_placements(pull), {w.pullHips, w.chestOnHips, w.heldHipsR, (1.0f - w.heldHipsR) * w.heldChestR});
    settle_body(solve);
    update_descendants(solve, hips);
}

}  // namespace lbx
