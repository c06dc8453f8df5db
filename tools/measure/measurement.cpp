#include "tools/measure/measurement.h"

#include <algorithm>
#include <cmath>

#include "tools/measure/offline_best.h"

namespace limbrex_tools
{

using namespace limbrex_host;

namespace
{

constexpr double kWithinReach = 0.98;   // of the limb's length
constexpr double kShortestBone = 0.02;  // of the body's height; shorter bones drown in the rounding of positions
constexpr double kStraight_deg = 2.0;   // a bend this near to the straight or the wholly folded limb has no side
constexpr double kPopTurn_deg = 2.0;    // smallest turn that is looked at between frames, and that counts as a pop
constexpr double kCut_deg_s = 2500.0;   // faster than people turn a joint
constexpr double kShortStep =
    1.0 / 4096.0;  // of a frame. A knee that comes straight turns with the square root of time: it needs many halvings

double turn_beyond_clip(const TrialPose& before, const TrialPose& after, size_t node)
{
    return turn_deg(before.solvedLocal[node], after.solvedLocal[node]) - turn_deg(before.animatedLocal[node], after.animatedLocal[node]);
}

void judge_goals(const TrialPose& pose, double frame, double body_height, RowNumbers& row)
{
    if (row.goals.empty())
    {
        for (const GoalPlace& goal : pose.goals)
        {
            row.goals.emplace_back();
            row.goals.back().kind = goal.kind;
            row.goals.back().held = goal.held;
        }
    }
    for (size_t g = 0; g < pose.goals.size(); ++g)
    {
        GoalNumbers& numbers = row.goals[g];
        const double error = 100.0 * length(pose.reached[g] - pose.goals[g].target) / body_height;
        numbers.errors.push_back(error);
        numbers.worst.take(error, frame);
        if (pose.goals[g].reachShare > kWithinReach) { continue; }
        numbers.withinReach.push_back(error);
        numbers.worstWithinReach.take(error, frame);
    }
}

void judge_bones(const MeasuredRig& rig, const TrialPose& pose, double frame, RowNumbers& row)
{
    for (size_t i = 0; i < rig.nodes.size(); ++i)
    {
        const int parent = rig.nodes[i].templateParent;
        if (parent <= LBXNodeReference || rig.nodes[i].node == LBXNodeHipsTranslation || parent == LBXNodeHipsTranslation) { continue; }
        const auto found = std::find_if(rig.nodes.begin(), rig.nodes.end(), [&](const MeasuredNode& n) { return n.node == parent; });
        const auto p = static_cast<size_t>(found - rig.nodes.begin());
        const double animated = length(position(pose.animatedGlobal[i]) - position(pose.animatedGlobal[p]));
        if (animated < kShortestBone * rig.bodyHeight_m) { continue; }
        const double solved = length(position(pose.solvedGlobal[i]) - position(pose.solvedGlobal[p]));
        row.boneDrift.take(std::fabs(solved - animated) / animated, frame, rig.nodes[i].node);
    }
}

void judge_bends(const Trial& trial, double frame, RowNumbers& row)
{
    bool wrong = false;
    for (int limb = 0; limb < LBXLimbCount; ++limb)
    {
        double animated = 0.0, solved = 0.0;
        if (!trial.limb_bend_deg(limb, animated, solved)) { continue; }
        const double past = std::min(animated, 0.0) - solved;  // a clip's own overstretched knee is not the solver's
        if (past <= kStraight_deg || past >= 180.0 - kStraight_deg) { continue; }
        wrong = true;
        constexpr int kMiddles[] = {LBXNodeLeftLeg, LBXNodeRightLeg, LBXNodeLeftForeArm, LBXNodeRightForeArm};
        row.wrongSide.take(past, frame, kMiddles[limb]);
    }
    row.wrongSideFrames += wrong ? 1 : 0;
}

// A clip that opens with a stance or was cut together jumps by itself, and its goals with it.
bool clip_cuts(const TrialPose& before, const TrialPose& now, double steps_per_second)
{
    for (size_t i = 0; i < now.animatedLocal.size(); ++i)
    {
        if (turn_deg(before.animatedLocal[i], now.animatedLocal[i]) * steps_per_second > kCut_deg_s) { return true; }
    }
    return false;
}

struct FastJoint
{
    double turn_deg;
    double frame;  // the later one
    size_t node;   // index
};

// Halves the step between two frames, always going where the joint turns more. A quick but continuous turn shrinks with the step, a jump
// stays whole.
double turn_that_stays(Trial& trial, const BatteryRow& row, double from, double to, size_t node)
{
    TrialPose first, middle, last;
    trial.run(row, from, first);
    trial.run(row, to, last);
    while (to - from > kShortStep)
    {
        const double half = 0.5 * (from + to);
        trial.run(row, half, middle);
        if (turn_beyond_clip(first, middle, node) > turn_beyond_clip(middle, last, node))
        {
            last = middle;
            to = half;
        }
        else
        {
            first = middle;
            from = half;
        }
    }
    return turn_beyond_clip(first, last, node);
}

void look_for_pops(Trial& trial, const MeasureOptions& options, std::vector<FastJoint>& fast, double step, RowNumbers& row)
{
    std::sort(fast.begin(), fast.end(), [](const FastJoint& a, const FastJoint& b) { return a.turn_deg > b.turn_deg; });
    fast.resize(std::min(fast.size(), options.popCandidates));
    for (const FastJoint& joint : fast)
    {
        const double stays = turn_that_stays(trial, row.row, joint.frame - step, joint.frame, joint.node);
        if (stays > kPopTurn_deg) { row.pops.push_back({joint.frame, trial.rig().nodes[joint.node].node, stays}); }
    }
}

void measure_row(Trial& trial, const MeasureOptions& options, RowNumbers& row)
{
    const MeasuredRig& rig = trial.rig();
    const bool sweep = row.row.sweep != SweepPath::None;
    const double fps = trial.clip().framesPerSecond;
    // Sweeps run at 60 steps a second whatever the clip's rate.
    const double step = sweep ? fps / 60.0 : static_cast<double>(options.every);
    const double end = sweep ? kSweep_s * fps : static_cast<double>(trial.clip().frameCount);
    TrialPose before, now;
    std::vector<FastJoint> fast;
    for (double frame = 0.0; frame < end; frame += step)
    {
        std::swap(before, now);
        trial.run(row.row, frame, now);
        ++row.frames;
        row.solve_us.push_back(now.solve_us);
        judge_goals(now, frame, rig.bodyHeight_m, row);
        judge_bones(rig, now, frame, row);
        judge_bends(trial, frame, row);
        if (rig.hasLimits)
        {
            int node = -1;
            const double violation = trial.limit_violation_deg(node);
            row.limitViolation.take(violation, frame, node);
        }
        if (row.frames == 1 || clip_cuts(before, now, fps / step)) { continue; }
        FastJoint fastest{0.0, frame, 0};
        for (size_t i = 0; i < rig.nodes.size(); ++i)
        {
            const double added = turn_beyond_clip(before, now, i);
            if (added > fastest.turn_deg) { fastest = {added, frame, i}; }
        }
        row.addedTurn.take(fastest.turn_deg, frame, rig.nodes[fastest.node].node);
        row.addedSpeed.push_back(fastest.turn_deg * fps / step);
        if (fastest.turn_deg > kPopTurn_deg) { fast.push_back(fastest); }
    }
    look_for_pops(trial, options, fast, step, row);
}

// A clip may stretch a knee or elbow past straight. The solver bends it the proper way: the goal stays met, the joint moves.
bool clip_bends_backwards(const Trial& trial, const std::vector<size_t>& kinds)
{
    return std::any_of(kinds.begin(), kinds.end(),
                       [&](size_t kind)
                       {
                           double animated = 0.0, solved = 0.0;
                           const int limb = kGoalKinds[kind].limb;
                           return limb >= 0 && trial.limb_bend_deg(limb, animated, solved) && animated < 0.0;
                       });
}

void measure_met(Trial& trial, const MeasureOptions& options, Measurement& out)
{
    std::vector<std::vector<size_t>> sets;
    std::vector<size_t> all;
    for (const BatteryRow& row : moving_battery(trial.rig()))
    {
        if (row.goals.size() == 1 && row.distance == GoalDistance::Inside && row.pull && !row.feetHeld) { sets.push_back(row.goals); }
        if (row.goals.size() > all.size()) { all = row.goals; }
    }
    sets.push_back(all);
    TrialPose pose;
    for (size_t frame = 0; frame < trial.clip().frameCount; frame += std::max<size_t>(options.every, 4))
    {
        for (const std::vector<size_t>& kinds : sets)
        {
            for (const bool turned : {false, true})
            {
                trial.run_met(kinds, turned, static_cast<double>(frame), pose);
                const bool overstretched = clip_bends_backwards(trial, kinds);
                for (size_t i = 0; i < trial.rig().nodes.size(); ++i)
                {
                    const double turn = turn_deg(pose.animatedLocal[i], pose.solvedLocal[i]);
                    if (overstretched)
                    {
                        out.metTurnOverstretched.take(turn, static_cast<double>(frame), trial.rig().nodes[i].node);
                        continue;
                    }
                    if (turn <= out.metTurn.value) { continue; }
                    out.metTurn.take(turn, static_cast<double>(frame), trial.rig().nodes[i].node);
                    out.metGoals = kinds.size() == 1 ? kGoalKinds[kinds[0]].name : "all five";
                    out.metGoals += turned ? " with orientation" : "";
                }
            }
        }
        ++out.zeroWeightFrames;
        if (trial.zero_weights_keep_the_pose(static_cast<double>(frame))) { continue; }
        if (out.zeroWeightChanged++ == 0) { out.zeroWeightFrame = static_cast<double>(frame); }
    }
}

}  // namespace

void measure(Trial& trial, const MeasureOptions& options, Measurement& out, void (*progress)(size_t done, size_t total))
{
    out.bodyHeight_m = trial.rig().bodyHeight_m;
    out.framesPerSecond = trial.clip().framesPerSecond;
    out.frameCount = trial.clip().frameCount;
    out.every = options.every;
    out.nodeCount = trial.rig().nodes.size();
    out.hasLimits = trial.rig().hasLimits;
    std::vector<BatteryRow> rows = moving_battery(trial.rig());
    const std::vector<BatteryRow> sweeps = sweep_battery(trial.rig(), trial.clip().frameCount, options.sweepPoses);
    rows.insert(rows.end(), sweeps.begin(), sweeps.end());
    for (size_t i = 0; i < rows.size(); ++i)
    {
        progress(i, rows.size());
        out.rows.emplace_back();
        out.rows.back().row = rows[i];
        measure_row(trial, options, out.rows.back());
        if (options.offline) { compare_with_best(trial, options, out.rows.back()); }
    }
    measure_met(trial, options, out);
    progress(rows.size(), rows.size());
}

double mean_of(const std::vector<double>& values)
{
    double sum = 0.0;
    for (const double value : values) { sum += value; }
    return values.empty() ? 0.0 : sum / static_cast<double>(values.size());
}

double share_of(const std::vector<double>& values, double at_most)
{
    const auto count = std::count_if(values.begin(), values.end(), [&](double value) { return value <= at_most; });
    return values.empty() ? 1.0 : static_cast<double>(count) / static_cast<double>(values.size());
}

double percentile(std::vector<double> values, double share)
{
    if (values.empty()) { return 0.0; }
    const auto place = static_cast<std::ptrdiff_t>(std::lround(share * static_cast<double>(values.size() - 1)));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<size_t>(place)];
}

}  // namespace limbrex_tools
