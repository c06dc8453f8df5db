#include <gtest/gtest.h>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "tools/commands/frame_range.h"
#include "tools/commands/json_file.h"
#include "tools/rig/compile_rig.h"
#include "tools/rig/compiled_rig.h"
#include "tools/rig/rig_check.h"

namespace
{

namespace fs = std::filesystem;

constexpr const char* kHops = "/usr/share/assimp/models/BVH/01_01.bvh";

struct Outcome
{
    int exitCode = -1;
    std::string text;  // both streams
};

Outcome limbrex(const std::string& arguments)
{
    Outcome outcome;
    const std::string line = std::string(LIMBREX_COMMAND_PATH) + " " + arguments + " 2>&1 </dev/null";
    std::FILE* pipe = popen(line.c_str(), "r");
    std::array<char, 4096> part{};
    for (size_t n = 0; pipe != nullptr && (n = fread(part.data(), 1, part.size(), pipe)) > 0;) { outcome.text.append(part.data(), n); }
    const int status = pipe == nullptr ? -1 : pclose(pipe);
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

class Command : public testing::Test
{
protected:
    Command() : folder(fs::temp_directory_path() / ("limbrex_command_" + std::to_string(getpid())))
    {
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    ~Command() override { fs::remove_all(folder); }

    std::string path(const std::string& name) const { return (folder / name).string(); }

    std::string write(const std::string& name, const std::string& text) const
    {
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }

    static std::string read(const std::string& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    size_t files() const { return static_cast<size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator())); }

    fs::path folder;
};

TEST_F(Command, HelpAndVersionSucceedAndWrongUsageIsTwo)
{
    for (const char* good :
         {"--help", "--version", "run --help", "rig --help", "rig init --help", "rig check --help", "rig compile --help", "inspect --help"})
    {
        const Outcome outcome = limbrex(good);
        EXPECT_EQ(outcome.exitCode, 0) << good << "\n" << outcome.text;
    }
    for (const char* bad : {"", "dance", "run", "rig", "rig init", "rig init x.bvh", "rig check", "inspect", "run scene.lua --frames 9",
                            "run scene.lua --frames 9:3", "run scene.lua --frames a:b", "rig init x.bvh -o y --stance lying",
                            "rig init x.bvh -o y --frame -1", "--nonsense"})
    {
        EXPECT_EQ(limbrex(bad).exitCode, 2) << bad;
    }
}

TEST_F(Command, FilesThatAreNotThereAreOneAndNamed)
{
    const std::string missing = path("missing");
    for (const std::string& line : {"run " + missing, "rig init " + missing + " -o " + path("out"), "rig check " + missing,
                                    "rig compile " + missing + " -o " + path("out"), "inspect " + missing})
    {
        const Outcome outcome = limbrex(line);
        EXPECT_EQ(outcome.exitCode, 1) << line;
        EXPECT_NE(outcome.text.find(missing), std::string::npos) << line << " said " << outcome.text;
    }
    for (const std::string& line : {std::string("run "), "rig init -o " + path("out") + " ", std::string("rig check "),
                                    "rig compile -o " + path("out") + " ", std::string("inspect ")})
    {
        EXPECT_EQ(limbrex(line + folder.string()).exitCode, 1) << line << "a folder";
    }
    EXPECT_EQ(files(), 0u) << "a failed command left something behind";
}

TEST_F(Command, InitListsWhatItCouldNotMapAndItsRigPassesTheCheck)
{
    const std::string rig = path("a_name_that_is_longer_than_thirty_one_bytes.character");
    const Outcome init = limbrex(std::string("rig init ") + kHops + " -o " + rig);
    EXPECT_EQ(init.exitCode, 0) << init.text;
    EXPECT_NE(init.text.find("joints without a node (6): LHipJoint RHipJoint"), std::string::npos) << init.text;
    nlohmann::json source;
    std::string error;
    ASSERT_TRUE(limbrex_tools::read_json_file(rig, source, error)) << error;
    EXPECT_EQ(source["unit_name"], "a_name_that_is_longer_than_thir");
    const Outcome check = limbrex("rig check " + rig + " --skeleton " + kHops);
    EXPECT_EQ(check.exitCode, 0) << check.text;
    EXPECT_NE(check.text.find("0 errors, 0 warnings"), std::string::npos) << check.text;
    EXPECT_EQ(limbrex("rig check " + rig + " --skeleton /usr/share/assimp/models/BVH/Boxing_Toes.bvh").exitCode, 1);
}

TEST_F(Command, ExampleRigsFitTheirClips)
{
    const std::string rigs = std::string(LIMBREX_SOURCE_DIR) + "/examples/rigs/";
    EXPECT_EQ(limbrex("rig check " + rigs + "hops.character --skeleton " + kHops).exitCode, 0);
    EXPECT_EQ(limbrex("rig check " + rigs + "hands.character --skeleton " + rigs + "../skeletons/hands.bvh").exitCode, 0);
    EXPECT_EQ(limbrex("rig check " + rigs + "boxer.character --skeleton /usr/share/assimp/models/BVH/Boxing_Toes.bvh").exitCode, 0);
}

TEST_F(Command, InitFollowsAMapAndRefusesABrokenOne)
{
    const std::string map =
        write("map.json", R"({"nodes": {"Hips": "Hips", "Spine": "Spine", "Head": "Head"}, "up": "y", "metres_per_unit": 0.1})");
    ASSERT_EQ(limbrex(std::string("rig init ") + kHops + " --map " + map + " -o " + path("few.character")).exitCode, 0);
    nlohmann::json source;
    std::string error;
    ASSERT_TRUE(limbrex_tools::read_json_file(path("few.character"), source, error)) << error;
    EXPECT_EQ(source["bones_mapping"].size(), 4u);
    EXPECT_EQ(source["parent_offsets"].dump(),
              R"([{"node":"Spine","nodeID":8,"parents":["LowerBack"]},{"node":"Head","nodeID":15,"parents":["Neck1","Neck","Spine1"]}])");
    for (const char* broken : {"{", "[]", "{}", R"({"nodes": {"Hips": "Nowhere"}})", R"({"nodes": {"Hips": null}})",
                               R"({"nodes": {"Hips": "Hips", "Hips": "Hips"}})"})
    {
        const Outcome outcome =
            limbrex(std::string("rig init ") + kHops + " --map " + write("bad.json", broken) + " -o " + path("none.character"));
        EXPECT_EQ(outcome.exitCode, 1) << broken << "\n" << outcome.text;
        EXPECT_FALSE(fs::exists(path("none.character")));
    }
}

TEST_F(Command, BrokenRigsAreExplainedWithTheirPlace)
{
    const Outcome syntax = limbrex("rig check " + write("a.character", "{\n  \"unit_name\": \"x\",\n  oops\n}\n"));
    EXPECT_EQ(syntax.exitCode, 1);
    EXPECT_NE(syntax.text.find("a.character:3:"), std::string::npos) << syntax.text;
    const Outcome number = limbrex("rig check " + write("b.character", "{\"contact_foot_bottom_to_ankle\": 1e999}"));
    EXPECT_EQ(number.exitCode, 1);
    EXPECT_NE(number.text.find("b.character"), std::string::npos) << number.text;
    const Outcome deep = limbrex("rig check " + write("c.character", std::string(100000, '[')));
    EXPECT_EQ(deep.exitCode, 1);
    EXPECT_NE(deep.text.find("deeper than"), std::string::npos) << deep.text.substr(0, 200);
}

TEST_F(Command, ARigSurvivesInitCompileAndInspect)
{
    const std::string rig = std::string(LIMBREX_SOURCE_DIR) + "/examples/rigs/hops.character";
    const Outcome compiled = limbrex("rig compile " + rig + " -o " + path("hops.bin"));
    ASSERT_EQ(compiled.exitCode, 0) << compiled.text;
    std::vector<std::string> faults;
    const limbrex_tools::CompiledRig block = limbrex_tools::read_compiled_rig(read(path("hops.bin")), faults);
    EXPECT_TRUE(faults.empty()) << faults.front();
    nlohmann::json source;
    std::string error;
    ASSERT_TRUE(limbrex_tools::read_json_file(rig, source, error)) << error;
    EXPECT_EQ(block.unitName, "hops");
    ASSERT_EQ(block.mapping.size(), source["bones_mapping"].size());
    ASSERT_EQ(block.stance.size(), source["t_stance"].size());
    ASSERT_EQ(block.parents.size(), source["parent_offsets"].size());
    for (size_t i = 0; i < block.mapping.size(); ++i)
    {
        EXPECT_EQ(block.mapping[i].node, source["bones_mapping"][i]["id"].get<int>());
        EXPECT_EQ(block.stance[i].translation[1], source["t_stance"][i]["ty"].get<float>());
        EXPECT_EQ(block.stance[i].rotation[3], source["t_stance"][i]["qw"].get<float>());
    }
    EXPECT_EQ(block.footContact[2], source["contact_foot_middle_to_ankle"].get<float>());

    const Outcome inspected = limbrex("inspect " + path("hops.bin") + " --skeleton " + kHops);
    EXPECT_EQ(inspected.exitCode, 0) << inspected.text;
    for (const char* expected : {"unit \"hops\"", "LeftForeArm", "LowerBack", "LHipJoint"})
    {
        EXPECT_NE(inspected.text.find(expected), std::string::npos) << expected;
    }
    EXPECT_EQ(inspected.text.find('#'), std::string::npos) << "every name is known\n" << inspected.text;

    const std::string whole = read(path("hops.bin"));
    EXPECT_EQ(limbrex("inspect " + write("cut.bin", whole.substr(0, whole.size() - 1))).exitCode, 1);
    EXPECT_EQ(limbrex("inspect " + rig).exitCode, 1);
}

TEST_F(Command, CompilingNonsenseLeavesNoFile)
{
    const Outcome outcome = limbrex("rig compile " + write("bad.character", "{\"bones_mapping\": [") + " -o " + path("bad.bin"));
    EXPECT_EQ(outcome.exitCode, 1) << outcome.text;
    EXPECT_NE(outcome.text.find("bad.character"), std::string::npos) << outcome.text;
    EXPECT_FALSE(fs::exists(path("bad.bin")));
    EXPECT_EQ(limbrex("rig compile " + path("bad.character") + " -o " + path("x.bin") + " --plugin " + path("no.so")).exitCode, 1);
}

TEST_F(Command, AScriptErrorStopsTheRunWithLineAndTraceback)
{
    const std::string scene = write("broken.lua", "local function deeper() error('on purpose') end\n\ndeeper()\n");
    const Outcome outcome = limbrex("run " + scene + " --out " + path("out"));
    EXPECT_EQ(outcome.exitCode, 1) << outcome.text;
    EXPECT_NE(outcome.text.find("broken.lua:1: on purpose"), std::string::npos) << outcome.text;
    EXPECT_NE(outcome.text.find("traceback"), std::string::npos) << outcome.text;
    EXPECT_FALSE(fs::exists(path("out")));
}

TEST_F(Command, EveryExampleScenePlaysAndLeavesItsResults)
{
    size_t scenes = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(std::string(LIMBREX_SOURCE_DIR) + "/examples/scenes"))
    {
        if (entry.path().extension() != ".lua") { continue; }
        ++scenes;
        const Outcome outcome = limbrex("run " + entry.path().string() + " --out " + path("out"));
        EXPECT_EQ(outcome.exitCode, 0) << entry.path() << "\n" << outcome.text;
        EXPECT_EQ(read(path("out/scene.glb")).substr(0, 4), "glTF");
        EXPECT_EQ(read(path("out/filmstrip.png")).substr(1, 3), "PNG");
        nlohmann::json metrics;
        std::string error;
        EXPECT_TRUE(limbrex_tools::read_json_file(path("out/metrics.json"), metrics, error)) << error;
        fs::remove_all(path("out"));
    }
    EXPECT_GE(scenes, 3u);
}

TEST(FrameRanges, AreReadAsWrittenOrRefused)
{
    using limbrex_tools::FrameRange;
    const auto read = [](const char* text)
    {
        FrameRange range;
        EXPECT_TRUE(limbrex_tools::read_frame_range(text, range)) << text;
        return std::pair(range.first.value_or(99), range.last.value_or(99));
    };
    EXPECT_EQ(read("3:7"), std::pair(size_t{3}, size_t{7}));
    EXPECT_EQ(read("5:5"), std::pair(size_t{5}, size_t{5}));
    EXPECT_EQ(read(":7"), std::pair(size_t{99}, size_t{7}));
    EXPECT_EQ(read("3:"), std::pair(size_t{3}, size_t{99}));
    EXPECT_EQ(read(""), std::pair(size_t{99}, size_t{99}));
    for (const char* bad : {"7:3", "3", "a:b", "3:7:9", "-1:3", "3: 7", "1e3:", "99999999999999999999999:"})
    {
        FrameRange range;
        EXPECT_FALSE(limbrex_tools::read_frame_range(bad, range)) << bad;
    }
}

}  // namespace
