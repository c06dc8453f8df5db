// Small line and bar plots with axes, ticks and legend, as PNG.
#pragma once

#include <string>
#include <vector>

namespace limbrex_tools
{

struct PlotFrame
{
    std::string title;
    std::string xLabel;
    std::string yLabel;
    double width = 720.0;  // points
    double height = 400.0;
    bool logY = false;  // values at or below 0 are left out
};

struct PlotLine
{
    std::string label;
    std::vector<double> x;
    std::vector<double> y;  // as many as x; a number that is not finite breaks the line
};

struct PlotBars
{
    std::string label;           // under the group
    std::vector<double> values;  // one per series
};

// False with `error` set when there is nothing finite to draw or the file cannot be written.
bool write_line_plot(const std::string& path, const PlotFrame& frame, const std::vector<PlotLine>& lines, std::string& error);
bool write_bar_plot(const std::string& path, const PlotFrame& frame, const std::vector<std::string>& series,
                    const std::vector<PlotBars>& groups, std::string& error);

// Round places for about `wanted` ticks from low to high (1, 2 or 5 times a power of ten apart).
std::vector<double> tick_places(double low, double high, int wanted);

}  // namespace limbrex_tools
