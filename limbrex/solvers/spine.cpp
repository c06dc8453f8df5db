#include "limbrex/solvers/spine.h"

namespace lbx
{
namespace
{

constexpr float kNoTurn = 1e-6f;        // squared vector part below which a rotation is noise
constexpr float kShortestRest = 0.01f;  // rest lengths up to this have no direction to stretch along
constexpr float kNarrowRange = 1e-5f;   // stretch range below which the curve has no room to bend

// Whether a reach stretches the chain, or brings segments back to lengths that they know.
bool changes_lengths(const Solve& solve)
{
    if (value_of(solve.properties, record::SnSReachChestEnd) > 0.0f) return true;
    const ChainRecord& spine = solve.character.spine;
    for (int i = 0; i < spine.count; ++i)
        if (solve.records[spine.slots[i]].limit >= 0) return true;
    return false;
}

void reset_spine_lengths(const Solve& solve)
{
    const StretchRequest rest = {1.0f, 0.0f, false};
    const ChainRecord& spine = solve.character.spine;
    for (int i = 0; i < spine.count; ++i)
    {
        const int slot = spine.slots[i];
        const LimitRecord* limit = limit_of_slot(solve.character, slot);
        if (limit == nullptr) continue;
        const Vec4 parent_scale = solve.nodes[solve.parents[slot]].global.s;
        solve.nodes[slot].local.t = stretched_translation(*limit, parent_scale, solve.nodes[slot].local.t, rest);
    }
}

// Stretches every segment by the factor and lets scales follow by scale_factor. A node's parent scale is the Hips' for Spine, the stretched Spine's for
// the first node above it, and for each later one its parent's as it was.
void stretch_spine(const Solve& solve, const StretchRequest& request, float scale_factor, float children_factor)
{
    const ChainRecord& spine = solve.character.spine;
    Vec4 parent_scale = solve.nodes[solve.parents[spine.slots[0]]].global.s;
    for (int i = 0; i < spine.count; ++i)
    {
        StateNode& node = solve.nodes[spine.slots[i]];
        const Vec4 scale_before = node.global.s;
        if (const LimitRecord* limit = limit_of_slot(solve.character, spine.slots[i]))
            node.local.t = stretched_translation(*limit, parent_scale, node.local.t, request);
        node.global.s = with_w(node.global.s * scale_factor, node.global.s);
        parent_scale = i == 0 ? node.global.s : scale_before;
    }
    const NodeRecord& top = solve.records[chest_slot(solve.character)];
    for (int k = 0; k < top.childCount; ++k) solve.nodes[top.firstChild + k].local.t *= children_factor;
}

// Turns the chest by r, shared over the chain so that each node above Spine adds the same angle. Locals of nodes without limits are left for later.
void distribute_over_spine(const Solve& solve, Quat r, float resist)
{
    if (x_of(dot3(r, r)) <= kNoTurn) return;
    const ChainRecord& spine = solve.character.spine;
    const Vec4 axis = with_w(normalize3(r) * sign_one(lanes<3, 3, 3, 3>(r)), splat(1.0f));
    const float half_angle = acos_approx(min_of(x_of(abs4(lanes<3, 3, 3, 3>(r))), 1.0f));
    const float above = static_cast<float>(spine.count - 1);
    const float base = 2.0f * above * resist + 0.5f;
    const float unit_share = half_angle / (base + above);
    Tqs below = solve.nodes[spine.slots[0]].global;
    for (int k = 0; k < spine.count; k += 4)
    {
        // Four shares side by side: sine of the half angle in x, y and z, cosine in w.
        const float first = base + static_cast<float>(k);
        const Vec4 half_angles = unit_share * vec4(first, first + 1.0f, first + 2.0f, first + 3.0f);
        const Vec4 sine = sin4(half_angles);
        Vec4 shares[4] = {sine, sine, sine, cos4(half_angles)};
        transpose4(shares[0], shares[1], shares[2], shares[3]);
        for (int i = 0; i < 4 && k + i < spine.count; ++i)
        {
            const int slot = spine.slots[k + i];
            StateNode& node = solve.nodes[slot];
            // The old global rotation takes its own share; the position follows the parent that has just turned.
            if (k + i > 0) below.t += rotate(below.q, node.local.t);
            below.q = quat_mul(shares[i] * axis, node.global.q);
            node.global.t = below.t;
            node.global.q = renormalized(below.q);
            if (solve.records[slot].limit < 0) continue;
            update_local_rotation(solve, slot);
            enforce_limit(solve, slot);
            below = node.global;
        }
    }
}

// The chain above Spine, as one piece, by a turn and from where Spine stood to where it stands.
void carry_above_spine(const Solve& solve, Vec4 from, Quat turn)
{
    const ChainRecord& spine = solve.character.spine;
    const Vec4 to = position(solve, spine.slots[0]);
    for (int i = 1; i < spine.count; ++i)
    {
        Tqs& node = solve.nodes[spine.slots[i]].global;
        node.t = to + rotate(turn, node.t - from);
        node.q = renormalized(quat_mul(turn, node.q));
    }
}

void turn_chest(const Solve& solve, Quat target, float weight, float resist)
{
    const Quat current = global_rotation(solve, chest_slot(solve.character));
    distribute_over_spine(solve, quat_mul(rotation_toward(current, target, weight), conjugate(current)), resist);
}

void change_lengths(const Solve& solve, Vec4 target, float progress)
{
    const LBXPropertySet& properties = solve.properties;
    const float stretch = value_of(properties, record::SnSReachChestEnd);
    if (stretch <= 0.0f)
    {
        reset_spine_lengths(solve);
        return;
    }
    const Vec4 bottom = position(solve, solve.character.spine.slots[0]);
    const float length = distance3(current_chest_end(solve, chest_offset(properties)), bottom);
    const float ratio = length > 0.0f ? distance3(target, bottom) / length : 1.0f;
    const float factor = (ratio - 1.0f) * stretch * progress + 1.0f;
    const StretchRequest request = {factor, stretch, value_of(properties, record::SnSSmoothReach) != 0.0f};
    stretch_spine(solve, request, value_of(properties, record::SnSScaleSpine) * (factor - 1.0f) + 1.0f,
                  value_of(properties, record::SnSScaleSpineChildren) * (factor - 1.0f) + 1.0f);
}

void reach_with_spine(const Solve& solve, const BodyEffector& chest_end, float resist, const SpineInputs& inputs)
{
    const Vec4 offset = chest_offset(solve.properties);
    const int spine = solve.character.spine.slots[0];
    const Vec4 hips = position(solve, slot_of(solve, LBXNodeHips));
    const Vec4 end = current_chest_end(solve, offset);
    const Vec4 target = lerp4(end, chest_end.t, lane<kReachT>(chest_end.weights));

    Quat turn = shortest_arc(end - hips, target - hips);
    if (inputs.chestRotationReach > 0.0f) turn = normalize_quat(partial_quat(turn, 1.0f - 2.0f * inputs.chestRotationReach));
    distribute_over_spine(solve, turn, resist);
    if (changes_lengths(solve))
    {
        update_spine_locals(solve);
        change_lengths(solve, target, inputs.progress);
        update_global(solve, spine);
        update_spine(solve);
    }
    const Vec4 reached = current_chest_end(solve, offset);
    const Tqs before = solve.nodes[spine].global;
    const Quat last = shortest_arc(reached - hips, target - hips);
    if (turn_node(solve, spine, last))
        carry_above_spine(solve, before.t, solve.records[spine].limit < 0 ? last : turn_between(before.q, global_rotation(solve, spine)));
    else
        update_local_rotation(solve, spine);
}

}  // namespace

void update_spine_locals(const Solve& solve)
{
    const ChainRecord& spine = solve.character.spine;
    for (int i = 0; i < spine.count; ++i) update_local_rotation(solve, spine.slots[i]);
}

void carry_spine(const Solve& solve, const Tqs& spine_before)
{
    carry_above_spine(solve, spine_before.t, turn_between(spine_before.q, global_rotation(solve, solve.character.spine.slots[0])));
}

void bring_spine(const Solve& solve, Quat target, float weight)
{
    const ChainRecord& chain = solve.character.spine;
    if (chain.count == 0) return;
    const int spine = chain.slots[0];
    const Tqs before = solve.nodes[spine].global;
    update_global(solve, spine);
    if (weight > 0.0f) set_rotation(solve, spine, rotation_toward(global_rotation(solve, spine), target, weight));
    carry_spine(solve, before);
}

bool place_chest(const Solve& solve, const BodyEffector& chest_end, float resist, const SpineInputs& inputs)
{
    const float reach_t = lane<kReachT>(chest_end.weights);
    const float reach_r = lane<kReachR>(chest_end.weights);
    if (reach_r > 0.0f) turn_chest(solve, chest_end.q, reach_r, resist);
    if (reach_t > 0.0f)
        reach_with_spine(solve, chest_end, resist, inputs);
    else if (reach_r > 0.0f)
        update_local_rotation(solve, solve.character.spine.slots[0]);
    return reach_t > 0.0f || reach_r > 0.0f;
}

Vec4 stretched_translation(const LimitRecord& limit, Vec4 parent_scale, Vec4 translation, const StretchRequest& request)
{
    const float rest = length3(parent_scale * limit.reference);
    const float length = length3(translation);
    if (rest <= kShortestRest || length == 0.0f) return translation;
    const float ratio = request.factor * length / rest;
    const float lowest = 1.0f - (1.0f - limit.minimumFactor) * request.weight;
    const float room = (limit.maximumFactor - 1.0f) * request.weight;
    float h;
    if (!request.smooth)
        h = min_of(max_of(ratio, lowest), 1.0f + room);
    else if (ratio >= 1.0f)
    {
        // Rises from 1 toward 1 + room with slope 1 at the start.
        const float s = room >= kNarrowRange ? (ratio - 1.0f) / room + 1.0f : 0.0f;
        h = room >= kNarrowRange ? (2.0f * s * s / (s * s + 1.0f) - 1.0f) * room + 1.0f : 1.0f + room;
    }
    else if (lowest >= 1.0f)
        h = lowest;
    else
    {
        // Cubic Bezier with control values lowest, lowest, 1 - (1 - lowest) / 3, 1: flat at the bottom, slope 1 - lowest at the top.
        const float p2 = 1.0f - (1.0f - lowest) / 3.0f;
        const float r = max_of(ratio, 0.0f);
        const float u = 1.0f - r;
        h = lowest * u * u * u + 3.0f * lowest * r * u * u + 3.0f * p2 * r * r * u + r * r * r;
    }
    return translation * (rest * h / length);
}

}  // namespace lbx
