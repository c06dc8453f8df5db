// How far a pose is from the T-stance that characterization expects: y up, facing +z, left on +x, arms along the x axis, legs down, feet
// forward. Reads positions alone, so rig sources, rest poses and frames of a clip are measured alike.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "host/animation/pose_math.h"
#include "limbrex/limbrex.h"

namespace limbrex_tools
{

// Global position per template node, empty where unmapped.
using NodePositions = std::array<std::optional<limbrex_host::Vec3d>, LBXLastNodeId>;

struct StanceFault
{
    std::string text;
    double angle_deg = 0.0;  // away from the T
    bool severe = false;     // the solver's joint frames would be wrong, not merely slanted
};

// Beyond the first angle a bone is worth a word, beyond the second it is no T.
constexpr double kSlantedLimb_deg = 25.0;
constexpr double kWrongLimb_deg = 45.0;

std::vector<StanceFault> measure_stance(const NodePositions& positions);

// Turn about y from +z to where the body faces, in degrees, positive toward +x. Empty when the pose has neither legs nor arms on two sides.
std::optional<double> facing_deg(const NodePositions& positions);

// True when the names' left side lies on the body's right: feet pointing backwards, seen from the hips.
bool sides_exchanged(const NodePositions& positions);

double angle_between_deg(limbrex_host::Vec3d a, limbrex_host::Vec3d b);  // 0 when either has no length

}  // namespace limbrex_tools
