#include <fmt/format.h>

#include <filesystem>

#include "host/animation/import.h"
#include "tools/commands/commands.h"
#include "tools/commands/json_file.h"
#include "tools/measure/ground_measurement.h"
#include "tools/measure/measure_report.h"

namespace limbrex_tools
{
namespace
{

struct MeasureArguments
{
    std::string clip, rig, map, output, ground;
    MeasureOptions options;
    double groundHeight_m = 0.0;
    bool strict = false;
};

int fail(const std::string& text)
{
    fmt::print(stderr, "limbrex: {}\n", text);
    return kExitFailure;
}

// A map tells how to read the file: its up axis and unit. Which joint is which node stands in the rig.
bool read_import_options(const std::string& path, limbrex_host::ImportOptions& import, std::string& error)
{
    nlohmann::json map;
    if (path.empty()) { return true; }
    if (!read_json_file(path, map, error)) { return false; }
    if (!map.is_object()) { return error = path + ": is no map", false; }
    if (map.contains("up") && map["up"].is_string()) { import.up = map["up"] == "z" ? limbrex_host::UpAxis::Z : limbrex_host::UpAxis::Y; }
    if (map.contains("metres_per_unit") && map["metres_per_unit"].is_number()) { import.metresPerUnit = map["metres_per_unit"]; }
    return true;
}

void show_progress(size_t done, size_t total)
{
    fmt::print(stderr, "\r{} of {} rows{}", done, total, done == total ? "\n" : "");
    std::fflush(stderr);
}

int run_ground(const MeasureArguments& arguments, const MeasuredRig& rig, const nlohmann::json& source, const limbrex_host::Asset& asset)
{
    GroundMeasurement measurement;
    measurement.clip = arguments.clip;
    measurement.rig = arguments.rig;
    std::string error;
    const auto name = std::find(std::begin(kGroundNames), std::end(kGroundNames), arguments.ground);
    const auto shape = static_cast<GroundShape>(name - std::begin(kGroundNames));
    const Ground ground = lay_ground(rig, asset, shape, arguments.groundHeight_m);
    if (!measure_ground(rig, source, asset, ground, measurement, error)) { return fail(arguments.rig + ": " + error); }
    print_ground(measurement);
    if (!arguments.output.empty() && !write_ground(arguments.output, measurement, error)) { return fail(error); }
    return arguments.strict && summarize(measurement.after).penetrationMax_mm > kDeepFrame_mm ? kExitFailure : 0;
}

int run_measure(const MeasureArguments& arguments)
{
    limbrex_host::ImportOptions import;
    limbrex_host::Asset asset;
    nlohmann::json source;
    MeasuredRig rig;
    std::string error;
    if (!read_import_options(arguments.map, import, error)) { return fail(error); }
    if (!limbrex_host::import_asset(arguments.clip, import, asset, error)) { return fail(error); }
    if (asset.clips.empty() || asset.clips.front().frameCount == 0) { return fail(arguments.clip + ": has no motion to measure on"); }
    if (!read_json_file(arguments.rig, source, error)) { return fail(error); }
    if (!build_measured_rig(source, asset.skeleton, rig, error)) { return fail(arguments.rig + ": " + error); }

    if (!arguments.ground.empty()) { return run_ground(arguments, rig, source, asset); }
    Trial trial(rig, asset, arguments.options.shoulderCorrection);
    Measurement measurement;
    measurement.clip = arguments.clip;
    measurement.rig = arguments.rig;
    measure(trial, arguments.options, measurement, show_progress);
    const std::vector<Verdict> verdicts = judge(measurement);
    print_measurement(measurement, verdicts);
    if (!arguments.output.empty() && !write_measurement(arguments.output, trial, asset, measurement, verdicts, error))
    {
        return fail(error);
    }
    const bool all_met = std::all_of(verdicts.begin(), verdicts.end(), [](const Verdict& verdict) { return verdict.met; });
    return arguments.strict && !all_met ? kExitFailure : 0;
}

}  // namespace

void add_measure_command(CLI::App& app, int& exit_code)
{
    const auto arguments = std::make_shared<MeasureArguments>();
    CLI::App* command = app.add_subcommand("measure", "Play a battery of goals over a clip and report how well the solver does");
    command->add_option("CLIP", arguments->clip, "Motion: BVH, FBX, glTF, Collada or X file; its first clip is used")->required();
    command->add_option("--rig", arguments->rig, "Rig source (.character) of the clip's skeleton")->required();
    command->add_option("--map", arguments->map, "JSON with the clip's \"up\" and \"metres_per_unit\", as for rig init");
    command->add_option("--out", arguments->output, "Folder for metrics.json, errors.png, joint_speed.png and worst.png");
    command->add_option("--every", arguments->options.every, "Solve every n-th frame only")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    command->add_option("--poses", arguments->options.sweepPoses, "Frozen poses that the slow sweeps start from")
        ->check(CLI::Range(0, 100))
        ->capture_default_str();
    command->add_option("--shoulder-correction", arguments->options.shoulderCorrection, "How far collars follow the solved arms")
        ->check(CLI::Range(0.0, 1.0))
        ->capture_default_str();
    command->add_flag("--offline", arguments->options.offline, "Also search for the best placement of single goals beyond reach");
    CLI::Option* ground = command->add_option("--ground", arguments->ground, "Stand on this ground instead of reaching for goals")
                              ->check(CLI::IsMember(std::vector<std::string>(std::begin(kGroundNames), std::end(kGroundNames))));
    command->add_option("--ground-height", arguments->groundHeight_m, "Height of the flat ground in the clip's world, metres")
        ->check(CLI::Range(-1000.0, 1000.0))
        ->needs(ground)
        ->capture_default_str();
    command->add_flag("--strict", arguments->strict, "Exit with 1 when a target is missed");
    command->callback([arguments, &exit_code] { exit_code = run_measure(*arguments); });
}

}  // namespace limbrex_tools
