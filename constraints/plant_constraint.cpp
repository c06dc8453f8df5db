#include "constraints/plant_constraint.h"

#include <algorithm>
#include <cstdio>

#include "constraints/effector_goal.h"
#include "contexts/debug_lists.h"
#include "resources/compiled_character.h"

namespace
{

constexpr float kFootRadiusShare = 0.5f;  // of the sole's width
constexpr float kHandRadius = 0.05f;
constexpr uint32_t kPointColour = 0xff0000u;

}  // namespace

bool PlantConstraint::read(ScriptCall& call)
{
    feetEnabled = call.flag(2);
    handsEnabled = call.flag(3);
    id = call.integer(4);
    rayCount = std::max(call.integer(5), 1);
    rayUpLength = pushed_ray_length(call.number(6));
    rayDownLength = pushed_ray_length(call.number(7));
    relative = call.flag(8);
    smoothing = call.number(9);
    depth = call.number(10);
    chestWeight = std::clamp(1.0f - call.number(11), 0.0f, 1.0f);
    hipsWeight = std::clamp(1.0f - call.number(12), 0.0f, 1.0f);
    return true;
}

void PlantConstraint::evaluate(CharacterContext& context, float step_s)
{
    stepBlend(step_s);
    if (alpha == 0.0f) return;
    if (feetEnabled) plantFeet(context, step_s);
    if (handsEnabled) plantHands(context);
}

void PlantConstraint::plantFeet(CharacterContext& context, float step_s)
{
    const ContactSizes& sizes = context.resource->foot;
    ContactPair feet = probePair(context, LBXEffectorLeftAnkle, LBXEffectorRightAnkle, (sizes.in + sizes.out) * kFootRadiusShare);
    GroundContact* const contacts[2] = {&feet.left, &feet.right};
    for (int side = 0; side < 2; ++side)
    {
        float& ground = contacts[side]->position.y;
        if (!contacts[side]->hit || !(smoothing > 0.0f)) continue;
        float& height = smoothedHeight[side];
        if (height == kUnsetHeight) height = ground;
        height = moved_toward(height, ground, smoothing * step_s);
        ground = height;
    }
    plantEffector(context, LBXEffectorLeftAnkle, feet.left);
    plantEffector(context, LBXEffectorRightAnkle, feet.right);
    if (!feet.bothHit()) return;

    record_debug_point(context, feet.left.position, kPointColour);
    record_debug_point(context, feet.right.position, kPointColour);
    raise(context, LBXEffectorHips, feet.meanHeight() - depth);
    LBXSetEffectorReachR(context.effectorSet, LBXEffectorHips, hipsWeight * alpha);
    LBXSetEffectorResist(context.effectorSet, LBXEffectorHips, hipsWeight * alpha);
    LBXSetEffectorReachR(context.effectorSet, LBXEffectorChestEnd, chestWeight * alpha);
    LBXSetEffectorResist(context.effectorSet, LBXEffectorChestEnd, chestWeight * alpha);
}

void PlantConstraint::plantHands(CharacterContext& context) const
{
    const ContactPair hands = probePair(context, LBXEffectorLeftWrist, LBXEffectorRightWrist, kHandRadius);
    plantEffector(context, LBXEffectorLeftWrist, hands.left);
    plantEffector(context, LBXEffectorRightWrist, hands.right);
    if (hands.bothHit()) raise(context, LBXEffectorChestEnd, hands.meanHeight() - depth);
}

PlantConstraint::ContactPair PlantConstraint::probePair(const CharacterContext& context, LBXEffectorId left, LBXEffectorId right,
                                                        float radius) const
{
    const GroundProbe probe = {rayUpLength, rayDownLength, rayCount, radius};
    return {probe_ground(context, left, probe), probe_ground(context, right, probe)};
}

// An extremity over nothing stays as it is.
void PlantConstraint::plantEffector(CharacterContext& context, LBXEffectorId effector, const GroundContact& contact) const
{
    if (!contact.hit) return;
    EffectorGoal goal = read_goal(context, effector);
    if (relative)
        goal.translation.y += contact.position.y - depth;
    else { goal.translation = contact.position; }
    write_goal(context, effector, goal);
    LBXSetEffectorReachT(context.effectorSet, effector, alpha);
    if (!relative) return;
    LBXSetEffectorPull(context.effectorSet, effector, alpha);
    LBXSetEffectorReachR(context.effectorSet, effector, alpha);
}

void PlantConstraint::raise(CharacterContext& context, LBXEffectorId effector, float height) const
{
    EffectorGoal goal = read_goal(context, effector);
    goal.translation.y += height;
    write_goal(context, effector, goal);
    LBXSetEffectorReachT(context.effectorSet, effector, alpha);
}

void PlantConstraint::describe(DescriptionText& description) const { std::snprintf(description.text, sizeof description.text, "(plant)"); }
