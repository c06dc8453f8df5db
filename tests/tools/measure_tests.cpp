// The measure command: what it plays, what it calls a fault, what it writes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <optional>

#include "host/animation/pose_math.h"
#include "tests/tools/body_fixture.h"
#include "tools/commands/commands.h"
#include "tools/measure/measurement.h"
#include "tools/measure/targets.h"
#include "tools/rig/rig_init.h"

using namespace limbrex_host;
using namespace limbrex_tools;

namespace limbrex_tests
{
namespace
{

constexpr size_t kFrames = 90;

// A body whose every joint turns about an axis of its own, slowly, while the hips travel.
Asset moving_body()
{
    Asset asset;
    asset.skeleton = plain_body();
    Clip clip;
    clip.name = "wave";
    clip.frameCount = kFrames;
    for (size_t frame = 0; frame < kFrames; ++frame)
    {
        for (size_t j = 0; j < asset.skeleton.joints.size(); ++j)
        {
            JointPose pose = asset.skeleton.joints[j].rest;
            const double at = static_cast<double>(j);
            const Vec3d axis = normalized(Vec3d{std::sin(at), std::cos(2.0 * at), std::sin(3.0 * at + 1.0)});
            pose.rotation = to_floats(axis_angle(axis, 0.4 * std::sin(0.07 * static_cast<double>(frame) + at)));
            if (asset.skeleton.joints[j].parent < 0) { pose.translation[0] += 0.01f * static_cast<float>(frame); }
            clip.poses.push_back(pose);
        }
    }
    asset.clips.push_back(std::move(clip));
    return asset;
}

// By the body's own names, one node left out so that its joint lies between two that are mapped.
nlohmann::json rig_without(const Asset& asset, int left_out)
{
    RigInitOptions options;
    options.unitName = "body";
    options.map.emplace();
    for (const Joint& joint : asset.skeleton.joints)
    {
        if (LBXGetNodeIdFromName(joint.name.c_str()) >= 0 && joint.name != LBXGetNodeNameFromId(left_out))
        {
            options.map->emplace_back(joint.name, joint.name);
        }
    }
    RigInitResult result;
    std::string error;
    EXPECT_TRUE(init_rig(asset, options, result, error)) << error;
    return nlohmann::json::parse(write_rig_source(result.source));
}

struct MeasuredBody
{
    Asset asset = moving_body();
    MeasuredRig rig;
    std::optional<Trial> trial;

