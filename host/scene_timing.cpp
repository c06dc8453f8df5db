#include "host/scene_timing.h"

#include <algorithm>
#include <chrono>

namespace limbrex_host
{
namespace
{

constexpr int kRepeats = 3;  // the fastest counts: whatever else ran on the machine only ever adds

struct SolveFlags
{
    bool solveOff = false;
    bool outputOff = false;
};

SolveFlags solve_flags(ScriptHost& script, uint32_t unit)
{
    std::vector<ScriptValue> results;
    script.call_registered("Limbrex.character_get_solve_flags", {script_unit(unit)}, results);
    return results.size() == 2 ? SolveFlags{results[0].boolean, results[1].boolean} : SolveFlags{};
}

void set_solve_flags(ScriptHost& script, uint32_t unit, const SolveFlags& flags)
{
    std::vector<ScriptValue> results;
    script.call_registered("Limbrex.character_set_solve_flags",
                           {script_unit(unit), script_value(flags.solveOff), script_value(flags.outputOff)}, results);
}

struct Character
{
    HostUnit* unit;
    uint32_t id, twin;
    SolveFlags flags;
    std::vector<LocalPose> locals;
};

double best_update_us(HostWorld& world, std::vector<Character>& characters)
{
    double best = 0.0;
    for (int repeat = 0; repeat < kRepeats; ++repeat)
    {
        const auto begin = std::chrono::steady_clock::now();
        world.update(0.0f);
        const double took = std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
        best = repeat == 0 ? took : std::min(best, took);
        for (Character& character : characters) { character.unit->tree.locals = character.locals; }
    }
    return best;
}

}  // namespace

void time_stages(SceneState& scene, TimingRecording& timing)
{
    ScriptHost& script = scene.engine.script;
    std::vector<Character> characters;
    for (const SceneUnit& unit : scene.units)
    {
        HostUnit* const record = scene.host_unit(unit);
        HostUnit* const twin = scene.engine.units.resolve(unit.twin);
        if (record == nullptr || twin == nullptr) { continue; }
        characters.push_back({record, unit.referenceId, unit.twin, solve_flags(script, unit.referenceId), record->tree.locals});
        twin->tree.locals = record->tree.locals;
        set_solve_flags(script, unit.twin, {true, true});
    }
    scene.timingWorld->propagate_units();

    const auto with_flags = [&script, &characters](bool solve_off, bool output_off)
    {
        for (const Character& character : characters)
        {
            set_solve_flags(script, character.id, {solve_off || character.flags.solveOff, output_off || character.flags.outputOff});
        }
    };
    std::array<double, kStageCount> up_to{};
    up_to[0] = best_update_us(*scene.timingWorld, characters);
    with_flags(true, true);
    up_to[1] = best_update_us(*scene.world, characters);
    with_flags(false, true);
    up_to[2] = best_update_us(*scene.world, characters);
    with_flags(false, false);
    up_to[3] = best_update_us(*scene.world, characters);

    const double count = static_cast<double>(std::max<size_t>(characters.size(), 1));
    for (size_t stage = 0; stage < kStageCount; ++stage)
    {
        const double before = stage > 0 ? up_to[stage - 1] : 0.0;
        timing.stages_us[stage].push_back(std::max(up_to[stage] - before, 0.0) / count);
    }
    // The world poses are the animated ones again, as they were.
    for (const Character& character : characters)
    {
        for (uint32_t node = 0; node < character.unit->tree.node_count(); ++node) { mark_changed(character.unit->tree, node); }
    }
    scene.world->propagate_units();
    timing.characters = std::max(timing.characters, characters.size());
}

}  // namespace limbrex_host
