#include "tools/measure/measured_rig.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>

#include "host/animation/pose_math.h"
#include "tools/rig/rig_reader.h"

namespace limbrex_tools
{

using namespace limbrex_host;

void ReleaseLibraryObject::operator()(LBXCharacter* object) const { LBXCharacterDestroy(object, std::free); }
void ReleaseLibraryObject::operator()(LBXCharacterState* object) const { LBXCharacterStateDestroy(object, std::free); }
void ReleaseLibraryObject::operator()(LBXEffectorSet* object) const { LBXEffectorSetDestroy(object, std::free); }
void ReleaseLibraryObject::operator()(LBXPropertySet* object) const { LBXPropertySetDestroy(object, std::free); }

namespace
{

int32_t joint_named(const Skeleton& skeleton, const std::string& name)
{
    for (size_t j = 0; j < skeleton.joints.size(); ++j)
    {
        if (skeleton.joints[j].name == name) { return static_cast<int32_t>(j); }
    }
    return -1;
}

bool read_source(const nlohmann::json& source, RigReading& reading, std::string& error)
{
    std::vector<Finding> findings;
    reading = read_rig(source, findings);
    for (const Finding& finding : findings)
    {
        if (finding.severity != Severity::Error) { continue; }
        error = finding.place + " " + finding.text + " (`limbrex rig check` tells all)";
        return false;
    }
    if (reading.bones.size() == reading.stances.size() && !reading.bones.empty()) { return true; }
    error = "bones_mapping and t_stance need one element a node, in the same order";
    return false;
}

bool find_joints(const RigReading& reading, const Skeleton& skeleton, MeasuredRig& rig, std::string& error)
{
    for (const RigReading::Bone& bone : reading.bones)
    {
        MeasuredNode node;
        node.node = bone.node;
        node.joint = joint_named(skeleton, bone.bone);
        if (node.joint < 0 && node.node != LBXNodeReference)
        {
            error =
                fmt::format("{} is mapped to \"{}\", which the clip's skeleton does not have", LBXGetNodeNameFromId(bone.node), bone.bone);
            return false;
        }
        for (const ParentOffset& offset : reading.parentOffsets)
        {
            if (offset.node != bone.node) { continue; }
            for (const std::string& parent : offset.parents)
            {
                node.between.push_back(joint_named(skeleton, parent));
                if (node.between.back() >= 0) { continue; }
                error = fmt::format("parent \"{}\" of {} is not in the clip's skeleton", parent, LBXGetNodeNameFromId(bone.node));
                return false;
            }
        }
        rig.nodes.push_back(std::move(node));
    }
    return true;
}

LBXCharacterDefinition define(const MeasuredRig& rig, const RigReading& reading)
{
    LBXCharacterDefinition definition = {};
    for (const MeasuredNode& node : rig.nodes)
    {
        definition.nodeFlags[node.node] = LBXNodeUsed | (node.between.empty() ? 0u : uint32_t{LBXNodeHasParentOffset});
    }
    for (const LimitElement& limit : reading.limits)
    {
        if (definition.nodeFlags[limit.node] != 0) { definition.nodeFlags[limit.node] |= LBXNodeHasParentOffset | LBXNodeHasLimits; }
    }
    return definition;
}

float number(const nlohmann::json& element, const char* key, float otherwise)
{
    const auto member = element.find(key);
    return member != element.end() && member->is_number() ? member->get<float>() : otherwise;
}

void set_limit(LBXCharacter* character, int node, const nlohmann::json& element)
{
    const auto vector = [&](const char* x, const char* y, const char* z) -> std::array<float, 3> {
        return {number(element, x, 0.0f), number(element, y, 0.0f), number(element, z, 0.0f)};
    };
    const auto rotation = [&](const std::string& prefix) -> std::array<float, 4>
    {
        return {number(element, (prefix + "x").c_str(), 0.0f), number(element, (prefix + "y").c_str(), 0.0f),
                number(element, (prefix + "z").c_str(), 0.0f), number(element, (prefix + "w").c_str(), 1.0f)};
    };
    const std::array<float, 3> minimum = vector("xmi", "ymi", "zmi");  // radians, as the library takes them
    const std::array<float, 3> maximum = vector("xma", "yma", "zma");
    constexpr const char* kActive[] = {"xmia", "ymia", "zmia", "xmaa", "ymaa", "zmaa"};
    uint32_t mask = 0;
    for (uint32_t bit = 0; bit < 6; ++bit) { mask |= number(element, kActive[bit], 0.0f) != 0.0f ? 1u << bit : 0u; }
    const std::array<float, 4> pre = rotation("pr_q");
    const std::array<float, 4> post = rotation("po_q");
    LBXSetNodeLimitsfv(character, node, minimum.data(), maximum.data(), pre.data(), post.data(), mask);
    LBXSetNodeRotationOrder(character, node, static_cast<int>(number(element, "ord", 0.0f)));
}

void set_stance(MeasuredRig& rig, const RigReading& reading, const nlohmann::json& source)
{
    double lowest = 1e9;
    double head = -1e9;
    for (size_t i = 0; i < reading.bones.size(); ++i)
    {
        const StanceElement& stance = reading.stances[i];
        LBXSetCharacterizeNodeStateTQSdv(rig.character.get(), reading.bones[i].node, stance.translation.data(), stance.rotation.data(),
                                         stance.scale.data());
        if (reading.bones[i].node == LBXNodeReference) { continue; }
        lowest = std::min(lowest, stance.translation[1]);
        head = std::max(head, stance.translation[1]);
    }
    rig.bodyHeight_m = head - lowest;
    for (const LimitElement& limit : reading.limits) { set_limit(rig.character.get(), limit.node, source["limits"][limit.index]); }
    rig.hasLimits = !reading.limits.empty();
}

NodeRecordTQS record(const JointPose& pose)
{
    const auto& [t, q, s] = pose;
    return {{t[0], t[1], t[2], 0.0f}, {q[0], q[1], q[2], q[3]}, {s[0], s[1], s[2], 1.0f}};
}

// Outermost first, as the engine plugin builds it.
NodeRecordTQS parent_offset(const MeasuredNode& node, const JointPose* locals)
{
    RigidPose offset;
    std::array<float, 3> scale{1.0f, 1.0f, 1.0f};
    for (size_t level = node.between.size(); level-- > 0;)
    {
        const JointPose& parent = locals[node.between[level]];
        offset = offset * to_rigid(parent);
        for (size_t axis = 0; axis < 3; ++axis) { scale[axis] *= parent.scale[axis]; }
    }
    return record({to_floats(offset.position), to_floats(normalized(offset.rotation)), scale});
}

void order_parents_first(MeasuredRig& rig)
{
    const LBXCharacter* character = rig.character.get();
    const auto depth = [&](int node)
    {
        int levels = 0;
        while (node > LBXNodeReference && levels < LBXLastNodeId)
        {
            node = LBXGetParentNodeId(character, node);
            ++levels;
        }
        return levels;
    };
    std::stable_sort(rig.nodes.begin(), rig.nodes.end(),
                     [&](const MeasuredNode& a, const MeasuredNode& b) { return depth(a.node) < depth(b.node); });
    for (MeasuredNode& node : rig.nodes)
    {
        node.templateParent = LBXGetParentNodeId(character, node.node);
        rig.nodeIds.push_back(node.node);
    }
    rig.nodeIds.push_back(-2);
}

}  // namespace

LBXDataDescription MeasuredRig::description(bool local) const
{
    return {local ? 1 : 0, offsetof(NodeRecordTQS, t), offsetof(NodeRecordTQS, q), offsetof(NodeRecordTQS, s), sizeof(NodeRecordTQS),
            nodeIds.data()};
}

bool build_measured_rig(const nlohmann::json& source, const Skeleton& skeleton, MeasuredRig& rig, std::string& error)
{
    RigReading reading;
    if (!read_source(source, reading, error) || !find_joints(reading, skeleton, rig, error)) { return false; }
    const LBXCharacterDefinition definition = define(rig, reading);
    rig.character.reset(LBXCharacterCreate(&definition, std::malloc));
    if (rig.character == nullptr) { return error = "no memory for the character", false; }
    set_stance(rig, reading, source);
    if (!(rig.bodyHeight_m > 0.0)) { return error = "the stance has no height", false; }
    LBXCharacterize(rig.character.get());
    order_parents_first(rig);
    return true;
}

StateOwner make_state(const MeasuredRig& rig)
{
    StateOwner state(LBXCharacterStateCreate(rig.character.get(), std::malloc));
    LBXGetCharacterizeState(rig.character.get(), state.get());
    return state;
}

void read_pose(const MeasuredRig& rig, const JointPose* locals, LBXCharacterState* state)
{
    std::vector<NodeRecordTQS> records(rig.nodes.size());
    const LBXDataDescription description = rig.description(true);
    for (size_t i = 0; i < rig.nodes.size(); ++i)
    {
        const MeasuredNode& node = rig.nodes[i];
        records[i] = node.joint >= 0 ? record(locals[node.joint]) : record(JointPose{});
        if (node.between.empty()) { continue; }
        const NodeRecordTQS offset = parent_offset(node, locals);
        LBXSetParentOffsetTQSfv(rig.character.get(), node.node, offset.t, offset.q, offset.s);
    }
    LBXSetCharacterStateTransformTQS(rig.character.get(), state, &description, records.data());
}

void local_records(const MeasuredRig& rig, LBXCharacterState* state, std::vector<NodeRecordTQS>& records)
{
    records.resize(rig.nodes.size());
    const LBXDataDescription description = rig.description(true);
    LBXGetCharacterStateTransformTQS(rig.character.get(), state, &description, records.data());
}

void write_pose(const MeasuredRig& rig, LBXCharacterState* state, JointPose* locals)
{
    std::vector<NodeRecordTQS> records;
    local_records(rig, state, records);
    for (size_t i = 0; i < rig.nodes.size(); ++i)
    {
        if (rig.nodes[i].joint < 0) { continue; }
        JointPose& pose = locals[rig.nodes[i].joint];
        std::copy_n(records[i].t, 3, pose.translation.begin());
        std::copy_n(records[i].q, 4, pose.rotation.begin());
    }
}

std::vector<JointPose> blend_poses(const JointPose* from, const JointPose* to, size_t joint_count, double alpha)
{
    std::vector<JointPose> poses(joint_count);
    for (size_t j = 0; j < joint_count; ++j)
    {
        const RigidPose a = to_rigid(from[j]);
        const RigidPose b = to_rigid(to[j]);
        poses[j] = from[j];
        poses[j].translation = to_floats(a.position + (b.position - a.position) * alpha);
        poses[j].rotation = to_floats(slerp(a.rotation, b.rotation, alpha));
    }
    return poses;
}

}  // namespace limbrex_tools
