// The example scenes on stairs and a ramp: after the solve no sole is in the ground and no foot slides while it bears weight. Heights are worked out
// here from the recorded triangles, soles from the rig's own numbers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/animation/pose_math.h"
#include "host/scene.h"

namespace limbrex_host
{
namespace
{

namespace fs = std::filesystem;

constexpr double kDeepest_m = 0.003;
constexpr double kFurthest_m = 0.002;
constexpr double kStanding_mps = 0.15;  // the captured ball of a foot that stands moves no faster
constexpr size_t kShortest = 6;         // frames of a stance

Vec3d placed(const NodePose& pose, Vec3d point) { return to_vec3d(pose.position) + rotate(normalized(to_quatd(pose.rotation)), point); }

// Height of a triangle above (x, y); -1000 beside it.
double height_of(const Vec3d (&corners)[3], Vec3d point)
{
    const Vec3d a = corners[1] - corners[0], b = corners[2] - corners[0], p = point - corners[0];
    const double area = a.x * b.y - a.y * b.x;
    if (std::fabs(area) < 1e-9) return -1000.0;
    const double u = (p.x * b.y - p.y * b.x) / area, v = (a.x * p.y - a.y * p.x) / area;
    return u < -1e-9 || v < -1e-9 || u + v > 1.0 + 1e-9 ? -1000.0 : corners[0].z + u * a.z + v * b.z;
}

double ground_below(const Recording& recording, Vec3d point)
{
    double highest = -1000.0;
    for (const ColliderRecording& collider : recording.colliders)
    {
        const NodePose& pose = collider.poses_world.front();  // nothing moves in these scenes
        if (collider.plane) highest = std::max(highest, static_cast<double>(pose.position[2]));
        for (const auto& triangle : collider.triangles)
        {
            Vec3d corners[3];
            for (size_t i = 0; i < 3; ++i) corners[i] = placed(pose, to_vec3d(collider.vertices[triangle[i]]));
            if (!collider.plane) highest = std::max(highest, height_of(corners, point));
        }
    }
    return highest;
}

// One foot of the scene's unit with the sole that the rig gives it.
struct Foot
{
    Foot(const Recording& from, const nlohmann::json& rig, const std::string& side) : recording(from), unit(from.units.front())
    {
        ankle = node(side + "Foot");
        ball = node(side + "ToeBase");
        const auto size = [&rig](const char* name) { return rig.at(std::string("contact_foot_") + name).get<double>(); };
        const double outward = side == "Left" ? 1.0 : -1.0;
        // From the stance's axes (x to the left, y up, z forward) into those of the joint.
        Quatd stance;
        for (const auto& element : rig.at("t_stance"))
            if (element.at("node") == side + "Foot") stance = {element.at("qx"), element.at("qy"), element.at("qz"), element.at("qw")};
        for (const double across : {-outward * size("in_to_ankle"), outward * size("out_to_ankle")})
            for (const double along : {-size("back_to_ankle"), size("middle_to_ankle")})
                sole.push_back(rotate(conjugate(stance), {across, -size("bottom_to_ankle"), along}));
    }
    size_t node(const std::string& name) const
    {
        const auto found = std::find(unit.nodeNames.begin(), unit.nodeNames.end(), name);
        EXPECT_NE(found, unit.nodeNames.end()) << name;
        return static_cast<size_t>(found - unit.nodeNames.begin());
    }
    double lowestCorner(const PoseTrack& track, size_t frame) const
    {
        double lowest = 1000.0;
        for (const Vec3d& corner : sole)
        {
            const Vec3d point = placed(track.at(frame)[ankle], corner);
            lowest = std::min(lowest, point.z - ground_below(recording, point));
        }
        return lowest;
    }
    Vec3d ballAt(const PoseTrack& track, size_t frame) const { return to_vec3d(track.at(frame)[ball].position); }
    bool standsInClip(size_t frame) const
    {
        if (frame == 0 || frame + 1 >= recording.frameCount) return false;
        const Vec3d way = ballAt(unit.animatedWorld, frame + 1) - ballAt(unit.animatedWorld, frame - 1);
        return 0.5 * length(way) * recording.framesPerSecond < kStanding_mps;
    }
    // Furthest that the ball gets along the ground from where each stance began.
    double drift(const PoseTrack& track) const
    {
        double furthest = 0.0;
        for (size_t first = 0; first < recording.frameCount; ++first)
        {
            size_t end = first;
            while (standsInClip(end)) ++end;
            for (size_t frame = first; end - first >= kShortest && frame < end; ++frame)
            {
                const Vec3d way = ballAt(track, frame) - ballAt(track, first);
                furthest = std::max(furthest, std::hypot(way.x, way.y));
            }
            first = end;
        }
        return furthest;
    }

    const Recording& recording;
    const UnitRecording& unit;
    size_t ankle = 0, ball = 0;
    std::vector<Vec3d> sole;
};

class GroundScene : public ::testing::TestWithParam<const char*>
{};

TEST_P(GroundScene, SolesStayAboveTheGroundAndFeetThatStandDoNotSlide)
{
    if (!fs::exists("/usr/share/assimp/models/BVH/01_03.bvh")) GTEST_SKIP() << "no captured clips here";
    const fs::path examples = fs::path(LIMBREX_SOURCE_DIR) / "examples";
    std::ifstream rig_file(examples / "rigs" / "walker.character");
    const nlohmann::json rig = nlohmann::json::parse(rig_file);
    SceneOptions options;
    options.scene = (examples / "scenes" / (std::string(GetParam()) + ".lua")).string();
    options.plugin = LIMBREX_PLUGIN_PATH;
    Recording recording;
    std::string error;
    ASSERT_TRUE(run_scene(options, recording, error)) << error;
    ASSERT_EQ(recording.units.size(), 1u);

    double worst_in_clip = 1000.0;
    for (const char* side : {"Left", "Right"})
    {
        const Foot foot(recording, rig, side);
        for (size_t frame = 0; frame < recording.frameCount; ++frame)
        {
            EXPECT_GT(foot.lowestCorner(foot.unit.solvedWorld, frame), -kDeepest_m) << side << ", frame " << frame;
            worst_in_clip = std::min(worst_in_clip, foot.lowestCorner(foot.unit.animatedWorld, frame));
        }
        EXPECT_LT(foot.drift(foot.unit.solvedWorld), kFurthest_m) << side;
        EXPECT_GT(foot.drift(foot.unit.animatedWorld), 2.0 * kFurthest_m) << side << ": captured feet slide, or this asks for nothing";
    }
    EXPECT_LT(worst_in_clip, -0.1) << "the captured feet are deep in this ground";
}

INSTANTIATE_TEST_SUITE_P(Examples, GroundScene, ::testing::Values("walk_stairs", "walk_ramp", "hop_stairs"),
                         [](const auto& scene) { return std::string(scene.param); });

}  // namespace
}  // namespace limbrex_host
