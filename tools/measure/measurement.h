// Numbers of one battery over one clip. Lengths are percent of the body's height, turns degrees, speeds degrees a second.
#pragma once

#include <string>
#include <vector>

#include "tools/measure/trial.h"

namespace limbrex_tools
{

struct MeasureOptions
{
    size_t every = 1;       // solve every n-th frame; the goals keep their speed
    size_t sweepPoses = 3;  // frozen poses for the sweeps
    bool offline = false;   // compare goals beyond reach with the best placement found by search
    size_t offlineFrames = 12;
    size_t popCandidates = 6;         // per row: the fastest joints are looked at between the frames
    double shoulderCorrection = 0.5;  // what the engine plugin sets for every character
};

struct Worst
{
    double value = 0.0;
    double frame = 0.0;
    int node = -1;  // where a joint is meant
    void take(double v, double f, int n = -1)
    {
        if (v > value) { *this = {v, f, n}; }
    }
};

struct GoalNumbers
{
    size_t kind = 0;
    bool held = false;
    std::vector<double> errors;       // one a frame, percent
    std::vector<double> withinReach;  // of limb goals at most 98 % of the limb away, and of all body goals
    Worst worst, worstWithinReach;
    double missed_offline = 0.0;  // mean and largest excess over the best placement found, percent
    Worst worstOffline;
    size_t offlineCount = 0;
};

struct Pop
{
    double frame = 0.0;
    int node = -1;
    double turn_deg = 0.0;  // that stays however short the step
};

struct RowNumbers
{
    BatteryRow row;
    size_t frames = 0;
    std::vector<GoalNumbers> goals;
    Worst boneDrift;       // relative to the bone
    Worst limitViolation;  // degrees
    Worst wrongSide;       // degrees past the straight limb, beyond the clip's own
    size_t wrongSideFrames = 0;
    Worst addedTurn;                 // degrees a frame beyond the clip's own
    std::vector<double> addedSpeed;  // fastest joint of each frame, degrees a second beyond the clip's own
    std::vector<Pop> pops;
    std::vector<double> solve_us;
};

struct Measurement
{
    std::string clip, rig;
    double bodyHeight_m = 0.0;
    double framesPerSecond = 0.0;
    size_t frameCount = 0, every = 1;
    size_t nodeCount = 0;
    bool hasLimits = false;
    std::vector<RowNumbers> rows;  // moving goals, then sweeps
    Worst metTurn;                 // goals that are met already: the largest joint turn
    std::string metGoals;          // by which goals
    Worst metTurnOverstretched;    // the same where the clip bends a limb with a goal backwards
    size_t zeroWeightFrames = 0, zeroWeightChanged = 0;
    double zeroWeightFrame = 0.0;  // the first that changed
};

// Plays the whole battery. `progress` hears rows done and rows in all.
void measure(Trial& trial, const MeasureOptions& options, Measurement& out, void (*progress)(size_t done, size_t total));

double mean_of(const std::vector<double>& values);
double share_of(const std::vector<double>& values, double at_most);
double percentile(std::vector<double> values, double share);  // 0 to 1; 0 for no values

}  // namespace limbrex_tools
