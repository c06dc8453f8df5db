// Whole scenes with the plugin as it was built: a small skeleton of our own for what can be computed by hand, and a captured clip.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "host/engine.h"
#include "host/scene.h"
#include "host/scene_state.h"
#include "host/services.h"
#include "host/unit_nodes.h"

namespace limbrex_host
{
namespace
{

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Hips that travel 1 m along the asset's z and rise 0.2 m in a second, with a straight leg chain and a spine. Ten frames a second.
constexpr const char* kWalker = R"(HIERARCHY
ROOT Hips
{
  OFFSET 0 1 0
  CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation
  JOINT Spine
  {
    OFFSET 0 0.5 0
    CHANNELS 3 Zrotation Xrotation Yrotation
    End Site
    {
      OFFSET 0 0.3 0
    }
  }
  JOINT LeftUpLeg
  {
    OFFSET 0.1 0 0
    CHANNELS 3 Zrotation Xrotation Yrotation
    JOINT LeftLeg
    {
      OFFSET 0 -0.5 0
      CHANNELS 3 Zrotation Xrotation Yrotation
      End Site
      {
        OFFSET 0 -0.5 0
      }
    }
  }
}
MOTION
Frames: 11
Frame Time: 0.1
)";

// A rig of four bones, its reference turned a quarter about y, as an author might have it.
constexpr const char* kWalkerRig = R"({
  // smallest rig that characterizes
  "unit_name": "walker",
  "bones_mapping": [
    {"bone": "reference", "id": 0}, {"bone": "Hips", "id": 1}, {"bone": "LeftUpLeg", "id": 2}, {"bone": "LeftLeg", "id": 3}],
  "t_stance": [
    {"tx": 0, "ty": 0, "tz": 0, "qx": 0, "qy": 0.70710678, "qz": 0, "qw": 0.70710678, "sx": 1, "sy": 1, "sz": 1},
    {"tx": 0, "ty": 1, "tz": 0, "qx": 0, "qy": 0, "qz": 0, "qw": 1, "sx": 1, "sy": 1, "sz": 1},
    {"tx": 0.1, "ty": 1, "tz": 0, "qx": 0, "qy": 0, "qz": 0, "qw": 1, "sx": 1, "sy": 1, "sz": 1},
    {"tx": 0.1, "ty": 0.5, "tz": 0, "qx": 0, "qy": 0, "qz": 0, "qw": 1, "sx": 1, "sy": 1, "sz": 1}]
})";

class Scene : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(fs::exists(LIMBREX_PLUGIN_PATH)) << "the plugin has to be built first";
        folder = fs::temp_directory_path() / ("limbrex_scene_tests_" + std::to_string(::getpid()));
        fs::create_directories(folder);
        std::string walker = kWalker;
        for (int frame = 0; frame <= 10; ++frame)
        {
            char line[160];
            std::snprintf(line, sizeof line, "0 %g %g 0 0 0 0 0 0 %d 0 0 0 0 0\n", 1.0 + 0.02 * frame, 0.1 * frame, 3 * frame);
            walker += line;
        }
        write("walker.bvh", walker);
        write("walker.character", kWalkerRig);
    }
    void TearDown() override { fs::remove_all(folder); }

    void write(const std::string& name, const std::string& text) const { std::ofstream(folder / name) << text; }

    bool run(const std::string& script)
    {
        write("scene.lua", script);
        options.scene = (folder / "scene.lua").string();
        options.plugin = LIMBREX_PLUGIN_PATH;
        options.echo = LogLevel::Silent;
        recording = {};
        error.clear();
        return run_scene(options, recording, error);
    }
    bool logged(const std::string& part) const
    {
        return std::any_of(recording.log.begin(), recording.log.end(),
                           [&part](const LogEntry& entry) { return entry.text.find(part) != std::string::npos; });
    }
    NodePose pose(const PoseTrack& track, const UnitRecording& unit, size_t frame, const std::string& node) const
    {
        const auto found = std::find(unit.nodeNames.begin(), unit.nodeNames.end(), node);
        EXPECT_NE(found, unit.nodeNames.end()) << node;
        return track.at(frame)[found - unit.nodeNames.begin()];
    }
    void expect_point(const std::array<float, 3>& got, float x, float y, float z) const
    {
        EXPECT_NEAR(got[0], x, 1e-4f);
        EXPECT_NEAR(got[1], y, 1e-4f);
        EXPECT_NEAR(got[2], z, 1e-4f);
    }

    fs::path folder;
    SceneOptions options;
    Recording recording;
    std::string error;
};

