// Reads a rig source member by member and reports whatever is missing, of another type or out of range. What is readable is kept, so that
// one slip does not hide the next.
#pragma once

#include <nlohmann/json.hpp>

#include "tools/rig/rig_check.h"
#include "tools/rig/rig_source.h"

namespace limbrex_tools
{

struct LimitElement
{
    int node = -1;
    size_t index = 0;
};

// A rig source as far as it could be read. Elements keep their index in the file; unreadable ids are -1.
struct RigReading
{
    struct Bone
    {
        int node = -1;
        std::string bone;
    };
    std::vector<Bone> bones;
    std::vector<StanceElement> stances;
    std::vector<bool> stanceReadable;
    std::vector<ParentOffset> parentOffsets;
    std::vector<LimitElement> limits;
};

RigReading read_rig(const nlohmann::json& source, std::vector<Finding>& findings);

// "LeftArm (id 9)"
std::string node_text(int node);

}  // namespace limbrex_tools
