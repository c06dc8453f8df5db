#include "constraints/aim_constraint.h"

#include <cstdio>

#include "constraints/effector_goal.h"
#include "constraints/node_pose.h"
#include "constraints/push_constraint.h"
#include "constraints/turns.h"
#include "contexts/solver_frame.h"
#include "debug/debug_shapes.h"
#include "resources/plugin_state.h"

namespace
{

constexpr LBXEffectorId kNoEffector = -1;
constexpr int kStageCount = 5;  // hips, chest, shoulder, elbow, wrist
constexpr int kDrawnStage = 1;  // the chest shows what the whole body aims at

constexpr uint32_t kReferenceColour = 0x90000000u;
constexpr float kReferenceSize = 0.1f;

// What an attachment effector belongs to. The stages from the shoulder on exist down to the attachment, and only for arms.
struct ArmRow
{
    LBXEffectorId attachment;
    LBXEffectorId otherHand;
    LBXEffectorId shoulder, elbow, wrist;
};

constexpr ArmRow kArms[] = {
    {LBXEffectorLeftWrist, LBXEffectorRightWrist, LBXEffectorLeftShoulder, LBXEffectorLeftElbow, LBXEffectorLeftWrist},
    {LBXEffectorLeftHand, LBXEffectorRightHand, LBXEffectorLeftShoulder, LBXEffectorLeftElbow, LBXEffectorLeftWrist},
    {LBXEffectorLeftElbow, kNoEffector, LBXEffectorLeftShoulder, LBXEffectorLeftElbow, kNoEffector},
    {LBXEffectorLeftShoulder, kNoEffector, LBXEffectorLeftShoulder, kNoEffector, kNoEffector},
    {LBXEffectorRightWrist, LBXEffectorLeftWrist, LBXEffectorRightShoulder, LBXEffectorRightElbow, LBXEffectorRightWrist},
    {LBXEffectorRightHand, LBXEffectorLeftHand, LBXEffectorRightShoulder, LBXEffectorRightElbow, LBXEffectorRightWrist},
    {LBXEffectorRightElbow, kNoEffector, LBXEffectorRightShoulder, LBXEffectorRightElbow, kNoEffector},
    {LBXEffectorRightShoulder, kNoEffector, LBXEffectorRightShoulder, kNoEffector, kNoEffector},
};
constexpr ArmRow kNoArm = {kNoEffector, kNoEffector, kNoEffector, kNoEffector, kNoEffector};

const ArmRow& arm_of(LBXEffectorId attachment)
{
    for (const ArmRow& row : kArms)
    {
        if (row.attachment == attachment) return row;
    }
    return kNoArm;
}

void draw_reference(const CharacterContext& context, Vec4 reference_world)
{
    draw_marker(&context, reference_world, kReferenceSize, kReferenceColour);
    draw_box(&context, reference_world, kIdentityRotation, kReferenceSize, kReferenceColour);
}

void lock_ankles(CharacterContext& context, float weight)
{
    write_weights(context, LBXEffectorLeftAnkle, weight, weight, weight);
    write_weights(context, LBXEffectorRightAnkle, weight, weight, weight);
}

// Whatever the character's level of detail: the hand must be where the object is carried.
void solve_in_place(CharacterContext& context)
{
    LBXSolveForEffectorSet(context.character, context.state, context.effectorSet, context.propertySet);
    restart_goals(context);
}

// A goal as it is seen from another one.
struct Grip
{
    Vec4 offset;
    Quat rotation;
};

Grip grip_from(const EffectorGoal& holder, const EffectorGoal& held)
{
    const Quat to_holder = conjugate(holder.rotation);
    return {rotate(to_holder, sub3(held.translation, holder.translation)), mul(to_holder, held.rotation)};
}

void write_grip(CharacterContext& context, LBXEffectorId holder_effector, LBXEffectorId held_effector, const Grip& grip)
{
    const EffectorGoal holder = read_goal(context, holder_effector);
    EffectorGoal held = read_goal(context, held_effector);
    held.translation = add3(rotate(holder.rotation, grip.offset), holder.translation);
    held.rotation = mul(holder.rotation, grip.rotation);
    write_goal(context, held_effector, held);
}

}  // namespace

bool AimConstraint::read(ScriptCall& call)
{
    attachmentEffector = call.effector(2);
    hipsWeight = call.number(3);
    chestWeight = call.number(4);
    shoulderWeight = call.number(5);
    elbowWeight = call.number(6);
    referenceNode = call.index(7);
    twoHands = call.flag(8);
    if (!read_pushed_target(call, 9, "aim", target)) return false;
    target.position = call.vector(11);
    target.useRawPosition = call.flag(12);
    call.number(13);  // an angle that scripts pass and nothing uses
    solveInPlace = call.flag(14);
    read_blend(call, *this, 15);
    lastTargetPosition = target.position;
    return true;
}

