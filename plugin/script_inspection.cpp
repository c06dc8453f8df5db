#include "plugin/script_inspection.h"

#include "contexts/script_call.h"
#include "contexts/world_pose.h"

namespace script
{

namespace
{

// What selects the pose from before the constraints; every other number means the working pose.
constexpr int32_t kPreSolvePose = 1;

WorldPose selected_pose_world(const CharacterContext& context, LBXNodeId node, int32_t selector)
{
    return node_pose_world(context, selector == kPreSolvePose ? context.preSolveState : context.state, node);
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
    const WorldPose pose = effector_pose_world(*context, effector);
    // The order of the pushes is the order of the results.
    const int positions = call.push(pose.position);
    return positions + call.push(pose.rotation);
}

int character_get_node_position(ScriptCall& call)
{
    return answer_about_node(call, [&call](const CharacterContext& context, LBXNodeId node)
                             { return call.push(selected_pose_world(context, node, call.integer(3)).position); });
}

int character_get_node_transform(ScriptCall& call)
{
    return answer_about_node(call,
                             [&call](const CharacterContext& context, LBXNodeId node)
                             {
                                 const WorldPose pose = selected_pose_world(context, node, call.integer(3));
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
