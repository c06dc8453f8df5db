#include "tools/measure/measure_report.h"

#include <fmt/format.h>

#include <cmath>
#include <filesystem>

#include "tools/report/pending_file.h"
#include "tools/report/plot.h"

namespace limbrex_tools
{
namespace
{

void print_goal(const RowNumbers& row, const GoalNumbers& goal)
{
    const std::string name = goal.held ? std::string(kGoalKinds[goal.kind].name) + " (held)" : kGoalKinds[goal.kind].name;
    fmt::print("  {:<20} {:>8.4f} {:>8.4f} {:>8.3f} {:>7.1f}", name, mean_of(goal.errors), percentile(goal.errors, 0.95), goal.worst.value,
               100.0 * share_of(goal.errors, 0.1));
    if (goal.withinReach.empty() || goal.held) { fmt::print(" {:>8} {:>8}", "-", "-"); }
    else { fmt::print(" {:>8.4f} {:>8.4f}", mean_of(goal.withinReach), percentile(goal.withinReach, 0.95)); }
    if (goal.offlineCount > 0) { fmt::print("   beyond best: mean {:.3f}, largest {:.3f}", goal.missed_offline, goal.worstOffline.value); }
    static_cast<void>(row);
    fmt::print("\n");
}

void print_row(const RowNumbers& row)
{
    fmt::print("{:<47} drift {:.1e}  wrong side {:>4}  turn {:>6.1f} deg  speed p99 {:>6.0f} deg/s  pops {}  {:.1f} us (p99 {:.1f})\n",
               row_label(row.row), row.boneDrift.value, row.wrongSideFrames, row.addedTurn.value, percentile(row.addedSpeed, 0.99),
               row.pops.size(), percentile(row.solve_us, 0.5), percentile(row.solve_us, 0.99));
    for (const GoalNumbers& goal : row.goals) { print_goal(row, goal); }
}

nlohmann::json worst_json(const Worst& worst)
{
    nlohmann::json json{{"value", worst.value}, {"frame", worst.frame}};
    if (worst.node >= 0) { json["joint"] = LBXGetNodeNameFromId(worst.node); }
    return json;
}

nlohmann::json goal_json(const GoalNumbers& goal)
{
    nlohmann::json json{{"goal", kGoalKinds[goal.kind].name},
                        {"held", goal.held},
                        {"error_mean_percent", mean_of(goal.errors)},
                        {"error_p95_percent", percentile(goal.errors, 0.95)},
                        {"error_max_percent", worst_json(goal.worst)},
                        {"met_within_0.1_percent", share_of(goal.errors, 0.1)},
                        {"frames_within_reach", goal.withinReach.size()}};
    if (!goal.withinReach.empty())
    {
        json["within_reach_mean_percent"] = mean_of(goal.withinReach);
        json["within_reach_p95_percent"] = percentile(goal.withinReach, 0.95);
        json["within_reach_max_percent"] = worst_json(goal.worstWithinReach);
    }
    if (goal.offlineCount > 0)
    {
        json["excess_over_best_mean_percent"] = goal.missed_offline;
        json["excess_over_best_max_percent"] = worst_json(goal.worstOffline);
    }
    return json;
}

nlohmann::json row_json(const RowNumbers& row, bool limits)
{
    nlohmann::json json{{"row", row_label(row.row)},
                        {"frames", row.frames},
                        {"bone_drift", worst_json(row.boneDrift)},
                        {"wrong_side_frames", row.wrongSideFrames},
                        {"wrong_side_deg", worst_json(row.wrongSide)},
                        {"added_turn_deg", worst_json(row.addedTurn)},
                        {"added_speed_p99_deg_per_s", percentile(row.addedSpeed, 0.99)},
                        {"solve_us_median", percentile(row.solve_us, 0.5)},
                        {"solve_us_p99", percentile(row.solve_us, 0.99)}};
    if (limits) { json["limit_violation_deg"] = worst_json(row.limitViolation); }
    json["pops"] = nlohmann::json::array();
    for (const Pop& pop : row.pops) { json["pops"].push_back(worst_json({pop.turn_deg, pop.frame, pop.node})); }
    json["goals"] = nlohmann::json::array();
    for (const GoalNumbers& goal : row.goals) { json["goals"].push_back(goal_json(goal)); }
    return json;
}

nlohmann::json measurement_json(const Measurement& measurement, const std::vector<Verdict>& verdicts)
{
    nlohmann::json json{{"clip", measurement.clip},
                        {"rig", measurement.rig},
                        {"body_height_m", measurement.bodyHeight_m},
                        {"frames_per_second", measurement.framesPerSecond},
                        {"frames", measurement.frameCount},
                        {"every", measurement.every},
                        {"nodes", measurement.nodeCount},
                        {"met_goals_turn_deg", worst_json(measurement.metTurn)},
                        {"met_goals_turn_overstretched_deg", worst_json(measurement.metTurnOverstretched)},
                        {"zero_weight_poses", measurement.zeroWeightFrames},
                        {"zero_weight_poses_changed", measurement.zeroWeightChanged}};
    json["rows"] = nlohmann::json::array();
    for (const RowNumbers& row : measurement.rows) { json["rows"].push_back(row_json(row, measurement.hasLimits)); }
    json["targets"] = nlohmann::json::array();
    for (const Verdict& verdict : verdicts)
    {
        json["targets"].push_back({{"target", verdict.target},
                                   {"limit", verdict.limit},
                                   {"measured", verdict.measured},
                                   {"unit", verdict.unit},
                                   {"met", verdict.met},
                                   {"where", verdict.where}});
    }
    return json;
}

// Value below which a share of the samples lies, against that share.
PlotLine distribution(const std::string& label, const std::vector<double>& values)
{
    PlotLine line{label, {}, {}};
    constexpr int kSteps = 200;
    std::vector<double> sorted = values;
    std::sort(sorted.begin(), sorted.end());
    for (int i = 0; i <= kSteps && !sorted.empty(); ++i)
    {
        const double share = static_cast<double>(i) / kSteps;
        line.x.push_back(100.0 * share);
        line.y.push_back(std::max(sorted[static_cast<size_t>(share * static_cast<double>(sorted.size() - 1))], 1e-5));
    }
    return line;
}

bool plot_errors(const std::string& path, const Measurement& measurement, std::string& error)
{
    std::vector<PlotLine> lines;
    for (const bool limbs : {true, false})
    {
        for (size_t distance = 0; distance < kDistanceCount; ++distance)
        {
            std::vector<double> values;
            for (const RowNumbers& row : measurement.rows)
            {
                if (row.row.sweep != SweepPath::None || !row.row.pull || static_cast<size_t>(row.row.distance) != distance) { continue; }
                for (const GoalNumbers& goal : row.goals)
                {
                    if (goal.held || (kGoalKinds[goal.kind].limb >= 0) != limbs) { continue; }
                    values.insert(values.end(), goal.errors.begin(), goal.errors.end());
                }
            }
            if (values.empty()) { continue; }
            lines.push_back(distribution(fmt::format("{}, {}", limbs ? "limbs" : "body", kDistanceNames[distance]), values));
        }
    }
    PlotFrame frame{"Distance from the goal, with pull", "share of frames, %", "error, % of body height"};
    frame.logY = true;
    return write_line_plot(path, frame, lines, error);
}

bool plot_speed(const std::string& path, const Measurement& measurement, std::string& error)
{
    std::vector<PlotLine> lines;
    for (size_t distance = 0; distance < kDistanceCount; ++distance)
    {
        std::vector<double> values;
        for (const RowNumbers& row : measurement.rows)
        {
            if (row.row.sweep != SweepPath::None || static_cast<size_t>(row.row.distance) != distance) { continue; }
            values.insert(values.end(), row.addedSpeed.begin(), row.addedSpeed.end());
        }
        if (!values.empty()) { lines.push_back(distribution(kDistanceNames[distance], values)); }
    }
    std::vector<double> sweeps;
    for (const RowNumbers& row : measurement.rows)
    {
        if (row.row.sweep != SweepPath::None) { sweeps.insert(sweeps.end(), row.addedSpeed.begin(), row.addedSpeed.end()); }
    }
    if (!sweeps.empty()) { lines.push_back(distribution("sweeps", sweeps)); }
    PlotFrame frame{"Joint speed beyond the clip's own, fastest joint of a frame", "share of frames, %", "degrees a second"};
    frame.logY = true;
    return write_line_plot(path, frame, lines, error);
}

}  // namespace

void print_measurement(const Measurement& measurement, const std::vector<Verdict>& verdicts)
{
    fmt::print("{}: {} frames at {:g} a second, every {}; rig {} with {} nodes, body height {:.3f} m (head joint over the lowest joint)\n",
               measurement.clip, measurement.frameCount, measurement.framesPerSecond, measurement.every, measurement.rig,
               measurement.nodeCount, measurement.bodyHeight_m);
    fmt::print("\nerrors in percent of body height; within reach: limb goals at most 98 % of the limb away\n");
    fmt::print("  {:<20} {:>8} {:>8} {:>8} {:>7} {:>8} {:>8}\n", "goal", "mean", "p95", "max", "met %", "in reach", "p95");
    for (const RowNumbers& row : measurement.rows) { print_row(row); }
    if (measurement.metTurnOverstretched.value > 0.0)
    {
        fmt::print("\ngoals already met where the clip itself bends the limb backwards: up to {:.2f} deg to the proper side (frame {:g})\n",
                   measurement.metTurnOverstretched.value, measurement.metTurnOverstretched.frame);
    }
    fmt::print("\n{:<50} {:>10} {:>10}\n", "target", "limit", "measured");
    for (const Verdict& verdict : verdicts)
    {
        fmt::print("{:<50} {:>10.4g} {:>10.4g} {:<12} {:<6} {}\n", verdict.target, verdict.limit, verdict.measured, verdict.unit,
                   verdict.met ? "ok" : "MISSED", verdict.where);
    }
}

bool write_measurement(const std::string& folder, Trial& trial, const limbrex_host::Asset& asset, const Measurement& measurement,
                       const std::vector<Verdict>& verdicts, std::string& error)
{
    std::error_code failure;
    std::filesystem::create_directories(folder, failure);
    const auto path = [&](const char* name) { return (std::filesystem::path(folder) / name).string(); };
    return write_text_file(path("metrics.json"), measurement_json(measurement, verdicts).dump(1) + "\n", error) &&
           plot_errors(path("errors.png"), measurement, error) && plot_speed(path("joint_speed.png"), measurement, error) &&
           write_worst_frames(path("worst.png"), trial, asset, measurement, error);
}

}  // namespace limbrex_tools
