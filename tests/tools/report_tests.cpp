// Reports of hand-made recordings: numbers worked by hand, files read back by other readers, unusable input told in words.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tiny_gltf.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include <unistd.h>

#include "host/animation/import_assimp.h"
#include "host/animation/pose_math.h"
#include "tests/tools/report_fixture.h"
#include "tools/report/body_figure.h"
#include "tools/report/camera.h"
#include "tools/report/filmstrip.h"
#include "tools/report/metrics.h"
#include "tools/report/pending_file.h"
#include "tools/report/plot.h"
#include "tools/report/run_view.h"
#include "tools/report/scene_glb.h"
#include "tools/report/utf8.h"

namespace limbrex_tools
{
namespace
{

using limbrex_host::Recording;
using limbrex_host::RigidPose;
using limbrex_host::Vec3d;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Reports : public testing::Test
{
protected:
    void SetUp() override
    {
        folder_ = std::filesystem::path(testing::TempDir()) / ("limbrex_report_" + std::to_string(getpid()));
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }
    size_t files() const { return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder_), {})); }

    std::filesystem::path folder_;
    std::string error_;
};

// Two joints and four frames whose every number can be worked on paper.
Recording small_run()
{
    Recording run;
    run.scene = "small.lua";
    run.framesPerSecond = 10.0;
    run.firstFrame = 100;
    run.frameCount = 4;
    limbrex_host::UnitRecording unit;
    unit.name = "post";
    unit.bodyHeight_m = 2.0;
    limbrex_host::Joint base{"base", -1, {}, false};
    limbrex_host::Joint arm{"arm", 0, {}, false};
    arm.rest.translation = {0.0f, 0.0f, 1.0f};
    unit.skeleton.joints = {base, arm};
    unit.nodeNames = {"root", "base", "arm"};
    unit.nodeParents = {-1, 0, 1};
    unit.jointNodes = {1, 2};
    unit.present = {1, 1, 1, 1};
    const double base_deg[] = {0.0, 10.0, 20.0, 30.0};
    const double arm_deg[] = {0.0, 10.0, 45.0, 55.0};  // against the world: 0, 25 and 0 degrees against the base
    for (size_t frame = 0; frame < 4; ++frame)
    {
        const auto turn = [](double deg) { return to_floats(limbrex_host::axis_angle({0, 1, 0}, deg * M_PI / 180.0)); };
        unit.solvedWorld.poses.insert(unit.solvedWorld.poses.end(),
                                      {{}, {{0, 0, 0}, turn(base_deg[frame]), {1, 1, 1}}, {{0, 0, 1}, turn(arm_deg[frame]), {1, 1, 1}}});
        unit.animatedWorld.poses.insert(unit.animatedWorld.poses.end(),
                                        {{}, {{0, 0, 0}, turn(base_deg[frame]), {1, 1, 1}}, {{0, 0, 1}, turn(base_deg[frame]), {1, 1, 1}}});
    }
    unit.solvedWorld.nodeCount = unit.animatedWorld.nodeCount = 3;
    run.units.push_back(unit);
    run.goals.push_back({"arm pin", 0, 7, 31, true, {}});
    // Distances 0.03, 0.04 (3-4-5 across), none, 0.10; the effector moves 0.02 within the first stretch.
    run.goals[0].samples = {{true, {1, 0, 0}, {1, 0, 0.03f}},
                            {true, {1, 0, 0}, {1, 0.024f, 0.032f}},
                            {false, {9, 9, 9}, {0, 0, 0}},
                            {true, {1, 0, 0}, {0.9f, 0, 0}}};
    run.timing.characters = 2;
    run.timing.callback_us = {10.0, 20.0, 30.0, 100.0};
    run.timing.stages_us[2] = {1.0, 2.0, 3.0, 10.0};
    return run;
}

TEST_F(Reports, SpreadsFollowTheirDefinitions)
{
    std::vector<double> hundred;
    for (int i = 100; i >= 1; --i) { hundred.push_back(i); }
    const Spread spread = spread_of(hundred);
    EXPECT_DOUBLE_EQ(spread.mean, 50.5);
    EXPECT_DOUBLE_EQ(spread.median, 50.5);
    EXPECT_DOUBLE_EQ(spread.p95, 95.0);
    EXPECT_DOUBLE_EQ(spread.largest, 100.0);
    EXPECT_DOUBLE_EQ(spread_of({3.0}).p95, 3.0);
    EXPECT_EQ(spread_of({}).count, 0u);
}

