// BVH text in, joint poses out: channel orders, dialects of real files, and files that are broken.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <random>
#include <sstream>

#include "host/animation/bvh_import.h"
#include "host/animation/bvh_reader.h"
#include "host/animation/pose_math.h"

namespace limbrex_host
{
namespace
{

using ::testing::HasSubstr;
using Matrix = std::array<std::array<double, 4>, 4>;

constexpr const char* kSmall = "HIERARCHY\n"
                               "ROOT Hips\n"
                               "{\n"
                               "  OFFSET 0 0 0\n"
                               "  CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation\n"
                               "  JOINT Chest\n"
                               "  {\n"
                               "    OFFSET 0 2 0\n"
                               "    CHANNELS 3 Zrotation Xrotation Yrotation\n"
                               "    End Site\n"
                               "    {\n"
                               "      OFFSET 0 1 0\n"
                               "    }\n"
                               "  }\n"
                               "}\n"
                               "MOTION\n"
                               "Frames: 2\n"
                               "Frame Time: 0.0083333\n"
                               "0 0 0 0 0 0 0 0 0\n"
                               "1 2 3 90 0 0 0 90 0\n";

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

Asset read(const std::string& text)
{
    BvhFile file;
    std::string error;
    EXPECT_TRUE(parse_bvh(text, "test.bvh", file, error)) << error;
    Asset asset;
    asset_from_bvh(file, "test", asset);
    return asset;
}

std::string error_of(const std::string& text)
{
    BvhFile file;
    std::string error;
    EXPECT_FALSE(parse_bvh(text, "test.bvh", file, error));
    EXPECT_TRUE(file.joints.empty()) << "a refused file must leave the record alone";
    return error;
}

std::vector<RigidPose> pose_world(const Asset& asset, size_t frame)
{
    return world_poses(asset.skeleton, asset.clips.at(0).poses.data() + frame * asset.skeleton.joints.size());
}

void expect_near(Vec3d found, Vec3d wanted, double tolerance)
{
    EXPECT_LE(length(found - wanted), tolerance)
        << found.x << " " << found.y << " " << found.z << " wanted " << wanted.x << " " << wanted.y << " " << wanted.z;
}

Matrix product(const Matrix& a, const Matrix& b)
{
    Matrix out{};
    for (size_t r = 0; r < 4; ++r)
    {
        for (size_t c = 0; c < 4; ++c)
        {
            for (size_t k = 0; k < 4; ++k) { out[r][c] += a[r][k] * b[k][c]; }
        }
    }
    return out;
}

// Textbook rotation matrices for column vectors, in degrees.
Matrix turn(char axis, double degrees)
{
    const double c = std::cos(degrees * M_PI / 180.0);
    const double s = std::sin(degrees * M_PI / 180.0);
    if (axis == 'X') { return {{{1, 0, 0, 0}, {0, c, -s, 0}, {0, s, c, 0}, {0, 0, 0, 1}}}; }
    if (axis == 'Y') { return {{{c, 0, s, 0}, {0, 1, 0, 0}, {-s, 0, c, 0}, {0, 0, 0, 1}}}; }
    return {{{c, -s, 0, 0}, {s, c, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
}

Matrix move(double x, double y, double z) { return {{{1, 0, 0, x}, {0, 1, 0, y}, {0, 0, 1, z}, {0, 0, 0, 1}}}; }

Vec3d origin_of(const Matrix& m) { return {m[0][3], m[1][3], m[2][3]}; }

TEST(BvhChannels, EveryOrderAgreesWithMatricesMultipliedInThatOrder)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> angle(-180.0, 180.0);
    for (const std::string order : {"XYZ", "XZY", "YXZ", "YZX", "ZXY", "ZYX", "XY", "Z", ""})
    {
        std::ostringstream text;
        text << "HIERARCHY\nROOT a\n{\nOFFSET 1 2 3\nCHANNELS 3 Zrotation Xrotation Yrotation\nJOINT b\n{\nOFFSET 0.5 -1 2\nCHANNELS "
             << order.size();
        for (const char axis : order) { text << " " << axis << "rotation"; }
        text << "\nJOINT c\n{\nOFFSET 0.25 3 -1\nCHANNELS 3 Xposition Zrotation Zposition\n}\n}\n}\nMOTION\nFrames: 1\nFrame Time: 0.1\n";
        const double a[] = {angle(random), angle(random), angle(random)};
        Matrix world = product(move(1, 2, 3), product(turn('Z', a[0]), product(turn('X', a[1]), turn('Y', a[2]))));
        text << a[0] << " " << a[1] << " " << a[2];
        world = product(world, move(0.5, -1, 2));
        const Matrix of_b = world;
        for (const char axis : order)
        {
            const double degrees = std::round(angle(random));
            text << " " << degrees;
            world = product(world, turn(axis, degrees));
        }
        // Positions replace the offset where they have a channel, whatever stands between them.
        text << " 0.75 30 -1.5\n";
        world = product(world, product(move(0.75, 3, -1.5), turn('Z', 30)));
        const std::vector<RigidPose> found = pose_world(read(text.str()), 0);
        expect_near(found[1].position, origin_of(of_b), 1e-4);
        expect_near(found[2].position, origin_of(world), 1e-4);
        for (size_t column = 0; column < 3; ++column)
        {
            const Vec3d axis{column == 0 ? 1.0 : 0.0, column == 1 ? 1.0 : 0.0, column == 2 ? 1.0 : 0.0};
            expect_near(rotate(found[2].rotation, axis), {world[0][column], world[1][column], world[2][column]}, 1e-4);
        }
    }
}

TEST(BvhChannels, SixChannelJointsBelowTheRootReadWholePositionsAndDifferences)
{
    const std::string joint = replaced(kSmall, "CHANNELS 3 Zrotation Xrotation Yrotation",
                                       "CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation");
    const std::string header = joint.substr(0, joint.find("0 0 0 0 0 0 0 0 0\n"));
    const Asset whole = read(header + "0 0 0 0 0 0 0 2.1 0 0 0 0\n0 0 0 0 0 0 0 1.9 0 0 0 0\n");
    expect_near(pose_world(whole, 0)[1].position, {0.0, 2.1, 0.0}, 1e-6);
    EXPECT_TRUE(whole.notes.empty());
    const Asset difference = read(header + "0 0 0 0 0 0 0 0.1 0 0 0 0\n0 0 0 0 0 0 0 -0.1 0 0 0 0\n");
    expect_near(pose_world(difference, 0)[1].position, {0.0, 2.1, 0.0}, 1e-6);
    ASSERT_EQ(difference.notes.size(), 1u);
    EXPECT_THAT(difference.notes[0], HasSubstr("Chest"));
}

TEST(BvhDialects, LineEndsIndentsLettersAndLayoutMakeNoDifference)
{
    const Asset plain = read(kSmall);
    std::string crlf;
    for (const char ch : std::string(kSmall)) { crlf += ch == '\n' ? std::string("\r\n") : std::string(1, ch); }
    const std::string variants[] = {
        crlf,
        "\xEF\xBB\xBF" + std::string(kSmall),
        replaced(kSmall, "ROOT Hips\n{", "ROOT Hips {"),
        replaced(kSmall, "  OFFSET 0 2 0", "\t \tOFFSET\t0  +2 0e0"),
        replaced(kSmall, "Zrotation Xrotation Yrotation\n    End", "zRotation XROTATION yrotation   \n\n    End"),
        replaced(kSmall, "Frames: 2\n", "Frames:\t2   \n\n"),
        std::string(kSmall) + "\n\n",
        std::string(kSmall).substr(0, std::string(kSmall).size() - 1),
    };
    for (const std::string& text : variants)
    {
        const Asset asset = read(text);
        ASSERT_EQ(asset.skeleton.joints.size(), 3u);
        for (size_t j = 0; j < 3; ++j)
        {
            EXPECT_EQ(asset.skeleton.joints[j].name, plain.skeleton.joints[j].name);
            expect_near(pose_world(asset, 1)[j].position, pose_world(plain, 1)[j].position, 0.0);
        }
    }
    // Hips at 1 2 3 turned 90 degrees about z, chest 2 above it in its own frame, its tip turned forward about x.
    const std::vector<RigidPose> turned = pose_world(plain, 1);
    expect_near(turned[1].position, {-1.0, 2.0, 3.0}, 1e-6);
    expect_near(turned[2].position, {-1.0, 2.0, 4.0}, 1e-6);
    EXPECT_EQ(plain.clips[0].framesPerSecond, 120.0);
}

TEST(BvhDialects, EndSitesAndTwinsGetNamesOfTheirOwn)
{
    std::string text = kSmall;
    text = replaced(text, "    End Site\n",
                    "    JOINT Hips\n    {\n      OFFSET 0 0 0\n      CHANNELS 0\n    }\n"
                    "    JOINT Chest_end\n    {\n      OFFSET 1 0 0\n    }\n    End Site named\n");
    const Asset asset = read(text);
    ASSERT_EQ(asset.skeleton.joints.size(), 5u);
    EXPECT_EQ(asset.skeleton.joints[2].name, "Hips_2");
    EXPECT_EQ(asset.skeleton.joints[3].name, "Chest_end");
    EXPECT_EQ(asset.skeleton.joints[4].name, "Chest_end_2");
    EXPECT_TRUE(asset.skeleton.joints[4].endSite);
    EXPECT_FALSE(asset.skeleton.joints[3].endSite);
    ASSERT_EQ(asset.notes.size(), 1u);
    EXPECT_THAT(asset.notes[0], HasSubstr("line 10"));
}

TEST(BvhErrors, NameFileLineAndFault)
{
    const std::string small = kSmall;
    const struct
    {
        std::string text;
        const char* place;
        const char* words;
    } cases[] = {
        {"", "test.bvh:1:", "end of the file"},
        {"# Blender\n", "test.bvh:1:", "is this a BVH file?"},
        {replaced(small, "ROOT Hips", "ROOT "), "test.bvh:2:", "no name"},
        {replaced(small, "OFFSET 0 2 0", "OFFSET 0 2"), "test.bvh:9:", "must be a number, found \"CHANNELS\""},
        {replaced(small, "OFFSET 0 2 0", "OFFSET 0 nan 0"), "test.bvh:8:", "not a finite number"},
        {replaced(small, "OFFSET 0 2 0", "OFFSET 0 1e400 0"), "test.bvh:8:", "not a finite number"},
        {replaced(small, "OFFSET 0 2 0", "OFFSET 0 2e12 0"), "test.bvh:8:", "sensible size"},
        {replaced(small, "    OFFSET 0 2 0\n", ""), "test.bvh:6:", "no OFFSET"},
        {replaced(small, "CHANNELS 3", "CHANNELS 4"), "test.bvh:9:", "expected a channel name"},
        {replaced(small, "CHANNELS 3", "CHANNELS 2"), "test.bvh:9:", "more channel names"},
        {replaced(small, "CHANNELS 3", "CHANNELS -3"), "test.bvh:9:", "0 to 6"},
        {replaced(small, "CHANNELS 3 Zrotation", "CHANNELS 3 Yrotation"), "test.bvh:9:", "stands twice"},
        {replaced(small, "CHANNELS 3 Zrotation", "CHANNELS 3 Wrotation"), "test.bvh:9:", "\"Wrotation\""},
        {replaced(small, "MOTION", "}"), "test.bvh:16:", "\"}\""},
        {replaced(small, "  }\n}\nMOTION", "}\nMOTION"), "test.bvh:15:", "found \"MOTION\""},
        {replaced(small, "Frames: 2", "Frames: -2"), "test.bvh:17:", "whole number"},
        {replaced(small, "Frames: 2", "Frames: 9999999"), "test.bvh:17:", "more frames"},
        {replaced(small, "Frames: 2", "Frames: 900000"), "test.bvh:18:", "too short"},
        {replaced(small, "Frames: 2", "Frames: 3"), "test.bvh:21:", "after 2 of the 3 frames said on line 17"},
        {replaced(small, "0.0083333", "0"), "test.bvh:18:", "above 0"},
        {replaced(small, "0.0083333", "inf"), "test.bvh:18:", "finite"},
        {replaced(small, "1 2 3 90", "1 2 90"), "test.bvh:20:", "frame 1 has 8 of 9"},
        {replaced(small, "1 2 3 90", "1 2 3 4 90"), "test.bvh:20:", "more than 9"},
        {replaced(small, "1 2 3 90", "1 2 -nan 90"), "test.bvh:20:", "not a finite number"},
        {replaced(small, "1 2 3 90", "1 2 3. 9,0"), "test.bvh:20:", "\"9,0\""},
        {small + "1 2 3\n", "test.bvh:21:", "frame 2 has 3 of 9"},
    };
    for (const auto& broken : cases)
    {
        const std::string error = error_of(broken.text);
        EXPECT_THAT(error, HasSubstr(broken.place));
        EXPECT_THAT(error, HasSubstr(broken.words));
    }
}

TEST(BvhErrors, FramesBeyondTheCountAreLeftAsideAndToldOf)
{
    const Asset asset = read(std::string(kSmall) + "9 9 9 9 9 9 9 9 9\n");
    EXPECT_EQ(asset.clips[0].frameCount, 2u);
    EXPECT_EQ(asset.clips[0].poses.size(), 6u);
    ASSERT_EQ(asset.notes.size(), 1u);
    EXPECT_THAT(asset.notes[0], HasSubstr("counts 2 frames and holds 1 more"));
}

TEST(BvhErrors, TextCutAnywhereOrWithAnyByteChangedIsReadOrRefusedInWords)
{
    const std::string small = kSmall;
    for (size_t cut = 0; cut < small.size(); ++cut)
    {
        BvhFile file;
        std::string error;
        const bool read_it = parse_bvh(small.substr(0, cut), "test.bvh", file, error);
        // Without its last line end the text is still well formed; anywhere before it something is missing.
        EXPECT_EQ(read_it, cut + 1 >= small.size()) << "cut at " << cut;
        EXPECT_EQ(read_it, error.empty());
    }
    std::mt19937 random(11);
    for (int round = 0; round < 4000; ++round)
    {
        std::string text = small;
        for (int change = 0; change <= round % 3; ++change) { text[random() % text.size()] = static_cast<char>(random() % 256); }
        BvhFile file;
        std::string error;
        if (!parse_bvh(text, "test.bvh", file, error))
        {
            EXPECT_THAT(error, HasSubstr("test.bvh:"));
            continue;
        }
        Asset asset;
        asset_from_bvh(file, "test", asset);
        for (const JointPose& pose : asset.clips.at(0).poses)
        {
            EXPECT_NEAR(length(rotate(to_quatd(pose.rotation), {1, 0, 0})), 1.0, 1e-5);
        }
    }
}

TEST(BvhErrors, EndlessNestingAndEndlessJointsAreRefused)
{
    std::string deep = "HIERARCHY\nROOT r\n{\nOFFSET 0 0 0\n";
    for (int i = 0; i < 300; ++i) { deep += "JOINT j" + std::to_string(i) + "\n{\nOFFSET 0 1 0\n"; }
    EXPECT_THAT(error_of(deep), HasSubstr("256 deep"));
    std::string wide = "HIERARCHY\nROOT r\n{\nOFFSET 0 0 0\n";
    for (int i = 0; i < 5000; ++i) { wide += "JOINT same\n{\nOFFSET 0 1 0\n}\n"; }
    EXPECT_THAT(error_of(wide), HasSubstr("4096 joints"));
}

}  // namespace
}  // namespace limbrex_host
