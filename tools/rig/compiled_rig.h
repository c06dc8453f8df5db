// A compiled character resource taken apart for people: every field by its place in the block, everything doubted. The run time reads the
// same block in place; this reader shares nothing with it, so that one can tell on the other.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace limbrex_tools
{

struct CompiledMapping
{
    int32_t node;
    uint32_t nameHash;
};

struct CompiledStance
{
    std::array<float, 4> translation, rotation, scale;
};

struct CompiledParents
{
    int32_t node;
    std::array<uint32_t, 6> nameHashes;  // 0xFFFFFFFF for none
};

struct CompiledLimits
{
    int32_t node;
    std::array<float, 4> preRotation, postRotation;
    std::array<float, 3> minimum, maximum;
    uint32_t flags;
    uint32_t rotationOrder;
};

struct CompiledRig
{
    uint32_t magic = 0, version = 0;
    std::array<uint32_t, 4> offsets{}, counts{};  // mapping, stance, parent offsets, limits
    int32_t footContactType = 0, handContactType = 0;
    std::array<float, 6> footContact{}, handContact{};  // bottom, back, middle, front, in, out
    std::string unitName;
    std::vector<CompiledMapping> mapping;
    std::vector<CompiledStance> stance;
    std::vector<CompiledParents> parents;
    std::vector<CompiledLimits> limits;
};

constexpr uint32_t kCompiledCharacterMagic = 0xBD25BE6Fu;
constexpr uint32_t kNoParentHash = 0xFFFFFFFFu;

// Takes out whatever lies inside the block; `faults` tells what does not, and what the run time would refuse. Empty: a sound resource.
CompiledRig read_compiled_rig(std::string_view block, std::vector<std::string>& faults);

}  // namespace limbrex_tools
