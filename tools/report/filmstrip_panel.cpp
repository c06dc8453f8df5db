#include "tools/report/filmstrip_panel.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/report/scenery.h"

namespace limbrex_tools
{
namespace
{

using limbrex_host::RigidPose;
using limbrex_host::Vec3d;

constexpr double kPanelRadius = 5.0;
constexpr double kGridStep_m = 0.5;
constexpr int kGridLines = 7;  // to each side of the hips
constexpr double kFarFade = 0.42;
constexpr double kHalo = 1.1;  // points of paper around a limb, so that the nearer of two crossing ones is seen
constexpr double kAnimatedThickness = 0.8;
constexpr double kHeadShare = 0.040;      // radius over body height
constexpr double kJointDotShare = 0.045;  // of the body height: bones at least this long show their joint
constexpr double kDebugLineWidth = 0.5;
constexpr double kLongestLine = 1e5;  // points; what goes on past that is no use on a page
constexpr Color kShadow = rgb(0xDFDFD9);
constexpr Color kGrid = rgb(0xE6E6E1);
constexpr Color kSceneryLit = rgb(0xEBE7DA);   // faces turned up
constexpr Color kSceneryDark = rgb(0xCBC6B6);  // and away from the light
constexpr double kInFront_m = 0.25;            // what stands this much nearer to the eye than the hips is drawn over the body, as glass
constexpr double kGlass = 0.35;

struct View
{
    const Camera& camera;
    const PanelScale& scale;
    Point corner;

    Point at(Vec3d p) const
    {
        const Projected q = project(camera, p);
        return {corner.x + (q.x - scale.left) * scale.pointsPerMetre, corner.y + (scale.top - q.y) * scale.pointsPerMetre};
    }

