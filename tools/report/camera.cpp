#include "tools/report/camera.h"

#include <algorithm>
#include <cmath>

namespace limbrex_tools
{
namespace
{

using limbrex_host::Vec3d;

constexpr double kTurn_rad = 2.0 * 3.14159265358979323846;
constexpr int kDirections = 24;
constexpr double kElevation_rad = 14.0 * kTurn_rad / 360.0;
constexpr double kThreeQuarter_rad = 38.0 * kTurn_rad / 360.0;  // off the facing where limbs and depth are both seen
constexpr double kFacingWeight = 0.25;
constexpr double kInterestWeight = 0.15;

// Horizontal facing of a pose: up cross (right to left). Zero for bodies without sides.
Vec3d facing_of(const BodyFigure& figure, const std::vector<Vec3d>& joints)
{
    Vec3d left;
    Vec3d right;
    double left_count = 0.0;
    double right_count = 0.0;
    for (size_t j = 0; j < joints.size() && j < figure.sides.size(); ++j)
    {
        if (figure.sides[j] == Side::Left)
        {
            left = left + joints[j];
            left_count += 1.0;
        }
        if (figure.sides[j] == Side::Right)
        {
            right = right + joints[j];
            right_count += 1.0;
        }
    }
    if (left_count == 0.0 || right_count == 0.0) { return {}; }
    Vec3d across = left * (1.0 / left_count) - right * (1.0 / right_count);
    across.z = 0.0;
    return normalized(cross(normalized(across), Vec3d{0.0, 0.0, 1.0}));
}

// Share of the bones' length that a camera sees unforeshortened.
double seen_share(const Camera& camera, const BodyFigure& figure, const std::vector<Vec3d>& joints)
{
    double seen = 0.0;
    double whole = 0.0;
    for (const FigureBone& bone : figure.bones)
    {
        const Vec3d along = joints[bone.to] - joints[bone.from];
        seen += std::hypot(dot(along, camera.right), dot(along, camera.upward));
        whole += length(along);
    }
    return whole > 0.0 ? seen / whole : 0.0;
}

}  // namespace

Camera camera_at(double azimuth_rad, double elevation_rad)
{
    const double ce = std::cos(elevation_rad);
    const double se = std::sin(elevation_rad);
    Camera camera;
    camera.toward = {ce * std::cos(azimuth_rad), ce * std::sin(azimuth_rad), se};
    camera.right = {-std::sin(azimuth_rad), std::cos(azimuth_rad), 0.0};
    camera.upward = cross(camera.toward, camera.right);
    return camera;
}

Projected project(const Camera& camera, Vec3d point_world)
{
    return {dot(point_world, camera.right), dot(point_world, camera.upward), dot(point_world, camera.toward)};
}

Camera choose_camera(const BodyFigure& figure, const std::vector<std::vector<Vec3d>>& poses, const std::vector<Vec3d>& interests)
{
    Camera best = camera_at(0.0, kElevation_rad);
    double best_score = -1e30;
    for (int i = 0; i < kDirections; ++i)
    {
        const double azimuth = kTurn_rad * i / kDirections;
        const Camera camera = camera_at(azimuth, kElevation_rad);
        const Vec3d eye{std::cos(azimuth), std::sin(azimuth), 0.0};
        double score = 0.0;
        for (const Vec3d& point : interests)
        {
            const double nearness = std::clamp(dot(point, eye) / (0.3 * figure.height), -1.0, 1.0);
            score += kInterestWeight * nearness * static_cast<double>(poses.size()) / static_cast<double>(interests.size());
        }
        for (const std::vector<Vec3d>& joints : poses)
        {
            const Vec3d facing = facing_of(figure, joints);
            // Greatest when the eye stands a three-quarter angle to either side of the facing.
            const double off = std::atan2(std::fabs(cross(facing, eye).z), dot(facing, eye));
            const double front = length(facing) > 0.0 ? std::cos(off - kThreeQuarter_rad) : 0.0;
            score += seen_share(camera, figure, joints) + kFacingWeight * front;
        }
        if (score > best_score)
        {
            best_score = score;
            best = camera;
        }
    }
    return best;
}

}  // namespace limbrex_tools
