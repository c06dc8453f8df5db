// Feet on ground that the clip was not captured on: depths and speeds that are known, and captured motion on stairs and a ramp.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numeric>

#include "host/animation/import.h"
#include "tests/tools/body_fixture.h"
#include "tools/commands/commands.h"
#include "tools/commands/json_file.h"
#include "tools/measure/ground_measurement.h"
#include "tools/rig/rig_init.h"

using namespace limbrex_host;
using namespace limbrex_tools;

namespace limbrex_tests
{
namespace
{

constexpr size_t kFrames = 60;
constexpr double kFramesPerSecond = 30.0;
const std::string kWalk = "/usr/share/assimp/models/BVH/01_01.bvh";
const double kTan15 = 2.0 - std::sqrt(3.0);

std::string rig_path(const std::string& name) { return LIMBREX_SOURCE_DIR "/examples/rigs/" + name + ".character"; }

// The plain body in its stance, its soles `sunk_m` below height 0, moving along x as a whole.
struct StandingBody
{
    Asset asset;
    nlohmann::json source;
    MeasuredRig rig;

    StandingBody(double sunk_m, double speed_mps)
    {
        asset.skeleton = plain_body();
        RigInitOptions options;
        options.unitName = "body";
        options.map.emplace();
        for (const Joint& joint : asset.skeleton.joints)
        {
            if (LBXGetNodeIdFromName(joint.name.c_str()) >= 0) { options.map->emplace_back(joint.name, joint.name); }
        }
        RigInitResult result;
        std::string error;
        EXPECT_TRUE(init_rig(asset, options, result, error)) << error;
        source = nlohmann::json::parse(write_rig_source(result.source));
        EXPECT_TRUE(build_measured_rig(source, asset.skeleton, rig, error)) << error;
        const double soles = 0.1 - size("bottom_to_ankle");  // of the stance: its ankles are 0.1 m high
        Clip clip;
        clip.frameCount = kFrames;
        clip.framesPerSecond = static_cast<decltype(clip.framesPerSecond)>(kFramesPerSecond);
        for (size_t frame = 0; frame < kFrames; ++frame)
        {
            for (const Joint& joint : asset.skeleton.joints)
            {
                clip.poses.push_back(joint.rest);
                if (joint.parent >= 0) { continue; }
                clip.poses.back().translation[0] += static_cast<float>(speed_mps * static_cast<double>(frame) / kFramesPerSecond);
                clip.poses.back().translation[1] -= static_cast<float>(soles + sunk_m);
            }
        }
        asset.clips.push_back(std::move(clip));
    }
    double size(const std::string& name) const { return source.at("contact_foot_" + name).get<double>(); }
    GroundMeasurement over(const Ground& ground) const
    {
        GroundMeasurement measurement;
        std::string error;
        EXPECT_TRUE(measure_ground(rig, source, asset, ground, measurement, error)) << error;
        return measurement;
    }
};

TEST(MeasureGround, HeightsAndSlopesAreThoseOfStairsAndARamp)
{
    Ground ground{GroundShape::Stairs, {1.0, 0.5, 2.0}, {0.6, 0.0, 0.8}};
    const auto ahead = [&](double along, double aside) { return ground.edge + ground.heading * along + Vec3d{-0.8, 7.0, 0.6} * aside; };
    EXPECT_DOUBLE_EQ(ground.height(ahead(-0.01, 3.0)), 0.5);
    EXPECT_DOUBLE_EQ(ground.height(ahead(0.01, -3.0)), 0.67);
    EXPECT_DOUBLE_EQ(ground.height(ahead(0.29, 3.0)), 0.67);
    EXPECT_DOUBLE_EQ(ground.height(ahead(0.31, 0.0)), 0.84);
    EXPECT_EQ(ground.normal(ahead(0.31, 0.0)).y, 1.0);
    ground.shape = GroundShape::Ramp;
    EXPECT_DOUBLE_EQ(ground.height(ahead(-2.0, 0.0)), 0.5);
    EXPECT_NEAR(ground.height(ahead(2.0, 5.0)), 0.5 + 2.0 * kTan15, 1e-12);
    const Vec3d up_the_ramp = ground.heading * 1.0 + Vec3d{0.0, kTan15, 0.0};
    EXPECT_NEAR(dot(ground.normal(ahead(1.0, 0.0)), up_the_ramp), 0.0, 1e-12);
    EXPECT_NEAR(length(ground.normal(ahead(1.0, 0.0))), 1.0, 1e-12);
}

TEST(MeasureGround, LiesAlongTheWayOfTheHipsOrBeforeABodyThatStays)
{
    const StandingBody walking(0.0, -0.5);
    const Ground along = lay_ground(walking.rig, walking.asset, GroundShape::Ramp, 0.25);
    EXPECT_NEAR(along.heading.x, -1.0, 1e-6);
    EXPECT_NEAR(along.edge.x, -0.3, 1e-6);
    EXPECT_EQ(along.edge.y, 0.25);
    const StandingBody staying(0.0, 0.02);
    EXPECT_NEAR(lay_ground(staying.rig, staying.asset, GroundShape::Ramp, 0.0).heading.z, 1.0, 1e-6);
}

TEST(MeasureGround, AStanceThatTheClipJumpsAwayFromIsLeftOut)
{
    StandingBody body(0.01, 0.1);
    for (const bool jumps : {false, true})
    {
        if (jumps) { body.asset.clips[0].poses[0].translation = {4.0f, -3.0f, 4.0f}; }
        const Ground ground = lay_ground(body.rig, body.asset, GroundShape::Flat, 0.0);
        EXPECT_NEAR(body.over(ground).before.penetration_mm[0], 10.0, 0.01);
        EXPECT_EQ(body.over(ground).before.penetration_mm.size(), kFrames - (jumps ? 1 : 0));
    }
}

TEST(MeasureGround, FeetSunkByAKnownDepthShowItAndStandOnTheGroundAfterwards)
{
    for (const double sunk_m : {0.002, 0.05})
    {
        const GroundMeasurement measurement = StandingBody(sunk_m, 0.0).over({});
        const FootingNumbers before = summarize(measurement.before), after = summarize(measurement.after);
        EXPECT_NEAR(before.penetrationMean_mm, 1000.0 * sunk_m, 0.01);
        EXPECT_NEAR(before.penetrationMax_mm, 1000.0 * sunk_m, 0.01);
        EXPECT_EQ(before.deepShare, sunk_m > 0.003 ? 1.0 : 0.0);
        EXPECT_EQ(before.gapMean_mm, 0.0);
        EXPECT_LT(after.penetrationMax_mm, 0.1);
        EXPECT_LT(after.gapMean_mm, 1.0) << "out of the ground, and no higher";
    }
    const GroundMeasurement hovering = StandingBody(-0.04, 0.0).over({});
    EXPECT_EQ(summarize(hovering.before).penetrationMax_mm, 0.0);
    EXPECT_NEAR(summarize(hovering.before).gapMean_mm, 40.0, 0.1);
}

TEST(MeasureGround, TheDeepestCornerUphillCountsOnARampAndOnStairs)
{
    const StandingBody body(0.0, 0.0);
    const Ground ramp{GroundShape::Ramp, {0.0, 0.0, -1.0}, {0.0, 0.0, 1.0}};
    const GroundMeasurement sloped = body.over(ramp);
    EXPECT_NEAR(summarize(sloped.before).penetrationMax_mm, 1000.0 * kTan15 * (1.0 + body.size("middle_to_ankle")), 0.1);
    EXPECT_LT(summarize(sloped.after).penetrationMax_mm, 0.5);
    EXPECT_LT(summarize(sloped.after).gapMean_mm, 10.0);
    // The riser stands under the ball, the heel is before it.
    const Ground step{GroundShape::Stairs, {0.0, 0.0, 0.5 * body.size("middle_to_ankle")}, {0.0, 0.0, 1.0}};
    const GroundMeasurement stepped = body.over(step);
    EXPECT_NEAR(summarize(stepped.before).penetrationMax_mm, 1000.0 * kStepHeight_m, 0.1);
    EXPECT_LT(summarize(stepped.after).penetrationMax_mm, 0.5);
}

TEST(MeasureGround, AFootThatSlidesShowsItsSpeedAndAQuickOneIsNotPlanted)
{
    const GroundMeasurement sliding = StandingBody(0.01, 0.1).over({});
    EXPECT_EQ(sliding.plantedFrames[0], kFrames - 2);
    for (const FootingCurve* curve : {&sliding.before, &sliding.after})
    {
        const FootingNumbers numbers = summarize(*curve);
        EXPECT_EQ(curve->stepSkate_mmps.size(), 2 * (kFrames - 3));
        EXPECT_NEAR(numbers.skateMean_mmps, 100.0, 0.5);
        EXPECT_NEAR(numbers.skateMax_mmps, 100.0, 1.0);
        EXPECT_TRUE(std::isnan(curve->skate_mmps[1]));
        EXPECT_NEAR(curve->skate_mmps[2], 100.0, 1.0);
    }
    const GroundMeasurement quick = StandingBody(0.0, 0.2).over({});
    EXPECT_EQ(quick.plantedFrames[1], 0u);
    EXPECT_TRUE(quick.before.stepSkate_mmps.empty());
}

struct CapturedCase
{
    const char* clip;
    const char* rig;
    double floor_m;  // where the clip stands with the rig's soles
};

class MeasureGroundCaptured : public ::testing::TestWithParam<CapturedCase>
{};

TEST_P(MeasureGroundCaptured, SolvedSolesStayOutOfEveryGroundAndNearIt)
{
    const std::string path = std::string("/usr/share/assimp/models/BVH/") + GetParam().clip + ".bvh";
    if (!std::filesystem::exists(path)) { GTEST_SKIP() << "no captured clips here"; }
    Asset asset;
    nlohmann::json source;
    MeasuredRig rig;
    std::string error;
    ASSERT_TRUE(import_asset(path, ImportOptions{}, asset, error)) << error;
    ASSERT_TRUE(read_json_file(rig_path(GetParam().rig), source, error) && build_measured_rig(source, asset.skeleton, rig, error)) << error;
    double own_gap_mm = 0.0;  // of planted feet over the clip's own floor: some stand on things
    for (const GroundShape shape : {GroundShape::Flat, GroundShape::Stairs, GroundShape::Ramp})
    {
        const Ground ground = lay_ground(rig, asset, shape, GetParam().floor_m);
        GroundMeasurement measurement;
        ASSERT_TRUE(measure_ground(rig, source, asset, ground, measurement, error)) << error;
        const FootingNumbers before = summarize(measurement.before), after = summarize(measurement.after);
        if (shape == GroundShape::Flat) { own_gap_mm = before.gapMean_mm; }
        const char* name = kGroundNames[static_cast<size_t>(shape)];
        EXPECT_GT(before.penetrationMax_mm, 10.0) << name;
        EXPECT_LE(after.penetrationMax_mm, kDeepFrame_mm) << name;
        EXPECT_GT(measurement.plantedFrames[0], 500u) << name;
        EXPECT_LT(after.skateMean_mmps, 1.15 * before.skateMean_mmps) << name;
        EXPECT_LT(after.gapMean_mm, own_gap_mm + 20.0) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, MeasureGroundCaptured,
                         ::testing::Values(CapturedCase{"01_01", "walker", 0.0}, CapturedCase{"01_01", "hops", 0.045},
                                           CapturedCase{"01_03", "walker", 0.0}),
                         [](const auto& captured) { return std::string(captured.param.rig) + captured.param.clip; });

TEST(MeasureGround, TheCommandWritesCurvesThatAgreeWithItsNumbers)
{
    if (!std::filesystem::exists(kWalk)) { GTEST_SKIP() << "no captured clips here"; }
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "limbrex_measure_ground";
    std::filesystem::remove_all(folder);
    const std::string rig = rig_path("walker"), out = folder.string();
    const char* arguments[] = {"limbrex",  "measure", kWalk.c_str(), "--rig",     rig.c_str(),
                               "--ground", "ramp",    "--out",       out.c_str(), "--strict"};
    ASSERT_EQ(run_command(static_cast<int>(std::size(arguments)), arguments), 0);
    for (const char* name : {"penetration_ramp.png", "skate_ramp.png"})
    {
        EXPECT_GT(std::filesystem::file_size(folder / name), 1000u) << name;
    }
    std::ifstream file(folder / "ground_ramp.json");
    const nlohmann::json json = nlohmann::json::parse(file);
    const auto depths = json["before"]["penetration_mm"].get<std::vector<double>>();
    ASSERT_EQ(depths.size(), json["frames"].get<size_t>());
    EXPECT_NEAR(json["before"]["penetration_mean_mm"].get<double>(),
                std::accumulate(depths.begin(), depths.end(), 0.0) / static_cast<double>(depths.size()), 1e-6);
    EXPECT_EQ(json["after"]["skate_mm_per_s"].size(), depths.size());
    EXPECT_TRUE(json["after"]["skate_mm_per_s"][0].is_null());
    std::filesystem::remove_all(folder);

    const char* unknown[] = {"limbrex", "measure", kWalk.c_str(), "--rig", rig.c_str(), "--ground", "lava"};
    EXPECT_EQ(run_command(static_cast<int>(std::size(unknown)), unknown), kExitUsage);
}

}  // namespace
}  // namespace limbrex_tests
