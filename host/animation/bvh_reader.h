// A strict reader of BVH text. It keeps what the file says: offsets and channel values in the file's unit and axes, degrees, each
// joint's own channels in their own order. Anything else than a well-formed file is refused with file, line and remedy.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace limbrex_host
{

enum class BvhChannel : uint8_t
{
    Xposition,
    Yposition,
    Zposition,
    Xrotation,
    Yrotation,
    Zrotation,
};

inline bool is_rotation(BvhChannel channel) { return channel >= BvhChannel::Xrotation; }

struct BvhJoint
{
    std::string name;  // as in the file, so perhaps not unique; empty for an End Site
    int32_t parent = -1;
    bool endSite = false;
    std::array<double, 3> offset{0.0, 0.0, 0.0};
    std::vector<BvhChannel> channels;
    size_t firstChannel = 0;  // place of this joint's first value in a frame
    size_t line = 0;          // where the file declares it
};

struct BvhFile
{
    std::vector<BvhJoint> joints;  // in file order, so parents first
    size_t channelCount = 0;
    size_t frameCount = 0;
    size_t surplusFrames = 0;  // whole frames beyond the count in the file; read, checked and left aside
    double frameTime_s = 0.0;
    std::vector<double> values;  // frame-major, channelCount a frame
};

// Caps against files that are absurd or hostile: beyond any captured skeleton, far below what would exhaust memory.
constexpr size_t kBvhMaxJoints = 4096;
constexpr size_t kBvhMaxFrames = 1000000;
constexpr size_t kBvhMaxPoses = size_t{1} << 25;  // frames times joints
constexpr double kBvhMaxMagnitude = 1e9;          // of any number, in the file's unit or degrees

// `name` is the file's name for messages. False with `error` set and `out` untouched when the text is not a well-formed BVH.
bool parse_bvh(std::string_view text, const std::string& name, BvhFile& out, std::string& error);
bool read_bvh_file(const std::string& path, BvhFile& out, std::string& error);

}  // namespace limbrex_host
