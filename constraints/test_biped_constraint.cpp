#include "constraints/test_biped_constraint.h"

#include <cmath>
#include <cstdio>

#include "constraints/push_constraint.h"
#include "constraints/test_sequence.h"

namespace
{

constexpr float kHipsPhaseEnd_s = 20.0f;
constexpr float kChestPhaseEnd_s = 40.0f;
constexpr float kCycle_s = 60.0f;
constexpr float kSixth = 0.16666667f;
constexpr float kThird = 0.33333334f;

// t: seconds; s: a sixth of the wrists' distance; a: the blend weight.
void circle_hips(CharacterContext& context, float t, float s, float a)
{
    move_goal(context, LBXEffectorHips,
              {std::cos(3.0f * t) * 0.6f * s, std::sin(3.0f * t) * 0.6f * s - s, std::cos(3.3f * t) * 0.6f * s, 0.0f});
    write_weights(context, LBXEffectorHips, a, 1.0f - a, a);
}

void bob_chest(CharacterContext& context, float t, float s, float a)
{
    move_goal(context, LBXEffectorChestEnd, {0.0f, std::sin(3.0f * t) * s - s, 0.0f, 0.0f});
    write_weights(context, LBXEffectorChestEnd, a, 1.0f - a, a);
}

void move_trunk(CharacterContext& context, float t, float s, float a)
{
    turn_goal(context, LBXEffectorHips, kAxisY, std::cos(3.0f * t) * 0.5f);
    move_goal(context, LBXEffectorHips, {0.0f, std::sin(2.0f * t) * 0.4f * s - 0.3f * s, 0.0f, 0.0f});
    write_weights(context, LBXEffectorHips, a, a, 1.0f - a);

    turn_goal(context, LBXEffectorChestEnd, kAxisY, std::cos(3.0f * (t - 0.2f)) * kThird);
    turn_goal(context, LBXEffectorChestEnd, kAxisX, std::cos(t - 0.6f) * kThird);
    move_goal(context, LBXEffectorChestEnd, {0.0f, 0.0f, std::cos(2.0f * t) * 0.5f * s, 0.0f});
    write_weights(context, LBXEffectorChestEnd, a, a, 1.0f - a);

    turn_goal(context, LBXEffectorHead, kAxisX, std::cos(3.0f * t) * 0.5f);
    turn_goal(context, LBXEffectorHead, kAxisY, std::cos(t - 0.6f) * 0.5f);
    LBXSetEffectorReachR(context.effectorSet, LBXEffectorHead, a);
}

void wave_hands(CharacterContext& context, float t, float s, float a)
{
    LBXEffectorSet* set = context.effectorSet;
    turn_goal(context, LBXEffectorRightHand, kAxisX, std::sin(3.0f * t) * 0.5f);
    move_goal(context, LBXEffectorRightHand,
              {std::sin(2.1f * t) * 0.5f * s + 0.8f * s, std::cos(3.1f * t) * 1.3f * s + 0.1f * s, (std::cos(2.1f * t) + 1.3f) * s, 0.0f});
    LBXSetEffectorReachT(set, LBXEffectorRightHand, a);
    LBXSetEffectorPull(set, LBXEffectorRightHand, 1.0f - a);
    turn_goal(context, LBXEffectorRightWrist, kAxisX, std::sin(3.0f * t) * 0.5f);
    LBXSetEffectorReachR(set, LBXEffectorRightWrist, a);
    LBXSetEffectorPull(set, LBXEffectorRightWrist, 1.0f - a);

    turn_goal(context, LBXEffectorLeftHand, kAxisX, std::cos(3.0f * t) * 0.5f);
    move_goal(context, LBXEffectorLeftHand,
              {-0.8f * s - std::sin(1.9f * t) * 0.5f * s, std::sin(2.3f * t) * 1.2f * s + 0.1f * s, (std::sin(2.1f * t) + 0.8f) * s, 0.0f});
    LBXSetEffectorPull(set, LBXEffectorLeftHand, 1.0f - a);
    turn_goal(context, LBXEffectorLeftWrist, kAxisX, std::cos(3.0f * t) * 0.5f);
    LBXSetEffectorReachR(set, LBXEffectorLeftWrist, a);
    LBXSetEffectorPull(set, LBXEffectorLeftWrist, 1.0f - a);
}

void move_everything(CharacterContext& context, float t, float s, float a)
{
    constexpr float kElbowStop_deg = 170.0f;
    LBXPropertySetValue(context.propertySet, LBXPropertyLeftArmMaxExtensionAngle, kElbowStop_deg);
    LBXPropertySetValue(context.propertySet, LBXPropertyRightArmMaxExtensionAngle, kElbowStop_deg);
    for (const LBXEffectorId ankle : {LBXEffectorRightAnkle, LBXEffectorLeftAnkle})
    {
        LBXSetEffectorReachT(context.effectorSet, ankle, a);
        LBXSetEffectorPull(context.effectorSet, ankle, a);
    }
    for (const LBXEffectorId hand : {LBXEffectorLeftHand, LBXEffectorRightHand})
    {
        LBXSetEffectorReachR(context.effectorSet, hand, 1.0f - a);
    }
    move_trunk(context, t, s, a);
    wave_hands(context, t, s, a);
}

}  // namespace

bool TestBipedConstraint::read(ScriptCall& call)
{
    read_blend(call, *this, 2);
    return true;
}

void TestBipedConstraint::evaluate(CharacterContext& context, float step_s)
{
    stepBlend(step_s);
    LBXGetCharacterizeState(context.character, context.state);
    goals_from_pose(context);
    lock_extremities(context, alpha);
    const float s = wrist_spacing(context) * kSixth;
    if (timer < kHipsPhaseEnd_s) { circle_hips(context, timer, s, alpha); }
    else if (timer < kChestPhaseEnd_s) { bob_chest(context, timer, s, alpha); }
    else { move_everything(context, timer, s, alpha); }
    timer += step_s;
    if (timer >= kCycle_s) timer = 0.0f;
}

void TestBipedConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(ankles and wrists are locked, hips circles)");
}
