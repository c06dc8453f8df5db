#include "debug/rig_drawing.h"

#include "contexts/world_pose.h"
#include "debug/debug_shapes.h"
#include "resources/host_services.h"

namespace
{

constexpr uint32_t kRootColour = 0xff908080u;
constexpr float kRootMarker = 0.5f;
constexpr float kRootBox = 0.02f;

constexpr uint32_t kPreSolveColour = 0xb0ff4040u;
constexpr uint32_t kIntermediateColour = 0xb04040ffu;
constexpr uint32_t kFinalColour = 0xb040ff40u;

constexpr float kAxisLength = 0.01f;
constexpr struct
{
    Vec4 direction;
    uint32_t colour;
} kAxes[] = {{{1.0f, 0.0f, 0.0f, 0.0f}, 0x80800000u}, {{0.0f, 1.0f, 0.0f, 0.0f}, 0x80008000u}, {{0.0f, 0.0f, 1.0f, 0.0f}, 0x80000080u}};

constexpr uint32_t kEffectorColour = 0x40ffffffu;
constexpr float kEffectorBox = 0.075f;
constexpr LBXEffectorId kLastDrawnEffector = LBXEffectorRightHand;  // the fingers' and toes' effectors would hide the hands and feet

// Boxes within the effector's own, so that equal weights stay visible side by side.
constexpr struct
{
    float (*weight)(const LBXEffectorSet*, int);
    float edge;  // at weight 1
    uint32_t colour;
} kWeightBoxes[] = {{LBXGetEffectorReachT, 0.073f, 0xe0ffa0a0u},
                    {LBXGetEffectorReachR, 0.071f, 0xe0a0ffa0u},
                    {LBXGetEffectorPull, 0.069f, 0xe0ffa0ffu},
                    {LBXGetEffectorResist, 0.067f, 0xe0a0ffffu}};

// One pose of the character and how its bones look.
struct Skeleton
{
    const CharacterContext& context;
    const LBXCharacterState* state;
    uint32_t boneColour;
    bool withAxes;
};

void draw_axes(const CharacterContext& context, const WorldPose& pose)
{
    for (const auto& axis : kAxes)
    {
        const Vec4 tip = add3(pose.position, rotate(pose.rotation, scale3(axis.direction, kAxisLength)));
        draw_line(&context, pose.position, tip, axis.colour);
    }
}

// The node with everything that hangs on it. Depth is at most the template's.
void draw_skeleton(const Skeleton& skeleton, LBXNodeId node, const WorldPose& pose)
{
    if (skeleton.withAxes) draw_axes(skeleton.context, pose);
    const int children = LBXGetChildNodeCount(skeleton.context.character, node);
    for (int k = 0; k < children; ++k)
    {
        const LBXNodeId child = LBXGetChildNodeId(skeleton.context.character, node, k);
        const WorldPose child_pose = node_pose_world(skeleton.context, skeleton.state, child);
        draw_line(&skeleton.context, pose.position, child_pose.position, skeleton.boneColour);
        draw_skeleton(skeleton, child, child_pose);
    }
}

void draw_skeleton_from(const Skeleton& skeleton, LBXNodeId node)
{
    draw_skeleton(skeleton, node, node_pose_world(skeleton.context, skeleton.state, node));
}

void draw_effector(const CharacterContext& context, LBXEffectorId effector)
{
    const WorldPose pose = effector_pose_world(context, effector);
    draw_box(&context, pose.position, pose.rotation, kEffectorBox, kEffectorColour);
    for (const auto& box : kWeightBoxes)
    {
        const float weight = box.weight(context.effectorSet, effector);
        if (weight > 0.0f) draw_box(&context, pose.position, pose.rotation, weight * box.edge, box.colour);
    }
}

}  // namespace

void draw_rig(const CharacterContext& context, RigMoment moment)
{
    if (!host_services().line) return;
    const bool intermediate = moment == RigMoment::Intermediate;
    if (!intermediate) draw_skeleton_from({context, context.preSolveState, kPreSolveColour, true}, LBXNodeReference);
    draw_skeleton_from({context, context.state, intermediate ? kIntermediateColour : kFinalColour, false}, LBXNodeHips);
    for (LBXEffectorId effector = 0; effector <= kLastDrawnEffector; ++effector) draw_effector(context, effector);
}

void draw_root_frame(const CharacterContext& context)
{
    draw_marker(&context, context.rootPosition, kRootMarker, kRootColour);
    draw_box(&context, context.rootPosition, context.rootRotation, kRootBox, kRootColour);
}
