#include "contexts/character_evaluation.h"

#include <cmath>

#include "contexts/character_context.h"
#include "contexts/character_node_cache.h"
#include "contexts/pose_conversion.h"
#include "contexts/world_registry.h"
#include "debug/rig_drawing.h"
#include "resources/compiled_character.h"
#include "resources/host_services.h"
#include "resources/log.h"
#include "resources/plugin_state.h"

namespace
{

// Keeps a collar from following an arm all the way when an effector draws it.
constexpr float kDefaultShoulderCorrection = 0.5f;

// Ends a list of node ids for the library's bulk transfers.
constexpr int32_t kEndOfNodes = -2;

// The local pose of all mapped nodes on its way between engine and library: one record per mapping record, in its order.
struct PoseBuffer
{
    NodeTQS nodes[LBXLastNodeId];
    int32_t nodeIds[LBXLastNodeId + 1];
    LBXDataDescription description;
    uint32_t count;
};

void prepare_pose_buffer(PoseBuffer& buffer, const CompiledCharacter& resource)
{
    const MappingRecord* mapping = mapping_records(resource);
    buffer.count = resource.mappingCount;
    for (uint32_t i = 0; i < buffer.count; ++i) buffer.nodeIds[i] = mapping[i].nodeId;
    buffer.nodeIds[buffer.count] = kEndOfNodes;
    buffer.description = {
        1, offsetof(NodeTQS, translation), offsetof(NodeTQS, rotation), offsetof(NodeTQS, scale), sizeof(NodeTQS), buffer.nodeIds};
}

bool is_node_of(const NodeTreeView& tree, int32_t node_index)
{
    return node_index >= 0 && static_cast<uint32_t>(node_index) < tree.nodeCount;
}

// The transform from mapped node i's template parent to its parent in the unit, through the unmapped nodes between, outermost first. False
// when one of them is gone or not finite.
bool read_parent_offset(const CharacterContext& context, const NodeTreeView& tree, uint32_t mapping_index, NodeTQS& offset)
{
    offset = {kZero4, kIdentityRotation, kOne4};
    for (uint32_t level = kParentLevelCount; level-- > 0;)
    {
        const int32_t node_index = context.parentIndices[level][mapping_index];
        if (node_index == -1) continue;
        NodeTQS parent;
        if (!is_node_of(tree, node_index) || !read_local_pose(tree.localPoses[node_index], parent)) return false;
        offset.translation = add3(offset.translation, rotate(offset.rotation, parent.translation));
        offset.scale = mul3(offset.scale, parent.scale);
        offset.rotation = mul(offset.rotation, parent.rotation);
    }
    offset.rotation = normalize(offset.rotation);
    offset.scale.w = 1.0f;
    return true;
}

// The animated pose into the working state. False when there is no pose to work with; the state is then as it was.
bool read_input_pose(CharacterContext& context, const NodeTreeView& tree, PoseBuffer& buffer)
{
    // Nodes that the rig does not map keep what they have.
    LBXGetCharacterStateTransformTQS(context.character, context.state, &buffer.description, buffer.nodes);
    for (uint32_t i = 0; i < buffer.count; ++i)
    {
        const int32_t node_index = context.nodeIndices[i];
        if (!is_node_of(tree, node_index) || !read_local_pose(tree.localPoses[node_index], buffer.nodes[i])) return false;
        if (context.parentIndices[0][i] == -1) continue;
        NodeTQS offset;
        if (!read_parent_offset(context, tree, i, offset)) return false;
        LBXSetParentOffsetTQSfv(context.character, buffer.nodeIds[i], &offset.translation.x, &offset.rotation.x, &offset.scale.x);
    }
    LBXSetCharacterStateTransformTQS(context.character, context.state, &buffer.description, buffer.nodes);
    return true;
}

// Goals on the pose, options at their defaults, every stage but the stretches.
void reset_goals(CharacterContext& context)
{
    LBXEffectorSetInit(context.effectorSet);
    LBXEffectorSetFromState(context.character, context.effectorSet, context.state, context.propertySet);
    LBXPropertySetInit(context.propertySet);
    LBXSetEffectorSetSolvingStep(context.effectorSet, LBXSolvingStepAllButStretch);
    LBXCharacterStateCopy(context.preSolveState, context.state);
}

bool is_finite_matrix(const float* matrix)
{
    for (int i = 0; i < 16; ++i)
    {
        if (!std::isfinite(matrix[i])) return false;
    }
    return true;
}

// Where the solver frame is in the world: the reference node with its stance taken off. The engine's matrix is left orthonormal, as the
// solver sees it. False when the node has no usable pose.
bool update_root_frame(CharacterContext& context, const NodeTreeView& tree)
{
    if (context.referenceNodeIndex == -1) return true;
    if (!is_node_of(tree, context.referenceNodeIndex)) return false;
    float* matrix = tree.worldPoses + 16 * static_cast<size_t>(context.referenceNodeIndex);
    if (!is_finite_matrix(matrix)) return false;

    context.rootScale = {length3(load3(matrix)), length3(load3(matrix + 4)), length3(load3(matrix + 8)), 1.0f};
    orthonormalize_rows(matrix);
    const Quat node_rotation = quat_from_matrix_rows(matrix);

    Vec4 stance_translation = kZero4;
    Quat stance_rotation = kIdentityRotation;
    Vec4 stance_scale = kOne4;
    LBXGetCharacterizeNodeStateTQSfv(context.character, LBXNodeReference, &stance_translation.x, &stance_rotation.x, &stance_scale.x);
    context.rootPosition = sub3(load3(matrix + 12), rotate(node_rotation, stance_translation));
    const float stance_length = length4(stance_rotation);
    if (stance_length > 0.0f)
    {
        const Quat back = conjugate(stance_rotation);
        const float scale = 1.0f / stance_length;
        context.rootRotation = mul(node_rotation, {back.x * scale, back.y * scale, back.z * scale, back.w * scale});
    }
    else { context.rootRotation = node_rotation; }
    context.inverseRootRotation = conjugate(context.rootRotation);
    return true;
}

void solve(CharacterContext& context)
{
    if (context.lowDefinitionSolve)
    {
        LBXSolveForEffectorSetLowDefinition(context.character, context.state, context.effectorSet, context.propertySet);
    }
    else { LBXSolveForEffectorSet(context.character, context.state, context.effectorSet, context.propertySet); }
    LBXEffectorSetFromState(context.character, context.effectorSet, context.state, context.propertySet);
}

// Bit 0 means "some node changed"; node i is bit i + 1.
void mark_changed(const ChangedFlags& flags, uint32_t node_index)
{
    const uint32_t bit = node_index + 1;
    flags.words[bit / 32] |= 1u << (bit % 32);
    flags.words[0] |= 1u;
}

// The solved pose into the engine's nodes: all of them, or none when one is gone or not finite.
void write_output_pose(const CharacterContext& context, const NodeTreeView& tree, const PoseBuffer& buffer)
{
    for (uint32_t i = 0; i < buffer.count; ++i)
    {
        if (!is_node_of(tree, context.nodeIndices[i]) || !is_writable(buffer.nodes[i])) return;
    }
    for (uint32_t i = 0; i < buffer.count; ++i)
    {
        const auto node_index = static_cast<uint32_t>(context.nodeIndices[i]);
        write_local_pose(buffer.nodes[i], tree.localPoses[node_index]);
        mark_changed(*tree.changedFlags, node_index);
    }
}

bool has_tree(const NodeTreeView& tree) { return tree.localPoses && tree.changedFlags && tree.worldPoses && tree.nameHashes; }

// The unit's context when there is one to evaluate: found, made for the first time, or completed. Null otherwise.
CharacterContext* ready_context(WorldRecord& record, Unit* unit, World* world, const void* resource, const NodeTreeView& tree)
{
    CharacterContext* context = find_character_context(record, unit);
    if (!context)
    {
        if (!is_compiled_character(resource)) return nullptr;
        log_info("Creating new character solving context");
        build_character_context(record, static_cast<const CompiledCharacter*>(resource), unit, world, tree.nodeCount, tree.nameHashes);
        context = find_character_context(record, unit);
    }
    else if (context->declared)
    {
        context->world = world;
        context->declared = 0;
        if (build_character_node_cache(*context, context->resource->mappingCount, tree.nodeCount, tree.nameHashes, *context->resource))
        {
            log_info("Character evaluation context is ready (was declared; cache built)");
        }
    }
    const bool ready = context && context->active && !context->declared;
    return ready ? context : nullptr;
}

bool has_solve_objects(const CharacterContext& context)
{
    return context.character && context.state && context.effectorSet && context.propertySet;
}

void evaluate_context(CharacterContext& context, const NodeTreeView& tree, float step_s)
{
    context.debugPoints.count = 0;
    context.debugSegments.count = 0;
    if (!has_solve_objects(context)) return;

    PoseBuffer buffer;
    prepare_pose_buffer(buffer, *context.resource);
    if (!read_input_pose(context, tree, buffer)) return;
    reset_goals(context);
    if (!update_root_frame(context, tree)) return;
    if (plugin_state().drawRigsEnabled) draw_root_frame(context);
    LBXPropertySetValue(context.propertySet, LBXPropertyShoulderCorrection, kDefaultShoulderCorrection);
    evaluateStack(context, step_s);
    if (!context.solveDisabled) solve(context);
    LBXGetCharacterStateTransformTQS(context.character, context.state, &buffer.description, buffer.nodes);
    if (plugin_state().drawRigsEnabled) draw_rig(context, RigMoment::Final);

    const bool changes_pose = context.source || context.constraintStack.count > 0;
    if (changes_pose && !context.outputDisabled) write_output_pose(context, tree, buffer);
}

}  // namespace

NodeTreeView view_node_tree(Unit* unit)
{
    NodeTree* tree = host_services().unit->node_tree(unit);
    if (!tree) return {};
    const HostNodeTreeService& service = *host_services().nodeTree;
    return {service.node_count(tree), service.local_poses(tree, 0), service.changed_flags(tree), service.world_poses(tree, 0),
            service.name_hashes(tree)};
}

void evaluate_character(WorldRecord& record, Unit* unit, World* world, const void* resource, const NodeTreeView& tree, float step_s)
{
    if (plugin_state().disabled) return;
    CharacterContext* context = ready_context(record, unit, world, resource, has_tree(tree) ? tree : NodeTreeView{});
    if (context && has_tree(tree)) evaluate_context(*context, tree, std::isfinite(step_s) && step_s > 0.0f ? step_s : 0.0f);
}
