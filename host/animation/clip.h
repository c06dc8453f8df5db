// Skeletons and captured motion as the host holds them, whatever file they came from.
//
// Lengths are metres (importers scale translations, never node scales); the frame is the asset's own, y up (assets with
// another up axis are turned on import). Quaternions are x, y, z, w. Joints are stored parents first.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace limbrex_host
{

struct JointPose
{
    std::array<float, 3> translation{0.0f, 0.0f, 0.0f};  // relative to the parent joint
    std::array<float, 4> rotation{0.0f, 0.0f, 0.0f, 1.0f};
    std::array<float, 3> scale{1.0f, 1.0f, 1.0f};
};

struct Joint
{
    std::string name;  // unique within the skeleton
    int32_t parent;    // index of an earlier joint, -1 for a root
    JointPose rest;    // the file's own rest (zero or bind) pose, relative to the parent
    bool endSite;      // a tip without motion of its own (BVH End Site, engine "_end" or "_nub" leaf)
};

struct Skeleton
{
    std::vector<Joint> joints;
};

struct Clip
{
    std::string name;
    double framesPerSecond = 30.0;
    uint32_t frameCount = 0;
    std::vector<JointPose> poses;  // frame-major: poses[frame * jointCount + joint]
};

// One imported file: a skeleton and the clips that move it.
struct Asset
{
    std::string path;
    Skeleton skeleton;
    std::vector<Clip> clips;
    std::vector<std::string> notes;  // what the importer changed or could not use, in plain words
};

}  // namespace limbrex_host
