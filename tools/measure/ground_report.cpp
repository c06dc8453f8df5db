// The ground measurement as a table, JSON and plots.
#include <fmt/format.h>

#include <cmath>
#include <filesystem>

#include "tools/measure/ground_measurement.h"
#include "tools/report/pending_file.h"
#include "tools/report/plot.h"

namespace limbrex_tools
{
namespace
{

constexpr double kPlottedMean_s = 0.5;

const char* shape_name(const GroundMeasurement& measurement) { return kGroundNames[static_cast<size_t>(measurement.ground.shape)]; }

nlohmann::json footing_json(const FootingCurve& curve)
{
    const FootingNumbers numbers = summarize(curve);
    return {{"penetration_mean_mm", numbers.penetrationMean_mm},
            {"penetration_p95_mm", numbers.penetrationP95_mm},
            {"penetration_max_mm", numbers.penetrationMax_mm},
            {"frames_deeper_than_3_mm", numbers.deepShare},
            {"skate_mean_mm_per_s", numbers.skateMean_mmps},
            {"skate_p95_mm_per_s", numbers.skateP95_mmps},
            {"skate_max_mm_per_s", numbers.skateMax_mmps},
            {"planted_gap_mean_mm", numbers.gapMean_mm},
            {"penetration_mm", curve.penetration_mm},
            {"skate_mm_per_s", curve.skate_mmps}};  // not a number becomes null
}

nlohmann::json ground_json(const GroundMeasurement& measurement)
{
    const Ground& ground = measurement.ground;
    return {{"clip", measurement.clip},
            {"rig", measurement.rig},
            {"ground", shape_name(measurement)},
            {"edge_m", {ground.edge.x, ground.edge.y, ground.edge.z}},
            {"heading", {ground.heading.x, ground.heading.y, ground.heading.z}},
            {"frames_per_second", measurement.framesPerSecond},
            {"first_frame", measurement.firstFrame},
            {"frames", measurement.before.penetration_mm.size()},
            {"planted_frames", {{"left", measurement.plantedFrames[0]}, {"right", measurement.plantedFrames[1]}}},
            {"before", footing_json(measurement.before)},
            {"after", footing_json(measurement.after)}};
}

// Steps of captured feet jitter from frame to frame; the plot shows their mean around each frame in which a foot is planted.
std::vector<double> running_mean(const std::vector<double>& values, size_t reach)
{
    std::vector<double> means(values.size(), std::nan(""));
    for (size_t i = 0; i < values.size(); ++i)
    {
        if (std::isnan(values[i])) { continue; }
        double sum = 0.0, count = 0.0;
        for (size_t k = i - std::min(i, reach); k < std::min(i + reach + 1, values.size()); ++k)
        {
            if (std::isnan(values[k])) { continue; }
            sum += values[k];
            count += 1.0;
        }
        means[i] = sum / count;
    }
    return means;
}

bool plot_curves(const std::string& path, const std::string& title, const std::string& unit, const GroundMeasurement& measurement,
                 const std::vector<double> FootingCurve::*values, double mean_s, std::string& error)
{
    const auto reach = static_cast<size_t>(0.5 * mean_s * measurement.framesPerSecond);
    std::vector<PlotLine> lines{{"clip over the ground", {}, running_mean(measurement.before.*values, reach)},
                                {"solved", {}, running_mean(measurement.after.*values, reach)}};
    for (PlotLine& line : lines)
    {
        for (size_t i = 0; i < line.y.size(); ++i)
        {
            line.x.push_back(static_cast<double>(measurement.firstFrame + i) / measurement.framesPerSecond);
        }
    }
    const PlotFrame frame{fmt::format("{}, {}", title, shape_name(measurement)), "seconds", unit};
    return write_line_plot(path, frame, lines, error);
}

}  // namespace

void print_ground(const GroundMeasurement& measurement)
{
    const Ground& ground = measurement.ground;
    fmt::print("{}: {} frames at {:g} a second from frame {}; rig {}; planted: left {}, right {} frames\n", measurement.clip,
               measurement.before.penetration_mm.size(), measurement.framesPerSecond, measurement.firstFrame, measurement.rig,
               measurement.plantedFrames[0], measurement.plantedFrames[1]);
    fmt::print("ground: {}, from ({:.3f}, {:.3f}, {:.3f}) along ({:.3f}, {:.3f})\n\n", shape_name(measurement), ground.edge.x,
               ground.edge.y, ground.edge.z, ground.heading.x, ground.heading.z);
    fmt::print("{:<8} {:>32} {:>13} {:>32} {:>13}\n", "", "penetration, mm", "deeper than", "skate, mm/s", "planted gap,");
    fmt::print("{:<8} {:>10} {:>10} {:>10} {:>13} {:>10} {:>10} {:>10} {:>13}\n", "", "mean", "p95", "max", "3 mm, %", "mean", "p95", "max",
               "mean, mm");
    for (const auto& [name, curve] : {std::pair{"before", &measurement.before}, std::pair{"after", &measurement.after}})
    {
        const FootingNumbers numbers = summarize(*curve);
        fmt::print("{:<8} {:>10.2f} {:>10.2f} {:>10.2f} {:>13.1f} {:>10.1f} {:>10.1f} {:>10.1f} {:>13.2f}\n", name,
                   numbers.penetrationMean_mm, numbers.penetrationP95_mm, numbers.penetrationMax_mm, 100.0 * numbers.deepShare,
                   numbers.skateMean_mmps, numbers.skateP95_mmps, numbers.skateMax_mmps, numbers.gapMean_mm);
    }
}

bool write_ground(const std::string& folder, const GroundMeasurement& measurement, std::string& error)
{
    std::error_code failure;
    std::filesystem::create_directories(folder, failure);
    const auto path = [&](const char* kind, const char* extension)
    { return (std::filesystem::path(folder) / fmt::format("{}_{}.{}", kind, shape_name(measurement), extension)).string(); };
    return write_text_file(path("ground", "json"), ground_json(measurement).dump(1) + "\n", error) &&
           plot_curves(path("penetration", "png"), "Deepest sole corner below the ground", "mm", measurement, &FootingCurve::penetration_mm,
                       0.0, error) &&
           (measurement.before.stepSkate_mmps.empty() ||
            plot_curves(path("skate", "png"), "Skate of the faster planted foot, mean over half a second", "mm/s", measurement,
                        &FootingCurve::skate_mmps, kPlottedMean_s, error));
}

}  // namespace limbrex_tools