TEST_F(Scene, AYUpClipStandsInAZUpWorldWhateverTheReferencesStance)
{
    for (const std::string rig : {"", ", rig = scene.rig{file = 'walker.character'}"})
    {
        ASSERT_TRUE(run("Limbrex.enable(true) scene.rate(20) local c = scene.clip{file = 'walker.bvh'}"
                        "scene.unit{name = 'w', clip = c, position = {5, 0, 0}, heading = 90" +
                        rig + "}"))
            << error;
        ASSERT_EQ(recording.frameCount, 21u);
        const UnitRecording& unit = recording.units.at(0);
        EXPECT_EQ(unit.nodeNames[2], "reference");
        // The asset's +z is the world's -y, and a heading of 90 degrees turns that to +x. Frame 10 is half a second in.
        expect_point(pose(unit.animatedWorld, unit, 10, "Hips").position, 5.5f, 0.0f, 1.1f);
        expect_point(pose(unit.animatedWorld, unit, 20, "Spine").position, 6.0f, 0.0f, 1.7f);
        expect_point(pose(unit.animatedWorld, unit, 0, "LeftLeg").position, 5.0f, 0.1f, 0.5f);
        // Between two frames of the clip: time 0.05.
        expect_point(pose(unit.animatedWorld, unit, 1, "Hips").position, 5.05f, 0.0f, 1.01f);
        EXPECT_EQ(recording.lostBlocks, 0u);
    }
    // With a rig, the reference keeps its stance while everything moves.
    const UnitRecording& unit = recording.units.at(0);
    for (size_t frame = 0; frame < recording.frameCount; ++frame)
    {
        EXPECT_NEAR(std::abs(pose(unit.animatedLocal, unit, frame, "reference").rotation[1]), std::sqrt(0.5f), 1e-5f);
    }
}

TEST_F(Scene, TravelStaysWithTheHipsGoesToTheUnitOrIsLeftOut)
{
    const std::string head = "scene.rate(10) local c = scene.clip{file = 'walker.bvh'} ";
    ASSERT_TRUE(run(head + "scene.unit{clip = c, in_place = true} scene.unit{clip = c, root_motion = 'unit', heading = 180}")) << error;
    const UnitRecording& in_place = recording.units.at(0);
    const UnitRecording& carried = recording.units.at(1);
    expect_point(pose(in_place.animatedWorld, in_place, 10, "Hips").position, 0.0f, 0.0f, 1.2f);
    expect_point(pose(carried.animatedWorld, carried, 10, "#unit").position, 0.0f, 1.0f, 0.0f);
    expect_point(pose(carried.animatedWorld, carried, 10, "Hips").position, 0.0f, 1.0f, 1.2f);

    ASSERT_TRUE(run(head + "scene.duration(2.5) scene.unit{clip = scene.clip{file = 'walker.bvh', loop = true}}"
                           "scene.unit{clip = scene.clip{file = 'walker.bvh', start = 0.2, stop = 0.6, speed = 2}}"))
        << error;
    const UnitRecording& looped = recording.units.at(0);
    const UnitRecording& cut = recording.units.at(1);
    expect_point(pose(looped.animatedWorld, looped, 23, "Hips").position, 0.0f, -0.3f, 1.06f);
    expect_point(pose(cut.animatedWorld, cut, 1, "Hips").position, 0.0f, -0.4f, 1.08f);
    expect_point(pose(cut.animatedWorld, cut, 25, "Hips").position, 0.0f, -0.6f, 1.12f);
}

