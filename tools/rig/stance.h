// The T-stance of a skeleton: its rest pose where that is one, else a pose straightened into one.
#pragma once

#include <string>
#include <vector>

#include "host/animation/clip.h"
#include "host/animation/pose_math.h"
#include "tools/rig/joint_mapping.h"
#include "tools/rig/stance_measure.h"

namespace limbrex_tools
{

enum class StanceChoice
{
    Automatic,   // the rest pose where it is a T, else straightened
    Rest,        // the rest pose as it is
    Straighten,  // always straightened
};

struct Stance
{
    std::vector<limbrex_host::RigidPose> joints;  // global, every joint of the skeleton; soles at y = 0, hips above the origin
    double turned_deg = 0.0;                      // about y, so that the body faces +z
    bool straightened = false;
    std::vector<std::string> notes;
};

// `locals`: one pose per joint, the rest pose or a frame of a clip. `is_rest`: only a rest pose may be taken as it is.
Stance build_stance(const limbrex_host::Skeleton& skeleton, const JointMapping& mapping, const limbrex_host::JointPose* locals,
                    bool is_rest, StanceChoice choice);

NodePositions node_positions(const JointMapping& mapping, const std::vector<limbrex_host::RigidPose>& joints);

}  // namespace limbrex_tools
