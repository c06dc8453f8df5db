// One unit of a recording as the reports read it: joints alone, checked once, in double precision. World frame: z up, metres.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "host/animation/pose_math.h"
#include "host/recording.h"

namespace limbrex_tools
{

struct GoalPoint
{
    bool active = false;
    limbrex_host::Vec3d target_world;
    limbrex_host::Vec3d reached_world;  // where the effector ended up after the solve
};

struct GoalView
{
    std::string name;
    int32_t constraintId = 0;
    bool pin = false;
    std::vector<GoalPoint> points;  // one a frame
};

struct RunView
{
    const limbrex_host::Recording* recording = nullptr;
    const limbrex_host::UnitRecording* unit = nullptr;
    size_t frameCount = 0;
    std::vector<limbrex_host::RigidPose> animated;  // frame-major, joint-count a frame
    std::vector<limbrex_host::RigidPose> solved;    // likewise
    std::vector<GoalView> goals;                    // of this unit

    const limbrex_host::Skeleton& skeleton() const { return unit->skeleton; }
    size_t joint_count() const { return unit->skeleton.joints.size(); }
    bool present(size_t frame) const { return unit->present[frame] != 0; }
    const limbrex_host::RigidPose* animated_at(size_t frame) const { return animated.data() + frame * joint_count(); }
    const limbrex_host::RigidPose* solved_at(size_t frame) const { return solved.data() + frame * joint_count(); }
};

// The recording must outlive the view. False with `error` set when tracks are missing, joints do not come parents first, or a
// number that reports would compute with is not finite.
bool make_run_view(const limbrex_host::Recording& recording, size_t unit, RunView& out, std::string& error);

// Views of all units that have a skeleton.
bool make_run_views(const limbrex_host::Recording& recording, std::vector<RunView>& out, std::string& error);

}  // namespace limbrex_tools
