// Stage 9: the twist that the solve has put into a limb segment's joint is shared with the twist joints along its bone, so that skin wrings
// evenly. Where the segment's child stands and how it is turned does not change.
#include "limbrex/solvers/roll_extraction.h"

#include "limbrex/solvers/stages.h"

namespace lbx
{
namespace
{

constexpr int kLevelCount = 1 + kLeafRollCount;  // the twist joint, then the leaf twist joints

struct RollRow
{
    int32_t roll;       // records of the properties
    int32_t firstLeaf;  // of level 1; each further level stands kSegmentCount records on
    int32_t extended;
    int32_t full;
    bool lower;
};
constexpr RollRow kRows[kSegmentCount] = {
    {record::LeftUpLegRoll, record::ParamLeafLeftUpLegRoll1, record::LeftUpLegRollEx, record::LeftLegFullRollExtraction, false},
    {record::LeftLegRoll, record::ParamLeafLeftLegRoll1, record::LeftLegRollEx, record::LeftLegFullRollExtraction, true},
    {record::RightUpLegRoll, record::ParamLeafRightUpLegRoll1, record::RightUpLegRollEx, record::RightLegFullRollExtraction, false},
    {record::RightLegRoll, record::ParamLeafRightLegRoll1, record::RightLegRollEx, record::RightLegFullRollExtraction, true},
    {record::LeftArmRoll, record::ParamLeafLeftArmRoll1, record::LeftArmRollEx, record::LeftArmFullRollExtraction, false},
    {record::LeftForeArmRoll, record::ParamLeafLeftForeArmRoll1, record::LeftForeArmRollEx, record::LeftArmFullRollExtraction, true},
    {record::RightArmRoll, record::ParamLeafRightArmRoll1, record::RightArmRollEx, record::RightArmFullRollExtraction, false},
    {record::RightForeArmRoll, record::ParamLeafRightForeArmRoll1, record::RightForeArmRollEx, record::RightArmFullRollExtraction, true},
};
static_assert(record::ParamLeafLeftUpLegRoll2 == record::ParamLeafLeftUpLegRoll1 + kSegmentCount, "leaf levels stand eight records apart");

constexpr int32_t level_property(int row, int level)
{
    return level == 0 ? kRows[row].roll : kRows[row].firstLeaf + kSegmentCount * (level - 1);
}
constexpr int level_node(int row, int level) { return level == 0 ? roll_node(row) : leaf_roll_node(row, level); }
constexpr int segment_vector(int row) { return row; }
constexpr int level_vector(int row, int level) { return kSegmentCount * (level + 1) + row; }

bool level_in_effect(const LBXPropertySet& properties, int row, int level)
{
    return is_in_effect(properties, level_property(row, level)) || (level == 0 && is_in_effect(properties, level_property(row, 1)));
}

bool segment_is_limited(const Solve& solve, int segment)
{
    const LimitRecord* limit = limit_of_slot(solve.character, segment);
    return limit != nullptr && has_active_bounds(limit->joint);
}

Vec4 local_angles(const Solve& solve, int slot) { return angles_from_rotation(solve.records[slot].joint, solve.nodes[slot].local.q); }

bool takes_level(const Solve& solve, int row, int level)
{
    const int segment = slot_of(solve, kSegments[static_cast<size_t>(row)].node);
    if (segment < 0 || !level_in_effect(solve.properties, row, level)) return false;
    return slot_of(solve, level_node(row, level)) >= 0 || !segment_is_limited(solve, segment);
}

// Angle of the part of a rotation that turns about a unit axis.
float twist_about(Quat q, Vec4 axis)
{
    const Quat facing = q * sign_one(lanes<3, 3, 3, 3>(q));
    return 2.0f * atan2_approx(dot3f(facing, axis), w_of(facing));
}

// Joint angles of a segment in x, y, z, and in w the twist of its child about the segment's bone.
Vec4 segment_angles(const Solve& solve, int row)
{
    const int segment = slot_of(solve, kSegments[static_cast<size_t>(row)].node);
    const int child = slot_of(solve, kSegments[static_cast<size_t>(row)].next);
    const float twist = child >= 0 ? twist_about(solve.nodes[child].local.q, solve.records[segment].joint.axes[0]) : 0.0f;
    return with_w(local_angles(solve, segment), splat(twist));
}

// Twists of one segment and of its twist joints: their change through the solve, or their values in the absolute mode.
struct Twists
{
    float segment;
    float child;  // about this bone, at its far end
    float level[kLevelCount];
};

float wrapped(float angle)
{
    const float turn = 2.0f * kPi;
    return angle - turn * round_nearest(angle / turn);
}

// Turns a joint about its bone by an angle on top of what it has; the bone is the x axis of its frame.
void add_twist(const Solve& solve, int slot, float angle)
{
    StateNode& node = solve.nodes[slot];
    node.local.q = normalize_quat(quat_mul(node.local.q, quat_from_axis_angle(solve.records[slot].joint.axes[0], angle)));
    update_global(solve, slot);
}

struct Row
{
    int index;
    int segment, child;  // slots
    float value;         // of the roll property
    float extended;      // 0 to 1: how much of the twist at the bone's other end takes part
};

// A twist joint in line carries the child. Both take up or give off twist until, at a value of 1, each has half.
void distribute_in_line(const Solve& solve, const Row& row, int roll, const Twists& twists)
{
    const float mean = 0.5f * (twists.segment + twists.level[0]);
    const float to_segment = row.value * (mean - twists.segment);
    const float to_roll = row.value * (mean - twists.level[0]) + row.value * row.extended * twists.child;
    if (to_segment == 0.0f && to_roll == 0.0f) return;
    const Quat child_rotation = global_rotation(solve, row.child);
    add_twist(solve, row.segment, to_segment);
    update_global(solve, roll);
    add_twist(solve, roll, to_roll);
    update_global(solve, row.child);
    solve.nodes[row.child].global.q = child_rotation;
    update_local_rotation(solve, row.child);
    update_descendants(solve, row.child);
}

// Leaf twist joints hang beside the child. Upper segments take their twist at the near end, so a leaf turns back from it; lower ones at the far end
// (hand, foot), so a leaf turns with it.
void distribute_to_leaves(const Solve& solve, const Row& row, const Twists& twists)
{
    const bool lower = kRows[row.index].lower;
    const float near = -twists.segment * (lower ? row.extended : 1.0f);
    const float far = twists.child * (lower ? 1.0f : row.extended);
    for (int level = 1; level < kLevelCount; ++level)
    {
        const int leaf = slot_of(solve, level_node(row.index, level));
        if (leaf < 0 || !is_in_effect(solve.properties, level_property(row.index, level))) continue;
        const float share = value_of(solve.properties, level_property(row.index, level));
        const float angle = row.value * share * (near + far - twists.level[level]);
        if (angle != 0.0f) add_twist(solve, leaf, angle);
    }
}

// before: the snapshot of the prepared pose; null in the absolute mode. Only levels that a snapshot takes hold anything.
Twists measure(const Solve& solve, const Row& row, const Vec4* before, const Vec4* now)
{
    const int own = segment_vector(row.index);
    const Vec4 change = before != nullptr ? now[own] - before[own] : now[own];
    Twists twists = {wrapped(x_of(change)), wrapped(w_of(change)), {}};
    for (int level = 0; level < kLevelCount; ++level)
    {
        const int vector = level_vector(row.index, level);
        if (slot_of(solve, level_node(row.index, level)) >= 0 && takes_level(solve, row.index, level))
            twists.level[level] = wrapped(x_of(now[vector]) - (before != nullptr ? x_of(before[vector]) : 0.0f));
    }
    return twists;
}

}  // namespace

void take_roll_snapshot(const Solve& solve, Vec4 snapshot[kRollSnapshotCount])
{
    for (int row = 0; row < kSegmentCount; ++row)
        for (int level = 0; level < kLevelCount; ++level)
        {
            if (!takes_level(solve, row, level)) continue;
            if (level == 0) snapshot[segment_vector(row)] = segment_angles(solve, row);
            const int slot = slot_of(solve, level_node(row, level));
            if (slot >= 0) snapshot[level_vector(row, level)] = local_angles(solve, slot);
        }
}

void roll_stage(const Solve& solve)
{
    if (!(solve.mask & LBXSolvingStepRollExtraction)) return;
    constexpr int kAbsolute = 1;
    const bool absolute = rounded_value_of(solve.properties, record::RollExtractionMode) == kAbsolute;
    Vec4 now[kRollSnapshotCount];
    bool taken = false;
    for (int i = 0; i < kSegmentCount; ++i)
    {
        const SegmentRow& nodes = kSegments[static_cast<size_t>(i)];
        const int segment = slot_of(solve, nodes.node);
        const int child = slot_of(solve, nodes.next);
        if (segment < 0 || child < 0 || !is_in_effect(solve.properties, kRows[i].roll) || solve.records[segment].rollSegment == 0 ||
            !takes_level(solve, i, 0))
            continue;
        if (!taken) take_roll_snapshot(solve, now);
        taken = true;
        const bool full = is_in_effect(solve.properties, kRows[i].full);
        const float full_value = full ? value_of(solve.properties, kRows[i].full) : 0.0f;
        const float value = value_of(solve.properties, kRows[i].roll);
        const Row row = {i, segment, child, value + (1.0f - value) * full_value,
                         clamp01(0.5f * value_of(solve.properties, kRows[i].extended))};
        const Twists twists = measure(solve, row, absolute ? nullptr : solve.effectors.rollSnapshot, now);
        const int roll = slot_of(solve, roll_node(i));
        if (roll >= 0 && solve.parents[roll] == segment)
            distribute_in_line(solve, row, roll, twists);
        else
            distribute_to_leaves(solve, row, twists);
    }
}

}  // namespace lbx
