// A clip played over ground that it was not captured on, and how its feet stand there before and after a solve with floor contact. Frame: the
// clip's world, y up, metres.
#pragma once

#include <string>
#include <vector>

#include "host/animation/pose_math.h"
#include "tools/measure/measured_rig.h"

namespace limbrex_tools
{

enum class GroundShape
{
    Flat,
    Stairs,
    Ramp,
};
constexpr const char* kGroundNames[] = {"flat", "stairs", "ramp"};
constexpr double kStepHeight_m = 0.17;
constexpr double kStepDepth_m = 0.30;
constexpr double kRamp_deg = 15.0;

// A height over every place. Behind its edge stairs and ramp are flat, ahead of it they rise without end; sideways nothing changes.
struct Ground
{
    GroundShape shape = GroundShape::Flat;
    limbrex_host::Vec3d edge;                    // where the rise begins; its height is the height of the flat part
    limbrex_host::Vec3d heading{0.0, 0.0, 1.0};  // horizontal unit vector up the rise

    double height(limbrex_host::Vec3d place) const;
    limbrex_host::Vec3d normal(limbrex_host::Vec3d place) const;  // risers have none: every step is level
};

// Laid along the way of the hips from the first frame to where they are furthest from it; along the body's front when they stay in place.
Ground lay_ground(const MeasuredRig& rig, const limbrex_host::Asset& asset, GroundShape shape, double level_m);

// Of the clip as it is, or of the solved poses. One value for each frame from GroundMeasurement::firstFrame on.
struct FootingCurve
{
    std::vector<double> penetration_mm;  // of the deepest sole corner of both feet; 0 when all are above the ground
    std::vector<double> skate_mmps;      // of the faster planted foot; not a number when no foot is planted
    std::vector<double> stepSkate_mmps;  // every step of every planted foot
    std::vector<double> gap_mm;          // from the ground to the lowest contact point, toes too, of every planted foot; 0 in the ground
};

struct GroundMeasurement
{
    std::string clip, rig;
    Ground ground;
    double framesPerSecond = 0.0;
    size_t firstFrame = 0;  // 1 when the clip opens with a stance that it jumps away from
    size_t plantedFrames[2] = {0, 0};
    FootingCurve before, after;
};

constexpr double kDeepFrame_mm = 3.0;       // frames deeper than this are counted
constexpr double kPlantedSpeed_mps = 0.15;  // the ball of a planted foot is slower in the clip
constexpr size_t kShortestPlant = 6;        // frames

// `source` is the rig source, for the sizes of the feet. False with `error` when the rig has no feet to stand on.
bool measure_ground(const MeasuredRig& rig, const nlohmann::json& source, const limbrex_host::Asset& asset, const Ground& ground,
                    GroundMeasurement& out, std::string& error);

struct FootingNumbers
{
    double penetrationMean_mm = 0.0, penetrationP95_mm = 0.0, penetrationMax_mm = 0.0;
    double deepShare = 0.0;  // of the frames, 0 to 1
    double skateMean_mmps = 0.0, skateP95_mmps = 0.0, skateMax_mmps = 0.0;
    double gapMean_mm = 0.0;
};
FootingNumbers summarize(const FootingCurve& curve);

void print_ground(const GroundMeasurement& measurement);
// ground_<shape>.json, penetration_<shape>.png and, when a foot is ever planted, skate_<shape>.png in `folder`, which is made when missing.
bool write_ground(const std::string& folder, const GroundMeasurement& measurement, std::string& error);

}  // namespace limbrex_tools
