// Three-quarter parallel view of motion in the host world (z up, metres).
#pragma once

#include <vector>

#include "host/animation/pose_math.h"
#include "tools/report/body_figure.h"

namespace limbrex_tools
{

struct Camera
{
    limbrex_host::Vec3d right;   // unit vectors in the world: right and up of the picture,
    limbrex_host::Vec3d upward;  //
    limbrex_host::Vec3d toward;  // and from the scene to the eye
};

struct Projected
{
    double x;      // metres to the right
    double y;      // metres upward
    double depth;  // larger is nearer to the eye
};

Camera camera_at(double azimuth_rad, double elevation_rad);
Projected project(const Camera& camera, limbrex_host::Vec3d point_world);

// The azimuth that shows most of the bones' length over all poses (joint positions each), leaning to a view from the front and from
// the side where `interests` (points relative to the hips, such as the targets) are.
Camera choose_camera(const BodyFigure& figure, const std::vector<std::vector<limbrex_host::Vec3d>>& poses,
                     const std::vector<limbrex_host::Vec3d>& interests);

}  // namespace limbrex_tools