void AimConstraint::evaluate(CharacterContext& context, float step_s)
{
    FrameTarget aim_target;
    if (!find_target(target, aim_target)) return;
    stepBlend(step_s);
    NodePose reference;
    if (!read_node_pose(context.unit, referenceNode, reference)) return;
    lastReferencePosition = reference.position_world;
    if (plugin_state().drawRigsEnabled) draw_reference(context, lastReferencePosition);

    const ArmRow& arm = arm_of(attachmentEffector);
    const EffectorGoal attachment = read_goal(context, attachmentEffector);
    const bool with_other_hand = twoHands && arm.otherHand != kNoEffector;
    const Grip grip = with_other_hand ? grip_from(attachment, read_goal(context, arm.otherHand)) : Grip{};

    if (hipsWeight != 0.0f) lock_ankles(context, alpha);
    const LBXEffectorId chest = attachmentEffector == LBXEffectorHips ? kNoEffector : LBXEffectorChestEnd;
    const LBXEffectorId effectors[kStageCount] = {LBXEffectorHips, chest, arm.shoulder, arm.elbow, arm.wrist};
    const float shares[kStageCount] = {hipsWeight, chestWeight, shoulderWeight, elbowWeight, 1.0f};
    for (int stage = 0; stage < kStageCount && effectors[stage] != kNoEffector; ++stage)
    {
        if (stage == kDrawnStage && plugin_state().drawRigsEnabled)
        {
            draw_target(context, solver_to_world(context, read_goal(context, effectors[stage]).translation), aim_target.point_world());
        }
        const bool is_attachment = effectors[stage] == attachmentEffector;
        turnStage(context, effectors[stage], is_attachment ? 1.0f : shares[stage], aim_target);
    }

    if (solveInPlace)
    {
        solve_in_place(context);
        drawTowardTarget(context, length3(sub3(world_to_solver(context, lastReferencePosition), attachment.translation)));
    }
    if (with_other_hand)
    {
        solve_in_place(context);
        write_grip(context, attachmentEffector, arm.otherHand, grip);
        write_weights(context, arm.otherHand, alpha, alpha, alpha);
        write_weights(context, attachmentEffector, alpha, alpha, alpha);
        LBXSetEffectorReachR(context.effectorSet, LBXEffectorHead, alpha);
        LBXSetEffectorResist(context.effectorSet, LBXEffectorHead, alpha);
        if (solveInPlace) lock_ankles(context, alpha);
    }
}

// Every stage sees the animated reference point, so each share is of the whole turn from there to the target.
void AimConstraint::turnStage(CharacterContext& context, LBXEffectorId effector, float share, const FrameTarget& aim_target)
{
    EffectorGoal goal = read_goal(context, effector);
    const Vec4 pivot_world = solver_to_world(context, goal.translation);
    const Vec4 pointing = direction_of(sub3(lastReferencePosition, pivot_world));
    lastTargetPosition = aim_target.point_world();
    const Vec4 wanted = direction_of(sub3(lastTargetPosition, pivot_world));
    const Quat turn = scale_turn(shortest_arc(pointing, wanted), share);
    goal.rotation = rotation_to_solver(context, normalize(mul(turn, rotation_to_world(context, goal.rotation))));
    write_goal(context, effector, goal);
    LBXSetEffectorReachR(context.effectorSet, effector, alpha);
}

// The attachment goes on the line from where the solve has left it to the target, as far before the target as the reference point is from it:
// the reference point comes to lie on the target.
void AimConstraint::drawTowardTarget(CharacterContext& context, float reference_distance) const
{
    const Vec4 target_solver = world_to_solver(context, lastTargetPosition);
    EffectorGoal goal = read_goal(context, attachmentEffector);
    const Vec4 direction = direction_of(sub3(target_solver, goal.translation));
    const Vec4 before_target = sub3(target_solver, scale3(direction, reference_distance));
    if (is_finite3(before_target)) goal.translation = before_target;
    write_goal(context, attachmentEffector, goal);
    write_weights(context, LBXEffectorHips, 0.5f * alpha, 0.5f * alpha, 0.5f * alpha);
    lock_ankles(context, alpha);
    write_weights(context, attachmentEffector, alpha, alpha, alpha);
}

void AimConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text,
                  "(aiming %s, attachment effector %d, last target pos (%f %f %f), last ref pos (%f %f %f))",
                  target.useRawPosition ? "at raw position" : "at unit", attachmentEffector, static_cast<double>(lastTargetPosition.x),
                  static_cast<double>(lastTargetPosition.y), static_cast<double>(lastTargetPosition.z),
                  static_cast<double>(lastReferencePosition.x), static_cast<double>(lastReferencePosition.y),
                  static_cast<double>(lastReferencePosition.z));
}
