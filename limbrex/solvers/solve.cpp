#include "limbrex/solvers/solve.h"

namespace lbx
{

Solve make_solve(const LBXCharacter& character, LBXCharacterState& state, LBXEffectorSet& effectors, const LBXPropertySet& properties)
{
    return {character,
            state_nodes(state),
            effectors,
            properties,
            effectors.solvingStep,
            parents(character),
            depth_first(character),
            place_in_order(character),
            subtree_size(character),
            node_records(character)};
}

void begin_pose(const Solve& solve)
{
    constexpr float kFarFromUnit = 1e-3f;  // of the squared length: what rounding leaves is far nearer
    const int count = static_cast<int>(solve.character.slotCount);
    for (int place = 0; place < count; ++place)
    {
        const int slot = solve.order[place];
        const int parent = solve.parents[slot];
        StateNode& node = solve.nodes[slot];
        const Vec4 off = abs4(dot4(node.global.q, node.global.q) - splat(1.0f));
        if (!(x_of(off) <= kFarFromUnit)) node.global.q = normalize_quat(node.global.q);
        if (parent < 0)
        {
            node.local.t = node.global.t;
            node.local.q = node.global.q;
            continue;
        }
        const Tqs& above = solve.nodes[parent].global;
        const Quat inverse = conjugate(renormalized(above.q));
        node.local.t = rotate(inverse, node.global.t - above.t);
        node.local.q = quat_mul(inverse, node.global.q);
    }
}

namespace
{

bool hold_angles(const JointFrame& frame, Quat& local_rotation)
{
    if (!has_active_bounds(frame)) return false;
    const Vec4 angles = angles_from_rotation(frame, local_rotation);
    const Vec4 held = clamp_angles(frame, angles);
    if ((mask_bits(equal4(angles, held)) & 7) == 7) return false;
    local_rotation = normalize_quat(rotation_from_angles(frame, held));
    return true;
}

// Keeps the length of a local translation between two factors of its length in the stance. Translations up to 0.01 have no direction to trust.
bool hold_translation(const LimitRecord& limit, Vec4 parent_scale, Vec4& local_translation)
{
    const float length = length3(local_translation);
    if (limit.translationOn == 0 || length <= 0.01f) return false;
    const float rest = length3(limit.reference * parent_scale);
    const float held = max_of(limit.minimumFactor * rest, min_of(limit.maximumFactor * rest, length));
    if (held == length) return false;
    local_translation = local_translation * (held / length);
    return true;
}

}  // namespace

bool hold_limit(const Solve& solve, int slot)
{
    const LimitRecord& limit = limit_records(solve.character)[solve.records[slot].limit];
    StateNode& node = solve.nodes[slot];
    const int parent = solve.parents[slot];
    const bool turned = hold_angles(limit.joint, node.local.q);
    const bool moved = hold_translation(limit, parent >= 0 ? solve.nodes[parent].global.s : splat(1.0f), node.local.t);
    if (!turned && !moved) return false;
    update_global(solve, slot);
    return true;
}

void update_path(const Solve& solve, int from, int to)
{
    if (from < 0 || to < 0) return;
    int path[kNodeCount];
    int count = 0;
    for (int slot = to; slot >= 0 && slot != from; slot = solve.parents[slot]) path[count++] = slot;
    while (count > 0) update_global(solve, path[--count]);
}

void update_spine(const Solve& solve)
{
    const ChainRecord& spine = solve.character.spine;
    for (int i = 1; i < spine.count; ++i) update_global(solve, spine.slots[i]);
}

void update_shoulders(const Solve& solve)
{
    // Parents before children on each side.
    static constexpr int kShoulderNodes[] = {LBXNodeLeftShoulder,  LBXNodeLeftShoulderExtra,  LBXNodeLeftArm,
                                             LBXNodeRightShoulder, LBXNodeRightShoulderExtra, LBXNodeRightArm};
    for (const int node : kShoulderNodes)
    {
        const int slot = slot_of(solve, node);
        if (slot >= 0) update_global(solve, slot);
    }
}

void update_around_hips(const Solve& solve)
{
    static constexpr int kHipsChildren[] = {LBXNodeLeftUpLeg, LBXNodeRightUpLeg, LBXNodeSpine};
    for (const int node : kHipsChildren)
    {
        const int slot = slot_of(solve, node);
        if (slot >= 0) update_global(solve, slot);
    }
}

void update_body(const Solve& solve)
{
    update_around_hips(solve);
    update_spine(solve);
    update_shoulders(solve);
}

Vec4 current_chest_end(const Solve& solve, Vec4 offset)
{
    const int chest = chest_slot(solve.character);
    int left = slot_of(solve, LBXNodeLeftShoulder);
    int right = slot_of(solve, LBXNodeRightShoulder);
    if (left < 0 || right < 0)
    {
        left = slot_of(solve, LBXNodeLeftArm);
        right = slot_of(solve, LBXNodeRightArm);
    }
    if (left >= 0 && right >= 0 && solve.parents[left] == chest && solve.parents[right] == chest)
    {
        const Vec4 middle = (solve.nodes[left].local.t + solve.nodes[right].local.t) * 0.5f;
        return position(solve, chest) + rotate(global_rotation(solve, chest), middle + offset);
    }
    update_shoulders(solve);
    return chest_end_point(solve.character, solve.nodes, offset);
}

}  // namespace lbx
