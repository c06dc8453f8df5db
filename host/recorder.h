// Writes down what a scene does, frame by frame: poses before and after the plugin, goals and where effectors went, markers, lines, costs.
#pragma once

#include <string>

#include "host/recording.h"
#include "host/scene_state.h"

namespace limbrex_host
{

class Recorder
{
public:
    explicit Recorder(Recording& target) : recording(target) {}

    void begin(const SceneState& scene, size_t first_frame);
    // Of one frame, in this order.
    void animated(const SceneState& scene);
    void solved(SceneState& scene, const UpdateReport& report);
    bool measured(SceneState& scene, std::string& error);  // goals and markers; false for a script error in one of their functions
    void drawn(SceneState& scene);                         // lines; ends the frame
    void end(const SceneState& scene);                     // log and notes

private:
    void match_units(const SceneState& scene);
    bool measure_goal(SceneState& scene, SceneGoal& goal, GoalSample& sample, std::string& error) const;

    Recording& recording;
};

}  // namespace limbrex_host
