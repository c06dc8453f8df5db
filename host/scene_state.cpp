#include "host/scene_state.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include <fmt/format.h>

#include "host/animation/import.h"
#include "host/source_tree.h"

namespace limbrex_host
{
namespace
{

constexpr const char* kModelFolder = "/usr/share/assimp/models";
constexpr double kDefaultDuration_s = 5.0;
constexpr double kRadians = 3.14159265358979323846 / 180.0;
constexpr size_t kNamesInMessage = 8;

// Asset frame (y up) to world (z up), turned by the unit's heading.
std::array<double, 3> world_from_asset(const std::array<double, 3>& v, double heading_deg)
{
    const double x = v[0];
    const double y = -v[2];
    const double c = std::cos(heading_deg * kRadians);
    const double s = std::sin(heading_deg * kRadians);
    return {c * x - s * y, s * x + c * y, v[1]};
}

bool check_bones(const SceneState& scene, const SceneRig& rig, const Asset& asset, const HostNodeTree& tree, std::string& error)
{
    const std::vector<int32_t> missing = missing_bones(rig.nodes, tree);
    if (missing.empty()) { return true; }
    std::string names;
    for (size_t i = 0; i < std::min(missing.size(), kNamesInMessage); ++i)
    {
        names += (i > 0 ? ", " : "") + scene.engine.plugin.node_name(missing[i]);
    }
    error = fmt::format("rig \"{}\" does not fit the skeleton of {}: {} of its {} bones are not there (for {}{})", rig.name, asset.path,
                        missing.size(), rig.nodes.mapped.size(), names, missing.size() > kNamesInMessage ? ", ..." : "");
    return false;
}

void warn_without_context(SceneState& scene, const SceneUnit& unit)
{
    std::vector<ScriptValue> results;
    const bool asked = scene.engine.script.call_registered("Limbrex.is_enabled", {}, results);
    if (!asked || results.empty() || results[0].boolean) { return; }
    scene.engine.log.warning(fmt::format("unit \"{}\" was made while Limbrex is disabled, so it has no context: call Limbrex.enable(true) "
                                         "first, or Limbrex.character_declare_context",
                                         unit.name));
}

// In its own world, so that its reading can be timed apart: no constraint ever reaches it.
void spawn_twin(SceneState& scene, const UnitRequest& request, SceneUnit& unit)
{
    if (scene.timingWorld == nullptr || request.rig == nullptr) { return; }
    HostNodeTree tree;
    UnitLayout layout;
    build_unit_nodes(unit.skeleton, &request.rig->nodes, tree, layout);
    unit.twin =
        scene.engine.spawn(*scene.timingWorld, unit.name + " (timing)", request.rig->name, std::move(tree), {0.0f, 0.0f, 0.0f}, 0.0f)
            .referenceId;
}

}  // namespace

SceneUnit* SceneState::find_unit(uint32_t referenceId, size_t* index)
{
    for (size_t i = 0; i < units.size(); ++i)
    {
        if (units[i].referenceId != referenceId) { continue; }
        if (index != nullptr) { *index = i; }
        return &units[i];
    }
    return nullptr;
}

std::string resolve_scene_file(const SceneState& scene, const std::string& file)
{
    namespace fs = std::filesystem;
    const fs::path wanted(file);
    if (wanted.is_absolute()) { return file; }
    std::error_code code;
    const fs::path beside = (fs::path(scene.scenePath).parent_path() / wanted).lexically_normal();
    if (fs::exists(beside, code)) { return beside.string(); }
    const fs::path model = fs::path(kModelFolder) / wanted;
    return fs::exists(model, code) ? model.string() : beside.string();
}

const Asset* load_scene_asset(SceneState& scene, const std::string& path, std::string& error)
{
    for (const Asset& asset : scene.assets)
    {
        if (asset.path == path) { return &asset; }
    }
    Asset asset;
    if (!import_asset(path, asset, error)) { return nullptr; }
    asset.path = path;
    for (const std::string& note : asset.notes) { scene.notes.push_back(path + ": " + note); }
    scene.assets.push_back(std::move(asset));
    return &scene.assets.back();
}

bool load_scene_rig(SceneState& scene, const std::string& path, const std::string& name, std::string& error)
{
    SceneRig rig;
    rig.name = name;
    rig.file = path;
    rig.type = resource_type_of(path).empty() ? "character" : resource_type_of(path);
    // Contexts keep pointers into a resource, so a second one of the same name would pull it away from under them.
    if (scene.engine.resources.find(rig.type, name) != nullptr)
    {
        error = fmt::format("{}: a rig named \"{}\" is there already; give this one another name", path, name);
        return false;
    }
    if (!scene.engine.resources.load_file(rig.type, name, path, error)) { return false; }
    if (rig.type == "character")
    {
        std::string text;
        if (!read_file(path, text, error)) { return false; }
        rig.nodes.referenceName = reference_name_in_source(text);
        const HostResource* const resource = scene.engine.resources.find(rig.type, name);
        if (!read_rig_nodes(resource->block, resource->size, rig.nodes, error)) { return false; }
    }
    scene.rigs.push_back(std::move(rig));
    return true;
}

bool spawn_scene_unit(SceneState& scene, const UnitRequest& request, std::string& error)
{
    SceneUnit unit;
    unit.name = request.name;
    unit.assetFile = request.asset->path;
    unit.skeleton = request.asset->skeleton;
    unit.base_world = request.position_world;
    unit.rig = request.rig != nullptr ? request.rig->name : "";
    HostNodeTree tree;
    build_unit_nodes(unit.skeleton, request.rig != nullptr ? &request.rig->nodes : nullptr, tree, unit.layout);
    unit.nodeNames = tree.names;
    unit.nodeParents = tree.parents;
    if (request.rig != nullptr && !check_bones(scene, *request.rig, *request.asset, tree, error)) { return false; }
    if (request.clip != nullptr)
    {
        if (!play_clip(scene, unit, request.clip->playback, error)) { return false; }
        std::array<double, 3> travel{};
        unit.player.apply(0.0, unit.skeleton, unit.layout, tree, travel);
    }
    const std::array<float, 3> position{static_cast<float>(request.position_world[0]), static_cast<float>(request.position_world[1]),
                                        static_cast<float>(request.position_world[2])};
    HostUnit& made =
        scene.engine.spawn(*scene.world, unit.name, unit.rig, std::move(tree), position, static_cast<float>(request.heading_deg));
    unit.referenceId = made.referenceId;
    if (request.bodyRadius_m > 0.0)
    {
        const uint32_t travelling = unit.layout.jointNodes.empty() ? 0 : unit.layout.jointNodes[unit.player.travelling_unit_joint()];
        const double height = std::max(request.bodyHeight_m, 2.0 * request.bodyRadius_m);
        scene.engine.give_body(made, static_cast<float>(request.bodyRadius_m), static_cast<float>(height),
                               static_cast<int32_t>(travelling));
    }
    if (request.rig != nullptr) { warn_without_context(scene, unit); }
    spawn_twin(scene, request, unit);
    scene.units.push_back(std::move(unit));
    return true;
}

bool play_clip(SceneState& scene, SceneUnit& unit, const ClipPlayback& playback, std::string& error)
{
    if (!unit.player.bind(playback, unit.skeleton, scene.notes, error)) { return false; }
    const Clip& clip = playback.asset->clips[playback.clip];
    unit.playStart_s = scene.time_s;
    if (unit.clipName.empty())
    {
        unit.clipName = clip.name;
        unit.clipFramesPerSecond = clip.framesPerSecond;
    }
    return true;
}

void remove_scene_unit(SceneState& scene, SceneUnit& unit)
{
    if (HostUnit* const record = scene.host_unit(unit)) { scene.engine.remove_unit(*record); }
    if (HostUnit* const twin = scene.engine.units.resolve(unit.twin)) { scene.engine.remove_unit(*twin); }
}

void animate_units(SceneState& scene)
{
    for (SceneUnit& unit : scene.units)
    {
        HostUnit* const record = scene.host_unit(unit);
        if (record == nullptr) { continue; }
        if (!unit.player.bound())
        {
            // Every frame: what the plugin solved last would otherwise be taken for the animation.
            unit.player.apply_rest(unit.skeleton, unit.layout, record->tree);
            continue;
        }
        std::array<double, 3> travel{};
        unit.player.apply(scene.time_s - unit.playStart_s, unit.skeleton, unit.layout, record->tree, travel);
        const std::array<double, 3> moved = world_from_asset(travel, static_cast<double>(record->heading_deg));
        const std::array<float, 3> place{static_cast<float>(unit.base_world[0] + moved[0]),
                                         static_cast<float>(unit.base_world[1] + moved[1]),
                                         static_cast<float>(unit.base_world[2] + moved[2])};
        if (place != record->position_world) { place_unit(*record, place, record->heading_deg); }
    }
}

double scene_duration(const SceneState& scene)
{
    if (scene.duration_s > 0.0) { return scene.duration_s; }
    double longest = 0.0;
    for (const SceneUnit& unit : scene.units)
    {
        if (!unit.player.bound()) { continue; }
        const ClipPlayback& playback = unit.player.current();
        const double end = clip_duration(playback.asset->clips[playback.clip]);
        const double stop = playback.stop_s > playback.start_s ? std::min(playback.stop_s, end) : end;
        const double speed = std::abs(playback.speed);
        if (speed > 0.0) { longest = std::max(longest, unit.playStart_s + (stop - std::clamp(playback.start_s, 0.0, end)) / speed); }
    }
    return longest > 0.0 ? longest : kDefaultDuration_s;
}

}  // namespace limbrex_host
