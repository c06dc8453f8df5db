#include "constraints/ground_smoothing.h"

#include <algorithm>
#include <cmath>

namespace
{

// Below this a quaternion has no direction, and its vector part no visible turn.
constexpr float kNegligible = 0.001f;

bool is_negligible_turn(Quat turn)
{
    return std::fabs(turn.x) <= kNegligible && std::fabs(turn.y) <= kNegligible && std::fabs(turn.z) <= kNegligible;
}

}  // namespace

float moved_toward(float height, float target, float largest_step)
{
    // A negative or undefined step moves nothing.
    const float step = std::max(0.0f, largest_step);
    return height + std::clamp(target - height, -step, step);
}

Quat turned_toward(Quat& smoothed, Quat target, float largest_turn_rad)
{
    Quat difference = mul(conjugate(smoothed), target);
    if (length4(difference) < kNegligible) return target;
    difference = normalize(difference);
    if (is_negligible_turn(difference)) return target;

    // q and -q are one rotation; the one with a positive w turns less than half way round.
    const float side = difference.w < 0.0f ? -1.0f : 1.0f;
    const Vec4 axis = {side * difference.x, side * difference.y, side * difference.z, 0.0f};
    const float sine = length3(axis);
    const float turn_rad = std::min(2.0f * std::atan2(sine, side * difference.w), largest_turn_rad);
    const Vec4 turned = scale3(axis, std::sin(0.5f * turn_rad) / sine);
    smoothed = normalize(mul(smoothed, {turned.x, turned.y, turned.z, std::cos(0.5f * turn_rad)}));
    return smoothed;
}
