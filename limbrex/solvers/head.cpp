// Stage 6: the neck turns a little and reaches, the head looks where its effector says.
#include "limbrex/solvers/head.h"

#include "limbrex/solvers/spine.h"
#include "limbrex/solvers/stages.h"

namespace lbx
{
namespace
{

constexpr int kReachIterations = 20;
constexpr float kNoTurn = 1e-6f;
constexpr float kSettled = 1e-5f;  // of the distance to the target
constexpr float kFurthestMiss = 3.40282347e38f;
constexpr int kMaxPoints = 1 + kFurtherNeckCount + 1;  // Neck, the further neck nodes, Head

// Positions of the neck chain from Neck to Head, worked on apart from the nodes.
struct NeckPoints
{
    int count;  // points; the last one is the head
    int slots[kMaxPoints];
    Vec4 p[kMaxPoints];
    Quat q[kMaxPoints];  // turns of the neck nodes while they are apart from them
};

NeckPoints neck_points(const Solve& solve, int head)
{
    const ChainRecord& neck = solve.character.neck;
    NeckPoints points;
    points.count = neck.count + 1;
    for (int i = 0; i < neck.count; ++i) points.slots[i] = neck.slots[i];
    points.slots[neck.count] = head;
    return points;
}

void read_positions(const Solve& solve, NeckPoints& points)
{
    for (int i = 0; i < points.count; ++i) points.p[i] = position(solve, points.slots[i]);
}

void update_neck(const Solve& solve, const NeckPoints& points, int first)
{
    for (int i = first; i < points.count; ++i) update_global(solve, points.slots[i]);
}

// Spreads a turn of the head over the neck. Stiffness enters to the fourth power, so that a stiff neck lets the head do nearly all of it.
void distribute_over_neck(const Solve& solve, const NeckPoints& points, Quat r)
{
    if (x_of(dot3(r, r)) <= kNoTurn) return;
    const int neck_count = points.count - 1;
    const float looseness = 1.0f - value_of(solve.properties, record::ParamCtrlNeckStiffness);
    const float half_angle = acos_approx(clamp01(x_of(abs4(lanes<3, 3, 3, 3>(r)))));
    const Vec4 axis = normalize3(r) * sign_one(lanes<3, 3, 3, 3>(r));
    const float square = looseness * looseness;
    const float step = half_angle * square * square / static_cast<float>(neck_count + 1);
    for (int j = 0; j < neck_count; ++j)
    {
        StateNode& node = solve.nodes[points.slots[j]];
        if (j > 0) node.global.t = position(solve, points.slots[j - 1]) + rotate(global_rotation(solve, points.slots[j - 1]), node.local.t);
        const Quat share = quat_from_axis_half_angle(axis, step * static_cast<float>(j + 1));
        set_rotation(solve, points.slots[j], renormalized(quat_mul(share, node.global.q)));
    }
    update_neck(solve, points, neck_count);
}

// One segment at its rest length or stretched. Segments without a stretch record take the plain factor.
Vec4 segment(const Solve& solve, int slot, Vec4 vector, const StretchRequest& request)
{
    const LimitRecord* limit = limit_of_slot(solve.character, slot);
    if (limit == nullptr) return vector * request.factor;
    return stretched_translation(*limit, solve.nodes[solve.parents[slot]].global.s, vector, request);
}

void rebuild_from_bottom(const Solve& solve, NeckPoints& points, const StretchRequest& request)
{
    Vec4 previous = points.p[0];
    for (int i = 1; i < points.count; ++i)
    {
        const Vec4 vector = points.p[i] - previous;
        previous = points.p[i];
        points.p[i] = points.p[i - 1] + segment(solve, points.slots[i], vector, request);
    }
}

// From the top joint down, each joint swings all points above it so that the head's point turns toward the target. Where that brings the head is known
// before the turn is: onto the line to the target. So the joints wait for lengths alone, and the turns of what lies between are worked out beside them.
void swing_toward(NeckPoints& points, Vec4 target)
{
    const int head = points.count - 1;
    for (int j = head - 1; j >= 0; --j)
    {
        const Vec4 pivot = points.p[j];
        const Vec4 from = points.p[head] - pivot;
        const Vec4 to = target - pivot;
        const Quat arc = shortest_arc(from, to);
        for (int i = j + 1; i < head; ++i) points.p[i] = pivot + rotate(arc, points.p[i] - pivot);
        const Vec4 reached = pivot + to * (sqrt4(dot3(from, from)) * reciprocal_sqrt4(dot3(to, to)));
        points.p[head] = turns_nothing(arc) ? points.p[head] : reached;
    }
}

// Turns each neck node so that its bone points at the next position. A node stopped by its limit carries what is above it: the positions after
// it follow, so that bones keep their lengths.
void write_back(const Solve& solve, NeckPoints& points, bool lengths_change)
{
    const int head = points.count - 1;
    Vec4 before = position(solve, points.slots[0]);
    for (int j = 0; j < head; ++j)
    {
        const int slot = points.slots[j];
        StateNode& node = solve.nodes[slot];
        StateNode& child = solve.nodes[points.slots[j + 1]];
        const Vec4 child_before = child.global.t;
        const Quat arc = shortest_arc(child_before - before, points.p[j + 1] - points.p[j]);
        node.global.t = points.p[j];
        before = child_before;
        set_rotation(solve, slot, renormalized(quat_mul(arc, node.global.q)));
        if (lengths_change)
        {
            const float was = length3(child.local.t);
            const float now = distance3(points.p[j + 1], points.p[j]);
            child.local.t *= was > 0.0f ? now / was : 1.0f;
        }
        const Vec4 follows = node.global.t + rotate(node.global.q, child.local.t) - points.p[j + 1];
        for (int i = j + 1; i <= head; ++i) points.p[i] += follows;
    }
    StateNode& top = solve.nodes[points.slots[head]];
    top.global.t = points.p[head];
    update_global(solve, points.slots[head]);
    enforce_limit(solve, points.slots[head]);
}

bool has_limits(const Solve& solve, const NeckPoints& points)
{
    for (int i = 0; i < points.count; ++i)
        if (solve.records[points.slots[i]].limit >= 0) return true;
    return false;
}

// Once the head stands on the target, or as near as the neck goes, no further turn changes anything that is seen.
struct Settling
{
    float lastMiss;
    bool settled(float miss, float distance)
    {
        const float gained = lastMiss - miss;
        lastMiss = miss;
        return miss <= kSettled * distance || (gained >= 0.0f && gained <= kSettled * distance);
    }
};

// Joints that nothing holds follow their points wherever those go, so that points and turns are all there is until the end.
void reach_freely(const Solve& solve, NeckPoints& points, Vec4 target)
{
    const int head = points.count - 1;
    for (int j = 0; j < head; ++j) points.q[j] = global_rotation(solve, points.slots[j]);
    const float wanted = distance3(target, points.p[0]);
    Settling settling = {kFurthestMiss};
    for (int i = 1; i <= kReachIterations && !settling.settled(distance3(target, points.p[head]), wanted); ++i)
    {
        Vec4 bones[kMaxPoints];
        for (int j = 0; j < head; ++j) bones[j] = points.p[j + 1] - points.p[j];
        swing_toward(points, target);
        for (int j = 0; j < head; ++j)
            points.q[j] = renormalized(quat_mul(shortest_arc(bones[j], points.p[j + 1] - points.p[j]), points.q[j]));
    }
    for (int j = 0; j < head; ++j)
    {
        StateNode& node = solve.nodes[points.slots[j]];
        if (j > 0) node.global.t = position(solve, points.slots[j - 1]) + rotate(points.q[j - 1], node.local.t);
        set_rotation(solve, points.slots[j], points.q[j]);
    }
    update_global(solve, points.slots[head]);
}

void reach_within_limits(const Solve& solve, NeckPoints& points, Vec4 target)
{
    const LBXPropertySet& properties = solve.properties;
    const float stretch = value_of(properties, record::SnSReachHead);
    const int head = points.count - 1;
    if (stretch == 0.0f)
    {
        const StretchRequest rest = {1.0f, 0.0f, false};
        rebuild_from_bottom(solve, points, rest);
        write_back(solve, points, true);
    }
    const bool smooth = value_of(properties, record::SnSSmoothReach) != 0.0f;
    for (int i = 1; i <= kReachIterations; ++i)
    {
        read_positions(solve, points);
        const float wanted = distance3(target, points.p[0]);
        const float length = distance3(points.p[head], points.p[0]);
        if (stretch > 0.0f && length > 0.0f)
        {
            const float ratio = wanted / length;
            const float eagerness = ratio < 1.0f ? 1.0f : 0.0025f * static_cast<float>(i * i);
            rebuild_from_bottom(solve, points, {(ratio - 1.0f) * eagerness + 1.0f, stretch, smooth});
        }
        // A step that gains nothing is no end here: where limits have stopped one joint, the next step may move another.
        if (stretch <= 0.0f && distance3(target, points.p[head]) <= kSettled * wanted) break;
        swing_toward(points, target);
        write_back(solve, points, stretch > 0.0f);
    }
}

void reach_with_neck(const Solve& solve, NeckPoints& points, Vec4 target)
{
    read_positions(solve, points);
    const bool stretches = value_of(solve.properties, record::SnSReachHead) != 0.0f;
    if (stretches || has_limits(solve, points))
        reach_within_limits(solve, points, target);
    else
        reach_freely(solve, points, target);
}

}  // namespace

bool orient_head(const Solve& solve)
{
    const int head = slot_of(solve, LBXNodeHead);
    const float reach_r = weight_of<kReachR>(solve.effectors, LBXEffectorHead);
    if (head < 0 || reach_r <= 0.0f) return false;
    solve.nodes[head].global.q = quat_blend(global_rotation(solve, head), solve.effectors.targets[LBXEffectorHead].q, reach_r);
    update_local_rotation(solve, head);
    return true;
}

void head_stage(const Solve& solve)
{
    const int head = slot_of(solve, LBXNodeHead);
    const float reach_t = weight_of<kReachT>(solve.effectors, LBXEffectorHead);
    const float reach_r = weight_of<kReachR>(solve.effectors, LBXEffectorHead);
    if (!(solve.mask & LBXSolvingStepHead) || head < 0 || (reach_t <= 0.0f && reach_r <= 0.0f)) return;

    update_local(solve, head);
    const Quat saved_rotation = solve.nodes[head].local.q;
    const Quat goal_rotation = solve.effectors.targets[LBXEffectorHead].q;
    const int neck = solve.character.neck.count > 0 ? solve.character.neck.slots[0] : -1;
    if (neck >= 0)
    {
        NeckPoints points = neck_points(solve, head);
        const Quat current = global_rotation(solve, head);
        distribute_over_neck(solve, points, quat_mul(quat_blend(current, goal_rotation, reach_r), conjugate(current)));
        if (reach_t > 0.0f)
            reach_with_neck(solve, points, lerp4(position(solve, head), goal_point(solve.effectors, LBXEffectorHead), reach_t));
        update_local(solve, head);
        solve.nodes[head].local.q = saved_rotation;
        update_global(solve, head);
    }
    orient_head(solve);
    update_descendants(solve, neck >= 0 ? neck : head);
}

}  // namespace lbx
