// A rig source from a skeleton: joints mapped onto the template, the T-stance, parent offsets, foot and hand sizes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/animation/clip.h"
#include "tools/rig/joint_mapping.h"
#include "tools/rig/rig_source.h"
#include "tools/rig/stance.h"

namespace limbrex_tools
{

struct RigInitOptions
{
    std::string unitName;                 // cut to what the compiled resource holds
    std::string reference = "reference";  // plays Reference: a joint that stands still, else the node that the host puts above them all
    std::optional<NamedPairs> map;        // instead of mapping by names
    std::optional<size_t> frame;          // of the first clip, instead of the rest pose
    StanceChoice stance = StanceChoice::Automatic;
};

struct RigInitResult
{
    RigSource source;
    JointMapping mapping;
    Stance stance;
    std::vector<std::string> unmapped;  // joints without a node, end sites left aside
    std::vector<std::string> missing;   // nodes that a full biped would have
};

// False with `error` (place and remedy) when no usable rig comes of it.
bool init_rig(const limbrex_host::Asset& asset, const RigInitOptions& options, RigInitResult& result, std::string& error);

}  // namespace limbrex_tools
