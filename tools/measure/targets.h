// What a battery has to reach, and where it does not.
#pragma once

#include <string>
#include <vector>

#include "tools/measure/measurement.h"

namespace limbrex_tools
{

struct Verdict
{
    std::string target;  // in words
    double limit = 0.0;
    double measured = 0.0;
    std::string unit;
    bool met = true;
    std::string where;  // row, goal, joint and frame of the worst case
};

std::vector<Verdict> judge(const Measurement& measurement);

// "left hand, inside, no pull"
std::string row_label(const BatteryRow& row);

}  // namespace limbrex_tools
