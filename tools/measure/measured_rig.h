// A rig source brought to life with the library alone: the character, and a clip's local poses into its states and back. Joints that the
// rig does not map count as parent offsets of the nodes below them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/animation/clip.h"
#include "limbrex/limbrex.h"

namespace limbrex_tools
{

struct ReleaseLibraryObject
{
    void operator()(LBXCharacter* object) const;
    void operator()(LBXCharacterState* object) const;
    void operator()(LBXEffectorSet* object) const;
    void operator()(LBXPropertySet* object) const;
};
using CharacterOwner = std::unique_ptr<LBXCharacter, ReleaseLibraryObject>;
using StateOwner = std::unique_ptr<LBXCharacterState, ReleaseLibraryObject>;
using EffectorSetOwner = std::unique_ptr<LBXEffectorSet, ReleaseLibraryObject>;
using PropertySetOwner = std::unique_ptr<LBXPropertySet, ReleaseLibraryObject>;

struct MeasuredNode
{
    int node = 0;
    int templateParent = -1;
    int32_t joint = -1;            // of the skeleton; -1 for a Reference that the host puts above the joints
    std::vector<int32_t> between;  // joints up to the template parent's joint, nearest first
};

// One host-local transform as the bulk operations exchange it.
struct NodeRecordTQS
{
    float t[4], q[4], s[4];
};

struct MeasuredRig
{
    CharacterOwner character;
    std::vector<MeasuredNode> nodes;  // Reference first, parents before children
    std::vector<int32_t> nodeIds;     // the same ids, closed by -2, for bulk operations
    double bodyHeight_m = 0.0;        // head joint over the lowest joint of the stance
    bool hasLimits = false;

    LBXDataDescription description(bool local) const;
};

// False with `error` when the source is unusable or names joints that the skeleton does not have.
bool build_measured_rig(const nlohmann::json& source, const limbrex_host::Skeleton& skeleton, MeasuredRig& rig, std::string& error);

StateOwner make_state(const MeasuredRig& rig);

// One frame of a clip (joint-count local poses) into a state. Parent offsets follow the unmapped joints.
void read_pose(const MeasuredRig& rig, const limbrex_host::JointPose* locals, LBXCharacterState* state);

// Local pose of every node of the rig, in the order of `nodes`.
void local_records(const MeasuredRig& rig, LBXCharacterState* state, std::vector<NodeRecordTQS>& records);

// The state's pose over a frame of the clip: mapped joints take it, the others keep what `locals` has.
void write_pose(const MeasuredRig& rig, LBXCharacterState* state, limbrex_host::JointPose* locals);

// Between two frames: translations along the line, rotations the short way.
std::vector<limbrex_host::JointPose> blend_poses(const limbrex_host::JointPose* from, const limbrex_host::JointPose* to, size_t joint_count,
                                                 double alpha);

}  // namespace limbrex_tools
