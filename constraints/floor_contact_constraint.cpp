#include "constraints/floor_contact_constraint.h"

#include <algorithm>
#include <cstdio>

#include "contexts/debug_lists.h"
#include "contexts/solver_frame.h"
#include "debug/debug_shapes.h"
#include "resources/compiled_character.h"
#include "resources/plugin_state.h"

namespace
{

// A pair of extremities, left before right, and where the library keeps what belongs to it.
struct ExtremityPair
{
    LBXNodeId baseNodes[2];            // of toes or fingers
    LBXEffectorId tipEffectors[2];     // probed when the rig has both base nodes
    LBXEffectorId endEffectors[2];     // probed otherwise
    int floorContacts[2];              // of the effector set
    int enableProperty, typeProperty;  // and the sizes:
    int bottom, back, middle, front, in, out;
};

constexpr ExtremityPair kFeet = {{LBXNodeLeftToeBase, LBXNodeRightToeBase},
                                 {LBXEffectorLeftFoot, LBXEffectorRightFoot},
                                 {LBXEffectorLeftAnkle, LBXEffectorRightAnkle},
                                 {2, 3},
                                 LBXPropertyFloorContact,
                                 LBXPropertyFootContactType,
                                 LBXPropertyFootBottomToAnkle,
                                 LBXPropertyFootBackToAnkle,
                                 LBXPropertyFootMiddleToAnkle,
                                 LBXPropertyFootFrontToMiddle,
                                 LBXPropertyFootInToAnkle,
                                 LBXPropertyFootOutToAnkle};
constexpr ExtremityPair kHands = {{LBXNodeLeftFingerBase, LBXNodeRightFingerBase},
                                  {LBXEffectorLeftHand, LBXEffectorRightHand},
                                  {LBXEffectorLeftWrist, LBXEffectorRightWrist},
                                  {0, 1},
                                  LBXPropertyHandFloorContact,
                                  LBXPropertyHandContactType,
                                  LBXPropertyHandBottomToWrist,
                                  LBXPropertyHandBackToWrist,
                                  LBXPropertyHandMiddleToWrist,
                                  LBXPropertyHandFrontToMiddle,
                                  LBXPropertyHandInToWrist,
                                  LBXPropertyHandOutToWrist};

constexpr float kFootRadiusShare = 0.33333334f;  // of the sole's width
constexpr float kHandRadius = 0.05f;
constexpr float kSmoothingTurn_rad = 3.141592f;
constexpr uint32_t kContactColour = 0xff101010u;
constexpr uint32_t kPointColour = 0xff0000u;
constexpr float kContactBox = 0.048f;

const LBXEffectorId* probed_effectors(const CharacterContext& context, const ExtremityPair& pair)
{
    const bool both = LBXGetNodeFlags(context.character, pair.baseNodes[0]) && LBXGetNodeFlags(context.character, pair.baseNodes[1]);
    return both ? pair.tipEffectors : pair.endEffectors;
}

void write_contact_properties(CharacterContext& context, const ExtremityPair& pair, const ContactSizes& sizes)
{
    LBXPropertySet* properties = context.propertySet;
    LBXPropertySetMode(properties, pair.enableProperty, 1);
    LBXPropertySetValue(properties, pair.typeProperty, static_cast<float>(sizes.type));
    LBXPropertySetValue(properties, pair.bottom, sizes.bottom);
    LBXPropertySetValue(properties, pair.back, sizes.back);
    LBXPropertySetValue(properties, pair.middle, sizes.middle);
    LBXPropertySetValue(properties, pair.front, sizes.front);
    LBXPropertySetValue(properties, pair.in, sizes.in);
    LBXPropertySetValue(properties, pair.out, sizes.out);
}

void write_floor_contacts(CharacterContext& context, const ExtremityPair& pair, const GroundContact (&contacts)[2])
{
    for (int side = 0; side < 2; ++side)
    {
        LBXSetEffectorFloorContactTQfv(context.effectorSet, pair.floorContacts[side], &contacts[side].position.x,
                                       &contacts[side].rotation.x);
    }
}

// A count from a script's number: whole rays, at least one. Numbers that no count can hold stop at a billion.
int32_t pushed_ray_count(float number) { return static_cast<int32_t>(std::clamp(number, 1.0f, 1e9f)); }

}  // namespace

bool FloorContactConstraint::read(ScriptCall& call)
{
    feetEnabled = call.flag(2);
    handsEnabled = call.flag(3);
    id = call.integer(4);
    smoothing = call.number(5);
    const float ray_number = call.number(6);
    const float up = call.number(7);
    const float down = call.number(8);
    if (!call.sound) return true;
    rayCount = pushed_ray_count(ray_number);
    rayUpLength = pushed_ray_length(up);
    rayDownLength = pushed_ray_length(down);
    return true;
}

void FloorContactConstraint::evaluate(CharacterContext& context, float step_s)
{
    stepBlend(step_s);
    if (alpha == 0.0f) return;
    if (feetEnabled) contactFeet(context);
    if (handsEnabled) contactHands(context);
}

void FloorContactConstraint::contactFeet(CharacterContext& context)
{
    const ContactSizes& sizes = context.resource->foot;
    const GroundProbe probe = {rayUpLength, rayDownLength, rayCount, (sizes.in + sizes.out) * kFootRadiusShare};
    const LBXEffectorId* effectors = probed_effectors(context, kFeet);
    GroundContact contacts[2];
    for (int side = 0; side < 2; ++side)
    {
        contacts[side] = probe_ground(context, effectors[side], probe);
        if (smoothing > 0.0f && contacts[side].hit) smooth(side, contacts[side]);
    }
    for (const GroundContact& contact : contacts)
    {
        if (plugin_state().drawRigsEnabled)
        {
            draw_box(&context, solver_to_world(context, contact.position), rotation_to_world(context, contact.rotation), kContactBox,
                     kContactColour);
        }
        record_debug_point(context, contact.position, kPointColour);
    }
    write_contact_properties(context, kFeet, sizes);
    write_floor_contacts(context, kFeet, contacts);
}

void FloorContactConstraint::contactHands(CharacterContext& context) const
{
    const GroundProbe probe = {rayUpLength, rayDownLength, rayCount, kHandRadius};
    const LBXEffectorId* effectors = probed_effectors(context, kHands);
    const GroundContact contacts[2] = {probe_ground(context, effectors[0], probe), probe_ground(context, effectors[1], probe)};
    write_contact_properties(context, kHands, context.resource->hand);
    write_floor_contacts(context, kHands, contacts);
}

void FloorContactConstraint::smooth(int side, GroundContact& contact)
{
    float& height = smoothedHeight[side];
    if (height == kUnsetHeight)
    {
        height = contact.position.y;
        smoothedRotation[side] = contact.rotation;
    }
    height = moved_toward(height, contact.position.y, smoothing);
    contact.position.y = height;
    contact.rotation = turned_toward(smoothedRotation[side], contact.rotation, smoothing * kSmoothingTurn_rad);
}

void FloorContactConstraint::describe(DescriptionText& description) const
{
    std::snprintf(description.text, sizeof description.text, "(floor contact)");
}
