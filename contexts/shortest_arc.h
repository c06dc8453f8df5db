// The rotation that takes one direction onto another by the shortest way.
#pragma once

#include "contexts/spatial.h"

// Neither vector needs unit length. Without a direction there is no turn, and between opposite directions no turn is shorter than the others:
// both give the identity.
inline Quat shortest_arc(Vec4 from, Vec4 to)
{
    constexpr float kSmallest = 1e-5f;  // of the product of the lengths: within this of a half turn the axis is rounding noise
    const float lengths = length3(from) * length3(to);
    const Vec4 axis = cross3(from, to);
    const Quat arc = {axis.x, axis.y, axis.z, lengths + dot3(from, to)};
    return length4(arc) > kSmallest * lengths ? normalize(arc) : kIdentityRotation;
}
