// The two written forms of metrics: JSON for machines, a table for people.
#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/report/metrics.h"
#include "tools/report/pending_file.h"
#include "tools/report/utf8.h"

namespace limbrex_tools
{
namespace
{

using nlohmann::ordered_json;

constexpr size_t kNameWidth = 30;

ordered_json spread_json(const Spread& spread)
{
    return {{"mean", spread.mean}, {"median", spread.median}, {"p95", spread.p95}, {"largest", spread.largest}, {"count", spread.count}};
}

ordered_json percent_json(const Spread& spread, double height_m)
{
    if (height_m <= 0.0 || spread.count == 0) { return nullptr; }
    const double k = 100.0 / height_m;
    return {{"mean", spread.mean * k}, {"p95", spread.p95 * k}, {"largest", spread.largest * k}};
}

ordered_json goal_json(const GoalMetrics& goal)
{
    ordered_json json{{"name", valid_utf8(goal.name)},
                      {"unit", valid_utf8(goal.unit)},
                      {"constraintId", goal.constraintId},
                      {"framesActive", goal.distance_m.count},
                      {"distance_m", spread_json(goal.distance_m)},
                      {"distance_percentOfHeight", percent_json(goal.distance_m, goal.bodyHeight_m)}};
    if (goal.pin) { json["drift_m"] = goal.drift_m; }
    return json;
}

ordered_json turn_json(const LargestTurn& turn)
{
    return {{"degrees", turn.degrees}, {"joint", valid_utf8(turn.joint)}, {"frame", turn.frame}};
}

ordered_json unit_json(const UnitMetrics& unit)
{
    return {{"name", valid_utf8(unit.name)},
            {"clip", valid_utf8(unit.clip)},
            {"bodyHeight_m", unit.bodyHeight_m},
            {"largestTurnPerFrame", {{"solved", turn_json(unit.solved)}, {"animated", turn_json(unit.animated)}}}};
}

// Cut to a column, counting characters rather than bytes.
std::string fitted(const std::string& text, size_t width)
{
    std::string out;
    size_t characters = 0;
    for (const char ch : valid_utf8(text))
    {
        const bool begins = (static_cast<unsigned char>(ch) & 0xC0u) != 0x80u;
        if (begins && ++characters > width) { return out; }
        out += ch;
    }
    return out + std::string(width - std::min(width, characters), ' ');
}

// Millimetres, and percent of the body height where it is known.
std::string distance_cell(double distance_m, double height_m)
{
    if (height_m <= 0.0) { return fmt::format("{:8.1f} mm        ", distance_m * 1000.0); }
    return fmt::format("{:8.1f} mm {:5.2f} %", distance_m * 1000.0, distance_m / height_m * 100.0);
}

std::string goal_lines(const Metrics& metrics)
{
    if (metrics.goals.empty()) { return "no goals\n"; }
    std::string text = fmt::format("{} {:>6} {:>19} {:>19} {:>19} {:>11}\n", fitted("distance from goal", kNameWidth), "frames", "mean",
                                   "95 in 100 below", "largest", "drift");
    for (const GoalMetrics& goal : metrics.goals)
    {
        const double height = goal.bodyHeight_m;
        const std::string name = metrics.units.size() > 1 ? goal.unit + ": " + goal.name : goal.name;
        text += fmt::format("{} {:6} ", fitted(name, kNameWidth), goal.distance_m.count);
        if (goal.distance_m.count == 0) { text += "never active\n"; }
        else
        {
            text += fmt::format("{} {} {}", distance_cell(goal.distance_m.mean, height), distance_cell(goal.distance_m.p95, height),
                                distance_cell(goal.distance_m.largest, height));
            text += goal.pin ? fmt::format(" {:8.1f} mm\n", goal.drift_m * 1000.0) : "           -\n";
        }
    }
    return text;
}

std::string turn_lines(const Metrics& metrics)
{
    std::string text = fmt::format("{} {:>32} {:>32}\n", fitted("largest joint turn a frame", kNameWidth), "solved", "clip");
    const auto cell = [](const LargestTurn& turn)
    { return fmt::format("{:6.1f} deg {} {:>6}", turn.degrees, fitted(turn.joint, 14), turn.frame); };
    for (const UnitMetrics& unit : metrics.units)
    {
        text += fmt::format("{} {} {}\n", fitted(unit.name, kNameWidth), cell(unit.solved), cell(unit.animated));
    }
    return text;
}

std::string cost_lines(const Metrics& metrics)
{
    std::string text = fmt::format("{} {:>12} {:>16}\n", fitted("us a character and frame", kNameWidth), "median", "95 in 100 below");
    const auto add = [&text](const char* name, const Spread& spread)
    {
        if (spread.count > 0) { text += fmt::format("{} {:12.2f} {:16.2f}\n", fitted(name, kNameWidth), spread.median, spread.p95); }
    };
    for (size_t stage = 0; stage < limbrex_host::kStageCount; ++stage) { add(limbrex_host::kStageNames[stage], metrics.stages_us[stage]); }
    add("whole update", metrics.callback_us);
    return text;
}

}  // namespace

std::string metrics_json(const Metrics& metrics)
{
    ordered_json json{{"scene", valid_utf8(metrics.scene)}, {"framesPerSecond", metrics.framesPerSecond}, {"frames", metrics.frameCount}};
    json["goals"] = ordered_json::array();
    for (const GoalMetrics& goal : metrics.goals) { json["goals"].push_back(goal_json(goal)); }
    json["units"] = ordered_json::array();
    for (const UnitMetrics& unit : metrics.units) { json["units"].push_back(unit_json(unit)); }
    ordered_json cost{{"characters", metrics.characters}, {"wholeUpdate", spread_json(metrics.callback_us)}};
    for (size_t stage = 0; stage < limbrex_host::kStageCount; ++stage)
    {
        if (metrics.stages_us[stage].count > 0) { cost[limbrex_host::kStageNames[stage]] = spread_json(metrics.stages_us[stage]); }
    }
    json["microsecondsPerCharacterAndFrame"] = cost;
    json["allocationsPerFrame"] = metrics.allocationsPerFrame;
    json["lostBlocks"] = metrics.lostBlocks;
    json["notes"] = ordered_json::array();
    for (const std::string& note : metrics.notes) { json["notes"].push_back(valid_utf8(note)); }
    return json.dump(2) + "\n";
}

bool write_metrics_json(const std::string& path, const Metrics& metrics, std::string& error)
{
    return write_text_file(path, metrics_json(metrics), error);
}

std::string metrics_table(const Metrics& metrics) { return goal_lines(metrics) + "\n" + turn_lines(metrics) + "\n" + cost_lines(metrics); }

}  // namespace limbrex_tools
