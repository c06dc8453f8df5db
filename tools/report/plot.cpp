#include "tools/report/plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/report/canvas.h"

namespace limbrex_tools
{
namespace
{

constexpr Color kSeries[] = {rgb(0x1F77B4), rgb(0xD1495B), rgb(0x2A9D6E), rgb(0xE8960C), rgb(0x7A5FB0), rgb(0x4A4E57)};
constexpr double kMarginTop = 62.0;
constexpr double kMarginRight = 24.0;
constexpr double kMarginBottom = 52.0;
constexpr double kMarginLeft = 70.0;

struct Range
{
    double low = 0.0;
    double high = 1.0;
};

struct Axes
{
    Range x;
    Range y;  // of the logarithm when logY is set
    Point corner;
    double width;
    double height;
    bool logY;
};

Color series_color(size_t index) { return kSeries[index % std::size(kSeries)]; }

double on_scale(double value, bool log) { return log ? std::log10(value) : value; }

bool drawable(double value, bool log) { return std::isfinite(value) && (!log || value > 0.0); }

Point place(const Axes& axes, double x, double y)
{
    const double across = (x - axes.x.low) / (axes.x.high - axes.x.low);
    const double up = (on_scale(y, axes.logY) - axes.y.low) / (axes.y.high - axes.y.low);
    return {axes.corner.x + across * axes.width, axes.corner.y + (1.0 - up) * axes.height};
}

void widen(Range& range, bool& any, double value)
{
    range.low = any ? std::min(range.low, value) : value;
    range.high = any ? std::max(range.high, value) : value;
    any = true;
}

// Room above the data; linear axes begin at zero where the data does not go below it.
Range settle(Range range, bool log)
{
    if (log)
    {
        const double low = std::floor(range.low - 0.15);  // a bar of exactly one decade's value is still seen
        return {low, std::max(std::ceil(range.high), low + 1.0)};
    }
    range.low = std::min(range.low, 0.0);
    if (range.high <= range.low) { range.high = range.low + 1.0; }
    return {range.low, range.high + 0.05 * (range.high - range.low)};
}

std::string tick_label(double value)
{
    if (std::fabs(value) < 1e-12) { return "0"; }
    return fmt::format("{:.6g}", value);
}

void draw_frame(Canvas& canvas, const Axes& axes, const PlotFrame& frame)
{
    const TextStyle small{10.0, kMutedInk, false, Align::Right};
    for (const double place_y : tick_places(axes.y.low, axes.y.high, axes.logY ? 8 : 6))
    {
        const double value = axes.logY ? std::pow(10.0, place_y) : place_y;
        if (axes.logY && place_y != std::round(place_y)) { continue; }
        const Point at = place(axes, axes.x.low, value);
        canvas.line(at, {at.x + axes.width, at.y}, kHairline, 0.8);
        canvas.text({at.x - 8.0, at.y + 3.5}, tick_label(value), small);
    }
    const double bottom = axes.corner.y + axes.height;
    canvas.line({axes.corner.x, bottom}, {axes.corner.x + axes.width, bottom}, kInk, 1.0);
    canvas.text({axes.corner.x, 26.0}, frame.title, {14.0, kInk, true, Align::Left});
    canvas.text({axes.corner.x + axes.width / 2.0, frame.height - 12.0}, frame.xLabel, {11.0, kInk, false, Align::Centre});
    canvas.text({18.0, axes.corner.y + axes.height / 2.0}, frame.yLabel, {11.0, kInk, false, Align::Centre}, true);
}

void draw_legend(Canvas& canvas, const Axes& axes, const std::vector<std::string>& labels)
{
    double x = axes.corner.x;
    for (size_t i = 0; i < labels.size(); ++i)
    {
        canvas.fill_rectangle({x, 38.0}, 14.0, 8.0, series_color(i), 2.0);
        const TextStyle style{10.5, kInk, false, Align::Left};
        canvas.text({x + 20.0, 46.0}, labels[i], style);
        x += 20.0 + canvas.text_width(labels[i], style) + 22.0;
    }
}

Axes make_axes(const PlotFrame& frame, Range x, Range y)
{
    return {x,         y, {kMarginLeft, kMarginTop}, frame.width - kMarginLeft - kMarginRight, frame.height - kMarginTop - kMarginBottom,
            frame.logY};
}

bool sensible(const PlotFrame& frame, bool any, const std::string& path, std::string& error)
{
    if (any && frame.width > 200.0 && frame.height > 150.0 && frame.width < 8000.0 && frame.height < 8000.0) { return true; }
    error = path + (any ? ": the plot's size is out of range" : ": nothing to plot");
    return false;
}

void draw_line(Canvas& canvas, const Axes& axes, const PlotLine& line, Color color)
{
    std::vector<Point> stretch;
    for (size_t i = 0; i <= std::min(line.x.size(), line.y.size()); ++i)
    {
        const bool end = i == std::min(line.x.size(), line.y.size());
        if (!end && std::isfinite(line.x[i]) && drawable(line.y[i], axes.logY))
        {
            stretch.push_back(place(axes, line.x[i], line.y[i]));
            continue;
        }
        if (stretch.size() == 1) { canvas.fill_circle(stretch[0], 2.0, color); }
        if (stretch.size() > 1) { canvas.polyline(stretch, color, 1.6); }
        stretch.clear();
    }
}

}  // namespace

std::vector<double> tick_places(double low, double high, int wanted)
{
    if (!(high > low) || wanted < 1 || !std::isfinite(high - low)) { return {}; }
    const double rough = (high - low) / wanted;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    const double share = rough / power;
    const double step = power * (share > 5.0 ? 10.0 : share > 2.0 ? 5.0 : share > 1.0 ? 2.0 : 1.0);
    std::vector<double> places;
    for (double k = std::ceil(low / step - 1e-9); k * step <= high + 1e-9 * step; k += 1.0) { places.push_back(k * step); }
    return places;
}

bool write_line_plot(const std::string& path, const PlotFrame& frame, const std::vector<PlotLine>& lines, std::string& error)
{
    Range x;
    Range y;
    bool any_x = false;
    bool any_y = false;
    std::vector<std::string> labels;
    for (const PlotLine& line : lines)
    {
        labels.push_back(line.label);
        for (size_t i = 0; i < std::min(line.x.size(), line.y.size()); ++i)
        {
            if (!std::isfinite(line.x[i]) || !drawable(line.y[i], frame.logY)) { continue; }
            widen(x, any_x, line.x[i]);
            widen(y, any_y, on_scale(line.y[i], frame.logY));
        }
    }
    if (!sensible(frame, any_y, path, error)) { return false; }
    if (x.high <= x.low) { x.high = x.low + 1.0; }
    const Axes axes = make_axes(frame, x, settle(y, frame.logY));
    Canvas canvas(frame.width, frame.height);
    draw_frame(canvas, axes, frame);
    for (const double tick : tick_places(x.low, x.high, 10))
    {
        const Point at{place(axes, tick, 1.0).x, axes.corner.y + axes.height};
        canvas.line(at, {at.x, at.y + 4.0}, kInk, 1.0);
        canvas.text({at.x, at.y + 16.0}, tick_label(tick), {10.0, kMutedInk, false, Align::Centre});
    }
    for (size_t i = 0; i < lines.size(); ++i) { draw_line(canvas, axes, lines[i], series_color(i)); }
    draw_legend(canvas, axes, labels);
    return canvas.save_png(path, error);
}

bool write_bar_plot(const std::string& path, const PlotFrame& frame, const std::vector<std::string>& series,
                    const std::vector<PlotBars>& groups, std::string& error)
{
    Range y;
    bool any = false;
    for (const PlotBars& group : groups)
    {
        for (const double value : group.values)
        {
            if (drawable(value, frame.logY)) { widen(y, any, on_scale(value, frame.logY)); }
        }
    }
    if (!sensible(frame, any, path, error)) { return false; }
    const Axes axes = make_axes(frame, {0.0, static_cast<double>(groups.size())}, settle(y, frame.logY));
    const double foot = frame.logY ? std::pow(10.0, axes.y.low) : 0.0;
    const double bar = 0.8 / static_cast<double>(std::max<size_t>(series.size(), 1));
    Canvas canvas(frame.width, frame.height);
    draw_frame(canvas, axes, frame);
    for (size_t g = 0; g < groups.size(); ++g)
    {
        const double left = static_cast<double>(g) + 0.1;
        for (size_t s = 0; s < std::min(series.size(), groups[g].values.size()); ++s)
        {
            const double value = groups[g].values[s];
            if (!drawable(value, frame.logY)) { continue; }
            const Point from = place(axes, left + bar * static_cast<double>(s), std::max(value, foot));
            const Point to = place(axes, left + bar * (static_cast<double>(s) + 0.92), std::min(value, foot));
            canvas.fill_rectangle(from, to.x - from.x, to.y - from.y, series_color(s));
        }
        canvas.text({place(axes, left + 0.4, 1.0).x, axes.corner.y + axes.height + 16.0}, groups[g].label,
                    {10.0, kMutedInk, false, Align::Centre});
    }
    draw_legend(canvas, axes, series);
    return canvas.save_png(path, error);
}

}  // namespace limbrex_tools
