// A measurement as a table, JSON and pictures.
#pragma once

#include <string>
#include <vector>

#include "tools/measure/measurement.h"
#include "tools/measure/targets.h"

namespace limbrex_tools
{

void print_measurement(const Measurement& measurement, const std::vector<Verdict>& verdicts);

// metrics.json, errors.png, joint_speed.png and worst.png in `folder`, which is made when missing. False with `error`.
bool write_measurement(const std::string& folder, Trial& trial, const limbrex_host::Asset& asset, const Measurement& measurement,
                       const std::vector<Verdict>& verdicts, std::string& error);

// A filmstrip of the frames that look worst: wrong sides, pops, largest errors within reach.
bool write_worst_frames(const std::string& path, Trial& trial, const limbrex_host::Asset& asset, const Measurement& measurement,
                        std::string& error);

}  // namespace limbrex_tools
