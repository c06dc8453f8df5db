#include "constraints/look_at_constraint.h"

#include <cstdio>

#include "constraints/effector_goal.h"
#include "constraints/push_constraint.h"
#include "constraints/script_angles.h"
#include "constraints/turns.h"
#include "contexts/debug_lists.h"
#include "contexts/solver_frame.h"
#include "resources/plugin_state.h"

namespace
{

constexpr uint32_t kLookColour = 0xaf0000;
constexpr uint32_t kTargetColour = 0xaf00;

// In the solver frame, of the stance: where the face points, and up.
constexpr Vec4 kForward = {0.0f, 0.0f, 1.0f, 0.0f};
constexpr Vec4 kUp = {0.0f, 1.0f, 0.0f, 0.0f};

// Rolls a head that looks along `direction` until its crown is as high as it can be.
Quat upright(Quat rotation, Vec4 direction)
{
    const Vec4 side = direction_of(cross3(kUp, direction));
    const Vec4 crown = direction_of(cross3(direction, side));
    return mul(shortest_arc(rotate(rotation, kUp), crown), rotation);
}

// The one who looks shows where to; the one looked at shows what is looked at, and along which line of sight. That line crosses two frames, so it
// is kept in the world.
void record_look(CharacterContext& context, const FrameTarget& target, Vec4 head_solver, Vec4 wanted_solver, Vec4 forward_solver)
{
    record_debug_segment(context, head_solver, add3(head_solver, wanted_solver), kLookColour, true);
    record_debug_point(context, head_solver, kLookColour);
    if (!target.context) return;
    const Vec4 forward_end = add3(head_solver, forward_solver);
    record_debug_segment(*target.context, solver_to_world(context, head_solver), solver_to_world(context, forward_end), kTargetColour,
                         false);
    record_debug_point(*target.context, read_goal(*target.context, target.effector).translation, kTargetColour);
}

}  // namespace

bool LookAtConstraint::read(ScriptCall& call)
{
    if (!read_pushed_target(call, 2, "look", target)) return false;
    target.position = call.vector(4);
    target.useRawPosition = call.flag(5);
    xyOnly = call.flag(6);
    chestContribution = call.number(7);
    maxTurnSpeed = call.number(8) * kRadiansPerDegree;
    limitsEnabled = call.flag(9);
    horizontalLimit = call.number(10) * kRadiansPerDegree;
    verticalLimit = call.number(11) * kRadiansPerDegree;
    read_blend(call, *this, 12);
    return true;
}

void LookAtConstraint::evaluate(CharacterContext& context, float step_s)
{
    FrameTarget look_target;
    if (!find_target(target, look_target)) return;
    stepBlend(step_s);
    turnHead(context, look_target, Pass::Horizontal, step_s);
    if (!xyOnly) turnHead(context, look_target, Pass::Full, step_s);
}

void LookAtConstraint::turnHead(CharacterContext& context, const FrameTarget& look_target, Pass pass, float step_s)
{
    const bool horizontal = pass == Pass::Horizontal;
    EffectorGoal head = read_goal(context, LBXEffectorHead);

    const Vec4 head_world = solver_to_world(context, head.translation);
    const Vec4 target_world = look_target.point_world();
    Vec4 wanted_world = sub3(target_world, head_world);
    if (horizontal) wanted_world.z = 0.0f;
    wanted_world = direction_of(wanted_world);
    Vec4 look_world = rotate(limit_turn(shortest_arc(lookDirection, wanted_world), step_s * maxTurnSpeed), lookDirection);
    // Normalized against the rounding of thousands of frames.
    if (xyOnly || !horizontal) lookDirection = direction_of(look_world);

    // The second pass keeps the heading that the first one has given.
    Vec4 forward_world = rotate(rotation_to_world(context, head.rotation), kForward);
    if (horizontal) { forward_world.z = 0.0f; }
    else { look_world = {forward_world.x, forward_world.y, look_world.z, 0.0f}; }

    const Vec4 forward_solver = direction_to_solver(context, direction_of(forward_world));
    Vec4 look_solver = direction_to_solver(context, look_world);
    Quat turn = shortest_arc(forward_solver, look_solver);
    if (limitsEnabled)
    {
        turn = limit_turn(turn, horizontal ? horizontalLimit : verticalLimit);
        look_solver = rotate(turn, forward_solver);
    }
    head.rotation = normalize(upright(mul(turn, head.rotation), look_solver));
    write_goal(context, LBXEffectorHead, head);
    LBXSetEffectorReachR(context.effectorSet, LBXEffectorHead, alpha);

    if (chestContribution > 0.0f)
    {
        EffectorGoal chest = read_goal(context, LBXEffectorChestEnd);
        chest.rotation = nlerp(chest.rotation, head.rotation, chestContribution);
        write_goal(context, LBXEffectorChestEnd, chest);
        LBXSetEffectorReachR(context.effectorSet, LBXEffectorChestEnd, alpha);
    }
    if (!horizontal) return;
    record_look(context, look_target, head.translation, direction_to_solver(context, wanted_world), forward_solver);
    if (plugin_state().drawRigsEnabled) draw_target(context, head_world, target_world);
}

void LookAtConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(look at) limits_enabled: %s (horizontal: %f vertical %f)",
                  limitsEnabled ? "true" : "false", static_cast<double>(horizontalLimit / kRadiansPerDegree),
                  static_cast<double>(verticalLimit / kRadiansPerDegree));
}
