#include "tools/measure/battery.h"

#include <algorithm>
#include <cmath>

#include "limbrex/limbrex_debug.h"

namespace limbrex_tools
{

using namespace limbrex_host;

const GoalKind kGoalKinds[kGoalKindCount] = {
    {"left hand", LBXEffectorLeftWrist, LBXLimbLeftArm, LBXNodeLeftArm, LBXNodeLeftForeArm, LBXNodeLeftHand},
    {"right hand", LBXEffectorRightWrist, LBXLimbRightArm, LBXNodeRightArm, LBXNodeRightForeArm, LBXNodeRightHand},
    {"left foot", LBXEffectorLeftAnkle, LBXLimbLeftLeg, LBXNodeLeftUpLeg, LBXNodeLeftLeg, LBXNodeLeftFoot},
    {"right foot", LBXEffectorRightAnkle, LBXLimbRightLeg, LBXNodeRightUpLeg, LBXNodeRightLeg, LBXNodeRightFoot},
    {"head", LBXEffectorHead, -1, LBXNodeHead, LBXNodeHead, LBXNodeHead},
    {"chest", LBXEffectorChestEnd, -1, LBXNodeSpine, LBXNodeSpine, LBXNodeSpine},
    {"hips", LBXEffectorHips, -1, LBXNodeHips, LBXNodeHips, LBXNodeHips},
};

namespace
{

constexpr double kTau = 6.283185307179586;

struct GoalGroup
{
    const char* name;
    std::vector<size_t> goals;
    bool feetHeld;
    bool withoutPull;  // also measured with pull 0
};

const std::vector<GoalGroup>& goal_groups()
{
    static const std::vector<GoalGroup> groups = {
        {"left hand", {kLeftHandGoal}, false, true},
        {"right hand", {kRightHandGoal}, false, true},
        {"left foot", {kLeftFootGoal}, false, true},
        {"right foot", {kRightFootGoal}, false, true},
        {"head", {kHeadGoal}, false, false},
        {"chest", {kChestGoal}, false, false},
        {"hips", {kHipsGoal}, false, false},
        {"left hand, feet held", {kLeftHandGoal}, true, false},
        {"right hand, feet held", {kRightHandGoal}, true, false},
        {"both hands", {kLeftHandGoal, kRightHandGoal}, false, false},
        {"both feet", {kLeftFootGoal, kRightFootGoal}, false, false},
        {"left hand, right foot", {kLeftHandGoal, kRightFootGoal}, false, false},
        {"right hand, left foot", {kRightHandGoal, kLeftFootGoal}, false, false},
        {"hands, feet, head", {kLeftHandGoal, kRightHandGoal, kLeftFootGoal, kRightFootGoal, kHeadGoal}, false, true},
    };
    return groups;
}

bool has_nodes(const MeasuredRig& rig, size_t kind)
{
    const auto used = [&](int node) { return (LBXGetNodeFlags(rig.character.get(), node) & LBXNodeUsed) != 0; };
    return used(kGoalKinds[kind].root) && used(kGoalKinds[kind].middle) && used(kGoalKinds[kind].end);
}

// Frequencies without a common period, so that goals visit all of their range; each goal starts elsewhere.
Vec3d lissajous(size_t kind, double time_s)
{
    const double phase = 1.7 * static_cast<double>(kind);
    return Vec3d{std::sin(kTau * 0.19 * time_s + phase), std::sin(kTau * 0.25 * time_s + 2.0 * phase),
                 std::sin(kTau * 0.31 * time_s + 3.0 * phase)} *
           (1.0 / std::sqrt(3.0));
}

// x itself up to `soft`, then ever slower toward `hard`; the slope has no step.
double press_below(double x, double soft, double hard)
{
    return x <= soft ? x : soft + (hard - soft) * (1.0 - std::exp(-(x - soft) / (hard - soft)));
}

struct BodyAxes
{
    Vec3d side, up, front;  // side: away from the body's middle for this limb
};

// How the hips are turned away from the stance, upright or lying.
BodyAxes body_axes(const MeasuredRig& rig, const LBXCharacterState* state, int limb)
{
    float t[4], q[4];
    LBXDebugGetStoredNodeTQ(rig.character.get(), state, LBXNodeHips, t, q);
    const Quatd turn = normalized(to_quatd({q[0], q[1], q[2], q[3]}));
    const bool is_left = limb == LBXLimbLeftArm || limb == LBXLimbLeftLeg;
    return {rotate(turn, {is_left ? 1.0 : -1.0, 0.0, 0.0}), rotate(turn, {0.0, 1.0, 0.0}), rotate(turn, {0.0, 0.0, 1.0})};
}

bool is_arm(const GoalKind& limb) { return limb.limb == LBXLimbLeftArm || limb.limb == LBXLimbRightArm; }

// At the edge of the reach and beyond it a goal keeps to a cone in front of the body: along the animated limb it would swing about with every
// small turn of a bent arm, several times as fast.
Vec3d far_offset(const MeasuredRig& rig, const LBXCharacterState* animated, size_t kind, GoalDistance distance, double length,
                 double time_s)
{
    const BodyAxes axes = body_axes(rig, animated, kGoalKinds[kind].limb);
    const bool arm = is_arm(kGoalKinds[kind]);
    const Vec3d middle = arm ? axes.side * 0.35 - axes.up * 0.1 + axes.front * 0.9 : axes.side * 0.15 - axes.up + axes.front * 0.2;
    const Vec3d direction = normalized(normalized(middle) + lissajous(kind, time_s) * (arm ? 0.7 : 0.4));
    const double wave = std::sin(kTau * 0.17 * time_s);
    return direction * (length * (distance == GoalDistance::Edge ? 1.0 + 0.06 * wave : 1.3 + 0.1 * wave));
}

// The goal wanders around the animated end, up to a quarter of the body's height. It never comes nearer to the limb's root than 30 % of the
// limb: a goal that passes through a joint turns round in an instant, which no limb can follow.
Vec3d moving_offset(Vec3d end_from_root, size_t kind, double length, double body_height, double time_s)
{
    const Vec3d wander = lissajous(kind, time_s) * (0.25 * body_height);
    const Vec3d outward = normalized(end_from_root);
    const double along = dot(wander, outward);
    const double room = std::max(limbrex_host::length(end_from_root) - 0.3 * length, 0.0);
    const double held = -press_below(-along, 0.5 * room, room);
    return end_from_root + (wander - outward * along) + outward * (along < 0.0 && room > 0.0 ? held : std::max(along, 0.0));
}

struct SidewaysUpFront
{
    double side, up, front;
};

// In limb lengths from the limb's root; `u` runs from 0 to 1 and every path is smooth in it.
SidewaysUpFront sweep_place(SweepPath path, bool arm, double u)
{
    const double swing = 0.5 - 0.5 * std::cos(kTau * u);  // 0, 1, 0
    const double reach = 0.35 + 1.15 * swing;
    switch (path)
    {
    case SweepPath::ThroughReach:
        return arm ? SidewaysUpFront{0.35 * reach, -0.15 * reach, 0.925 * reach}
                   : SidewaysUpFront{0.2 * reach, -0.8 * reach, 0.566 * reach};
    case SweepPath::AcrossBody: return {0.75 - 1.5 * swing, -0.1, 0.45};
    case SweepPath::BehindBack:
    {
        const double angle = kTau * (0.15 - 0.6 * swing);  // from the front, over the side, to behind the other shoulder
        return {0.65 * std::cos(angle) - 0.1, -0.35, 0.5 * std::sin(angle)};
    }
    case SweepPath::StraightLimb:
    {
        const double length = 1.0 + 0.05 * std::sin(3.0 * kTau * u);
        const double angle = 0.4 * std::sin(kTau * u);
        return arm ? SidewaysUpFront{length * std::sin(angle), -0.1 * length, 0.995 * length * std::cos(angle)}
                   : SidewaysUpFront{0.1 * length, -0.995 * length * std::cos(angle), length * std::sin(angle)};
    }
    case SweepPath::None: break;
    }
    return {0.0, 0.0, 0.0};
}

GoalPlace place_sweep(const MeasuredRig& rig, const BatteryRow& row, const LBXCharacterState* animated, size_t kind, double time_s)
{
    const GoalKind& goal = kGoalKinds[kind];
    const BodyAxes axes = body_axes(rig, animated, goal.limb);
    const double length = limb_length(rig.character.get(), animated, goal);
    const SidewaysUpFront at = sweep_place(row.sweep, is_arm(goal), time_s / kSweep_s);
    const Vec3d offset = (axes.side * at.side + axes.up * at.up + axes.front * at.front) * length;
    return {kind, node_position(rig.character.get(), animated, goal.root) + offset, limbrex_host::length(offset) / length, false};
}

GoalPlace place_moving(const MeasuredRig& rig, const BatteryRow& row, const LBXCharacterState* animated, const LBXEffectorSet* effectors,
                       size_t kind, double time_s)
{
    const GoalKind& goal = kGoalKinds[kind];
    const Vec3d animated_place = effector_position(effectors, goal.effector);
    if (goal.limb < 0)
    {
        constexpr double kShare[kDistanceCount] = {1.0 / 16.0, 1.0 / 8.0, 1.0 / 4.0};
        const double size = kShare[static_cast<size_t>(row.distance)] * rig.bodyHeight_m;
        return {kind, animated_place + lissajous(kind, time_s) * size, 0.0, false};
    }
    const Vec3d root = node_position(rig.character.get(), animated, goal.root);
    const double length = limb_length(rig.character.get(), animated, goal);
    if (row.distance != GoalDistance::Inside)
    {
        const Vec3d offset = far_offset(rig, animated, kind, row.distance, length, time_s);
        return {kind, root + offset, limbrex_host::length(offset) / length, false};
    }
    const Vec3d from_root = moving_offset(animated_place - root, kind, length, rig.bodyHeight_m, time_s);
    const double distance = press_below(limbrex_host::length(from_root), 0.8 * length, 0.95 * length);
    return {kind, root + normalized(from_root) * distance, distance / length, false};
}

}  // namespace

Vec3d node_position(const LBXCharacter* character, const LBXCharacterState* state, int node)
{
    double t[4], q[4];
    LBXGetNodeStateTQdv(character, state, node, t, q);
    return {t[0], t[1], t[2]};
}

Vec3d effector_position(const LBXEffectorSet* set, int effector)
{
    float t[4], q[4];
    LBXGetEffectorStateTQfv(set, effector, t, q);
    return {static_cast<double>(t[0]), static_cast<double>(t[1]), static_cast<double>(t[2])};
}

double limb_length(const LBXCharacter* character, const LBXCharacterState* state, const GoalKind& limb)
{
    const Vec3d middle = node_position(character, state, limb.middle);
    return length(middle - node_position(character, state, limb.root)) + length(node_position(character, state, limb.end) - middle);
}

std::vector<BatteryRow> moving_battery(const MeasuredRig& rig)
{
    std::vector<BatteryRow> rows;
    for (const GoalGroup& group : goal_groups())
    {
        std::vector<size_t> needed = group.goals;
        if (group.feetHeld) { needed.insert(needed.end(), {kLeftFootGoal, kRightFootGoal}); }
        if (!std::all_of(needed.begin(), needed.end(), [&](size_t kind) { return has_nodes(rig, kind); })) { continue; }
        for (size_t distance = 0; distance < kDistanceCount; ++distance)
        {
            BatteryRow row{group.name, group.goals, static_cast<GoalDistance>(distance), true, group.feetHeld, SweepPath::None, 0};
            rows.push_back(row);
            row.pull = false;
            if (group.withoutPull) { rows.push_back(row); }
        }
    }
    return rows;
}

std::vector<BatteryRow> sweep_battery(const MeasuredRig& rig, size_t frame_count, size_t poses)
{
    std::vector<BatteryRow> rows;
    for (size_t kind = kLeftHandGoal; kind <= kRightFootGoal; ++kind)
    {
        if (!has_nodes(rig, kind)) { continue; }
        const bool arm = kind <= kRightHandGoal;
        for (const SweepPath path : {SweepPath::ThroughReach, SweepPath::AcrossBody, SweepPath::BehindBack, SweepPath::StraightLimb})
        {
            if (!arm && (path == SweepPath::AcrossBody || path == SweepPath::BehindBack)) { continue; }
            for (size_t pose = 0; pose < poses; ++pose)
            {
                const size_t frame = frame_count * (2 * pose + 1) / (2 * poses);
                rows.push_back({kGoalKinds[kind].name, {kind}, GoalDistance::Edge, true, true, path, frame});
            }
        }
    }
    return rows;
}

std::vector<GoalPlace> place_goals(const MeasuredRig& rig, const BatteryRow& row, const LBXCharacterState* animated,
                                   const LBXEffectorSet* effectors_of_animated, double time_s)
{
    std::vector<GoalPlace> places;
    for (const size_t kind : row.goals)
    {
        places.push_back(row.sweep != SweepPath::None ? place_sweep(rig, row, animated, kind, time_s)
                                                      : place_moving(rig, row, animated, effectors_of_animated, kind, time_s));
    }
    if (!row.feetHeld) { return places; }
    for (const size_t kind : {kLeftFootGoal, kRightFootGoal})
    {
        if (std::find(row.goals.begin(), row.goals.end(), kind) != row.goals.end() || !has_nodes(rig, kind)) { continue; }
        places.push_back({kind, effector_position(effectors_of_animated, kGoalKinds[kind].effector), 0.0, true});
    }
    return places;
}

}  // namespace limbrex_tools
