#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "host/scene.h"
#include "tools/commands/close_up.h"
#include "tools/commands/commands.h"
#include "tools/commands/frame_range.h"
#include "tools/commands/plugin_path.h"
#include "tools/commands/progress_bar.h"
#include "tools/report/filmstrip.h"
#include "tools/report/metrics.h"
#include "tools/report/scene_glb.h"

namespace limbrex_tools
{
namespace
{

namespace fs = std::filesystem;

struct RunArguments
{
    std::string scene, clip, out, frames, plugin;
};

int fail(const std::string& text)
{
    fmt::print(stderr, "limbrex: {}\n", text);
    return kExitFailure;
}

bool play(const RunArguments& arguments, limbrex_host::Recording& recording, std::string& error)
{
    limbrex_host::SceneOptions options;
    FrameRange range;
    if (!read_frame_range(arguments.frames, range) || !find_plugin(arguments.plugin, options.plugin, error)) { return false; }
    options.scene = arguments.scene;
    options.clip = arguments.clip;
    options.firstFrame = range.first;
    options.lastFrame = range.last;
    options.timing = true;
    ProgressBar bar(fs::path(arguments.scene).filename().string());
    options.progress = [&bar](size_t done, size_t total)
    {
        bar.show(done, total);
        return true;
    };
    return limbrex_host::run_scene(options, recording, error);
}

bool write_reports(const fs::path& folder, const limbrex_host::Recording& recording, const Metrics& metrics, std::string& error)
{
    std::error_code trouble;
    fs::create_directories(folder, trouble);
    if (trouble) { return error = fmt::format("{}: cannot make the folder: {}", folder.string(), trouble.message()), false; }
    std::vector<FilmstripRow> rows;
    for (size_t unit = 0; unit < recording.units.size(); ++unit)
    {
        if (!recording.units[unit].rig.empty()) { rows.push_back({recording.units[unit].name, &recording, unit}); }
    }
    FilmstripOptions strip;
    strip.title = fs::path(recording.scene).stem().string();
    return (rows.empty() || write_filmstrip((folder / "filmstrip.png").string(), strip, rows, error)) &&
           write_close_ups((folder / "close_up.png").string(), strip.title, recording, error) &&
           write_scene_glb((folder / "scene.glb").string(), recording, error) &&
           write_metrics_json((folder / "metrics.json").string(), metrics, error);
}

int run(const RunArguments& arguments)
{
    std::error_code unused;
    if (!fs::is_regular_file(arguments.scene, unused)) { return fail(arguments.scene + ": no such scene; give the path of a Lua script"); }
    const fs::path folder = arguments.out.empty() ? fs::path("out") / fs::path(arguments.scene).stem() : fs::path(arguments.out);
    limbrex_host::Recording recording;
    Metrics metrics;
    std::string error;
    if (!play(arguments, recording, error) || !measure(recording, metrics, error) || !write_reports(folder, recording, metrics, error))
    {
        return fail(error);
    }
    fmt::print("{}\nwrote {}, {}, {}{}\n", metrics_table(metrics), (folder / "scene.glb").string(), (folder / "filmstrip.png").string(),
               (folder / "metrics.json").string(), recording.closeUps.empty() ? "" : ", " + (folder / "close_up.png").string());
    return 0;
}

}  // namespace

void add_run_command(CLI::App& app, int& exit_code)
{
    const auto arguments = std::make_shared<RunArguments>();
    CLI::App* command = app.add_subcommand("run", "Play a scene script and write scene.glb, filmstrip.png and metrics.json");
    command->add_option("SCENE", arguments->scene, "Scene script (Lua), as in examples/scenes")->required();
    command->add_option("--clip", arguments->clip, "Motion file to play instead of the scene's first clip");
    command->add_option("--out", arguments->out, "Folder for the results; out/<scene> without it");
    command->add_option("--frames", arguments->frames, "Frames to record, A:B with both included, numbered from 0; either may be left out")
        ->check(
            [](const std::string& text)
            {
                FrameRange range;
                return read_frame_range(text, range) ? std::string()
                                                     : std::string("frames are A:B with A not above B, for example 100:400");
            });
    command->add_option("--plugin", arguments->plugin, "liblimbrex_plugin.so; without it the one built or installed with this command");
    command->callback([arguments, &exit_code] { exit_code = run(*arguments); });
}

}  // namespace limbrex_tools
