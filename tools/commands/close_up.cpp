#include "tools/commands/close_up.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/report/filmstrip.h"
#include "tools/report/filmstrip_panel.h"

namespace limbrex_tools
{
namespace
{

using limbrex_host::CloseUpRecording;
using limbrex_host::Recording;
using limbrex_host::Skeleton;
using limbrex_host::Vec3d;

constexpr size_t kMoments = 10;
constexpr double kSide = 168.0;
constexpr double kGap = 10.0;
constexpr double kMargin = 26.0;
constexpr double kHeader = 62.0;
constexpr double kLabel = 24.0;
constexpr double kCaption = 26.0;
constexpr double kSlimmer = 0.7;  // bones are drawn for the distance; from near by they would hide each other
constexpr double kOnJoint_m = 0.005;
constexpr double kAir = 0.06;  // of the part's extent, on each side

struct Part
{
    std::string name;
    RunView run;
    BodyFigure figure;  // of what hangs on the joint, with the bone that leads to it
    std::vector<size_t> joints;
    std::vector<size_t> frames;
    PanelScale scale;
    Camera camera;
};

// Joints come parents first.
std::vector<size_t> joints_below(const Skeleton& skeleton, size_t joint)
{
    std::vector<uint8_t> below(skeleton.joints.size(), 0);
    std::vector<size_t> found;
    for (size_t j = joint; j < skeleton.joints.size(); ++j)
    {
        const int32_t parent = skeleton.joints[j].parent;
        below[j] = j == joint || (parent >= 0 && below[static_cast<size_t>(parent)] != 0) ? 1 : 0;
        if (below[j] != 0) { found.push_back(j); }
    }
    return found;
}

BodyFigure figure_of_part(const Skeleton& skeleton, const std::vector<size_t>& joints)
{
    BodyFigure figure = make_figure(skeleton);
    const auto outside = [&joints](const FigureBone& bone) { return !std::binary_search(joints.begin(), joints.end(), bone.to); };
    figure.bones.erase(std::remove_if(figure.bones.begin(), figure.bones.end(), outside), figure.bones.end());
    for (FigureBone& bone : figure.bones)
    {
        bone.radiusFrom *= kSlimmer;
        bone.radiusTo *= kSlimmer;
    }
    figure.root = joints.front();
    figure.head = figure.headTip = -1;
    double longest = 0.0;
    std::vector<double> reach(skeleton.joints.size(), 0.0);
    for (size_t i = 1; i < joints.size(); ++i)
    {
        const limbrex_host::Joint& joint = skeleton.joints[joints[i]];
        reach[joints[i]] = reach[static_cast<size_t>(joint.parent)] + length(limbrex_host::to_vec3d(joint.rest.translation));
        longest = std::max(longest, reach[joints[i]]);
    }
    if (longest > 0.0) { figure.height = longest; }
    return figure;
}

// The same square of the world for every moment, so that a part that moves is seen to move.
PanelScale fit(const Part& part)
{
    double left = 1e30, right = -1e30, low = 1e30, high = -1e30;
    for (const size_t frame : part.frames)
    {
        const Vec3d centre = ground_centre(part.run, part.figure, frame);
        for (const size_t joint : part.joints)
        {
            const Projected p = project(part.camera, part.run.solved_at(frame)[joint].position - centre);
            left = std::min(left, p.x);
            right = std::max(right, p.x);
            low = std::min(low, p.y);
            high = std::max(high, p.y);
        }
    }
    const double side = std::max({right - left, high - low, 0.01}) * (1.0 + 2.0 * kAir);
    PanelScale scale;
    scale.width = scale.height = kSide;
    scale.pointsPerMetre = kSide / side;
    scale.left = 0.5 * (left + right - side);
    scale.top = 0.5 * (low + high + side);
    return scale;
}

// Whether a goal moves this part: its effector stands on one of the joints.
bool belongs(const Part& part, const GoalView& goal)
{
    const auto first = std::find_if(goal.points.begin(), goal.points.end(), [](const GoalPoint& point) { return point.active; });
    if (first == goal.points.end()) { return false; }
    const limbrex_host::RigidPose* const pose = part.run.solved_at(static_cast<size_t>(first - goal.points.begin()));
    return std::any_of(part.joints.begin(), part.joints.end(),
                       [&](size_t joint) { return length(pose[joint].position - first->reached_world) < kOnJoint_m; });
}

bool make_part(const Recording& recording, const CloseUpRecording& wanted, Part& part, std::string& error)
{
    if (!make_run_view(recording, wanted.unit, part.run, error)) { return false; }
    const Skeleton& skeleton = part.run.skeleton();
    if (wanted.joint >= skeleton.joints.size())
    {
        error = fmt::format("close-up \"{}\": the unit has no such joint", wanted.name);
        return false;
    }
    part.name = wanted.name;
    part.joints = joints_below(skeleton, wanted.joint);
    std::vector<GoalView>& goals = part.run.goals;
    goals.erase(std::remove_if(goals.begin(), goals.end(), [&part](const GoalView& goal) { return !belongs(part, goal); }), goals.end());
    part.figure = figure_of_part(skeleton, part.joints);
    part.frames = pick_moments(part.run.frameCount, kMoments);
    std::vector<std::vector<Vec3d>> poses;
    for (const size_t frame : part.frames)
    {
        poses.push_back(joints_around(part.run.solved_at(frame), part.run.joint_count(), ground_centre(part.run, part.figure, frame)));
    }
    part.camera = choose_camera(part.figure, poses, {});
    part.scale = fit(part);
    return true;
}

}  // namespace

bool write_close_ups(const std::string& path, const std::string& title, const Recording& recording, std::string& error)
{
    std::vector<Part> parts;
    for (const CloseUpRecording& wanted : recording.closeUps)
    {
        parts.emplace_back();
        if (!make_part(recording, wanted, parts.back(), error)) { return false; }
    }
    if (parts.empty()) { return true; }
    const double row = kLabel + kSide + kCaption;
    const size_t columns = parts[0].frames.size();
    const double width = 2.0 * kMargin + static_cast<double>(columns) * (kSide + kGap) - kGap;
    Canvas canvas(width, kHeader + static_cast<double>(parts.size()) * row + 0.5 * kMargin);
    canvas.text({kMargin, 34.0}, title, {17.0, kInk, true, Align::Left});
    canvas.text({kMargin, 53.0}, "from near by; solved in colour, animated grey", {10.5, kMutedInk, false, Align::Left});
    for (size_t p = 0; p < parts.size(); ++p)
    {
        const double top = kHeader + static_cast<double>(p) * row;
        canvas.text({kMargin + 2.0, top + 15.0}, parts[p].name, {12.0, kInk, true, Align::Left});
        for (size_t i = 0; i < parts[p].frames.size(); ++i)
        {
            const Point corner{kMargin + static_cast<double>(i) * (kSide + kGap), top + kLabel};
            draw_panel(canvas, corner, parts[p].scale, parts[p].camera, parts[p].run, parts[p].figure, parts[p].frames[i]);
        }
    }
    return canvas.save_png(path, error);
}

}  // namespace limbrex_tools
