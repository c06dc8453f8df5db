#include "tools/measure/targets.h"

#include <fmt/format.h>

#include <algorithm>

namespace limbrex_tools
{
namespace
{

constexpr double kLimbMean = 0.10, kLimbTail = 0.30;  // percent of body height, mean and 95th percentile
constexpr double kBodyMean = 0.5, kBodyTail = 2.0;
constexpr double kOfflineExcess = 1.0;
constexpr double kBoneDrift = 1e-5;
constexpr double kAddedSpeed = 500.0;  // degrees a second, 99th percentile
constexpr double kWrongSide_deg = 0.0;
constexpr double kLimit_deg = 0.1;
constexpr double kMetTurn_deg = 0.02;

std::string place(const Worst& worst)
{
    const char* node = LBXGetNodeNameFromId(worst.node);
    return fmt::format("{}frame {:g}", worst.node >= 0 && node != nullptr ? std::string(node) + ", " : std::string(), worst.frame);
}

// Keeps the largest of what many rows offer.
struct Largest
{
    Verdict verdict;
    Largest(std::string target, double limit, std::string unit)
    {
        verdict.target = std::move(target);
        verdict.limit = limit;
        verdict.unit = std::move(unit);
    }
    void offer(double value, const RowNumbers& row, const std::string& where)
    {
        if (value <= verdict.measured) { return; }
        verdict.measured = value;
        verdict.where = row_label(row.row) + ": " + where;
    }
    Verdict done()
    {
        verdict.met = verdict.measured <= verdict.limit;
        return verdict;
    }
};

// A goal counts where the body can meet it together with the row's others: limb goals within the limb, goals of head, chest and hips where
// pull may move the body; several goals at once only well inside their reach, since farther out they tear at each other.
bool counts_as_reachable(const RowNumbers& row, const GoalNumbers& goal)
{
    if (goal.held || goal.withinReach.empty()) { return false; }
    if (row.row.goals.size() > 1 && row.row.distance != GoalDistance::Inside) { return false; }
    return kGoalKinds[goal.kind].limb >= 0 || (row.row.pull && row.row.distance != GoalDistance::Beyond);
}

}  // namespace

std::string row_label(const BatteryRow& row)
{
    if (row.sweep != SweepPath::None)
    {
        return fmt::format("{} {}, pose of frame {}", row.name, kSweepNames[static_cast<size_t>(row.sweep)], row.frozenFrame);
    }
    return fmt::format("{}, {}{}", row.name, kDistanceNames[static_cast<size_t>(row.distance)], row.pull ? "" : ", no pull");
}

std::vector<Verdict> judge(const Measurement& measurement)
{
    Largest limb_mean("limb goals within reach: mean error", kLimbMean, "% of height");
    Largest limb_tail("limb goals within reach: 95th percentile", kLimbTail, "% of height");
    Largest body_mean("head, chest, hips goals: mean error", kBodyMean, "% of height");
    Largest body_tail("head, chest, hips goals: 95th percentile", kBodyTail, "% of height");
    Largest offline("beyond reach: excess over the best placement", kOfflineExcess, "% of height");
    Largest drift("bone lengths: largest change", kBoneDrift, "of the bone");
    Largest speed("joint speed beyond the clip's: 99th percentile", kAddedSpeed, "deg/s");
    Largest pops("pops: largest turn without duration", 0.0, "deg");
    Largest wrong("knees and elbows on the wrong side", kWrongSide_deg, "deg");
    Largest limits("limits exceeded", kLimit_deg, "deg");
    for (const RowNumbers& row : measurement.rows)
    {
        const bool sweep = row.row.sweep != SweepPath::None;
        for (const GoalNumbers& goal : row.goals)
        {
            const std::string where = fmt::format("{}, {}", kGoalKinds[goal.kind].name, place(goal.worstWithinReach));
            offline.offer(goal.worstOffline.value, row, fmt::format("{}, {}", kGoalKinds[goal.kind].name, place(goal.worstOffline)));
            if (sweep || !counts_as_reachable(row, goal)) { continue; }
            const bool limb = kGoalKinds[goal.kind].limb >= 0;
            (limb ? limb_mean : body_mean).offer(mean_of(goal.withinReach), row, where);
            (limb ? limb_tail : body_tail).offer(percentile(goal.withinReach, 0.95), row, where);
        }
        drift.offer(row.boneDrift.value, row, place(row.boneDrift));
        if (row.row.pull) { speed.offer(percentile(row.addedSpeed, 0.99), row, place(row.addedTurn)); }
        wrong.offer(row.wrongSide.value, row, fmt::format("{} ({} of {} frames)", place(row.wrongSide), row.wrongSideFrames, row.frames));
        limits.offer(row.limitViolation.value, row, place(row.limitViolation));
        for (const Pop& pop : row.pops) { pops.offer(pop.turn_deg, row, place({pop.turn_deg, pop.frame, pop.node})); }
    }
    Verdict met{"goals already met: largest joint turn", kMetTurn_deg, measurement.metTurn.value, "deg", true, ""};
    met.met = met.measured <= met.limit;
    met.where = measurement.metGoals.empty() ? "" : measurement.metGoals + ": " + place(measurement.metTurn);
    Verdict zero{"zero weights: poses that change", 0.0, static_cast<double>(measurement.zeroWeightChanged), "poses", true, ""};
    zero.met = measurement.zeroWeightChanged == 0;
    zero.where = zero.met ? fmt::format("{} poses looked at", measurement.zeroWeightFrames)
                          : fmt::format("first at frame {:g}", measurement.zeroWeightFrame);
    return {limb_mean.done(),
            limb_tail.done(),
            body_mean.done(),
            body_tail.done(),
            offline.done(),
            drift.done(),
            speed.done(),
            pops.done(),
            wrong.done(),
            limits.done(),
            met,
            zero};
}

}  // namespace limbrex_tools