TEST_F(Scene, AUnitWithoutAClipStartsEveryFrameFromItsRestPose)
{
    // An offset acts on the animated place: were the solved one taken for it, the hips would climb without end.
    ASSERT_TRUE(run(R"lua(
        Limbrex.enable(true)
        scene.rate(10)
        scene.duration(2)
        local unit = scene.unit{skeleton = 'walker.bvh', rig = scene.rig{file = 'walker.character'}}
        Limbrex.character_push_offset_position(unit, 0, {0, 0, 0.1}, true, 1, 0, 1)
        Limbrex.character_push_pull(unit, 0, 1, 0, 2)
    )lua"))
        << error;
    const UnitRecording& unit = recording.units.at(0);
    for (size_t frame = 1; frame < recording.frameCount; ++frame)
    {
        const std::array<float, 3> hips = pose(unit.solvedWorld, unit, frame, "Hips").position;
        expect_point(pose(unit.animatedWorld, unit, frame, "Hips").position, 0.0f, 0.0f, 1.0f);
        EXPECT_NEAR(hips[2], 1.1f, 0.02f) << frame;
        EXPECT_EQ(hips, pose(unit.solvedWorld, unit, 1, "Hips").position) << frame;
    }
}

TEST_F(Scene, HandlesOfDeletedUnitsAreNullAndTheirContextsGo)
{
    ASSERT_TRUE(run(R"lua(
        Limbrex.enable(true)
        scene.rate(10)
        local c = scene.clip{file = 'walker.bvh'}
        local rig = scene.rig{file = 'walker.character'}
        local first = scene.unit{clip = c, rig = rig, name = 'first'}
        local second
        assert(first:valid() and Limbrex.character_num_constraints(first) == 0)
        function update(time)
            if scene.frame() == 3 then
                scene.delete(first)
                assert(not first:valid() and tostring(first) == "unit (deleted)")
                assert(Limbrex.character_num_constraints(first) == nil)
                assert(not pcall(first.position, first))
                second = scene.unit{clip = c, rig = rig, name = 'second'}
                assert(not first:valid() and second:valid() and first ~= second)
                assert(Limbrex.character_num_constraints(second) == 0)
            end
            if scene.frame() >= 3 then Limbrex.character_push_pull(first, 3, 1, 0, 1) end
        end
    )lua"))
        << error;
    ASSERT_EQ(recording.units.size(), 2u);
    EXPECT_EQ(recording.units[0].present[2], 1);
    EXPECT_EQ(recording.units[0].present[3], 0);
    EXPECT_EQ(recording.units[1].present[2], 0);
    EXPECT_EQ(recording.units[1].present[3], 1);
    for (const UnitRecording& unit : recording.units)
    {
        EXPECT_EQ(unit.solvedWorld.poses.size(), recording.frameCount * unit.nodeNames.size());
        EXPECT_EQ(unit.animatedLocal.poses.size(), recording.frameCount * unit.nodeNames.size());
        EXPECT_EQ(unit.present.size(), recording.frameCount);
    }
    EXPECT_EQ(recording.lostBlocks, 0u);
}

TEST_F(Scene, NodesAreNumberedFromOneAsFunctionsOfThePluginTakeThem)
{
    ASSERT_TRUE(run(R"lua(
        Limbrex.enable(true)
        scene.rate(10)
        local unit = scene.unit{clip = scene.clip{file = 'walker.bvh'}, rig = scene.rig{file = 'walker.character'}}
        assert(unit:node_index("#unit") == 1 and unit:node_index("reference") == 3 and unit:node_index("Hips") == 4)
        assert(not pcall(unit.node_index, unit, "Hop") and not pcall(unit.node_index, unit) and not pcall(unit.node_index, unit, 4))
        function start() scene.delete(unit) assert(not pcall(unit.node_index, unit, "Hips")) end
    )lua"))
        << error;
    const std::vector<std::string>& names = recording.units.at(0).nodeNames;
    EXPECT_EQ(names.at(0), "#unit");
    EXPECT_EQ(names.at(2), "reference");
    EXPECT_EQ(names.at(3), "Hips");
}

TEST_F(Scene, FaultsOfScriptsNameTheirLineAndWhatWouldBeRight)
{
    const auto fault = [this](const std::string& script)
    {
        EXPECT_FALSE(run(script)) << script;
        return error;
    };
    EXPECT_THAT(fault("\nscene.clip{file = 'none.bvh'}"), HasSubstr("scene.lua:2: scene.clip: "));
    EXPECT_THAT(fault("scene.clip{fiel = 'walker.bvh'}"), HasSubstr("\"file\" is missing"));
    EXPECT_THAT(fault("scene.clip{file = 'walker.bvh', spede = 1}"), HasSubstr("unknown member \"spede\""));
    EXPECT_THAT(fault("scene.clip{file = 'walker.bvh', speed = 'fast'}"), HasSubstr("\"speed\": number expected, got string"));
    EXPECT_THAT(fault("scene.clip{file = 'walker.bvh', name = 'run'}"), HasSubstr("has no clip \"run\"; it has"));
    EXPECT_THAT(fault("scene.clip('walker.bvh')"), HasSubstr("a table {...} expected, got string"));
    EXPECT_THAT(fault("scene.unit{clip = 3}"), HasSubstr("what scene.clip gives"));
    EXPECT_THAT(fault("scene.unit{rig = 'x'}"), HasSubstr("a clip or a skeleton is needed"));
    EXPECT_THAT(fault("scene.unit{skeleton = 'walker.bvh', position = {0/0, 0, 0}}"), HasSubstr("\"position\" is not finite"));
    EXPECT_THAT(fault("scene.unit{skeleton = 'walker.bvh', rig = 'none'}"), HasSubstr("no rig named \"none\""));
    EXPECT_THAT(fault("scene.sphere{radius = -1}"), HasSubstr("\"radius\" must be above 0"));
    EXPECT_THAT(fault("scene.duration(1e9)"), HasSubstr("frames are more than the limit"));
    EXPECT_THAT(fault("scene.duration('x')"), HasSubstr("seconds above 0"));
    EXPECT_THAT(fault("scene.marker{position = function() return 1 end} scene.duration(1)"), HasSubstr("a finite vector was expected"));
    EXPECT_THAT(fault("local u = scene.unit{skeleton = 'walker.bvh'} scene.goal{unit = u, effector = 44, id = 1, target = {0, 0, 0}}"),
                HasSubstr("outside 0 to 43"));
    EXPECT_THAT(fault("scene.close_up{unit = scene.unit{skeleton = 'walker.bvh'}, joint = 'Hand'}"), HasSubstr("has no joint \"Hand\""));
    EXPECT_THAT(fault("scene.close_up{joint = 'Hips'}"), HasSubstr("\"unit\" is missing"));
    EXPECT_THAT(fault("function update(time) if scene.frame() == 4 then\n error('stop here') end end"),
                HasSubstr("scene.lua:2: stop here"));
    EXPECT_THAT(fault("function stop() error('at the end') end scene.duration(0.1)"), HasSubstr("at the end"));
    EXPECT_THAT(fault("local f = nil\nf()"), HasSubstr("scene.lua:2:"));
    write("cut.character", std::string(kWalkerRig).substr(0, 200));
    EXPECT_THAT(fault("scene.rig{file = 'cut.character'}"), HasSubstr("cut.character:"));
    EXPECT_THAT(fault("scene.rig{file = 'walker.character'} scene.rig{file = 'walker.character'}"), HasSubstr("is there already"));
}

TEST_F(Scene, AClipOfAnotherSkeletonIsRefusedInPlainWords)
{
    std::string other = kWalker;
    for (const char* const name : {"Hips", "Spine", "LeftUpLeg", "LeftLeg"})
    {
        const size_t at = other.find(std::string(" ") + name + "\n");
        other.insert(at + 1, "x");
    }
    write("other.bvh", other.replace(other.find("Frames: 11"), 10, "Frames: 1") + "0 1 0 0 0 0 0 0 0 0 0 0 0 0 0\n");
    EXPECT_FALSE(run("Limbrex.enable(true) scene.unit{clip = scene.clip{file = 'other.bvh'}, rig = scene.rig{file = 'walker.character'}}"));
    EXPECT_THAT(error, HasSubstr("does not fit the skeleton of"));
    EXPECT_THAT(error, HasSubstr("3 of its 4 bones"));
    EXPECT_THAT(error, HasSubstr("LeftUpLeg"));
    EXPECT_FALSE(run("scene.unit{skeleton = 'walker.bvh', clip = scene.clip{file = 'other.bvh'}}"));
    EXPECT_THAT(error, HasSubstr("it has another skeleton"));
    write("empty.bvh", "");
    EXPECT_FALSE(run("scene.clip{file = 'empty.bvh'}"));
    EXPECT_THAT(error, HasSubstr("empty.bvh"));
}

TEST_F(Scene, AnyFunctionSurvivesAnyArgumentsAndNoPoseGetsANumberThatIsNone)
{
    ASSERT_TRUE(run(R"lua(
        Limbrex.enable(true)
        scene.rate(10)
        local c = scene.clip{file = 'walker.bvh'}
        local hero = scene.unit{clip = c, rig = scene.rig{file = 'walker.character'}}
        local dead = scene.unit{clip = c}
        scene.delete(dead)
        local names = {}
        for name in pairs(Limbrex) do
            if name ~= 'enable' and not name:find('dump') then names[#names + 1] = name end
        end
        table.sort(names)
        assert(#names > 50)
        local odd = {0/0, 1/0, -1/0, 1e300, -1, 44, 1e9, 'text', {}, {1, 2}, vec(0/0, 1, 2), vec(1e38, 1e38, 1e38), quat(), print, hero, dead, true, false, 0, 1, 3}
        local state = 12345
        local function any()
            state = (state * 1103515245 + 12345) % 2147483648
            return odd[state // 65536 % (#odd + 1) + 1]
        end
        function update()
            for _, name in ipairs(names) do
                local f = Limbrex[name]
                f()
                f(dead, any(), any())
                for i = 1, 4 do f(hero, any(), any(), any(), any(), any(), any(), any(), any(), any(), any(), any(), any(), any(), any()) end
            end
        end
    )lua"))
        << error;
    const auto finite = [](const NodePose& pose)
    {
        float sum = 0.0f;
        for (const float value : pose.position) { sum += value * 0.0f; }
        for (const float value : pose.rotation) { sum += value * 0.0f; }
        return sum == 0.0f;
    };
    for (const UnitRecording& unit : recording.units)
    {
        EXPECT_TRUE(std::all_of(unit.solvedLocal.poses.begin(), unit.solvedLocal.poses.end(), finite));
        EXPECT_TRUE(std::all_of(unit.solvedWorld.poses.begin(), unit.solvedWorld.poses.end(), finite));
    }
    EXPECT_EQ(recording.lostBlocks, 0u);
}

TEST_F(Scene, RaysSeeMovingCollidersAndOtherUnitsButNotTheirOwn)
{
    ASSERT_TRUE(run(R"lua(
        scene.rate(10)
        scene.duration(1)
        scene.ground(0)
        scene.box{name = 'lift', size = {1, 1, 1}, position = function(t) return {3, 0, t} end}
        scene.stairs{position = {0, 5, 0}, steps = 3, run = 0.5, rise = 0.2, width = 1, heading = 90}
        scene.mesh{vertices = {{-5, -5, 2}, {-4, -5, 2}, {-5, -4, 2}}, triangles = {{1, 2, 3}}}
        local c = scene.clip{file = 'walker.bvh'}
        local one = scene.unit{clip = c, body_radius = 0.3, body_height = 1.8}
        local function height(x, y, unit)
            local hit, normal = scene.ray(vec(x, y, 9), vec(0, 0, -1), 20, unit)
            return hit.z, normal
        end
        local function near(a, b) assert(math.abs(a - b) < 2e-3, a .. " is not " .. b) end
        function update(t)
            if scene.frame() > 0 then
                near(height(3, 0), 0.5 + t - 0.1)
                near(height(0, -(t - 0.1)), 1.8)       -- the body goes where the hips go
                near(height(0, -(t - 0.1), one), 0)
            end
            near(height(0, 5.75), 0.4)
            near(height(-4.8, -4.8), 2)
            assert(scene.ray(vec(0, 0, -1), vec(0, 0, -1), 5) == nil)
        end
    )lua"))
        << error;
    ASSERT_EQ(recording.colliders.size(), 4u);
    EXPECT_TRUE(recording.colliders[0].plane);
    EXPECT_EQ(recording.colliders[1].name, "lift");
    EXPECT_EQ(recording.colliders[1].poses_world.size(), recording.frameCount);
    EXPECT_NEAR(recording.colliders[1].poses_world[5].position[2], 0.5f, 1e-5f);
    EXPECT_EQ(recording.colliders[2].poses_world.size(), 1u);
}

TEST_F(Scene, FrameRangesAndRatesChooseWhatIsRecordedNotWhatHappens)
{
    const std::string script = "scene.rate(10) scene.duration(2) scene.unit{clip = scene.clip{file = 'walker.bvh', loop = true}} "
                               "scene.marker{position = function(t) return {t, 0, 0} end, color = '#336699', name = 'm'}";
    ASSERT_TRUE(run(script)) << error;
    const Recording whole = recording;
    ASSERT_EQ(whole.frameCount, 21u);
    EXPECT_EQ(whole.markers.at(0).colour_argb, 0xff336699u);
    options.firstFrame = 5;
    options.lastFrame = 8;
    ASSERT_TRUE(run(script)) << error;
    ASSERT_EQ(recording.frameCount, 4u);
    EXPECT_EQ(recording.firstFrame, 5u);
    EXPECT_NEAR(recording.markers[0].positions_world[0][0], 0.5f, 1e-6f);
    const UnitRecording& unit = recording.units[0];
    EXPECT_EQ(pose(unit.solvedWorld, unit, 2, "Spine").position, pose(whole.units[0].solvedWorld, whole.units[0], 7, "Spine").position);
    options.firstFrame = 50;
    options.lastFrame.reset();
    EXPECT_FALSE(run(script));
    EXPECT_THAT(error, HasSubstr("no frames to record"));
    options.firstFrame.reset();
    size_t calls = 0;
    options.progress = [&calls](size_t done, size_t total) { return total == 21 && done == calls++ && done < 3; };
    EXPECT_FALSE(run(script));
    EXPECT_EQ(error, "stopped");
    EXPECT_EQ(calls, 4u);
}

TEST_F(Scene, ACapturedBoxerHitsAPointAndTheEngineWithoutRaysAndLinesRunsHimToo)
{
    const fs::path clip = "/usr/share/assimp/models/BVH/Boxing_Toes.bvh";
    const fs::path rig = fs::path(LIMBREX_SOURCE_DIR) / "examples/rigs/boxer.character";
    ASSERT_TRUE(fs::exists(clip)) << "package assimp-testmodels";
    const std::string script = "Limbrex.enable(true) scene.duration(1.5)\n"
                               "local c = scene.clip{file = '" +
                               clip.string() +
                               "', start = 14}\n"
                               "local b = scene.unit{clip = c, rig = scene.rig{file = '" +
                               rig.string() +
                               "'}, name = 'boxer'}\n"
                               "local goal\n"
                               "function update(t)\n"
                               "  if scene.frame() == 1 then\n"
                               "    goal = Limbrex.character_get_effector_transform(b, 3) + vec(0, 0, 0.1)\n"
                               "    Limbrex.character_push_reach_position(b, 3, goal, true, 1, 0.2, 77)\n"
                               "    scene.goal{unit = b, effector = 3, id = 77, target = goal, from = 0.5}\n"
                               "    Limbrex.character_push_pin(b, 1, 1, 1, 0, 78)\n"
                               "    scene.pin{unit = b, effector = 1, id = 78}\n"
                               "  end\n"
                               "end\n";
    options.timing = true;
    ASSERT_TRUE(run(script)) << error;
    ASSERT_EQ(recording.goals.size(), 2u);
    size_t active = 0;
    for (size_t goal = 0; goal < 2; ++goal)
    {
        for (const GoalSample& sample : recording.goals[goal].samples)
        {
            if (!sample.active) { continue; }
            ++active;
            for (size_t i = 0; i < 3; ++i) { EXPECT_NEAR(sample.reached_world[i], sample.target_world[i], 0.01f); }
        }
    }
    EXPECT_GT(active, 100u);
    EXPECT_EQ(recording.allocationsPerFrame, 0u);
    EXPECT_EQ(recording.lostBlocks, 0u);
    EXPECT_GT(recording.units[0].bodyHeight_m, 1.3);
    for (const std::vector<double>& stage : recording.timing.stages_us) { EXPECT_EQ(stage.size(), recording.frameCount); }

    options.timing = false;
    options.rays = false;
    options.lines = false;
    const Recording with_all = recording;
    ASSERT_TRUE(run(script)) << error;
    const UnitRecording& unit = recording.units[0];
    for (size_t i = 0; i < unit.solvedWorld.poses.size(); ++i)
    {
        ASSERT_EQ(unit.solvedWorld.poses[i].position, with_all.units[0].solvedWorld.poses[i].position);
    }
}

TEST(Engine, GoesThroughItsLifeWithNothingLeftBehindAndNeverTwiceAtOnce)
{
    EngineOptions options;
    options.plugin = LIMBREX_PLUGIN_PATH;
    std::string error;
    for (int round = 0; round < 2; ++round)
    {
        HostEngine engine;
        ASSERT_TRUE(engine.start(options, error)) << error;
        EXPECT_STREQ(engine.plugin.name(), "limbrex_plugin");
        EXPECT_EQ(engine.plugin.node_name(1), "Hips");
        EXPECT_EQ(host_service(25), nullptr);
        EXPECT_NE(host_service(kHostRayCastServiceId), nullptr);
        HostEngine second;
        EXPECT_FALSE(second.start(options, error));
        engine.add_world("one");
        HostWorld& two = engine.add_world("two");
        engine.update(two, 0.016f);
        engine.render(two);
        engine.remove_world(two);
        engine.stop();
        EXPECT_EQ(engine.lost_blocks(), 0u);
        EXPECT_THAT(engine.memory.faults(), IsEmpty());
    }
    EXPECT_EQ(host_service(kHostRayCastServiceId), nullptr) << "no engine, no services";
    options.plugin = "/nowhere/plugin.so";
    HostEngine engine;
    EXPECT_FALSE(engine.start(options, error));
    EXPECT_THAT(error, HasSubstr("/nowhere/plugin.so"));
}

// A plugin gone wrong: writes a number that is none into every unit's second node, and a good pose into the third.
void write_bad_pose(World* world, float /*step_s*/)
{
    for (HostUnit* const unit : reinterpret_cast<HostWorld*>(world)->units)
    {
        unit->tree.locals[1].translation[2] = std::nanf("");
        unit->tree.locals[2].translation[0] = 3.0f;
        mark_changed(unit->tree, 1);
        mark_changed(unit->tree, 2);
    }
}

TEST(Engine, PosesThatAreNotFiniteNeverReachTheWorld)
{
    EngineOptions options;
    options.plugin = LIMBREX_PLUGIN_PATH;
    std::string error;
    HostEngine engine;
    ASSERT_TRUE(engine.start(options, error)) << error;
    HostWorld& world = engine.add_world("world");
    world.register_update(write_bad_pose);
    Skeleton skeleton;
    skeleton.joints.push_back({"Hips", -1, {}, false});
    HostNodeTree tree;
    UnitLayout layout;
    build_unit_nodes(skeleton, nullptr, tree, layout);
    const HostUnit& unit = engine.spawn(world, "victim", "none", std::move(tree), {1.0f, 2.0f, 3.0f}, 0.0f);
    EXPECT_EQ(engine.update(world, 0.016f).refusedPoses, 1u);
    EXPECT_TRUE(engine.log.contains("unit \"victim\": the pose written to node \"#z_up\" is not finite"));
    EXPECT_EQ(unit.tree.worlds[3].m[12], 4.0f) << "the good pose is taken";
    EXPECT_EQ(unit.tree.worlds[3].m[14], 3.0f);
}

}  // namespace
}  // namespace limbrex_host
