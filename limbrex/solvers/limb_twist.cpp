#include "limbrex/solvers/limb_twist.h"

#include "limbrex/solvers/limb_plane.h"

namespace lbx
{
namespace
{

constexpr uint32_t kMinimumTwist = kMinimumActive;  // bits of the x angle, the twist about the bone
constexpr uint32_t kMaximumTwist = kMaximumActive;
constexpr float kLargestSwing = 1.0f;  // radians: an elbow gives way by about 60 degrees and no further

// Angle of the part of q that turns about a unit axis, -pi to pi.
float twist_about(Quat q, Vec4 axis)
{
    const Quat facing = q * sign_one(lanes<3, 3, 3, 3>(q));
    return 2.0f * atan2_approx(dot3f(facing, axis), w_of(facing));
}

// 1 well away from half a turn, 0 at it, where the sense of a twist flips: keeps what follows from a twist continuous.
float trust_in_twist(float angle)
{
    const float s = clamp01((kPi - (angle < 0.0f ? -angle : angle)) / (0.25f * kPi));
    return (3.0f - 2.0f * s) * s * s;
}

}  // namespace

float realistic_swing(const LimbChain& chain)
{
    if (chain.realistic <= 0.0f || chain.endGoal.reachR <= 0.0f || chain.killPitch) return 0.0f;
    const Quat current = chain.solve.nodes[chain.end].global.q;
    const Quat wanted = quat_blend(current, chain.endGoal.q, chain.endGoal.reachR);
    const Vec4 line = normalize3(at(chain, chain.end) - at(chain, chain.upper));
    const float twist = twist_about(quat_mul(wanted, conjugate(current)), line);
    return twist * trust_in_twist(twist) * chain.realistic;
}

bool settles_forearm_twist(const LimbChain& chain)
{
    if (!chain.realisticArm) return false;
    const LimitRecord* limit = middle_limit(chain);
    return limit != nullptr && (limit->joint.flags & kMinimumTwist) != 0 && (limit->joint.flags & kMaximumTwist) != 0;
}

bool yields_to_forearm_twist(const LimbChain& chain) { return chain.endGoal.reachR > 0.0f && settles_forearm_twist(chain); }

void spend_forearm_twist(const LimbChain& chain)
{
    // The twist that the hand's goal asks of the forearm, on top of what the forearm has.
    const Vec4 forearm = normalize3(at(chain, chain.end) - at(chain, chain.middle));
    const Quat current = chain.solve.nodes[chain.end].global.q;
    const Quat wanted = quat_blend(current, chain.endGoal.q, chain.endGoal.reachR);
    const float asked = twist_about(quat_mul(wanted, conjugate(current)), forearm);
    const JointFrame& frame = middle_limit(chain)->joint;
    const float has = x_of(angles_from_rotation(frame, chain.solve.nodes[chain.middle].local.q));
    const float allowed = clampf(has + asked, x_of(frame.minimum), x_of(frame.maximum));
    const float beyond = (has + asked - allowed) * trust_in_twist(asked);
    swing_middle(chain, clampf(beyond, -kLargestSwing, kLargestSwing));
}

void final_twist(const LimbChain& chain, float swing, Quat kept_turn)
{
    if (swing != 0.0f) swing_middle(chain, swing);
    if (turns_nothing(kept_turn)) return;
    const Quat orientation = chain.solve.nodes[chain.end].global.q;
    const Vec4 upper = normalize3(at(chain, chain.middle) - at(chain, chain.upper));
    const Vec4 lower = normalize3(at(chain, chain.end) - at(chain, chain.middle));
    turn_joint(chain, chain.middle, quat_from_axis_angle(lower, -twist_about(kept_turn, upper)));
    chain.solve.nodes[chain.end].global.q = orientation;
    update_local_rotation(chain.solve, chain.end);
    follow(chain, chain.end);
}

}  // namespace lbx