TEST_F(Reports, MetricsAreThoseWorkedByHand)
{
    Metrics metrics;
    ASSERT_TRUE(measure(small_run(), metrics, error_)) << error_;
    ASSERT_EQ(metrics.goals.size(), 1u);
    const GoalMetrics& pin = metrics.goals[0];
    EXPECT_EQ(pin.distance_m.count, 3u);
    EXPECT_NEAR(pin.distance_m.mean, 0.17 / 3.0, 1e-6);
    EXPECT_NEAR(pin.distance_m.p95, 0.10, 1e-6);
    EXPECT_NEAR(pin.distance_m.largest, 0.10, 1e-6);
    EXPECT_NEAR(pin.drift_m, std::hypot(0.024, 0.002), 1e-6);  // the last stretch starts anew and has one frame
    EXPECT_NEAR(metrics.units[0].solved.degrees, 25.0, 1e-4);
    EXPECT_EQ(metrics.units[0].solved.joint, "arm");
    EXPECT_EQ(metrics.units[0].solved.frame, 102u);
    EXPECT_NEAR(metrics.units[0].animated.degrees, 10.0, 1e-4);
    EXPECT_EQ(metrics.units[0].animated.joint, "base");
    EXPECT_DOUBLE_EQ(metrics.callback_us.median, 12.5);  // two characters share each update
    EXPECT_DOUBLE_EQ(metrics.callback_us.p95, 50.0);
    EXPECT_DOUBLE_EQ(metrics.stages_us[2].median, 2.5);

    ASSERT_TRUE(write_metrics_json(path("metrics.json"), metrics, error_)) << error_;
    std::ifstream stream(path("metrics.json"));
    const nlohmann::json json = nlohmann::json::parse(stream);
    EXPECT_NEAR(json["goals"][0]["distance_percentOfHeight"]["largest"].get<double>(), 5.0, 1e-4);
    EXPECT_EQ(json["goals"][0]["constraintId"], 31);
    EXPECT_NEAR(json["units"][0]["largestTurnPerFrame"]["solved"]["degrees"].get<double>(), 25.0, 1e-4);
    EXPECT_FALSE(json["microsecondsPerCharacterAndFrame"].contains("reading"));
    const std::string table = metrics_table(metrics);
    EXPECT_THAT(table, HasSubstr("100.0 mm  5.00 %"));
    EXPECT_THAT(table, HasSubstr("24.1 mm"));
    EXPECT_THAT(table, HasSubstr("25.0 deg arm"));
}

TEST_F(Reports, AbsentUnitsAndUnknownHeightsCountForNothing)
{
    Recording run = small_run();
    run.units[0].present = {1, 1, 0, 1};  // the large turn is at the second and third frame
    run.units[0].bodyHeight_m = 0.0;
    Metrics metrics;
    ASSERT_TRUE(measure(run, metrics, error_)) << error_;
    EXPECT_NEAR(metrics.units[0].solved.degrees, 10.0, 1e-4);
    EXPECT_THAT(metrics_json(metrics), HasSubstr("\"distance_percentOfHeight\": null"));
    EXPECT_TRUE(write_scene_glb(path("scene.glb"), run, error_)) << error_;
    EXPECT_TRUE(write_filmstrip(path("strip.png"), {}, {{"", &run, 0}}, error_)) << error_;
}