    explicit MeasuredBody(const nlohmann::json* source = nullptr)
    {
        std::string error;
        const bool built = build_measured_rig(source != nullptr ? *source : rig_without(asset, LBXNodeSpine1), asset.skeleton, rig, error);
        EXPECT_TRUE(built) << error;
        trial.emplace(rig, asset, 0.5);
    }
};

const JointPose* frame_of(const Asset& asset, size_t frame) { return asset.clips[0].poses.data() + frame * asset.skeleton.joints.size(); }

TEST(MeasuredRig, HoldsTheClipsPoseAlsoBelowJointsThatAreNotMapped)
{
    const MeasuredBody body;
    const StateOwner state = make_state(body.rig);
    for (size_t frame = 0; frame < kFrames; frame += 13)
    {
        read_pose(body.rig, frame_of(body.asset, frame), state.get());
        const std::vector<RigidPose> world = world_poses(body.asset.skeleton, frame_of(body.asset, frame));
        for (const MeasuredNode& node : body.rig.nodes)
        {
            if (node.joint < 0) { continue; }
            const Vec3d held = node_position(body.rig.character.get(), state.get(), node.node);
            EXPECT_LT(length(held - world[static_cast<size_t>(node.joint)].position), 1e-5) << LBXGetNodeNameFromId(node.node);
        }
        std::vector<JointPose> back(frame_of(body.asset, frame), frame_of(body.asset, frame) + body.asset.skeleton.joints.size());
        write_pose(body.rig, state.get(), back.data());
        const std::vector<RigidPose> again = world_poses(body.asset.skeleton, back.data());
        for (size_t j = 0; j < world.size(); ++j) { EXPECT_LT(length(again[j].position - world[j].position), 1e-5); }
    }
}

TEST(MeasuredRig, RefusesASourceWhoseJointsTheClipDoesNotHave)
{
    const Asset asset = moving_body();
    nlohmann::json source = rig_without(asset, LBXNodeSpine1);
    source["bones_mapping"][3]["bone"] = "nowhere";
    MeasuredRig rig;
    std::string error;
    EXPECT_FALSE(build_measured_rig(source, asset.skeleton, rig, error));
    EXPECT_THAT(error, testing::HasSubstr("nowhere"));
}

TEST(MeasureBattery, GoalsKeepTheirDistanceAndMoveSmoothly)
{
    MeasuredBody body;
    for (const BatteryRow& row : moving_battery(body.rig))
    {
        TrialPose before, now;
        for (double frame = 0.0; frame < static_cast<double>(kFrames); frame += 1.0)
        {
            std::swap(before, now);
            body.trial->run(row, frame, now);
            for (size_t g = 0; g < now.goals.size(); ++g)
            {
                const GoalPlace& goal = now.goals[g];
                if (!goal.held && kGoalKinds[goal.kind].limb >= 0)
                {
                    constexpr double kNear[] = {0.25, 0.93, 1.19};
                    constexpr double kFar[] = {0.951, 1.07, 1.41};
                    EXPECT_GE(goal.reachShare, kNear[static_cast<size_t>(row.distance)]) << row_label(row);
                    EXPECT_LE(goal.reachShare, kFar[static_cast<size_t>(row.distance)]) << row_label(row);
                }
                if (frame == 0.0) { continue; }
                const double speed = length(goal.target - before.goals[g].target) * body.asset.clips[0].framesPerSecond;
                EXPECT_LT(speed, 4.0) << row_label(row) << ", frame " << frame;
            }
        }
    }
}

TEST(MeasureTrial, LooksAtTheSolveAndNotAtItself)
{
    MeasuredBody body;
    TrialPose pose;
    body.trial->run_met({kLeftHandGoal}, true, 17.0, pose);
    for (size_t i = 0; i < body.rig.nodes.size(); ++i)
    {
        EXPECT_LT(turn_deg(pose.animatedLocal[i], pose.solvedLocal[i]), 0.05) << LBXGetNodeNameFromId(body.rig.nodes[i].node);
    }
    EXPECT_TRUE(body.trial->zero_weights_keep_the_pose(17.0));

    const std::vector<BatteryRow> rows = moving_battery(body.rig);
    const auto far =
        std::find_if(rows.begin(), rows.end(),
                     [](const BatteryRow& row) { return row.distance == GoalDistance::Beyond && !row.pull && row.goals.size() == 1; });
    ASSERT_NE(far, rows.end());
    body.trial->run(*far, 17.0, pose);
    const double missed = length(pose.reached[0] - pose.goals[0].target);
    const double limb =
        length(pose.goals[0].target - node_position(body.rig.character.get(), body.trial->animated(), kGoalKinds[far->goals[0]].root)) /
        pose.goals[0].reachShare;
    EXPECT_GT(missed, 0.1 * limb) << "without pull a goal at 1.3 limb lengths cannot be met";
    EXPECT_GT(pose.solve_us, 0.0);
}

TEST(MeasureTrial, TellsHowFarALimitIsExceeded)
{
    const Asset asset = moving_body();
    nlohmann::json source = rig_without(asset, LBXNodeSpine1);
    nlohmann::json limit{{"nodeID", LBXNodeLeftForeArm}, {"ord", 0}};
    for (const char* rotation : {"pr_q", "po_q"})
    {
        for (const char* axis : {"x", "y", "z", "w"}) { limit[std::string(rotation) + axis] = *axis == 'w' ? 1.0 : 0.0; }
    }
    for (const char* axis : {"x", "y", "z"})
    {
        const std::string name = axis;
        limit[name + "mi"] = -0.05;
        limit[name + "ma"] = 0.05;
        limit[name + "mia"] = 1;
        limit[name + "maa"] = 1;
    }
    source["limits"].push_back(limit);
    MeasuredBody body(&source);
    EXPECT_TRUE(body.rig.hasLimits);
    TrialPose pose;
    body.trial->run_met({}, false, 30.0, pose);
    int node = -1;
    EXPECT_LT(body.trial->limit_violation_deg(node), 0.1);
    read_pose(body.rig, frame_of(body.asset, 30), body.trial->solved());  // the clip's own elbow, which no limit has held
    EXPECT_GT(body.trial->limit_violation_deg(node), 1.0);
    EXPECT_EQ(node, LBXNodeLeftForeArm);
}

TEST(MeasureTargets, AMissIsNamedWithItsWorstPlaceAndSpoilsNoOtherTarget)
{
    Measurement measurement;
    measurement.rows.resize(2);
    for (RowNumbers& row : measurement.rows)
    {
        row.row = {"left hand", {kLeftHandGoal}, GoalDistance::Inside, true, false, SweepPath::None, 0};
        row.goals.resize(1);
        row.goals[0].withinReach = std::vector<double>(100, 0.01);
        row.addedSpeed = std::vector<double>(100, 20.0);
    }
    const std::vector<Verdict> fine = judge(measurement);
    EXPECT_TRUE(std::all_of(fine.begin(), fine.end(), [](const Verdict& verdict) { return verdict.met; }));

    measurement.rows[1].row.name = "right hand";
    measurement.rows[1].pops.push_back({41.0, LBXNodeRightForeArm, 30.0});
    for (size_t i = 0; i < 10; ++i) { measurement.rows[1].goals[0].withinReach[i] = 0.5; }  // the tail, not the mean
    measurement.metTurn.take(0.03, 7.0, LBXNodeHead);
    measurement.metGoals = "head";
    std::vector<std::string> missed;
    for (const Verdict& verdict : judge(measurement))
    {
        if (!verdict.met) { missed.push_back(verdict.target + " @ " + verdict.where); }
    }
    EXPECT_THAT(missed, testing::ElementsAre(testing::AllOf(testing::HasSubstr("95th"), testing::HasSubstr("right hand, inside")),
                                             testing::AllOf(testing::HasSubstr("pops"), testing::HasSubstr("RightForeArm, frame 41")),
                                             testing::AllOf(testing::HasSubstr("already met"), testing::HasSubstr("head: Head, frame 7"))));
}

TEST(MeasureNumbers, PercentilesAndSharesCountWhatTheySay)
{
    const std::vector<double> values{5.0, 1.0, 4.0, 2.0, 3.0};
    EXPECT_EQ(percentile(values, 0.0), 1.0);
    EXPECT_EQ(percentile(values, 0.5), 3.0);
    EXPECT_EQ(percentile(values, 1.0), 5.0);
    EXPECT_EQ(mean_of(values), 3.0);
    EXPECT_EQ(share_of(values, 2.0), 0.4);
    EXPECT_EQ(percentile({}, 0.5), 0.0);
}

TEST(MeasureCommand, WritesNumbersAndPicturesOfACapturedMotion)
{
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "limbrex_measure";
    std::filesystem::remove_all(folder);
    const std::string out = folder.string();
    const std::string rig = LIMBREX_SOURCE_DIR "/examples/rigs/boxer.character";
    const std::string clip = "/usr/share/assimp/models/BVH/Boxing_Toes.bvh";
    const char* arguments[] = {"limbrex", "measure", clip.c_str(), "--rig", rig.c_str(), "--every",
                               "200",     "--poses", "0",          "--out", out.c_str()};
    ASSERT_EQ(run_command(static_cast<int>(std::size(arguments)), arguments), 0);
    for (const char* name : {"errors.png", "joint_speed.png", "worst.png"})
    {
        EXPECT_GT(std::filesystem::file_size(folder / name), 1000u) << name;
    }
    std::ifstream file(folder / "metrics.json");
    const nlohmann::json metrics = nlohmann::json::parse(file);
    EXPECT_EQ(metrics["zero_weight_poses_changed"], 0);
    ASSERT_GT(metrics["rows"].size(), 30u);
    for (const nlohmann::json& row : metrics["rows"])
    {
        EXPECT_LT(row["bone_drift"]["value"].get<double>(), 1e-5) << row["row"];
        EXPECT_EQ(row["wrong_side_frames"], 0) << row["row"];
    }
    std::filesystem::remove_all(folder);

    const std::string other_rig = LIMBREX_SOURCE_DIR "/examples/rigs/hops.character";
    const char* mismatched[] = {"limbrex", "measure", clip.c_str(), "--rig", other_rig.c_str()};
    EXPECT_EQ(run_command(static_cast<int>(std::size(mismatched)), mismatched), kExitFailure);
}

}  // namespace
}  // namespace limbrex_tests
