// A character rig as its author writes it: JSON that the plugin's compiler turns into a resource.
//
// Elements of "bones_mapping" and "t_stance" belong together by position. The member "node" is for readers: the compiler goes by ids.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace limbrex_tools
{

struct StanceElement
{
    std::array<double, 3> translation{0.0, 0.0, 0.0};  // global, metres
    std::array<double, 4> rotation{0.0, 0.0, 0.0, 1.0};
    std::array<double, 3> scale{1.0, 1.0, 1.0};
};

struct MappedBone
{
    int node = 0;
    std::string bone;  // node of the unit's node tree
    StanceElement stance;
};

struct ParentOffset
{
    int node = 0;
    std::vector<std::string> parents;  // nearest first
};

// How foot or hand stands on a floor, metres: bottom, back, middle from the joint; front from the middle; inner and outer edge.
struct ContactShape
{
    int type = 0;
    double bottom = 0.0, back = 0.0, middle = 0.0, front = 0.0, in = 0.0, out = 0.0;
};

struct RigSource
{
    std::string unitName;
    std::vector<MappedBone> bones;  // by template node id
    std::vector<ParentOffset> parentOffsets;
    ContactShape foot, hand;
};

constexpr size_t kParentOffsetCapacity = 6;
constexpr size_t kUnitNameCapacity = 31;  // bytes; the compiled field has room for 32 with its closing zero

// One element a line, numbers to a micrometre.
std::string write_rig_source(const RigSource& source);

}  // namespace limbrex_tools
