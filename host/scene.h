// Plays a scene script with the plugin loaded as an engine would load it, and records what happened.
//
// The script (Lua 5.4) describes its clips, rigs, units, colliders and goals through the table `scene` and drives the plugin through the
// table `Limbrex`; host/scene_script.h lists what it can say.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/log.h"
#include "host/recording.h"

namespace limbrex_host
{

struct SceneOptions
{
    std::string scene;                                     // path of the script
    std::string plugin;                                    // path of liblimbrex_plugin.so
    std::string clip;                                      // plays instead of the file of the scene's first clip; empty = the scene's own
    std::optional<size_t> firstFrame, lastFrame;           // recorded frames, both included; the run still starts at frame 0
    double framesPerSecond = 0.0;                          // 0 = the scene's own (60 when it says nothing)
    bool timing = false;                                   // a second run, not recorded, measures the stages
    LogLevel echo = LogLevel::Warning;                     // messages of host, plugin and script to stderr
    bool rays = true, lines = true;                        // false: an engine without that service
    uint64_t scriptInstructionLimit = 50'000'000;          // per callback
    size_t scriptMemoryLimit = size_t{512} * 1024 * 1024;  // bytes
    size_t frameLimit = 200'000;                           // longest run

    // Called before every frame with frames done and frames in all; false stops the run ("stopped").
    std::function<bool(size_t done, size_t total)> progress;
};

// Runs the whole scene. False with `error` (file, line, traceback for script errors) when it could not be played to its end; `out` then
// holds the log and nothing else of use.
bool run_scene(const SceneOptions& options, Recording& out, std::string& error);

// The same one frame at a time, for whoever shows a scene while it runs.
class SceneRun
{
public:
    SceneRun();
    ~SceneRun();
    SceneRun(const SceneRun&) = delete;
    SceneRun& operator=(const SceneRun&) = delete;

    bool open(const SceneOptions& options, std::string& error);  // loads the plugin, runs the script's main chunk and start()
    bool step(std::string& error);                               // one frame; false on an error
    bool finished() const;                                       // all frames were played
    bool close(std::string& error);                              // stop(), units and worlds away, plugin shut down, leaks counted

    size_t frame() const;        // frames played
    size_t frame_count() const;  // frames in all
    Recording& recording();      // grows with every step inside the recorded range

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};

}  // namespace limbrex_host
