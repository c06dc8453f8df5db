// What the reports read of a recorded run: one character's motion before and after solving, the goals of its constraints and
// what each frame cost. World frame: z up, metres.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "host/animation/clip.h"
#include "host/animation/pose_math.h"

namespace limbrex_tools
{

struct GoalSample
{
    bool active = false;                // the constraint was on the stack and its goal counted in this frame
    limbrex_host::Vec3d goal_world;     //
    limbrex_host::Vec3d reached_world;  // where the effector ended up after the solve
};

struct GoalTrack
{
    std::string id;                   // the constraint's id with its effector, as the table shows it
    bool pin = false;                 // the goal is meant to stand still, so drift is worth telling
    std::vector<GoalSample> samples;  // one a frame
};

// The stages of one evaluation, in the order they run.
constexpr std::array<const char*, 4> kStageNames{"reading", "constraints", "solve", "writing"};

struct RunView
{
    std::string character;
    limbrex_host::Skeleton skeleton;
    double framesPerSecond = 30.0;
    size_t frameCount = 0;
    double bodyHeight_m = 0.0;                      // 0: the reports measure the skeleton
    std::vector<limbrex_host::RigidPose> animated;  // frame-major, joint-count a frame
    std::vector<limbrex_host::RigidPose> solved;    // likewise
    std::vector<GoalTrack> goals;                   //
    std::array<std::vector<double>, 4> cost_us;     // per stage, one a frame; empty when not measured
    size_t firstFrame = 0;                          // number of the first frame in the clip, for labels

    size_t joint_count() const { return skeleton.joints.size(); }
    const limbrex_host::RigidPose* animated_at(size_t frame) const { return animated.data() + frame * joint_count(); }
    const limbrex_host::RigidPose* solved_at(size_t frame) const { return solved.data() + frame * joint_count(); }
};

// True when array sizes, joint parents and numbers are what the reports rely on; else `error` says what is wrong.
bool check_run(const RunView& run, std::string& error);

}  // namespace limbrex_tools
