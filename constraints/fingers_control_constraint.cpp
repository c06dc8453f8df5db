#include "constraints/fingers_control_constraint.h"

#include <cstdio>

#include "constraints/effector_goal.h"
#include "constraints/push_constraint.h"
#include "constraints/turns.h"
#include "resources/plugin_allocator.h"

namespace
{

constexpr float kFullCurl_rad = 2.6703534f;  // 153 degrees
constexpr float kThumbShare = 0.25f;
// In the stance of the left hand, whose fingers point along x with the palm down, whichever way a rig turns its finger joints. The right hand is its mirror
// image: its fingers curl the other way about the same axes, or they would fold over the back of the hand.
constexpr Vec4 kCurlAxis = {0.0f, 0.0f, -1.0f, 0.0f};
constexpr Vec4 kThumbCurlAxis = {0.0f, -0.70710677f, -0.70710677f, 0.0f};
constexpr int kThumb = 0;
constexpr int kJointsPerFinger = 4;

struct HandRow
{
    LBXNodeId hand;
    LBXNodeId fingerBase;
    LBXNodeId firstFinger;  // 4 a finger from the thumb on
    LBXNodeId firstInHand;  // 6, thumb to extra finger
    LBXEffectorId wrist;
    LBXEffectorId thumb;  // 5 from the thumb on
};

constexpr HandRow kLeftHand = {LBXNodeLeftHand,      LBXNodeLeftFingerBase,   LBX_NODE_FINGER(0, 0, 1), LBX_NODE_IN_EXTREMITY(0, 0),
                               LBXEffectorLeftWrist, LBXEffectorLeftHandThumb};
constexpr HandRow kRightHand = {LBXNodeRightHand,      LBXNodeRightFingerBase,   LBX_NODE_FINGER(1, 0, 1), LBX_NODE_IN_EXTREMITY(1, 0),
                                LBXEffectorRightWrist, LBXEffectorRightHandThumb};
static_assert(kLeftHand.firstFinger == 50 && kRightHand.firstFinger == 74, "fingers of the hands");
static_assert(kLeftHand.firstInHand == 146 && kRightHand.firstInHand == 152, "bones inside the hands");

const HandRow& hand_row(bool left) { return left ? kLeftHand : kRightHand; }

bool is_used(const CharacterContext& context, LBXNodeId node) { return LBXGetNodeFlags(context.character, node) != 0; }

EffectorGoal read_node(const CharacterContext& context, const LBXCharacterState* state, LBXNodeId node)
{
    EffectorGoal pose = {kZero4, kIdentityRotation, kOne4};
    LBXGetNodeStateTQSfv(context.character, state, node, &pose.translation.x, &pose.rotation.x, &pose.scale.x);
    return pose;
}

// Carries nodes from the stance's hand to the hand as it is now.
struct HandCarrier
{
    CharacterContext& context;
    const LBXCharacterState* stance;
    Vec4 handStance, handNow;
    Quat turn;  // since the stance

    void carry(LBXNodeId node) const
    {
        if (!is_used(context, node)) return;
        EffectorGoal pose = read_node(context, stance, node);
        pose.translation = add3(rotate(turn, sub3(pose.translation, handStance)), handNow);
        pose.rotation = mul(turn, pose.rotation);
        LBXSetNodeStateTQSfv(context.character, context.state, node, &pose.translation.x, &pose.rotation.x, &pose.scale.x);
    }
};

void pose_fingers_as_in_stance(CharacterContext& context, const LBXCharacterState* stance, const HandRow& hand)
{
    const EffectorGoal now = read_node(context, context.state, hand.hand);
    const EffectorGoal before = read_node(context, stance, hand.hand);
    const HandCarrier carrier = {context, stance, before.translation, now.translation, mul(now.rotation, conjugate(before.rotation))};
    for (int i = 0; i < kFingerFactorCount; ++i) carrier.carry(hand.firstInHand + i);
    for (int i = 0; i < kControlledFingers * kJointsPerFinger; ++i) carrier.carry(hand.firstFinger + i);
    carrier.carry(hand.fingerBase);
}

}  // namespace

void DestroyCharacterState::operator()(LBXCharacterState* state) const { LBXCharacterStateDestroy(state, plugin_deallocate); }

float& FingersControlConstraint::factor(int32_t finger_number)
{
    return finger_number >= 1 && finger_number <= kFingerFactorCount ? fingerFactors[finger_number - 1] : globalFactor;
}

bool FingersControlConstraint::read(ScriptCall& call)
{
    allFingers = call.flag(2);
    left = call.flag(3);
    builtForLeft = left;
    globalFactor = call.number(4);
    for (int i = 0; i < kFingerFactorCount; ++i) fingerFactors[i] = call.number(5 + i);
    read_blend(call, *this, 11);
    return true;
}

void FingersControlConstraint::evaluate(CharacterContext& context, float /*step_s*/)
{
    if ((rebuildRequested || left != builtForLeft) && !rebuildStance(context)) return;
    const HandRow& hand = hand_row(left);
    pose_fingers_as_in_stance(context, stanceState.get(), hand);
    goals_from_pose(context);
    const Quat wrist_rotation = read_goal(context, hand.wrist).rotation;
    for (int finger = 0; finger < kControlledFingers; ++finger)
    {
        if (firstPhalanxUsed[finger] == 0) setFingerGoal(context, finger, wrist_rotation);
    }
}

// False without memory for the copy; the next evaluation tries again.
bool FingersControlConstraint::rebuildStance(const CharacterContext& context)
{
    rebuildRequested = true;
    stanceState.reset();  // first, so that two copies never live at once
    stanceState.reset(LBXCharacterStateCreate(context.character, plugin_allocate_for_library));
    if (!stanceState) return false;
    LBXGetCharacterizeState(context.character, stanceState.get());
    for (int finger = 0; finger < kControlledFingers; ++finger)
    {
        firstPhalanxUsed[finger] = is_used(context, hand_row(left).firstFinger + kJointsPerFinger * finger) ? 0 : -1;
    }
    rebuildRequested = false;
    builtForLeft = left;
    return true;
}

void FingersControlConstraint::setFingerGoal(CharacterContext& context, int finger, Quat wrist_rotation) const
{
    const HandRow& hand = hand_row(left);
    EffectorGoal goal = read_node(context, context.state, hand.firstFinger + kJointsPerFinger * finger);
    const float opened = allFingers ? globalFactor : fingerFactors[finger] * globalFactor;
    const bool thumb = finger == kThumb;
    const float curl = (1.0f - opened) * (thumb ? kThumbShare : 1.0f) * (left ? 1.0f : -1.0f);
    const Quat stance_rotation = read_node(context, stanceState.get(), hand.firstFinger + kJointsPerFinger * finger).rotation;
    const Quat since_stance = mul(goal.rotation, conjugate(stance_rotation));
    const Vec4 axis = rotate(since_stance, thumb ? kThumbCurlAxis : kCurlAxis);
    goal.rotation = mul(quat_from_axis_angle(axis, curl * kFullCurl_rad), wrist_rotation);
    write_goal(context, hand.thumb + finger, goal);
    LBXSetEffectorReachR(context.effectorSet, hand.thumb + finger, 1.0f);
}

void FingersControlConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(controlling fingers)");
}