// Joint places of every frame as an independent reader finds them, against the recording turned to y up.
TEST_F(Reports, SceneGlbReadBackHoldsEveryJointOfEveryFrame)
{
    const Recording run = walking_run(40, 0.2);
    ASSERT_TRUE(write_scene_glb(path("scene.glb"), run, error_)) << error_;
    EXPECT_EQ(files(), 1u);
    limbrex_host::Asset read;
    limbrex_host::DeclaredFrame declared;
    ASSERT_TRUE(limbrex_host::read_with_assimp(path("scene.glb"), read, declared, error_)) << error_;
    ASSERT_EQ(read.clips.size(), 1u);
    ASSERT_EQ(read.clips[0].frameCount, run.frameCount);
    const limbrex_host::UnitRecording& unit = run.units[0];
    const auto find = [&](const std::string& name)
    {
        for (size_t j = 0; j < read.skeleton.joints.size(); ++j)
        {
            if (read.skeleton.joints[j].name == name) { return j; }
        }
        ADD_FAILURE() << name;
        return size_t{0};
    };
    for (size_t frame = 0; frame < run.frameCount; ++frame)
    {
        const std::vector<RigidPose> world = world_poses(read.skeleton, read.clips[0].poses.data() + frame * read.skeleton.joints.size());
        for (const char* name : {"Hips", "LeftArm", "LeftForeArm", "RightLeg", "Chest"})
        {
            const size_t joint =
                static_cast<size_t>(std::find(unit.nodeNames.begin(), unit.nodeNames.end(), name) - unit.nodeNames.begin());
            const Vec3d p = limbrex_host::to_vec3d(unit.solvedWorld.at(frame)[joint].position);
            // The reader leaves out leaves that never move; those named here move or carry what does.
            ASSERT_LE(length(world[find(name)].position - Vec3d{p.x, p.z, -p.y}), 2e-4) << name << " at " << frame;
        }
        const Vec3d t = limbrex_host::to_vec3d(run.goals[0].samples[std::max<size_t>(frame, 5)].target_world);
        EXPECT_LE(length(world[find("LeftHand reach")].position - Vec3d{t.x, t.z, -t.y}), 2e-4);
    }
}

TEST_F(Reports, SceneGlbIsWellFormedForItsOwnLibrary)
{
    Recording run = walking_run(12, 0.2);
    run.units[0].name = "w\xff\x01lker";  // names from files may be anything
    run.colliders.push_back({"box", false, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}, {{}}});
    run.colliders.push_back({"broken", false, {{0, 0, 0}}, {{0, 1, 2}}, {{}}});
    ASSERT_TRUE(write_scene_glb(path("scene.glb"), run, error_)) << error_;
    tinygltf::Model model;
    tinygltf::TinyGLTF reader;
    std::string warning;
    ASSERT_TRUE(reader.LoadBinaryFromFile(&model, &error_, &warning, path("scene.glb"))) << error_;
    EXPECT_EQ(warning, "");
    std::vector<std::string> top;
    for (const int child : model.nodes[static_cast<size_t>(model.scenes[0].nodes.at(0))].children)
    {
        top.push_back(model.nodes[static_cast<size_t>(child)].name);
    }
    EXPECT_THAT(top, ElementsAre("w??lker solved", "w??lker animated", "targets", "markers", "colliders", "ground"));
    for (const tinygltf::Accessor& accessor : model.accessors)
    {
        const tinygltf::BufferView& view = model.bufferViews[static_cast<size_t>(accessor.bufferView)];
        EXPECT_LE(view.byteOffset + accessor.count * static_cast<size_t>(accessor.ByteStride(view)), model.buffers[0].data.size());
        EXPECT_EQ(view.byteOffset % 4, 0u);
        EXPECT_GT(accessor.count, 0u);
    }
    for (const tinygltf::AnimationSampler& sampler : model.animations.at(0).samplers)
    {
        EXPECT_EQ(model.accessors[static_cast<size_t>(sampler.input)].count, model.accessors[static_cast<size_t>(sampler.output)].count);
    }
}

