// One moment of one run, drawn into a panel of a filmstrip.
#pragma once

#include "tools/report/body_figure.h"
#include "tools/report/camera.h"
#include "tools/report/canvas.h"
#include "tools/report/run_view.h"

namespace limbrex_tools
{

// From metres around the hips to points on the page, common to all panels.
struct PanelScale
{
    double pointsPerMetre = 100.0;
    double left = -1.0;    // metres from the hips at the panel's left edge
    double top = 2.0;      // metres over the ground below the hips at the panel's upper edge
    double width = 100.0;  // points
    double height = 100.0;
};

// The frame's horizontal centre: where the character's hips are, on the ground.
limbrex_host::Vec3d ground_centre(const RunView& run, const BodyFigure& figure, size_t frame);

// Joint positions relative to a centre.
std::vector<limbrex_host::Vec3d> joints_around(const limbrex_host::RigidPose* world, size_t count, limbrex_host::Vec3d centre);

void draw_panel(Canvas& canvas, Point corner, const PanelScale& scale, const Camera& camera, const RunView& run, const BodyFigure& figure,
                size_t frame);

// The mark of a target: a ring with a cross. Used by panels and legend.
void draw_target(Canvas& canvas, Point at, double radius);

}  // namespace limbrex_tools
