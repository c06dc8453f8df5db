// How well a run met its goals, how smooth it stayed and what it cost, as numbers, as JSON and as a table.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "host/recording.h"

namespace limbrex_tools
{

struct Spread
{
    double mean = 0.0;
    double median = 0.0;
    double p95 = 0.0;  // the smallest value that 95 % of the values do not exceed
    double largest = 0.0;
    size_t count = 0;
};

Spread spread_of(std::vector<double> values);  // all zero for no values

struct GoalMetrics
{
    std::string name;
    std::string unit;
    int32_t constraintId = 0;
    bool pin = false;
    double bodyHeight_m = 0.0;  // 0 when unknown: percentages are left out
    Spread distance_m;          // target to effector, over the frames in which the goal was active
    double drift_m = 0.0;       // pins: farthest that the effector got from where it was when its goal became active
};

struct LargestTurn
{
    double degrees = 0.0;  // of one joint against its parent, from one frame to the next
    std::string joint;
    size_t frame = 0;  // the later of the two, numbered as in the scene
};

struct UnitMetrics
{
    std::string name;
    std::string clip;
    double bodyHeight_m = 0.0;
    LargestTurn solved;
    LargestTurn animated;
};

struct Metrics
{
    std::string scene;
    double framesPerSecond = 0.0;
    size_t frameCount = 0;
    std::vector<GoalMetrics> goals;
    std::vector<UnitMetrics> units;
    size_t characters = 0;
    Spread callback_us;  // per character and frame
    std::array<Spread, limbrex_host::kStageCount> stages_us;
    uint64_t allocationsPerFrame = 0;
    uint64_t lostBlocks = 0;
    std::vector<std::string> notes;
};

// False with `error` set for a recording that cannot be read.
bool measure(const limbrex_host::Recording& recording, Metrics& out, std::string& error);

std::string metrics_json(const Metrics& metrics);
bool write_metrics_json(const std::string& path, const Metrics& metrics, std::string& error);

// Plain text for a terminal, lines of at most about 110 characters.
std::string metrics_table(const Metrics& metrics);

}  // namespace limbrex_tools