TEST_F(Reports, DebugLinesOfAFrameAreShownInThatFrame)
{
    Recording run = walking_run(4, 0.2);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    run.lines = {
        {}, {{0x80ff4020u, {1, 2, 3}, {4, 5, 6}}, {0xffffffffu, {nan, 0, 0}, {0, 0, 0}}}, {}, {{0xff0000ffu, {0, 0, 0}, {0, 0, 1}}}};
    ASSERT_TRUE(write_scene_glb(path("scene.glb"), run, error_)) << error_;
    tinygltf::Model model;
    tinygltf::TinyGLTF reader;
    std::string warning;
    ASSERT_TRUE(reader.LoadBinaryFromFile(&model, &error_, &warning, path("scene.glb"))) << error_;
    const auto bytes_of = [&model](int accessor)
    {
        const tinygltf::BufferView& view =
            model.bufferViews[static_cast<size_t>(model.accessors[static_cast<size_t>(accessor)].bufferView)];
        return model.buffers[0].data.data() + view.byteOffset;
    };
    const auto floats_of = [&](int accessor, size_t count)
    {
        std::vector<float> values(count);
        std::memcpy(values.data(), bytes_of(accessor), count * sizeof(float));
        return values;
    };
    const auto& nodes = model.nodes;
    const auto shown = std::find_if(nodes.begin(), nodes.end(), [](const tinygltf::Node& node) { return node.name == "lines of frame 1"; });
    ASSERT_NE(shown, nodes.end());
    const tinygltf::Primitive& lines = model.meshes[static_cast<size_t>(shown->mesh)].primitives.at(0);
    EXPECT_EQ(lines.mode, TINYGLTF_MODE_LINE);
    EXPECT_EQ(model.accessors[static_cast<size_t>(lines.attributes.at("POSITION"))].count, 2u) << "without the line that is nowhere";
    EXPECT_THAT(floats_of(lines.attributes.at("POSITION"), 6), ElementsAre(1, 2, 3, 4, 5, 6));
    const unsigned char* color = bytes_of(lines.attributes.at("COLOR_0"));
    EXPECT_THAT(std::vector<int>(color, color + 8), ElementsAre(0xff, 0x40, 0x20, 0x80, 0xff, 0x40, 0x20, 0x80));

    const tinygltf::Animation& animation = model.animations.at(0);
    const auto channel =
        std::find_if(animation.channels.begin(), animation.channels.end(),
                     [&](const tinygltf::AnimationChannel& each) { return each.target_node == static_cast<int>(shown - nodes.begin()); });
    ASSERT_NE(channel, animation.channels.end());
    const tinygltf::AnimationSampler& sampler = animation.samplers[static_cast<size_t>(channel->sampler)];
    EXPECT_EQ(sampler.interpolation, "STEP");
    const auto frame_s = static_cast<float>(1.0 / kFixtureRate);
    EXPECT_THAT(floats_of(sampler.input, 3), ElementsAre(0.0f, frame_s, static_cast<float>(2.0 / kFixtureRate)));
    EXPECT_THAT(floats_of(sampler.output, 9), ElementsAre(1e-4f, 1e-4f, 1e-4f, 1, 1, 1, 1e-4f, 1e-4f, 1e-4f));

    limbrex_host::Asset read;
    limbrex_host::DeclaredFrame declared;
    ASSERT_TRUE(limbrex_host::read_with_assimp(path("scene.glb"), read, declared, error_)) << error_;
    ASSERT_EQ(read.clips.size(), 1u) << "another reader finds the motion as before";
    EXPECT_EQ(read.clips[0].frameCount, run.frameCount);

    const auto picture = [this](const Recording& recording, const std::string& name)
    {
        EXPECT_TRUE(write_filmstrip(path(name), {"Lines", 4, 0}, {{"", &recording, 0}}, error_)) << error_;
        std::ifstream stream(path(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    const std::string with_lines = picture(run, "with.png");
    run.lines = {{}, {{0xffffffffu, {nan, 0, 0}, {0, 0, 0}}, {0xffffffffu, {3e38f, 0, 0}, {0, 0, -3e38f}}}};
    const std::string without = picture(run, "without.png");
    EXPECT_NE(with_lines, without);
    run.lines.clear();
    EXPECT_EQ(picture(run, "none.png"), without);
}

// Width and height of a PNG, from its header.
std::pair<uint32_t, uint32_t> png_size(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    unsigned char head[24] = {};
    stream.read(reinterpret_cast<char*>(head), sizeof head);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(head) + 1, 3), "PNG");
    const auto number = [&head](size_t at)
    { return static_cast<uint32_t>(head[at] << 24 | head[at + 1] << 16 | head[at + 2] << 8 | head[at + 3]); };
    return {number(16), number(20)};
}

TEST_F(Reports, FilmstripsShowTheirMomentsAndGrowWithTheirRows)
{
    const Recording run = walking_run(60, 0.0);
    const Recording other = walking_run(45, 0.3);
    ASSERT_TRUE(write_filmstrip(path("one.png"), {"One", 0, 0}, {{"", &run, 0}}, error_)) << error_;
    ASSERT_TRUE(write_filmstrip(path("two.png"), {"Two", 8, 0}, {{"a", &run, 0}, {"b", &other, 0}}, error_)) << error_;
    ASSERT_TRUE(write_filmstrip(path("three.png"), {"Three", 8, 0}, {{"a", &run, 0}, {"b", &other, 0}, {"c", &run, 0}}, error_)) << error_;
    EXPECT_EQ(files(), 3u);
    const auto two = png_size(path("two.png"));
    const auto three = png_size(path("three.png"));
    EXPECT_EQ(two.first, three.first);
    EXPECT_GT(three.second, two.second + 300);
    EXPECT_THAT(pick_moments(100, 8), ElementsAre(0, 14, 28, 42, 57, 71, 85, 99));
    EXPECT_THAT(pick_moments(3, 8), ElementsAre(0, 1, 2));
    EXPECT_THAT(pick_moments(1, 8), ElementsAre(0));
    const Recording still = walking_run(1, 0.0);
    EXPECT_TRUE(write_filmstrip(path("still.png"), {}, {{"", &still, 0}}, error_)) << error_;
}

TEST_F(Reports, TheCameraLooksAtTheFrontAndKeepsLengthsAndUpright)
{
    const Recording recording = walking_run(20, 0.0);
    RunView run;
    ASSERT_TRUE(make_run_view(recording, 0, run, error_)) << error_;
    const BodyFigure figure = make_figure(run.skeleton());
    std::vector<Vec3d> joints;
    for (size_t j = 0; j < run.joint_count(); ++j) { joints.push_back(run.solved_at(0)[j].position); }
    const Camera camera = choose_camera(figure, {joints}, {});
    EXPECT_GT(camera.toward.x, 0.5) << "the figure faces +x";
    EXPECT_GT(camera.toward.z, 0.0);
    const Projected above = project(camera, {0.0, 0.0, 1.0});
    EXPECT_GT(above.y, 0.9);
    EXPECT_NEAR(above.x, 0.0, 1e-12);
    const Projected any = project(camera, {0.3, -0.4, 1.2});
    EXPECT_NEAR(any.x * any.x + any.y * any.y + any.depth * any.depth, 1.69, 1e-12);
    // The figure's left is to the right of a picture taken from the front.
    EXPECT_GT(project(camera, joints[14]).x, project(camera, joints[18]).x);
}

TEST_F(Reports, SidesComeFromTheWordsOfAnyConvention)
{
    for (const char* name :
         {"LeftArm", "mixamorig:LeftHand", "lShldr", "LThumb", "upperarm_l", "Bip01 L Thigh", "FrontLeg.L", "lhand", "J_Bip_L_Hand"})
    {
        EXPECT_EQ(side_from_name(name), Side::Left) << name;
    }
    for (const char* name : {"RightFoot", "rThigh", "RHipJoint", "b_RightFoot01_023", "hand.R", "rfemur", "thigh_r"})
    {
        EXPECT_EQ(side_from_name(name), Side::Right) << name;
    }
    for (const char* name : {"Hips", "lowerback", "LowerBack", "root", "Root", "Head", "lowerneck", "", "Rig:Spine"})
    {
        EXPECT_EQ(side_from_name(name), Side::Centre) << name;
    }
}

TEST_F(Reports, UnusableRecordingsAreRefusedInWordsAndLeaveNoFile)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    using Change = void (*)(Recording&, float);
    const std::pair<Change, const char*> changes[] = {
        {[](Recording& run, float) { run.frameCount = 0; }, "no frames"},
        {[](Recording& run, float) { run.frameCount = 5; }, "poses are missing"},
        {[](Recording& run, float) { run.framesPerSecond = 0.0; }, "frame rate"},
        {[](Recording& run, float) { run.units[0].solvedWorld.poses.pop_back(); }, "poses are missing"},
        {[](Recording& run, float) { run.units[0].present.clear(); }, "tracks are missing"},
        {[](Recording& run, float) { run.units[0].jointNodes[1] = 3; }, "has no node"},
        {[](Recording& run, float) { run.units[0].jointNodes[1] = -7; }, "has no node"},
        {[](Recording& run, float) { run.units[0].skeleton.joints[0].parent = 1; }, "parents first"},
        {[](Recording& run, float bad) { run.units[0].solvedWorld.poses[4].position[1] = bad; }, "not finite"},
        {[](Recording& run, float bad) { run.units[0].animatedWorld.poses[5].rotation[0] = bad; }, "not finite"},
        {[](Recording& run, float bad) { run.goals[0].samples[0].target_world[2] = bad; }, "arm pin"},
        {[](Recording& run, float) { run.goals[0].samples.pop_back(); }, "arm pin"},
    };
    for (const auto& [change, words] : changes)
    {
        Recording run = small_run();
        change(run, nan);
        Metrics metrics;
        std::string errors[3];
        EXPECT_FALSE(measure(run, metrics, errors[0]));
        EXPECT_FALSE(write_scene_glb(path("scene.glb"), run, errors[1]));
        EXPECT_FALSE(write_filmstrip(path("strip.png"), {}, {{"", &run, 0}}, errors[2]));
        for (const std::string& error : errors) { EXPECT_THAT(error, HasSubstr(words)); }
    }
    const Recording run = small_run();
    EXPECT_FALSE(write_filmstrip(path("strip.png"), {}, {{"", &run, 5}}, error_));
    EXPECT_FALSE(write_filmstrip(path("strip.png"), {}, {}, error_));
    EXPECT_FALSE(write_scene_glb(path("scene.glb"), Recording{}, error_));
    EXPECT_FALSE(write_scene_glb(path("nowhere/scene.glb"), run, error_));
    EXPECT_FALSE(write_filmstrip(path("nowhere/strip.png"), {}, {{"", &run, 0}}, error_));
    EXPECT_EQ(files(), 0u);
}

