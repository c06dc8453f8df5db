#include "host/animation/import_assimp.h"

#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <array>
#include <assimp/Importer.hpp>
#include <cmath>
#include <exception>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>

#include "host/animation/import_keys.h"
#include "host/animation/import_names.h"
#include "host/animation/pose_math.h"

namespace limbrex_host
{
namespace
{

constexpr size_t kMaxNodes = 20000;
constexpr size_t kMaxJoints = 4096;
constexpr size_t kMaxPoses = size_t{1} << 25;  // frames times joints
constexpr double kScaleTolerance = 1e-3;

// A node of the file with its parts. Children follow their parents.
struct Node
{
    const aiNode* source = nullptr;
    int32_t parent = -1;
    bool kept = false;
    bool animated = false;
    int32_t joint = -1;
    Vec3d translation;
    Quatd rotation;
    Vec3d scale{1.0, 1.0, 1.0};
};

// Node scales are carried along for positions; rotations compose as quaternions, so shear cannot leak into a joint.
struct ScaledFrame
{
    Vec3d columns[3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
    RigidPose rigid;
};

struct ScaleReport
{
    bool uneven = false;
    bool mirrored = false;
    bool animated = false;
    bool broken = false;  // numbers that are not finite
};

bool finite(const Quatd&) { return true; }  // normalized, so finite

bool finite(Vec3d v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

Vec3d convert(const aiVector3D& v) { return {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)}; }

Quatd convert(const aiQuaternion& q)
{
    return normalized(Quatd{static_cast<double>(q.x), static_cast<double>(q.y), static_cast<double>(q.z), static_cast<double>(q.w)});
}

std::string convert(const aiString& text) { return std::string(text.C_Str()); }

// assimp calls nameless glTF nodes "nodes[7]" after their place in the file; ours are "node_7", which is a usable name.
std::string given_name(const aiNode& node)
{
    const std::string name = convert(node.mName);
    const bool nameless = name.size() > 7 && name.compare(0, 6, "nodes[") == 0 && name.back() == ']' &&
                          name.find_first_not_of("0123456789", 6) == name.size() - 1;
    return nameless ? "node_" + name.substr(6, name.size() - 7) : name;
}

void read_transform(Node& node, ScaleReport& report)
{
    aiVector3D scale;
    aiVector3D position;
    aiQuaternion rotation;
    node.source->mTransformation.Decompose(scale, rotation, position);
    node.translation = convert(position);
    node.rotation = convert(rotation);
    node.scale = convert(scale);
    if (finite(node.translation) && finite(node.scale)) { return; }
    report.broken = true;
    node.translation = {};
    node.scale = {1.0, 1.0, 1.0};
}

std::vector<Node> list_nodes(const aiScene& scene, ScaleReport& report)
{
    std::vector<Node> nodes;
    std::vector<std::pair<const aiNode*, int32_t>> open{{scene.mRootNode, -1}};
    while (!open.empty() && nodes.size() < kMaxNodes)
    {
        Node node;
        node.source = open.back().first;
        node.parent = open.back().second;
        open.pop_back();
        read_transform(node, report);
        const int32_t index = static_cast<int32_t>(nodes.size());
        for (unsigned i = node.source->mNumChildren; i-- > 0;) { open.emplace_back(node.source->mChildren[i], index); }
        nodes.push_back(node);
    }
    return nodes;
}

std::set<std::string> bone_names(const aiScene& scene)
{
    std::set<std::string> names;
    for (unsigned m = 0; m < scene.mNumMeshes; ++m)
    {
        for (unsigned b = 0; b < scene.mMeshes[m]->mNumBones; ++b) { names.insert(convert(scene.mMeshes[m]->mBones[b]->mName)); }
    }
    return names;
}

std::set<std::string> animated_names(const aiScene& scene)
{
    std::set<std::string> names;
    for (unsigned a = 0; a < scene.mNumAnimations; ++a)
    {
        const aiAnimation& animation = *scene.mAnimations[a];
        for (unsigned c = 0; c < animation.mNumChannels; ++c) { names.insert(convert(animation.mChannels[c]->mNodeName)); }
    }
    return names;
}

bool names_a_tip(const std::string& name)
{
    const std::string plain = plain_name(name);
    const auto ends = [&plain](const char* ending) { return plain.size() > 3 && plain.rfind(ending) == plain.size() - 3; };
    return ends("end") || ends("nub");
}

// Bones with all above them; without a skin what moves with all above it; without motion everything.
void choose_joints(const aiScene& scene, std::vector<Node>& nodes)
{
    const std::set<std::string> bones = bone_names(scene);
    const std::set<std::string> animated = animated_names(scene);
    for (Node& node : nodes)
    {
        const std::string name = convert(node.source->mName);
        node.animated = !name.empty() && animated.count(name) > 0;
        if (!bones.empty()) { node.kept = bones.count(name) > 0; }
        else { node.kept = animated.empty() || node.animated; }
    }
    for (Node& node : nodes)
    {
        const bool tip = node.parent >= 0 && nodes[static_cast<size_t>(node.parent)].kept && node.source->mNumChildren == 0 &&
                         node.source->mNumMeshes == 0 && names_a_tip(convert(node.source->mName));
        node.kept = node.kept || tip;
    }
    for (size_t i = nodes.size(); i-- > 0;)
    {
        if (nodes[i].kept && nodes[i].parent >= 0) { nodes[static_cast<size_t>(nodes[i].parent)].kept = true; }
    }
}

ScaledFrame below(const ScaledFrame& parent, Vec3d translation, const Quatd& rotation, Vec3d scale)
{
    const auto through = [&parent](Vec3d v) { return parent.columns[0] * v.x + parent.columns[1] * v.y + parent.columns[2] * v.z; };
    ScaledFrame frame;
    frame.columns[0] = through(rotate(rotation, {scale.x, 0.0, 0.0}));
    frame.columns[1] = through(rotate(rotation, {0.0, scale.y, 0.0}));
    frame.columns[2] = through(rotate(rotation, {0.0, 0.0, scale.z}));
    frame.rigid = {parent.rigid.position + through(translation), mul(parent.rigid.rotation, rotation)};
    return frame;
}

// Poses without scales, relative to the parent joint, that put every joint where the scaled nodes have it.
void write_locals(const std::vector<Node>& nodes, const std::vector<ScaledFrame>& frames, JointPose* out)
{
    for (size_t i = 0; i < nodes.size(); ++i)
    {
        if (nodes[i].joint < 0) { continue; }
        RigidPose local = frames[i].rigid;
        if (nodes[i].parent >= 0) { local = inverse(frames[static_cast<size_t>(nodes[i].parent)].rigid) * local; }
        JointPose& pose = out[nodes[i].joint];
        pose.translation = to_floats(local.position);
        pose.rotation = to_floats(normalized(local.rotation));
    }
}

void note_scale(const Node& node, ScaleReport& report)
{
    const Vec3d s = node.scale;
    const double size = std::max({std::fabs(s.x), std::fabs(s.y), std::fabs(s.z)});
    report.uneven |= std::fabs(s.x - s.y) > kScaleTolerance * size || std::fabs(s.x - s.z) > kScaleTolerance * size;
    report.mirrored |= s.x * s.y * s.z < 0.0;
}

// Children of a kept node's kept parents are kept themselves, so a joint's parent node is always a joint.
void add_joints(std::vector<Node>& nodes, Asset& out, ScaleReport& report)
{
    UniqueNames names;
    for (const Node& node : nodes)
    {
        if (node.kept) { names.reserve(given_name(*node.source)); }
    }
    std::vector<ScaledFrame> frames(nodes.size());
    for (size_t i = 0; i < nodes.size(); ++i)
    {
        Node& node = nodes[i];
        frames[i] =
            below(node.parent < 0 ? ScaledFrame{} : frames[static_cast<size_t>(node.parent)], node.translation, node.rotation, node.scale);
        if (!node.kept) { continue; }
        note_scale(node, report);
        const std::string given = given_name(*node.source);
        Joint joint;
        joint.name = given.empty() ? names.generate("node_" + std::to_string(i)) : names.take(given);
        joint.parent = node.parent < 0 ? -1 : nodes[static_cast<size_t>(node.parent)].joint;
        joint.endSite = node.source->mNumChildren == 0 && !node.animated && names_a_tip(given);
        if (!given.empty() && joint.name != given)
        {
            out.notes.push_back("a second node named \"" + given + "\" is called \"" + joint.name + "\" here");
        }
        node.joint = static_cast<int32_t>(out.skeleton.joints.size());
        out.skeleton.joints.push_back(std::move(joint));
    }
    std::vector<JointPose> rest(out.skeleton.joints.size());
    write_locals(nodes, frames, rest.data());
    for (size_t j = 0; j < rest.size(); ++j) { out.skeleton.joints[j].rest = rest[j]; }
}

// Keys with a finite time after the last one's and a finite value; files may hold anything.
template <typename Key, typename Source>
std::vector<Key> read_keys(const Source* keys, unsigned count, double ticks_per_second)
{
    std::vector<Key> out;
    out.reserve(count);
    for (unsigned k = 0; k < count; ++k)
    {
        const Key key{keys[k].mTime / ticks_per_second, convert(keys[k].mValue)};
        const bool later = out.empty() || key.time_s >= out.back().time_s;
        if (std::isfinite(key.time_s) && later && finite(key.value)) { out.push_back(key); }
    }
    return out;
}

// One track per node, empty for nodes that the clip leaves alone. Channels name their node, so twins leave the second one still.
std::vector<NodeTrack> read_tracks(const std::vector<Node>& nodes, const aiAnimation& animation)
{
    const double ticks = animation.mTicksPerSecond > 0.0 ? animation.mTicksPerSecond : 25.0;
    std::map<std::string, size_t> first_node;
    for (size_t i = 0; i < nodes.size(); ++i) { first_node.emplace(convert(nodes[i].source->mName), i); }
    std::vector<NodeTrack> tracks(nodes.size());
    for (unsigned c = 0; c < animation.mNumChannels; ++c)
    {
        const aiNodeAnim& channel = *animation.mChannels[c];
        const auto found = first_node.find(convert(channel.mNodeName));
        if (found == first_node.end() || found->first.empty()) { continue; }
        tracks[found->second] = {read_keys<VectorKey>(channel.mPositionKeys, channel.mNumPositionKeys, ticks),
                                 read_keys<RotationKey>(channel.mRotationKeys, channel.mNumRotationKeys, ticks),
                                 read_keys<VectorKey>(channel.mScalingKeys, channel.mNumScalingKeys, ticks)};
    }
    return tracks;
}

void sample_frame(const std::vector<Node>& nodes, const std::vector<NodeTrack>& tracks, double time_s, JointPose* out, ScaleReport& report)
{
    std::vector<ScaledFrame> frames(nodes.size());
    for (size_t i = 0; i < nodes.size(); ++i)
    {
        const Node& node = nodes[i];
        const Vec3d translation = sample(tracks[i].translation, time_s, node.translation);
        const Quatd rotation = sample(tracks[i].rotation, time_s, node.rotation);
        const Vec3d scale = sample(tracks[i].scale, time_s, node.scale);
        report.animated |= node.kept && length(scale - node.scale) > 0.01 * length(node.scale);
        frames[i] = below(node.parent < 0 ? ScaledFrame{} : frames[static_cast<size_t>(node.parent)], translation, rotation, scale);
    }
    write_locals(nodes, frames, out);
}

// Each joint on the side of its last frame, for blending.
void align_signs(Clip& clip, size_t joint_count)
{
    for (size_t i = joint_count; i < clip.poses.size(); ++i)
    {
        std::array<float, 4>& now = clip.poses[i].rotation;
        const Quatd turned = -to_quatd(now);
        if (dot(to_quatd(clip.poses[i - joint_count].rotation), turned) > 0.0) { now = to_floats(turned); }
    }
}

void add_clip(const std::vector<Node>& nodes, const aiAnimation& animation, size_t number, Asset& out, ScaleReport& report)
{
    Clip clip;
    clip.name = convert(animation.mName);
    if (clip.name.empty()) { clip.name = "clip_" + std::to_string(number); }
    const std::vector<NodeTrack> tracks = read_tracks(nodes, animation);
    const Sampling sampling = find_sampling(tracks);
    clip.framesPerSecond = sampling.rate;
    const double frames = std::floor(last_key_time(tracks) / sampling.step_s + 0.5) + 1.0;
    const size_t joint_count = out.skeleton.joints.size();
    if (!(frames >= 1.0) || frames * static_cast<double>(joint_count) > static_cast<double>(kMaxPoses))
    {
        out.notes.push_back("clip \"" + clip.name + "\" is left out: it has no sensible length");
        return;
    }
    clip.frameCount = static_cast<uint32_t>(frames);
    clip.poses.resize(clip.frameCount * joint_count);
    for (uint32_t frame = 0; frame < clip.frameCount; ++frame)
    {
        sample_frame(nodes, tracks, frame * sampling.step_s, clip.poses.data() + frame * joint_count, report);
    }
    align_signs(clip, joint_count);
    out.clips.push_back(std::move(clip));
}

DeclaredFrame declared_frame(const aiScene& scene, const std::string& extension)
{
    DeclaredFrame declared;
    const bool gltf = extension == ".glb" || extension == ".gltf";
    declared.yUp = gltf || extension == ".fbx" || extension == ".dae";  // assimp turns these to y up itself
    if (gltf || extension == ".dae") { declared.metresPerUnit = 1.0; }
    float centimetres = 0.0f;
    double centimetres_double = 0.0;
    if (scene.mMetaData != nullptr && extension == ".fbx")
    {
        if (scene.mMetaData->Get("UnitScaleFactor", centimetres)) { declared.metresPerUnit = 0.01 * static_cast<double>(centimetres); }
        else if (scene.mMetaData->Get("UnitScaleFactor", centimetres_double)) { declared.metresPerUnit = 0.01 * centimetres_double; }
    }
    return declared;
}

void tell_scales(const ScaleReport& report, Asset& out)
{
    if (report.uneven) { out.notes.push_back("uneven node scales are folded into the joint positions; rotations leave them aside"); }
    if (report.mirrored) { out.notes.push_back("mirroring node scales are folded into the joint positions; check left and right"); }
    if (report.animated) { out.notes.push_back("animated node scales are folded into the joint positions: bones change length"); }
    if (report.broken) { out.notes.push_back("node transforms with numbers that are not finite are taken as identity"); }
}

bool convert_scene(const aiScene& scene, const std::string& path, Asset& out, std::string& error)
{
    ScaleReport report;
    std::vector<Node> nodes = list_nodes(scene, report);
    choose_joints(scene, nodes);
    add_joints(nodes, out, report);
    if (out.skeleton.joints.empty() || out.skeleton.joints.size() > kMaxJoints || nodes.size() >= kMaxNodes)
    {
        error = path + (out.skeleton.joints.empty() ? ": holds no joints" : ": holds more joints than any skeleton has");
        return false;
    }
    for (unsigned a = 0; a < scene.mNumAnimations; ++a) { add_clip(nodes, *scene.mAnimations[a], a, out, report); }
    tell_scales(report, out);
    return true;
}

}  // namespace

bool read_with_assimp(const std::string& path, Asset& out, DeclaredFrame& declared, std::string& error)
{
    std::error_code status;
    if (!std::filesystem::is_regular_file(path, status))
    {
        error = path + ": no such file";
        return false;
    }
    try
    {
        Assimp::Importer importer;
        importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
        const aiScene* scene = importer.ReadFile(path, 0);
        if (scene == nullptr || scene->mRootNode == nullptr)
        {
            error = path + ": cannot be read: " + importer.GetErrorString();
            return false;
        }
        std::string extension = std::filesystem::path(path).extension().string();
        for (char& ch : extension) { ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch))); }
        declared = declared_frame(*scene, extension);
        return convert_scene(*scene, path, out, error);
    }
    catch (const std::exception& failure)
    {
        error = path + ": cannot be read: " + failure.what();
        return false;
    }
}

}  // namespace limbrex_host
