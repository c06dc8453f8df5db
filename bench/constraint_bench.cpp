// Scenes of one character, played by the simulated engine through the plugin's exported symbol: each constraint kind alone against no constraint at all, and a
// frame as games have them. The character is a captured person with whole hands; the unit of time is the forward kinematics of its skeleton.
#include "bench/constraint_bench.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "bench/yardstick.h"
#include "host/scene.h"

namespace limbrex_bench
{
namespace
{

constexpr const char* kClip = "/usr/share/assimp/models/BVH/01_01.bvh";
constexpr int kRuns = 4;

struct Case
{
    const char* name;
    const char* pushes;  // script; u is the unit
};
// Reaches are beyond the arms, so that the body follows.
constexpr Case kCases[] = {
    {"reach position, left hand", "Limbrex.character_push_reach_position(u, 3, {0.3, -0.6, 1.4}, true, 1, 0, 1)"},
    {"the same with pull",
     "Limbrex.character_push_reach_position(u, 3, {0.3, -0.6, 1.4}, true, 1, 0, 1) Limbrex.character_push_pull(u, 3, 1, 0, 2)"},
    {"reach orientation, left hand", "Limbrex.character_push_reach_orientation(u, 3, {20, 0, 0}, true, 1, 0, 1)"},
    {"offset position, hips", "Limbrex.character_push_offset_position(u, 0, {0, 0, -0.1}, true, 1, 0, 1)"},
    {"offset rotation, chest", "Limbrex.character_push_offset_rotation(u, 10, {0, 0, 1}, 20, true, 1, 0, 1)"},
    {"pin, left foot", "Limbrex.character_push_pin(u, 1, 1, 1, 0, 1)"},
    {"resist, hips", "Limbrex.character_push_resist(u, 0, 1, 0, 1)"},
    {"look at", "Limbrex.character_push_look_at(u, nil, 0, {1, -2, 1.5}, true, false, 0.25, 720, true, 70, 30, 1, 0, 1)"},
    {"aim, one hand", "Limbrex.character_push_aim(u, 3, 0.2, 0.3, 0.3, 0.5, u:node_index('LeftHand'), false, nil, 0, {1, -2, 1.5}, true, "
                      "0, false, 1, 0, 1)"},
    {"aim, two hands",
     "Limbrex.character_push_aim(u, 3, 0.2, 0.3, 0.3, 0.5, u:node_index('LeftHand'), true, nil, 0, {1, -2, 1.5}, true, 0, false, 1, 0, 1)"},
    {"plant, feet, one ray", "Limbrex.character_push_plant(u, true, false, 1, 1, 1.0, 1.5, true, 2, 0, 1, 1)"},
    {"floor contact, feet, one ray", "Limbrex.character_push_floor(u, true, false, 1, 0, 1, 1.0, 1.5)"},
    {"property", "Limbrex.character_push_property_value(u, 62, 0.5)"},
    {"solve in the middle", "Limbrex.character_push_solve(u)"},
    {"level of detail", "Limbrex.character_push_lod(u, false, true)"},
    {"inverted limb", "Limbrex.character_push_invert(u, 'LL')"},
    {"fingers control", "Limbrex.character_push_fingers_control(u, true, true, 0.5, 1, 1, 1, 1, 1, 1, 1, 0, 1)"},
    {"test biped", "Limbrex.character_push_test_biped(u, 1, 0, 1)"},
};
constexpr Case kWholeFrame = {
    "whole frame: plant, look at, two reaches",
    "Limbrex.character_push_plant(u, true, false, 1, 1, 1.0, 1.5, true, 2, 0, 1, 1) "
    "Limbrex.character_push_look_at(u, nil, 0, {1, -2, 1.5}, true, false, 0.25, 720, true, 70, 30, 1, 0, 2) "
    "for i, e in ipairs{3, 4} do Limbrex.character_push_reach_position(u, e, {i == 1 and 0.3 or -0.3, -0.5, 1.2}, true, 1, 0, 10 + i) "
    "Limbrex.character_push_pull(u, e, 1, 0, 20 + i) end"};

struct Played
{
    bool sound = false;
    double update_us = 0.0;  // median over the frames, one character
    Skeleton skeleton;
};

Played play(const char* pushes)
{
    Played played;
    const std::string path = "/tmp/limbrex_bench_" + std::to_string(getpid()) + ".lua";
    const std::string examples = std::string(LIMBREX_SOURCE_DIR) + "/examples/";
    std::ofstream(path) << "Limbrex.enable(true)\n"
                        << "local u = scene.unit{clip = scene.clip{file = '" << kClip << "', start = 2.6, stop = 5.6}, skeleton = '"
                        << examples << "skeletons/hands.bvh', rig = scene.rig{file = '" << examples << "rigs/hands.character'}}\n"
                        << "scene.ground(0)\nscene.duration(3)\nfunction start()\n"
                        << pushes << "\nend\n";
    limbrex_host::SceneOptions options;
    options.scene = path;
    options.plugin = LIMBREX_PLUGIN_PATH;
    limbrex_host::Recording recording;
    std::string error;
    const bool ran = run_scene(options, recording, error);
    std::remove(path.c_str());
    if (!ran || recording.timing.callback_us.empty() || recording.units.size() != 1)
    {
        std::fprintf(stderr, "constraint rows: %s\n", error.c_str());
        return played;
    }
    std::vector<double>& all = recording.timing.callback_us;
    std::nth_element(all.begin(), all.begin() + static_cast<ptrdiff_t>(all.size() / 2), all.end());
    played.sound = true;
    played.update_us = all[all.size() / 2];
    for (const auto& joint : recording.units[0].skeleton.joints)
    {
        played.skeleton.parents.push_back(joint.parent < 0 ? 0 : static_cast<int32_t>(joint.parent));
        played.skeleton.locals.push_back({{0.1f, 0.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 0.0f, 1.0f}});
    }
    played.skeleton.globals = played.skeleton.locals;
    return played;
}

void add_row(const std::string& name, size_t nodes, double (*measure_us)(const Case&), const Case& of)
{
    benchmark::RegisterBenchmark((name + "/" + std::to_string(nodes)).c_str(),
                                 [measure_us, of](benchmark::State& bench)
                                 {
                                     for (auto iteration : bench)
                                     {
                                         static_cast<void>(iteration);
                                         bench.SetIterationTime(std::max(measure_us(of), 0.0) * 1e-6);
                                     }
                                 })
        ->Unit(benchmark::kMicrosecond)
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(kRuns);
}

double whole_us(const Case& of) { return play(of.pushes).update_us; }
double added_us(const Case& of) { return play(of.pushes).update_us - play("").update_us; }

}  // namespace

void add_constraint_rows()
{
    if (!std::ifstream(kClip))
    {
        std::fprintf(stderr, "constraint rows: %s is not installed\n", kClip);
        return;
    }
    static Played bare = play("");
    if (!bare.sound) return;
    const size_t nodes = bare.skeleton.parents.size();
    benchmark::RegisterBenchmark(("yardstick/" + std::to_string(nodes)).c_str(),
                                 [](benchmark::State& bench)
                                 {
                                     for (auto iteration : bench)
                                     {
                                         static_cast<void>(iteration);
                                         forward_kinematics(bare.skeleton);
                                         benchmark::ClobberMemory();
                                     }
                                 })
        ->Unit(benchmark::kMicrosecond)
        ->MinTime(0.02)
        ->Repetitions(10);
    add_row("update, nothing pushed", nodes, whole_us, {"", ""});
    for (const Case& one : kCases) add_row(std::string("added by ") + one.name, nodes, added_us, one);
    add_row(kWholeFrame.name, nodes, whole_us, kWholeFrame);
}

}  // namespace limbrex_bench