TEST_F(Reports, AFileThatIsNotCommittedLeavesTheOldOneAlone)
{
    ASSERT_TRUE(write_text_file(path("a.txt"), "old", error_));
    {
        PendingFile file(path("a.txt"));
        std::ofstream(file.temporary()) << "half";
        EXPECT_EQ(files(), 2u);
    }
    EXPECT_EQ(files(), 1u);
    std::ifstream stream(path("a.txt"));
    std::string text;
    stream >> text;
    EXPECT_EQ(text, "old");
    EXPECT_FALSE(write_text_file(path("nowhere/a.txt"), "new", error_));
}

TEST_F(Reports, PlotsBreakAtGapsAndRefuseEmptiness)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(tick_places(0.0, 1.0, 5), testing::Pointwise(testing::DoubleNear(1e-12), {0.0, 0.2, 0.4, 0.6, 0.8, 1.0}));
    EXPECT_THAT(tick_places(-3.0, 42.0, 5), testing::Pointwise(testing::DoubleNear(1e-9), {0.0, 10.0, 20.0, 30.0, 40.0}));
    EXPECT_TRUE(tick_places(1.0, 1.0, 5).empty());
    EXPECT_TRUE(write_line_plot(path("line.png"), {}, {{"gap", {0, 1, 2, 3}, {1, nan, 2, 3}}}, error_)) << error_;
    EXPECT_TRUE(write_bar_plot(path("bar.png"), {}, {"a"}, {{"x", {1.0}}, {"y", {nan}}}, error_)) << error_;
    EXPECT_FALSE(write_line_plot(path("no.png"), {}, {{"none", {0.0}, {nan}}}, error_));
    EXPECT_FALSE(write_bar_plot(path("no.png"), {}, {"a"}, {}, error_));
    EXPECT_EQ(files(), 2u);
}

TEST(Utf8, KeepsCharactersAndReplacesWhatIsNone)
{
    EXPECT_EQ(valid_utf8("H\xC3\xBC"
                         "fte \xE6\x89\x8B \xF0\x9F\xA6\xB4"),
              "H\xC3\xBC"
              "fte \xE6\x89\x8B \xF0\x9F\xA6\xB4");
    EXPECT_EQ(valid_utf8("a\xffz\xC3"), "a?z?");
    EXPECT_EQ(valid_utf8("\xC0\xAF\xED\xA0\x80\x1b"), "??????");
}

}  // namespace
}  // namespace limbrex_tools
