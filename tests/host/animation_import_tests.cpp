// Files of every kind arrive as one thing: y up, metres, unit scales, parents first, names that differ.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>

#include "host/animation/bvh_import.h"
#include "host/animation/import.h"
#include "host/animation/import_assimp.h"
#include "host/animation/import_units.h"
#include "host/animation/pose_math.h"

namespace limbrex_host
{
namespace
{

using ::testing::Contains;
using ::testing::HasSubstr;

const std::string kModels = "/usr/share/assimp/models/";

Asset import(const std::string& path, const ImportOptions& options = {})
{
    Asset asset;
    std::string error;
    EXPECT_TRUE(import_asset(path, options, asset, error)) << error;
    return asset;
}

size_t joint_index(const Skeleton& skeleton, const std::string& name)
{
    const auto found = std::find_if(skeleton.joints.begin(), skeleton.joints.end(), [&](const Joint& j) { return j.name == name; });
    EXPECT_NE(found, skeleton.joints.end()) << name;
    return static_cast<size_t>(found - skeleton.joints.begin());
}

std::vector<RigidPose> frame_world(const Asset& asset, size_t clip, size_t frame)
{
    return world_poses(asset.skeleton, asset.clips.at(clip).poses.data() + frame * asset.skeleton.joints.size());
}

void expect_well_formed(const Asset& asset)
{
    std::set<std::string> names;
    for (size_t j = 0; j < asset.skeleton.joints.size(); ++j)
    {
        const Joint& joint = asset.skeleton.joints[j];
        EXPECT_TRUE(names.insert(joint.name).second) << joint.name << " stands twice";
        EXPECT_FALSE(joint.name.empty());
        EXPECT_LT(joint.parent, static_cast<int32_t>(j));
        EXPECT_EQ(joint.rest.scale, (std::array<float, 3>{1.0f, 1.0f, 1.0f}));
    }
    for (const Clip& clip : asset.clips)
    {
        ASSERT_EQ(clip.poses.size(), clip.frameCount * asset.skeleton.joints.size());
        EXPECT_GT(clip.framesPerSecond, 0.0);
        for (size_t i = 0; i < clip.poses.size(); ++i)
        {
            const JointPose& pose = clip.poses[i];
            ASSERT_NEAR(dot(to_quatd(pose.rotation), to_quatd(pose.rotation)), 1.0, 1e-5);
            ASSERT_TRUE(std::isfinite(length(to_vec3d(pose.translation))));
            if (i < asset.skeleton.joints.size()) { continue; }
            const JointPose& before = clip.poses[i - asset.skeleton.joints.size()];
            ASSERT_GE(dot(to_quatd(before.rotation), to_quatd(pose.rotation)), -1e-6) << "a blend would go the long way";
        }
    }
}

// Largest distance between joints of the same name in two readings of one file, over all frames.
double largest_distance(const Asset& a, const Asset& b, double scale_b)
{
    double worst = 0.0;
    std::vector<std::pair<size_t, size_t>> pairs;
    for (size_t j = 0; j < a.skeleton.joints.size(); ++j)
    {
        if (!a.skeleton.joints[j].endSite) { pairs.emplace_back(j, joint_index(b.skeleton, a.skeleton.joints[j].name)); }
    }
    EXPECT_EQ(a.clips[0].frameCount, b.clips[0].frameCount);
    for (size_t frame = 0; frame < a.clips[0].frameCount; ++frame)
    {
        const std::vector<RigidPose> in_a = frame_world(a, 0, frame);
        const std::vector<RigidPose> in_b = frame_world(b, 0, frame);
        for (const auto& [ja, jb] : pairs) { worst = std::max(worst, length(in_a[ja].position - in_b[jb].position * scale_b)); }
    }
    return worst;
}

// The other reader resamples in single precision and composes its own matrices: an independent road to the same places.
void compare_with_assimp(const std::string& path)
{
    SCOPED_TRACE(path);
    BvhFile file;
    Asset ours;
    Asset theirs;
    DeclaredFrame declared;
    std::string error;
    ASSERT_TRUE(read_bvh_file(path, file, error)) << error;
    asset_from_bvh(file, "ours", ours);
    ASSERT_TRUE(read_with_assimp(path, theirs, declared, error)) << error;
    const double height = std::max(body_height(ours.skeleton), 1e-3);
    EXPECT_LE(largest_distance(ours, theirs, 1.0) / height, 2e-6);
}

TEST(Import, MocapClipsAgreeWithAnIndependentReaderInEveryFrame)
{
    for (const char* name : {"BVH/01_01.bvh", "BVH/01_03.bvh", "BVH/Boxing_Toes.bvh"}) { compare_with_assimp(kModels + name); }
#ifdef LIMBREX_SHARED_DATA
    for (const auto& entry : std::filesystem::directory_iterator(LIMBREX_SHARED_DATA "/bvh")) { compare_with_assimp(entry.path()); }
#endif
}

TEST(Import, MocapUnitsAreGuessedFromTheBodyAndCanBeGiven)
{
    const Asset hops = import(kModels + "BVH/01_01.bvh");
    expect_well_formed(hops);
    EXPECT_EQ(hops.clips.at(0).framesPerSecond, 120.0);
    EXPECT_EQ(hops.clips[0].frameCount, 2752u);
    // Hips stand about 0.96 m over the floor of the capture volume in the first frame.
    const size_t hips = joint_index(hops.skeleton, "Hips");
    EXPECT_NEAR(frame_world(hops, 0, 0)[hips].position.y, 17.6 * 0.05644, 0.05);
    EXPECT_THAT(hops.notes, Contains(HasSubstr("0.05644 m")));
    const Asset raw = import(kModels + "BVH/01_01.bvh", {1.0, UpAxis::Y});
    EXPECT_LE(largest_distance(hops, raw, 0.0254 / 0.45), 1e-5);

    const Asset boxer = import(kModels + "BVH/Boxing_Toes.bvh");
    expect_well_formed(boxer);
    EXPECT_EQ(boxer.clips.at(0).framesPerSecond, 100.0);
    EXPECT_THAT(boxer.notes, Contains(HasSubstr("0.01 m")));
    EXPECT_NEAR(frame_world(boxer, 0, 0)[0].position.y, 0.91753342, 1e-6);
}

TEST(Import, ZUpTurnsToYUpWithEveryFrameOfReference)
{
    const std::string path = testing::TempDir() + "limbrex_zup.bvh";
    std::ofstream(path) << "HIERARCHY\nROOT Hips\n{\nOFFSET 0 0 0\nCHANNELS 6 Xposition Yposition Zposition Xrotation Yrotation Zrotation\n"
                           "JOINT Head\n{\nOFFSET 0 0 0.7\nCHANNELS 3 Xrotation Yrotation Zrotation\n}\n"
                           "JOINT LeftFoot\n{\nOFFSET 0.1 0 -0.8\nJOINT LeftHand\n{\nOFFSET 0 0 0\n}\n}\n"
                           "JOINT RightFoot\n{\nOFFSET -0.1 0 -0.8\n}\n}\nMOTION\nFrames: 1\nFrame Time: 0.04\n"
                           "1 2 0.9 0 0 90 0 0 0\n";
    const Asset turned = import(path);
    const std::vector<RigidPose> world = frame_world(turned, 0, 0);
    EXPECT_THAT(turned.notes, Contains(HasSubstr("z up")));
    // (x, y, z) becomes (x, z, -y): the hips at 1 0.9 -2, the head above; a quarter turn about the vertical takes +x to -z.
    EXPECT_LE(length(world[0].position - Vec3d{1.0, 0.9, -2.0}), 1e-6);
    EXPECT_LE(length(world[1].position - Vec3d{1.0, 1.6, -2.0}), 1e-6);
    EXPECT_LE(length(world[2].position - Vec3d{1.0, 0.1, -2.1}), 1e-6);
    EXPECT_LE(length(rotate(world[0].rotation, {1, 0, 0}) - Vec3d{0, 0, -1}), 1e-6);
    const Asset kept = import(path, {1.0, UpAxis::Y});
    EXPECT_LE(length(frame_world(kept, 0, 0)[1].position - Vec3d{1.0, 2.0, 1.6}), 1e-6);
    std::filesystem::remove(path);
}

TEST(Import, ModelsWithSkinsBringTheirBonesAndClips)
{
    const Asset bull = import(kModels + "X/Testwuson.X");
    expect_well_formed(bull);
    ASSERT_EQ(bull.clips.size(), 3u);
    EXPECT_EQ(bull.clips[0].framesPerSecond, 30.0);
    EXPECT_EQ(bull.clips[0].frameCount, 30u);
    EXPECT_GT(bull.skeleton.joints.size(), 30u);
    const Asset arms = import(kModels + "FBX/huesitos.fbx");
    expect_well_formed(arms);
    ASSERT_EQ(arms.clips.size(), 1u);
    EXPECT_EQ(arms.skeleton.joints[joint_index(arms.skeleton, "Bone.001")].parent,
              static_cast<int32_t>(joint_index(arms.skeleton, "Bone")));
}

// Two triangles' worth of glTF: a nameless node of a hundredth's scale over two bones of which one moves.
std::string scaled_gltf()
{
    return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],
"nodes":[{"scale":[0.01,0.01,0.01],"rotation":[0,0,0.70710678,0.70710678],"children":[1]},
{"name":"upper","translation":[100,0,0],"children":[2]},{"name":"lower","translation":[0,50,0]}],
"animations":[{"name":"wave","channels":[{"sampler":0,"target":{"node":2,"path":"rotation"}},
{"sampler":0,"target":{"node":1,"path":"rotation"}}],
"samplers":[{"input":0,"output":1}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":2,"type":"SCALAR","min":[0],"max":[0.5]},
{"bufferView":1,"componentType":5126,"count":2,"type":"VEC4"}],
"bufferViews":[{"buffer":0,"byteLength":8},{"buffer":0,"byteOffset":8,"byteLength":32}],
"buffers":[{"byteLength":40,"uri":"data:application/octet-stream;base64,AAAAAAAAAD8AAAAAAAAAAAAAAAAAAIA/AAAAAAAAAAAAAIA/AAAAAA=="}]})";
}

TEST(Import, NodeScalesAreFoldedIntoLengthsAndNamelessNodesGetNames)
{
    const std::string path = testing::TempDir() + "limbrex_scaled.gltf";
    std::ofstream(path) << scaled_gltf();
    const Asset asset = import(path);
    expect_well_formed(asset);
    ASSERT_EQ(asset.skeleton.joints.size(), 3u);
    EXPECT_EQ(asset.skeleton.joints[0].name, "node_0");
    // 100 along x at a hundredth, turned a quarter about z by the node above: 1 m up; then 50 along that frame's y.
    const std::vector<RigidPose> rest = world_poses_at_rest(asset.skeleton);
    EXPECT_LE(length(rest[1].position - Vec3d{0.0, 1.0, 0.0}), 1e-5);
    EXPECT_LE(length(rest[2].position - Vec3d{-0.5, 1.0, 0.0}), 1e-5);
    // The clip turns the upper bone half way round about z in half a second; half way through, a quarter.
    ASSERT_EQ(asset.clips.size(), 1u);
    const Clip& clip = asset.clips[0];
    const std::vector<RigidPose> half = frame_world(asset, 0, (clip.frameCount - 1) / 2);
    EXPECT_NEAR((clip.frameCount - 1) / clip.framesPerSecond, 0.5, 1e-6);
    EXPECT_LE(length(half[2].position - Vec3d{0.0, 0.5, 0.0}), 1e-4);
    std::filesystem::remove(path);
}

TEST(Import, BrokenFilesAreRefusedInWordsAndLeaveTheAssetAlone)
{
    const std::string folder = testing::TempDir();
    const std::string whole = kModels + "FBX/huesitos.fbx";
    std::ifstream stream(whole, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    std::vector<std::string> paths{"/nowhere/clip.bvh", "/nowhere/clip.glb", "/usr/share", "/dev/null"};
    const auto write = [&](const std::string& name, const std::string& text)
    {
        paths.push_back(folder + name);
        std::ofstream(paths.back(), std::ios::binary) << text;
    };
    write("limbrex_empty.bvh", "");
    write("limbrex_text.bvh", "hello\n");
    write("limbrex_empty.glb", "");
    write("limbrex_text.glb", "hello\n");
    write("limbrex_unknown.xyz", "hello\n");
    write("limbrex_cut.fbx", bytes.substr(0, bytes.size() / 3));
    for (const std::string& path : paths)
    {
        Asset asset;
        asset.path = "untouched";
        std::string error;
        EXPECT_FALSE(import_asset(path, asset, error)) << path;
        EXPECT_THAT(error, HasSubstr(path));
        EXPECT_EQ(asset.path, "untouched");
        if (path.rfind(folder, 0) == 0) { std::filesystem::remove(path); }
    }
    Asset asset;
    std::string error;
    EXPECT_FALSE(import_asset(whole, {std::nan(""), UpAxis::Y}, asset, error));
    EXPECT_THAT(error, HasSubstr("positive number of metres"));
}

#ifdef LIMBREX_SHARED_DATA
TEST(Import, BodiesOfEveryConventionComeOutAsTallAsPeople)
{
    for (const char* folder : {"/bvh", "/humanoid"})
    {
        for (const auto& entry : std::filesystem::directory_iterator(std::string(LIMBREX_SHARED_DATA) + folder))
        {
            SCOPED_TRACE(entry.path());
            const Asset asset = import(entry.path());
            expect_well_formed(asset);
            double low = 0.0;
            double high = 0.0;
            const std::vector<RigidPose> world = frame_world(asset, 0, asset.clips.at(0).frameCount / 8);
            for (size_t j = 0; j < world.size(); ++j)
            {
                const double y = world[j].position.y - world[0].position.y;
                low = std::min(low, y);
                high = std::max(high, y);
            }
            EXPECT_GT(high - low, 1.0);
            EXPECT_LT(high - low, 2.3);
        }
    }
}
#endif

}  // namespace
}  // namespace limbrex_host
