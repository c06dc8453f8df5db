#include <fmt/format.h>

#include <filesystem>
#include <map>
#include <memory>

#include "host/animation/import.h"
#include "tools/commands/commands.h"
#include "tools/commands/json_file.h"
#include "tools/commands/plugin_path.h"
#include "tools/report/pending_file.h"
#include "tools/rig/compile_rig.h"
#include "tools/rig/rig_check.h"
#include "tools/rig/rig_init.h"

namespace limbrex_tools
{
namespace
{

int fail(const std::string& text)
{
    fmt::print(stderr, "limbrex: {}\n", text);
    return kExitFailure;
}

struct InitArguments
{
    std::string skeleton, output, map, reference = "reference";
    int frame = -1;
    StanceChoice stance = StanceChoice::Automatic;
};

// {"nodes": {"Hips": "pelvis", ...}, "up": "y", "metres_per_unit": 0.01}
bool read_map(const std::string& path, NamedPairs& pairs, limbrex_host::ImportOptions& import, std::string& error)
{
    nlohmann::json map;
    if (!read_json_file(path, map, error)) { return false; }
    if (!map.is_object() || !map.contains("nodes") || !map["nodes"].is_object())
    {
        return error = path + ": has no object \"nodes\" from template node to joint name", false;
    }
    for (const auto& [node, joint] : map["nodes"].items())
    {
        if (joint.is_number_unsigned())  // files without names: importers call the joints by their index
        {
            pairs.emplace_back(node, fmt::format("node_{}", joint.get<size_t>()));
            continue;
        }
        if (!joint.is_string()) { return error = fmt::format("{}: nodes.{}: the joint is no name", path, node), false; }
        pairs.emplace_back(node, joint.get<std::string>());
    }
    if (map.contains("up") && map["up"].is_string()) { import.up = map["up"] == "z" ? limbrex_host::UpAxis::Z : limbrex_host::UpAxis::Y; }
    if (map.contains("metres_per_unit") && map["metres_per_unit"].is_number()) { import.metresPerUnit = map["metres_per_unit"]; }
    return true;
}

void print_list(const char* title, const std::vector<std::string>& names)
{
    if (names.empty()) { return; }
    std::string line = fmt::format("{} ({}):", title, names.size());
    for (const std::string& name : names) { line += " " + name; }
    fmt::print("{}\n", line);
}

void print_stance(const RigInitResult& result, const InitArguments& arguments)
{
    const Stance& stance = result.stance;
    const std::string from = arguments.frame < 0 ? std::string("the rest pose") : fmt::format("frame {}", arguments.frame);
    if (stance.straightened)
    {
        fmt::print("stance: {} straightened into a T (arms along x, legs down, feet to +z; bone lengths kept)\n", from);
    }
    else { fmt::print("stance: {}, taken as it is\n", from); }
    if (stance.turned_deg != 0.0)
    {
        fmt::print("stance: turned {:.0f} degrees about y, since the body of the file does not face +z\n", stance.turned_deg);
    }
    for (const std::string& note : stance.notes) { fmt::print("  {}\n", note); }
}

int init(const InitArguments& arguments)
{
    RigInitOptions options;
    limbrex_host::ImportOptions import;
    limbrex_host::Asset asset;
    RigInitResult result;
    std::string error;
    if (!arguments.map.empty() && !read_map(arguments.map, options.map.emplace(), import, error)) { return fail(error); }
    if (!limbrex_host::import_asset(arguments.skeleton, import, asset, error)) { return fail(error); }
    options.unitName = std::filesystem::path(arguments.output).stem().string();
    options.reference = arguments.reference;
    options.stance = arguments.stance;
    if (arguments.frame >= 0) { options.frame = static_cast<size_t>(arguments.frame); }
    if (!init_rig(asset, options, result, error)) { return fail(arguments.skeleton + ": " + error); }
    if (!write_text_file(arguments.output, write_rig_source(result.source), error)) { return fail(error); }

    for (const std::string& note : asset.notes) { fmt::print("import: {}\n", note); }
    for (const std::string& note : result.mapping.notes) { fmt::print("mapping: {}\n", note); }
    print_stance(result, arguments);
    fmt::print("{} nodes mapped, Reference to \"{}\"; {} with parents in between\n", result.source.bones.size() - 1, arguments.reference,
               result.source.parentOffsets.size());
    print_list("joints without a node", result.unmapped);
    print_list("nodes of a biped that the skeleton does not have", result.missing);
    fmt::print("wrote {}\n", arguments.output);
    return 0;
}

int check(const std::string& path, const std::string& skeleton_path)
{
    nlohmann::json source;
    limbrex_host::Asset asset;
    std::string error;
    if (!read_json_file(path, source, error)) { return fail(error); }
    if (!skeleton_path.empty() && !limbrex_host::import_asset(skeleton_path, asset, error)) { return fail(error); }
    const std::vector<Finding> findings = check_rig(source, skeleton_path.empty() ? nullptr : &asset.skeleton);
    constexpr const char* kWords[] = {"error", "warning", "note"};
    int count[3] = {};
    for (int severity = 0; severity < 3; ++severity)  // the worst first
    {
        for (const Finding& finding : findings)
        {
            if (static_cast<int>(finding.severity) != severity) { continue; }
            fmt::print("{}: {}: {} {}\n", path, kWords[severity], finding.place, finding.text);
            ++count[severity];
        }
    }
    fmt::print("{}: {} errors, {} warnings, {} notes\n", path, count[0], count[1], count[2]);
    return has_error(findings) ? kExitFailure : 0;
}

struct CompileArguments
{
    std::string source, output, plugin;
};

int compile(const CompileArguments& arguments)
{
    std::string plugin, bytes, error;
    if (!find_plugin(arguments.plugin, plugin, error) || !compile_rig(plugin, arguments.source, bytes, error) ||
        !write_text_file(arguments.output, bytes, error))
    {
        return fail(error);
    }
    fmt::print("wrote {} ({} bytes)\n", arguments.output, bytes.size());
    return 0;
}

void add_init(CLI::App& rig, int& exit_code)
{
    const auto arguments = std::make_shared<InitArguments>();
    CLI::App* command = rig.add_subcommand("init", "Write a rig source from a skeleton's own rest pose, by joint names");
    command->add_option("SKELETON", arguments->skeleton, "BVH, FBX, glTF, Collada or X file")->required();
    command->add_option("-o,--output", arguments->output, "Rig source to write (.character)")->required();
    command->add_option("--map", arguments->map,
                        "JSON with \"nodes\" (template node: joint name), \"up\" and \"metres_per_unit\", instead of names");
    command->add_option("--frame", arguments->frame, "Build the T-stance from this frame of the first clip")->check(CLI::NonNegativeNumber);
    command->add_option("--reference", arguments->reference, "Node above the hips that plays Reference and does not move")
        ->capture_default_str();
    const std::map<std::string, StanceChoice> choices{
        {"auto", StanceChoice::Automatic}, {"rest", StanceChoice::Rest}, {"straight", StanceChoice::Straighten}};
    command->add_option("--stance", arguments->stance, "auto: the rest pose if it is a T, else straightened; rest; straight")
        ->transform(CLI::CheckedTransformer(choices, CLI::ignore_case))
        ->option_text("auto|rest|straight");
    command->callback([arguments, &exit_code] { exit_code = init(*arguments); });
}

void add_check(CLI::App& rig, int& exit_code)
{
    const auto paths = std::make_shared<std::pair<std::string, std::string>>();
    CLI::App* command = rig.add_subcommand("check", "Explain everything in a rig source that the run time would trip over");
    command->add_option("FILE", paths->first, "Rig source (.character)")->required();
    command->add_option("--skeleton", paths->second, "Also look bones and parents up in this file");
    command->callback([paths, &exit_code] { exit_code = check(paths->first, paths->second); });
}

void add_compile(CLI::App& rig, int& exit_code)
{
    const auto arguments = std::make_shared<CompileArguments>();
    CLI::App* command = rig.add_subcommand("compile", "Compile a rig source with the plugin's own compiler");
    command->add_option("FILE", arguments->source, "Rig source (.character)")->required();
    command->add_option("-o,--output", arguments->output, "Compiled resource to write")->required();
    command->add_option("--plugin", arguments->plugin, "liblimbrex_plugin.so; without it the one built or installed with this command");
    command->callback([arguments, &exit_code] { exit_code = compile(*arguments); });
}

}  // namespace

void add_rig_commands(CLI::App& app, int& exit_code)
{
    CLI::App* rig = app.add_subcommand("rig", "Make, check and compile rigs");
    rig->require_subcommand(1);
    add_init(*rig, exit_code);
    add_check(*rig, exit_code);
    add_compile(*rig, exit_code);
}

}  // namespace limbrex_tools