    double depth(Vec3d p) const { return project(camera, p).depth; }
};

Color mix(Color a, Color b, double share) { return {a.r + (b.r - a.r) * share, a.g + (b.g - a.g) * share, a.b + (b.b - a.b) * share, 1.0}; }

Color side_color(Side side) { return side == Side::Left ? kLeft : side == Side::Right ? kRight : kCentre; }

// A limb: two circles and what lies between their outer tangents.
void draw_capsule(Canvas& canvas, Point a, double radius_a, Point b, double radius_b, Color color)
{
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double n = std::hypot(dx, dy);
    canvas.fill_circle(a, radius_a, color);
    canvas.fill_circle(b, radius_b, color);
    if (n < 1e-9 || n <= std::fabs(radius_a - radius_b)) { return; }
    const double sine = (radius_a - radius_b) / n;
    const double cosine = std::sqrt(1.0 - sine * sine);
    const auto tangent = [&](double side) -> Point {
        return {dx / n * sine - side * dy / n * cosine, dy / n * sine + side * dx / n * cosine};
    };
    const Point up = tangent(1.0);
    const Point down = tangent(-1.0);
    canvas.fill_polygon({{a.x + up.x * radius_a, a.y + up.y * radius_a},
                         {b.x + up.x * radius_b, b.y + up.y * radius_b},
                         {b.x + down.x * radius_b, b.y + down.y * radius_b},
                         {a.x + down.x * radius_a, a.y + down.y * radius_a}},
                        color);
}

// A skull between two points of the head bone, or a ball at the head joint where nothing marks the crown.
void draw_head(Canvas& canvas, const View& view, const BodyFigure& figure, const std::vector<Vec3d>& joints, double swell, Color color)
{
    const Vec3d base = joints[static_cast<size_t>(figure.head)];
    const Vec3d tip = figure.headTip < 0 ? base : joints[static_cast<size_t>(figure.headTip)];
    const double radius = kHeadShare * figure.height * view.scale.pointsPerMetre + swell;
    draw_capsule(canvas, view.at(base + (tip - base) * 0.38), 0.86 * radius, view.at(base + (tip - base) * 0.66), radius, color);
}

void draw_grid(Canvas& canvas, const View& view, Vec3d centre)
{
    const double first_x = std::floor(centre.x / kGridStep_m) * kGridStep_m - centre.x;
    const double first_y = std::floor(centre.y / kGridStep_m) * kGridStep_m - centre.y;
    const double reach = kGridStep_m * kGridLines;
    for (int i = -kGridLines; i <= kGridLines; ++i)
    {
        const double x = first_x + i * kGridStep_m;
        const double y = first_y + i * kGridStep_m;
        canvas.line(view.at({x, -reach, 0.0}), view.at({x, reach, 0.0}), kGrid, 0.6);
        canvas.line(view.at({-reach, y, 0.0}), view.at({reach, y, 0.0}), kGrid, 0.6);
    }
    const double level = view.at({0.0, 0.0, 0.0}).y;
    canvas.line({view.corner.x, level}, {view.corner.x + view.scale.width, level}, rgb(0xB9BAB4), 0.9);
}

void draw_shadow(Canvas& canvas, const View& view, const BodyFigure& figure, const std::vector<Vec3d>& joints)
{
    for (const FigureBone& bone : figure.bones)
    {
        const Vec3d a{joints[bone.from].x, joints[bone.from].y, 0.0};
        const Vec3d b{joints[bone.to].x, joints[bone.to].y, 0.0};
        canvas.line(view.at(a), view.at(b), kShadow, 2.0 * bone.radiusFrom * view.scale.pointsPerMetre);
    }
}

bool is_in_front(const View& view, const std::vector<Facet>& collider, Vec3d centre, double body_depth)
{
    const auto nearer = [&](Vec3d corner) { return view.depth(corner - centre) > body_depth + kInFront_m; };
    return std::all_of(collider.begin(), collider.end(),
                       [&](const Facet& facet) { return std::all_of(facet.corners.begin(), facet.corners.end(), nearer); });
}

// The facets of the scenery that face the eye, far ones first: of what stands behind and beside the body, or of what stands before it.
void draw_scenery(Canvas& canvas, const View& view, const std::vector<std::vector<Facet>>& scenery, Vec3d centre, double body_depth,
                  bool in_front)
{
    struct Shown
    {
        double depth;
        std::vector<Point> outline;
        Color color;
    };
    std::vector<Shown> shown;
    for (const std::vector<Facet>& collider : scenery)
    {
        if (is_in_front(view, collider, centre, body_depth) != in_front) { continue; }
        for (const Facet& facet : collider)
        {
            if (dot(facet.normal, view.camera.toward) <= 0.0) { continue; }
            const double light = std::clamp(0.5 + 0.5 * facet.normal.z + 0.15 * dot(facet.normal, view.camera.right), 0.0, 1.0);
            Shown one{0.0, {}, mix(kSceneryDark, kSceneryLit, light)};
            one.color.a = in_front ? kGlass : 1.0;
            for (const Vec3d& corner : facet.corners)
            {
                one.depth += view.depth(corner - centre);
                one.outline.push_back(view.at(corner - centre));
            }
            shown.push_back(std::move(one));
        }
    }
    std::stable_sort(shown.begin(), shown.end(), [](const Shown& a, const Shown& b) { return a.depth < b.depth; });
    for (const Shown& facet : shown)
    {
        canvas.fill_polygon(facet.outline, facet.color);
        if (in_front) { continue; }
        // The seams between facets, which the paper would shine through.
        for (size_t k = 0; k < 3; ++k) { canvas.line(facet.outline[k], facet.outline[(k + 1) % 3], facet.color, 0.6); }
    }
}

void draw_animated(Canvas& canvas, const View& view, const BodyFigure& figure, const std::vector<Vec3d>& joints)
{
    const double k = view.scale.pointsPerMetre * kAnimatedThickness;
    if (figure.head >= 0) { draw_head(canvas, view, figure, joints, 0.0, kAnimated); }
    for (const FigureBone& bone : figure.bones)
    {
        draw_capsule(canvas, view.at(joints[bone.from]), bone.radiusFrom * k, view.at(joints[bone.to]), bone.radiusTo * k, kAnimated);
    }
}

void draw_bone(Canvas& canvas, const View& view, const FigureBone& bone, const std::vector<Vec3d>& joints, const BodyFigure& figure)
{
    const Point a = view.at(joints[bone.from]);
    const Point b = view.at(joints[bone.to]);
    const double k = view.scale.pointsPerMetre;
    const double middle_depth = 0.5 * (view.depth(joints[bone.from]) + view.depth(joints[bone.to])) - view.depth(joints[figure.root]);
    const double far = std::clamp(-middle_depth / (0.25 * figure.height), 0.0, 1.0) * kFarFade;
    draw_capsule(canvas, a, bone.radiusFrom * k + kHalo, b, bone.radiusTo * k + kHalo, kPaper);
    draw_capsule(canvas, a, bone.radiusFrom * k, b, bone.radiusTo * k, mix(side_color(bone.side), kPaper, far));
    if (length(joints[bone.to] - joints[bone.from]) > kJointDotShare * figure.height)
    {
        canvas.fill_circle(a, 0.32 * bone.radiusFrom * k, mix(kPaper, side_color(bone.side), 0.1));
    }
}

// Far bones first; the skull in the place of the head's own bone, or after the neck's.
void draw_solved(Canvas& canvas, const View& view, const BodyFigure& figure, const std::vector<Vec3d>& joints)
{
    std::vector<std::pair<double, const FigureBone*>> order;
    for (const FigureBone& bone : figure.bones) { order.emplace_back(view.depth(joints[bone.from]) + view.depth(joints[bone.to]), &bone); }
    std::stable_sort(order.begin(), order.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [depth, bone] : order)
    {
        if (static_cast<int32_t>(bone->to) != figure.headTip)
        {
            draw_bone(canvas, view, *bone, joints, figure);
            if (static_cast<int32_t>(bone->to) != figure.head || figure.headTip >= 0) { continue; }
        }
        draw_head(canvas, view, figure, joints, kHalo, kPaper);
        draw_head(canvas, view, figure, joints, 0.0, kCentre);
    }
}

double draw_goals(Canvas& canvas, const View& view, const RunView& run, size_t frame, Vec3d centre)
{
    double worst = -1.0;
    for (const GoalView& goal_view : run.goals)
    {
        const GoalPoint& sample = goal_view.points[frame];
        if (!sample.active) { continue; }
        const Point goal = view.at(sample.target_world - centre);
        canvas.line(view.at(sample.reached_world - centre), goal, kTarget, 1.3);
        draw_target(canvas, goal, 5.0);
        worst = std::max(worst, length(sample.target_world - sample.reached_world));
    }
    return worst;
}

// What the plugin drew in that frame, whoever it was drawn for.
void draw_debug_lines(Canvas& canvas, const View& view, const limbrex_host::Recording& recording, size_t frame, Vec3d centre)
{
    if (frame >= recording.lines.size()) { return; }
    for (const limbrex_host::LineRecording& line : recording.lines[frame])
    {
        const Point from = view.at(limbrex_host::to_vec3d(line.start_world) - centre);
        const Point to = view.at(limbrex_host::to_vec3d(line.end_world) - centre);
        if (!(std::hypot(to.x - from.x, to.y - from.y) < kLongestLine) || !(std::hypot(from.x, from.y) < kLongestLine)) { continue; }
        canvas.line(from, to, rgb(line.colour_argb & 0xffffffu, static_cast<double>(line.colour_argb >> 24) / 255.0), kDebugLineWidth);
    }
}

}  // namespace

void draw_target(Canvas& canvas, Point at, double radius)
{
    const double arm = radius * 1.55;
    canvas.stroke_circle(at, radius, kPaper, 3.2);
    canvas.line({at.x - arm, at.y}, {at.x + arm, at.y}, kTarget, 1.1);
    canvas.line({at.x, at.y - arm}, {at.x, at.y + arm}, kTarget, 1.1);
    canvas.stroke_circle(at, radius, kTarget, 1.6);
}

Vec3d ground_centre(const RunView& run, const BodyFigure& figure, size_t frame)
{
    const Vec3d hips = run.solved_at(frame)[figure.root].position;
    return {hips.x, hips.y, 0.0};
}

std::vector<Vec3d> joints_around(const RigidPose* world, size_t count, Vec3d centre)
{
    std::vector<Vec3d> joints(count);
    for (size_t j = 0; j < count; ++j) { joints[j] = world[j].position - centre; }
    return joints;
}

void draw_panel(Canvas& canvas, Point corner, const PanelScale& scale, const Camera& camera, const RunView& run, const BodyFigure& figure,
                size_t frame)
{
    const View view{camera, scale, corner};
    const Vec3d centre = ground_centre(run, figure, frame);
    const std::vector<Vec3d> animated = joints_around(run.animated_at(frame), run.joint_count(), centre);
    const std::vector<Vec3d> solved = joints_around(run.solved_at(frame), run.joint_count(), centre);
    canvas.fill_rectangle(corner, scale.width, scale.height, rgb(0xFFFFFF), kPanelRadius);
    canvas.push_clip(corner, scale.width, scale.height);
    draw_grid(canvas, view, centre);
    const std::vector<std::vector<Facet>> scenery = scenery_at(*run.recording, frame);
    const double body_depth = view.depth(solved[figure.root]);
    double worst = -1.0;
    if (run.present(frame)) { draw_shadow(canvas, view, figure, solved); }
    draw_scenery(canvas, view, scenery, centre, body_depth, false);
    if (run.present(frame))
    {
        draw_animated(canvas, view, figure, animated);
        draw_solved(canvas, view, figure, solved);
        worst = draw_goals(canvas, view, run, frame, centre);
    }
    draw_scenery(canvas, view, scenery, centre, body_depth, true);
    draw_debug_lines(canvas, view, *run.recording, frame, centre);
    canvas.pop_clip();
    canvas.stroke_rectangle(corner, scale.width, scale.height, kHairline, 0.8, kPanelRadius);
    const double base = corner.y + scale.height + 14.0;
    const TextStyle time_style{10.5, kInk, true, Align::Left};
    const std::string time = fmt::format("{:.2f} s", static_cast<double>(frame) / run.recording->framesPerSecond);
    canvas.text({corner.x + 2.0, base}, time, time_style);
    const double after = std::max(48.0, 12.0 + canvas.text_width(time, time_style));
    canvas.text({corner.x + after, base}, fmt::format("frame {}", run.recording->firstFrame + frame), {9.5, kMutedInk, false, Align::Left});
    if (worst >= 0.0)
    {
        canvas.text({corner.x + scale.width - 2.0, base}, fmt::format("{:.1f} cm off", worst * 100.0),
                    {9.5, rgb(0xA86A00), false, Align::Right});
    }
}

}  // namespace limbrex_tools
