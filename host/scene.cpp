#include "host/scene.h"

#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "host/engine.h"
#include "host/recorder.h"
#include "host/scene_script.h"
#include "host/scene_state.h"
#include "host/scene_timing.h"

namespace limbrex_host
{

struct SceneRun::Parts
{
    SceneOptions options;
    Recording recording;
    HostEngine engine;
    SceneState scene{engine};
    SceneScript script{scene};
    Recorder recorder{recording};
    size_t frames = 0;
    size_t firstRecorded = 0;
    bool measureStages = false;
    bool opened = false;

    bool start_engine(std::string& error);
    bool plan_frames(std::string& error);
    bool move_colliders(std::string& error);
    bool play_frame(std::string& error);
};

bool SceneRun::Parts::start_engine(std::string& error)
{
    EngineOptions wanted;
    wanted.plugin = options.plugin;
    if (!options.rays) { wanted.missingServices.insert(kHostRayCastServiceId); }
    if (!options.lines) { wanted.missingServices.insert(kHostLineServiceId); }
    wanted.scriptLimits = {options.scriptInstructionLimit, options.scriptMemoryLimit};
    engine.log.echo(options.echo);
    if (!engine.start(wanted, error)) { return false; }
    scene.scenePath = options.scene;
    scene.clipOverride = options.clip;
    scene.world = &engine.add_world("scene");
    if (measureStages) { scene.timingWorld = &engine.add_world("timing"); }
    return open_scene_script(script, engine.script, error);
}

bool SceneRun::Parts::plan_frames(std::string& error)
{
    if (options.framesPerSecond > 0.0) { scene.framesPerSecond = options.framesPerSecond; }
    const double wanted = std::floor(scene_duration(scene) * scene.framesPerSecond + 1e-6) + 1.0;
    if (!(wanted <= static_cast<double>(options.frameLimit)))
    {
        error = fmt::format("{}: {:.0f} frames are more than the limit of {}; give a shorter scene.duration or a lower scene.rate",
                            options.scene, wanted, options.frameLimit);
        return false;
    }
    frames = static_cast<size_t>(wanted);
    firstRecorded = options.firstFrame.value_or(0);
    if (firstRecorded >= frames || options.lastFrame.value_or(frames) < firstRecorded)
    {
        error = fmt::format("{}: no frames to record: the scene has frames 0 to {}", options.scene, frames - 1);
        return false;
    }
    if (options.lastFrame && *options.lastFrame + 1 < frames) { frames = *options.lastFrame + 1; }
    return true;
}

bool SceneRun::Parts::move_colliders(std::string& error)
{
    for (SceneCollider& collider : scene.colliders)
    {
        if (!collider.place.function) { continue; }
        std::array<double, 3> point{};
        if (!evaluate_place(engine.script, collider.place, scene.time_s, collider.name, point, error)) { return false; }
        collider.pose_world.position = {static_cast<float>(point[0]), static_cast<float>(point[1]), static_cast<float>(point[2])};
        scene.world->physics.move(collider.number, collider.pose_world);
    }
    return true;
}

// Scripts first, then animation, then the plugin on the animated poses: an engine's order.
bool SceneRun::Parts::play_frame(std::string& error)
{
    const double step_s = 1.0 / scene.framesPerSecond;
    const bool recorded = scene.frame >= firstRecorded;
    scene.time_s = static_cast<double>(scene.frame) * step_s;
    if (!engine.script.call_global("update", {scene.time_s, step_s}, error) || !move_colliders(error)) { return false; }
    animate_units(scene);
    scene.world->propagate_units();
    scene.world->move_actors();
    if (recorded) { recorder.animated(scene); }
    if (measureStages && recorded) { time_stages(scene, recording.timing); }
    const UpdateReport report = engine.update(*scene.world, static_cast<float>(step_s));
    if (recorded) { recorder.solved(scene, report); }
    engine.render(*scene.world);
    if (recorded)
    {
        if (!recorder.measured(scene, error)) { return false; }
        recorder.drawn(scene);
    }
    else { scene.world->drawing.take_frame(); }
    ++scene.frame;
    return true;
}

SceneRun::SceneRun() = default;

SceneRun::~SceneRun() = default;

bool SceneRun::open(const SceneOptions& options, std::string& error)
{
    parts = std::make_unique<Parts>();
    parts->options = options;
    parts->measureStages = options.timing;
    if (!parts->start_engine(error))
    {
        parts->engine.stop();
        parts->recorder.end(parts->scene);
        return false;
    }
    parts->opened = true;
    ScriptHost& machine = parts->engine.script;
    if (!machine.run_file(options.scene, error) || !machine.call_global("start", {}, error) || !parts->plan_frames(error)) { return false; }
    parts->recorder.begin(parts->scene, parts->firstRecorded);
    return true;
}

bool SceneRun::step(std::string& error)
{
    if (parts == nullptr || !parts->opened || finished())
    {
        error = "the scene is not running";
        return false;
    }
    return parts->play_frame(error);
}

bool SceneRun::finished() const { return parts == nullptr || parts->scene.frame >= parts->frames; }

bool SceneRun::close(std::string& error)
{
    if (parts == nullptr || !parts->opened) { return true; }
    parts->opened = false;
    const bool stopped = parts->engine.script.call_global("stop", {}, error);
    parts->engine.stop();
    parts->recorder.end(parts->scene);
    return stopped;
}

size_t SceneRun::frame() const { return parts != nullptr ? parts->scene.frame : 0; }

size_t SceneRun::frame_count() const { return parts != nullptr ? parts->frames : 0; }

Recording& SceneRun::recording() { return parts->recording; }

namespace
{

bool run_once(const SceneOptions& options, bool measure_stages, size_t run, size_t runs, Recording& out, std::string& error)
{
    SceneOptions once = options;
    once.timing = measure_stages;
    // The second run says nothing that the first has not said.
    if (run > 0) { once.echo = LogLevel::Silent; }
    SceneRun scene;
    bool played = scene.open(once, error);
    while (played && !scene.finished())
    {
        const size_t all = scene.frame_count();
        if (options.progress && !options.progress(run * all + scene.frame(), runs * all))
        {
            error = "stopped";
            played = false;
        }
        else { played = scene.step(error); }
    }
    if (played && options.progress) { options.progress((run + 1) * scene.frame_count(), runs * scene.frame_count()); }
    std::string stop_error;
    const bool closed = scene.close(stop_error);
    out = std::move(scene.recording());
    if (played && !closed) { error = stop_error; }
    return played && closed;
}

}  // namespace

bool run_scene(const SceneOptions& options, Recording& out, std::string& error)
{
    const size_t runs = options.timing ? 2 : 1;
    if (!run_once(options, false, 0, runs, out, error)) { return false; }
    if (!options.timing) { return true; }
    Recording measured;
    if (!run_once(options, true, 1, runs, measured, error)) { return false; }
    out.timing.stages_us = std::move(measured.timing.stages_us);
    return true;
}

}  // namespace limbrex_host
