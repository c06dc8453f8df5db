#include "constraints/relative_pin_constraint.h"

#include <cstdio>

#include "constraints/effector_goal.h"
#include "constraints/node_pose.h"
#include "constraints/push_constraint.h"
#include "contexts/solver_frame.h"
#include "resources/host_services.h"
#include "resources/log.h"

bool RelativePinConstraint::read(ScriptCall& call)
{
    Unit* target = call.unit(3);
    if (!target)
    {
        log_error("%s: attempted to access a deleted unit as relative pinning reference", call.name);
        return false;
    }
    targetUnitRef = host_services().unit->reference_id(target);
    effector = call.effector(2);
    capturedEffector = effector;
    targetNode = call.integer(4);
    reachTFactor = call.number(5);
    reachRFactor = call.number(6);
    pullFactor = call.number(7);
    read_blend(call, *this, 8);
    return true;
}

void RelativePinConstraint::evaluate(CharacterContext& context, float step_s)
{
    stepBlend(step_s);
    if (alpha == 0.0f)
    {
        write_weights(context, effector, 0.0f, 0.0f, 0.0f);
        return;
    }
    Unit* target = targetUnitRef != 0 ? host_services().unitHandle->resolve(targetUnitRef) : nullptr;
    NodePose node;
    if (!target || !read_node_pose(target, targetNode, node)) return;

    const Quat to_node = conjugate(node.rotation_world);
    EffectorGoal goal = read_goal(context, effector);
    if (refreshRequested)
    {
        refreshRequested = false;
        localOffset = rotate(to_node, sub3(solver_to_world(context, goal.translation), node.position_world));
        localRotation = mul(to_node, rotation_to_world(context, goal.rotation));
        return;
    }
    const Vec4 position_world = add3(rotate(node.rotation_world, localOffset), node.position_world);
    goal.translation = world_to_solver(context, position_world);
    goal.rotation = rotation_to_solver(context, normalize(mul(node.rotation_world, localRotation)));
    write_goal(context, effector, goal);
    write_weights(context, effector, reachTFactor * alpha, reachRFactor * alpha, pullFactor * alpha);
}

void RelativePinConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(effector %d tracks external unit)", effector);
}
