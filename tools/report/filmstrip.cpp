#include "tools/report/filmstrip.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/report/filmstrip_panel.h"

namespace limbrex_tools
{
namespace
{

using limbrex_host::Vec3d;

constexpr double kMargin = 26.0;
constexpr double kGap = 10.0;
constexpr double kHeader = 66.0;
constexpr double kCaption = 26.0;   // time below a panel
constexpr double kRowLabel = 24.0;  // above a row's panels when rows are labelled
constexpr double kWidePanel = 236.0;
constexpr double kNarrowPanel = 168.0;
constexpr double kAir_m = 0.10;
constexpr double kTallestPanel = 1.5;  // height over width
constexpr double kFlattestPanel = 0.85;
constexpr double kFarTarget = 0.6;  // body heights from the hips beyond which a target does not widen the picture

struct Box
{
    double left = 0.0, right = 0.0, low = 0.0, high = 0.0;

    void add(const Projected& p)
    {
        left = std::min(left, p.x);
        right = std::max(right, p.x);
        low = std::min(low, p.y);
        high = std::max(high, p.y);
    }
};

struct Row
{
    std::string label;
    RunView run;
    BodyFigure figure;
};

struct Sheet
{
    std::vector<size_t> frames;
    size_t panelsPerLine = 1;
    size_t linesPerRow = 1;
    bool labelled = false;
    PanelScale scale;
    Camera camera;
};

Camera sheet_camera(const std::vector<Row>& rows, const Sheet& sheet)
{
    std::vector<std::vector<Vec3d>> poses;
    std::vector<Vec3d> targets;
    const RunView& run = rows[0].run;
    for (const size_t frame : sheet.frames)
    {
        const Vec3d centre = ground_centre(run, rows[0].figure, frame);
        poses.push_back(joints_around(run.solved_at(frame), run.joint_count(), centre));
        for (const GoalView& goal : run.goals)
        {
            if (goal.points[frame].active) { targets.push_back(goal.points[frame].target_world - centre); }
        }
    }
    return choose_camera(rows[0].figure, poses, targets);
}

Box motion_box(const std::vector<Row>& rows, const Sheet& sheet)
{
    Box box;
    for (const auto& [label, run, figure] : rows)
    {
        for (const size_t frame : sheet.frames)
        {
            const Vec3d centre = ground_centre(run, figure, frame);
            for (const Vec3d& p : joints_around(run.solved_at(frame), run.joint_count(), centre)) { box.add(project(sheet.camera, p)); }
            for (const Vec3d& p : joints_around(run.animated_at(frame), run.joint_count(), centre)) { box.add(project(sheet.camera, p)); }
            for (const GoalView& goal : run.goals)
            {
                const Vec3d p = goal.points[frame].target_world - centre;
                if (goal.points[frame].active && std::hypot(p.x, p.y) < kFarTarget * figure.height) { box.add(project(sheet.camera, p)); }
            }
        }
    }
    return {box.left - kAir_m, box.right + kAir_m, box.low - kAir_m, box.high + kAir_m};
}

// Panels as wide as their column; the height follows the motion within sensible proportions, and the scale fits both.
PanelScale fit_panel(const Box& box, double width)
{
    const double across = box.right - box.left;
    const double up = box.high - box.low;
    PanelScale scale;
    scale.width = width;
    scale.height = std::clamp(width * up / across, kFlattestPanel * width, kTallestPanel * width);
    scale.pointsPerMetre = std::min(scale.width / across, scale.height / up);
    scale.left = 0.5 * (box.left + box.right) - 0.5 * scale.width / scale.pointsPerMetre;
    scale.top = box.low + scale.height / scale.pointsPerMetre;
    return scale;
}

double row_height(const Sheet& sheet)
{
    return static_cast<double>(sheet.linesPerRow) * (sheet.scale.height + kCaption) + (sheet.labelled ? kRowLabel : 0.0);
}

double legend_swatch(Canvas& canvas, double right, double base, const std::string& words, Color color)
{
    const TextStyle style{10.5, kInk, false, Align::Right};
    canvas.text({right, base}, words, style);
    const double left = right - canvas.text_width(words, style) - 20.0;
    canvas.fill_rectangle({left, base - 7.5}, 15.0, 7.0, color, 3.5);
    return left - 16.0;
}

// From the right edge inwards.
void draw_legend(Canvas& canvas, double right, double base)
{
    const TextStyle style{10.5, kInk, false, Align::Right};
    canvas.text({right, base}, "target and distance to it", style);
    const double mark = right - canvas.text_width("target and distance to it", style) - 14.0;
    canvas.line({mark - 20.0, base - 4.0}, {mark, base - 4.0}, kTarget, 1.3);
    draw_target(canvas, {mark, base - 4.0}, 4.0);
    double next = mark - 38.0;
    next = legend_swatch(canvas, next, base, "animated", kAnimated);
    next = legend_swatch(canvas, next, base, "solved: centre", kCentre);
    next = legend_swatch(canvas, next, base, "solved: right side", kRight);
    legend_swatch(canvas, next, base, "solved: left side", kLeft);
}

void draw_header(Canvas& canvas, const FilmstripOptions& options, const RunView& run)
{
    canvas.text({kMargin, 34.0}, options.title.empty() ? run.unit->name : options.title, {17.0, kInk, true, Align::Left});
    const std::string facts =
        fmt::format("{:.2f} s at {:.4g} frames a second; every panel centred on the hips, grid 0.5 m",
                    static_cast<double>(run.frameCount) / run.recording->framesPerSecond, run.recording->framesPerSecond);
    canvas.text({kMargin, 53.0}, facts, {10.5, kMutedInk, false, Align::Left});
    draw_legend(canvas, canvas.width() - kMargin, 33.0);
}

void draw_row(Canvas& canvas, const Sheet& sheet, const Row& row, double top)
{
    if (sheet.labelled)
    {
        canvas.text({kMargin + 2.0, top + 15.0}, row.label, {12.0, kInk, true, Align::Left});
        top += kRowLabel;
    }
    for (size_t i = 0; i < sheet.frames.size(); ++i)
    {
        const size_t column = i % sheet.panelsPerLine;
        const size_t line = i / sheet.panelsPerLine;
        const double x = kMargin + static_cast<double>(column) * (sheet.scale.width + kGap);
        const double y = top + static_cast<double>(line) * (sheet.scale.height + kCaption);
        draw_panel(canvas, {x, y}, sheet.scale, sheet.camera, row.run, row.figure, sheet.frames[i]);
    }
}

Sheet lay_out(const FilmstripOptions& options, const std::vector<Row>& rows)
{
    Sheet sheet;
    const bool single = rows.size() == 1;
    size_t frame_count = rows[0].run.frameCount;
    for (const Row& row : rows) { frame_count = std::min(frame_count, row.run.frameCount); }
    sheet.frames = pick_moments(frame_count, options.moments > 0 ? options.moments : single ? 10 : 8);
    const size_t wanted = options.panelsPerLine > 0 ? options.panelsPerLine : single ? 5 : sheet.frames.size();
    sheet.panelsPerLine = std::min(wanted, sheet.frames.size());
    sheet.linesPerRow = (sheet.frames.size() + sheet.panelsPerLine - 1) / sheet.panelsPerLine;
    sheet.labelled = !single;
    sheet.camera = sheet_camera(rows, sheet);
    sheet.scale = fit_panel(motion_box(rows, sheet), sheet.panelsPerLine > 5 ? kNarrowPanel : kWidePanel);
    return sheet;
}

}  // namespace

std::vector<size_t> pick_moments(size_t frame_count, size_t moments)
{
    std::vector<size_t> frames;
    if (frame_count == 0 || moments == 0) { return frames; }
    const size_t count = std::min(frame_count, moments);
    for (size_t i = 0; i < count; ++i) { frames.push_back(count == 1 ? 0 : (i * (frame_count - 1) + (count - 1) / 2) / (count - 1)); }
    return frames;
}

bool write_filmstrip(const std::string& path, const FilmstripOptions& options, const std::vector<FilmstripRow>& rows, std::string& error)
{
    if (rows.empty() || rows.size() > 12 || options.moments > 64)
    {
        error = path + ": a filmstrip shows one to twelve runs at up to 64 moments";
        return false;
    }
    std::vector<Row> views;
    for (const FilmstripRow& row : rows)
    {
        views.push_back({row.label, {}, {}});
        if (!make_run_view(*row.recording, row.unit, views.back().run, error)) { return false; }
        views.back().figure = make_figure(views.back().run.skeleton());
    }
    const Sheet sheet = lay_out(options, views);
    const double panels = static_cast<double>(sheet.panelsPerLine);
    const double width = std::max(2.0 * kMargin + panels * (sheet.scale.width + kGap) - kGap, 860.0);
    Canvas canvas(width, kHeader + static_cast<double>(rows.size()) * row_height(sheet) + kMargin * 0.5);
    draw_header(canvas, options, views[0].run);
    for (size_t r = 0; r < rows.size(); ++r) { draw_row(canvas, sheet, views[r], kHeader + static_cast<double>(r) * row_height(sheet)); }
    return canvas.save_png(path, error);
}

}  // namespace limbrex_tools
