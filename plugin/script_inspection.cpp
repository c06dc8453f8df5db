#include "plugin/script_inspection.h"

#include "contexts/character_context.h"
#include "contexts/script_call.h"
#include "contexts/solver_frame.h"

namespace script
{

namespace
{

struct WorldPose
{
    Vec4 position;
    Quat rotation;
};

// What selects the pose from before the constraints; every other number means the working pose.
constexpr int32_t kPreSolvePose = 1;

WorldPose node_pose_world(const CharacterContext& context, LBXNodeId node, int32_t selector)
{
    const LBXCharacterState* state = selector == kPreSolvePose ? context.preSolveState : context.state;
    Vec4 translation = kZero4;
    Quat rotation = kIdentityRotation;
    LBXGetNodeStateTQfv(context.character, state, node, &translation.x, &rotation.x);
    return {solver_to_world(context, translation), rotation_to_world(context, rotation)};
}

// Runs an answer for the context and node of arguments 1 and 2, when both are there.
template <class Answer>
int answer_about_node(ScriptCall& call, Answer answer)
{
    const CharacterContext* context = call.requireContext();
    if (!context) return 0;
    const LBXNodeId node = call.node(2);
    return call.sound ? answer(*context, node) : call.wrongInputs();
}

}  // namespace

int character_get_effector_transform(ScriptCall& call)
{
    const CharacterContext* context = call.requireContext();
    if (!context) return 0;
    const LBXEffectorId effector = call.effector(2);
    if (!call.sound) return call.wrongInputs();
    Vec4 translation = kZero4;
    Quat rotation = kIdentityRotation;
    LBXGetEffectorStateTQfv(context->effectorSet, effector, &translation.x, &rotation.x);
    // The order of the pushes is the order of the results.
    const int positions = call.push(solver_to_world(*context, translation));
    return positions + call.push(rotation_to_world(*context, rotation));
}

int character_get_node_position(ScriptCall& call)
{
    return answer_about_node(call, [&call](const CharacterContext& context, LBXNodeId node)
                             { return call.push(node_pose_world(context, node, call.integer(3)).position); });
}

int character_get_node_transform(ScriptCall& call)
{
    return answer_about_node(call,
                             [&call](const CharacterContext& context, LBXNodeId node)
                             {
                                 const WorldPose pose = node_pose_world(context, node, call.integer(3));
                                 const int positions = call.push(pose.position);
                                 return positions + call.push(pose.rotation);
                             });
}

int character_get_node_children_count(ScriptCall& call)
{
    return answer_about_node(call, [&call](const CharacterContext& context, LBXNodeId node)
                             { return call.push(static_cast<int32_t>(LBXGetChildNodeCount(context.character, node))); });
}

int character_get_node_child_id(ScriptCall& call)
{
    return answer_about_node(call, [&call](const CharacterContext& context, LBXNodeId node)
                             { return call.push(static_cast<int32_t>(LBXGetChildNodeId(context.character, node, call.index(3)))); });
}

int character_get_node_parent_id(ScriptCall& call)
{
    return answer_about_node(call, [&call](const CharacterContext& context, LBXNodeId node)
                             { return call.push(static_cast<int32_t>(LBXGetParentNodeId(context.character, node))); });
}

}  // namespace script
