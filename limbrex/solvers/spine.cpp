#include "limbrex/solvers/spine.h"

namespace lbx
{
namespace
{

constexpr float kNoTurn = 1e-6f;        // squared vector part below which a rotation is noise
constexpr float kShortestRest = 0.01f;  // rest lengths up to this have no direction to stretch along
constexpr float kNarrowRange = 1e-5f;   // stretch range below which the curve has no room to bend

// False when no segment has a length to be reset to.
bool reset_spine_lengths(const Solve& solve)
{
    bool any = false;
    const StretchRequest rest = {1.0f, 0.0f, false};
    const ChainRecord& spine = solve.character.spine;
    for (int i = 0; i < spine.count; ++i)
    {
        const int slot = spine.slots[i];
        const LimitRecord* limit = limit_of_slot(solve.character, slot);
        if (limit == nullptr) continue;
        const Vec4 parent_scale = solve.nodes[solve.parents[slot]].global.s;
        solve.nodes[slot].local.t = stretched_translation(*limit, parent_scale, solve.nodes[slot].local.t, rest);
        any = true;
    }
    return any;
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

}  // namespace

void distribute_over_spine(const Solve& solve, Quat r, float resist)
{
    if (x_of(dot3(r, r)) <= kNoTurn) return;
    const ChainRecord& spine = solve.character.spine;
    const Vec4 axis = normalize3(r) * sign_one(lanes<3, 3, 3, 3>(r));
    const float half_angle = acos_approx(min_of(x_of(abs4(lanes<3, 3, 3, 3>(r))), 1.0f));
    const float above = static_cast<float>(spine.count - 1);
    const float base = 2.0f * above * resist + 0.5f;
    const float unit_share = half_angle / (base + above);
    for (int k = 0; k < spine.count; ++k)
    {
        const int slot = spine.slots[k];
        StateNode& node = solve.nodes[slot];
        // The old global rotation takes its own share; the position follows the parent that has just turned.
        if (k > 0) node.global.t = position(solve, spine.slots[k - 1]) + rotate(global_rotation(solve, spine.slots[k - 1]), node.local.t);
        const Quat share = quat_from_axis_half_angle(axis, unit_share * (base + static_cast<float>(k)));
        set_rotation(solve, slot, renormalized(quat_mul(share, node.global.q)));
    }
}

void turn_chest(const Solve& solve, Quat target, float weight, float resist)
{
    const Quat current = global_rotation(solve, chest_slot(solve.character));
    const Quat wanted = quat_blend(current, target, weight);
    distribute_over_spine(solve, quat_mul(wanted, conjugate(current)), resist);
}

void reach_with_spine(const Solve& solve, const BodyEffector& chest_end, float resist, const SpineInputs& inputs)
{
    const LBXPropertySet& properties = solve.properties;
    const Vec4 offset = chest_offset(properties);
    const int spine = solve.character.spine.slots[0];
    const Vec4 hips = position(solve, slot_of(solve, LBXNodeHips));
    const Vec4 end = current_chest_end(solve, offset);
    const Vec4 target = lerp4(end, chest_end.t, lane<kReachT>(chest_end.weights));

    Quat turn = shortest_arc(end - hips, target - hips);
    if (inputs.chestRotationReach > 0.0f) turn = normalize_quat(partial_quat(turn, 1.0f - 2.0f * inputs.chestRotationReach));
    distribute_over_spine(solve, turn, resist);

    const float stretch = value_of(properties, record::SnSReachChestEnd);
    bool lengths_changed = true;
    if (stretch > 0.0f)
    {
        const Vec4 bottom = position(solve, spine);
        const float length = distance3(current_chest_end(solve, offset), bottom);
        const float ratio = length > 0.0f ? distance3(target, bottom) / length : 1.0f;
        const float factor = (ratio - 1.0f) * stretch * inputs.progress + 1.0f;
        const StretchRequest request = {factor, stretch, value_of(properties, record::SnSSmoothReach) != 0.0f};
        stretch_spine(solve, request, value_of(properties, record::SnSScaleSpine) * (factor - 1.0f) + 1.0f,
                      value_of(properties, record::SnSScaleSpineChildren) * (factor - 1.0f) + 1.0f);
    }
    else
        lengths_changed = reset_spine_lengths(solve);
    if (lengths_changed)
    {
        update_global(solve, spine);
        update_spine(solve);
    }

    const Vec4 reached = current_chest_end(solve, offset);
    if (turn_node(solve, spine, shortest_arc(reached - hips, target - hips))) update_spine(solve);
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
