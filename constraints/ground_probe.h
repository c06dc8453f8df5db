// Finds the ground under a hand or a foot with vertical rays into the engine's physics world. The unit's own collision filter goes with
// every ray, so a character never stands on itself.
#pragma once

#include "contexts/character_context.h"

// How one extremity is probed. Scripts may have stored any finite length and any count; what is cast stays within bounds.
struct GroundProbe
{
    float rayUpLength;    // a ray starts this far above the effector, in rig units
    float rayDownLength;  // and ends this far below it
    int32_t rayCount;     // one in the middle, the others on a circle around it
    float radius;         // of the circle, in the solver's horizontal plane
};

// The ground as a plane in the solver frame: a point of it, and the rotation that takes the solver's up onto its normal.
struct GroundContact
{
    Vec4 position = {0.0f, -1000.0f, 0.0f, 0.0f};  // where nothing was hit the ground is out of everybody's reach
    Quat rotation = kIdentityRotation;
    bool hit = false;
};

// The mean of what the rays hit around the effector's goal; the default contact when there is no ray service or nothing was hit. With rig and
// collision drawing on, hits and contact are drawn.
GroundContact probe_ground(const CharacterContext& context, LBXEffectorId effector, const GroundProbe& probe);

// A ray length as a push takes it: what is not in (0, 10] is replaced by 5.
float pushed_ray_length(float length);
