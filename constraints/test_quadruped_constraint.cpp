#include "constraints/test_quadruped_constraint.h"

#include <cmath>
#include <cstdio>
#include <iterator>

#include "constraints/test_sequence.h"

namespace
{

// One phase: t in seconds since the sequence began, s half the wrists' distance.
using Phase = void (*)(CharacterContext& context, float t, float s);

constexpr float kPhase_s = 6.0f;
constexpr float kCycle_s = 48.0f;

void shake_head(CharacterContext& context, float t, float /*s*/)
{
    turn_goal(context, LBXEffectorHead, kAxisZ, std::cos(3.0f * t) * 0.5f);
    write_weights(context, LBXEffectorHead, 1.0f, 1.0f, 1.0f);
}

void turn_hips(CharacterContext& context, float t, float /*s*/)
{
    turn_goal(context, LBXEffectorHips, kAxisY, std::cos(3.0f * t) * 0.5f);
    write_weights(context, LBXEffectorHips, 1.0f, 1.0f, 1.0f);
}

void roll_trunk(CharacterContext& context, float t, float /*s*/)
{
    for (const LBXEffectorId end : {LBXEffectorHips, LBXEffectorChestEnd})
    {
        turn_goal(context, end, kAxisZ, std::cos(3.0f * t) * 0.5f);
        write_weights(context, end, 1.0f, 1.0f, 1.0f);
    }
}

// About the solver's x, not the hips' own.
void pitch_hips(CharacterContext& context, float t, float /*s*/)
{
    EffectorGoal hips = read_goal(context, LBXEffectorHips);
    hips.rotation = mul(quat_from_axis_angle(kAxisX, std::cos(3.0f * t) * 0.25f), hips.rotation);
    write_goal(context, LBXEffectorHips, hips);
    write_weights(context, LBXEffectorHips, 0.0f, 1.0f, 0.0f);
    write_weights(context, LBXEffectorChestEnd, 0.0f, 0.0f, 0.0f);
}

void swing_head(CharacterContext& context, float t, float s)
{
    move_goal(context, LBXEffectorHead, {std::sin(3.0f * t) * 5.0f * s, 0.0f, 0.0f, 0.0f});
    write_weights(context, LBXEffectorHead, 1.0f, 0.0f, 0.5f);
}

void rear_up(CharacterContext& context, float t, float s)
{
    for (const LBXEffectorId hand : {LBXEffectorLeftHand, LBXEffectorRightHand})
    {
        move_goal(context, hand, {0.0f, (std::sin(3.0f * t) + 1.0f) * s, 0.0f, 0.0f});
        write_weights(context, hand, 1.0f, 0.0f, 1.0f);
    }
    move_goal(context, LBXEffectorChestEnd, {0.0f, std::sin(3.0f * t) * 0.5f * s + s, 0.0f, 0.0f});
    write_weights(context, LBXEffectorChestEnd, 1.0f, 0.0f, 1.0f);
}

void lunge(CharacterContext& context, float t, float s)
{
    for (const LBXEffectorId hand : {LBXEffectorLeftHand, LBXEffectorRightHand})
    {
        move_goal(context, hand, {0.0f, 0.0f, std::sin(3.0f * t) * 6.0f * s + s, 0.0f});
        write_weights(context, hand, 1.0f, 0.0f, 1.0f);
    }
    for (const LBXEffectorId foot : {LBXEffectorRightFoot, LBXEffectorLeftFoot}) LBXSetEffectorPull(context.effectorSet, foot, 0.75f);
}

void twist_chest(CharacterContext& context, float t, float /*s*/)
{
    turn_goal(context, LBXEffectorChestEnd, kAxisY, std::cos(3.0f * t) * 0.5f);
    turn_goal(context, LBXEffectorChestEnd, kAxisZ, std::cos(3.0f * t) * 0.2f);
    write_weights(context, LBXEffectorChestEnd, 0.0f, 1.0f, 1.0f);
}

constexpr Phase kPhases[] = {shake_head, turn_hips, roll_trunk, pitch_hips, swing_head, rear_up, lunge, twist_chest};
constexpr int kLastPhase = static_cast<int>(std::size(kPhases)) - 1;
static_assert(std::size(kPhases) * 6 == 48, "phases of six seconds fill the cycle");

}  // namespace

bool TestQuadrupedConstraint::read(ScriptCall& /*call*/) { return true; }

void TestQuadrupedConstraint::evaluate(CharacterContext& context, float step_s)
{
    goals_from_pose(context);
    lock_extremities(context, 1.0f);
    const float s = wrist_spacing(context) * 0.5f;
    const float phase = timer / kPhase_s;
    kPhases[phase < static_cast<float>(kLastPhase) ? static_cast<int>(phase) : kLastPhase](context, timer, s);
    // Here and not after the step: the cycle lasts a little longer than its phases.
    if (timer > kCycle_s) timer = 0.0f;
    timer += step_s;
}

void TestQuadrupedConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(various tests)");
}
