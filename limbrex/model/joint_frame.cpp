#include "limbrex/model/joint_frame.h"

namespace lbx
{
namespace
{

// Axis that turns first, second and last; parity +1 when they follow in the cycle x, y, z, else -1. Indexed by half the order code.
struct TurnOrder
{
    int first, second, last;
    float parity;
};
constexpr TurnOrder kTurnOrders[] = {
    {0, 1, 2, 1.0f}, {0, 2, 1, -1.0f}, {1, 2, 0, 1.0f}, {1, 0, 2, -1.0f}, {2, 0, 1, 1.0f}, {2, 1, 0, -1.0f},
};

// Where sin of the middle angle comes this near to 1 the outer turns share an axis: the first turn takes all (codes 0 and 10), or the last.
constexpr float kGimbalHalfSine = 0.499999f;
constexpr bool first_turn_takes_all(int order) { return order < 2 || order >= 10; }

// Below this the scalar part of a twist is noise, which stands for half a turn about the bone; so is the twist beside a swing of half a turn.
constexpr float kHalfTurn = 1e-6f;

float abs_of(float v) { return v < 0.0f ? -v : v; }

bool is_turned(Quat q) { return (mask_bits(equal4(q, zero4())) & 7) != 7; }

void keep_flag(JointFrame& frame, uint32_t bit, bool on) { frame.flags = on ? frame.flags | bit : frame.flags & ~bit; }

// Swing about an axis across the bone, after a twist about it: normalize(0, sy, sz, cy cz) * Qx(twist).
Quat from_twist_and_swing(Vec4 s, Vec4 c)
{
    const float sx = x_of(s);
    const float cx = x_of(c);
    const Vec4 swing = vec4(0.0f, y_of(s), z_of(s), y_of(c) * z_of(c));
    return quat_mul(swing, vec4(sx, 0.0f, 0.0f, cx));
}

// E = Qlast * Qsecond * Qfirst, written out; the parity carries all six orders.
Quat from_three_turns(const TurnOrder& order, Vec4 sines, Vec4 cosines)
{
    float s[4];
    float c[4];
    float q[4];
    store4(s, sines);
    store4(c, cosines);
    const float sa = s[order.first];
    const float ca = c[order.first];
    const float sb = s[order.second];
    const float cb = c[order.second];
    const float sc = s[order.last];
    const float cc = c[order.last];
    q[order.first] = sa * cb * cc - order.parity * (ca * sb * sc);
    q[order.second] = ca * sb * cc + order.parity * (sa * cb * sc);
    q[order.last] = ca * cb * sc - order.parity * (sa * sb * cc);
    q[3] = ca * cb * cc + order.parity * (sa * sb * sc);
    return load4(q);
}

// Turn of a quaternion about one axis whose component is v, -pi to pi: w's sign is taken off first, since q and -q are one rotation.
float turn_angle(float v, float w) { return w < 0.0f ? 2.0f * atan2_approx(-v, -w) : 2.0f * atan2_approx(v, w); }

// Both swing angles from the normalized swing (0, sy, sz, sw). m undoes the normalization: with p = sy^2 sz^2 its square is
// (1 - sqrt(1 - 4 p)) / (2 p), here 2 / (1 + sqrt(1 - 4 p)), and 1 - 4 p as a sum of squares: neither loses digits to a difference.
Vec4 swing_angles(Quat swing)
{
    const Vec4 square = swing * swing;
    const float yy = y_of(square);
    const float ww = w_of(square);
    const float d = z_of(square) + ww - yy;
    const float root = sqrt_scalar(d * d + 4.0f * yy * ww);
    const float m = sqrt_scalar(2.0f / (1.0f + root));
    return splat(2.0f) * asin4(min4(max4(swing * m, splat(-1.0f)), splat(1.0f)));
}

// r = swing * twist with the swing's x = 0. The squares of rx and rw sum up to the square of the swing's w, and the swing's y and z follow from
// where r sends the bone; written without differences, so that it stays exact close to half a turn.
Vec4 to_twist_and_swing(Quat r)
{
    const float x = x_of(r);
    const float y = y_of(r);
    const float z = z_of(r);
    const float w = w_of(r);
    const float k = sqrt_scalar(x * x + w * w);
    if (k <= kHalfTurn) return xyz(swing_angles(vec4(0.0f, y, z)));  // onto its opposite: any twist would do, so none
    const float twist = abs_of(w) <= kHalfTurn * k ? kPi : turn_angle(x, w);
    const Vec4 angles = swing_angles(normalize_quat(vec4(0.0f, (w * y - x * z) / k, (w * z + x * y) / k, k)));
    return vec4(twist, y_of(angles), z_of(angles));
}

Vec4 to_three_turns(const TurnOrder& order, bool first_takes_all, Quat r)
{
    float q[4];
    store4(q, r);
    const float a = q[order.first];
    const float b = q[order.second];
    const float c = q[order.last];
    const float w = q[3];
    const float half_sine = w * b - order.parity * a * c;
    float angles[4] = {};
    if (abs_of(half_sine) >= kGimbalHalfSine)
    {
        angles[order.second] = half_sine < 0.0f ? -kHalfPi : kHalfPi;
        if (first_takes_all)
            angles[order.first] = turn_angle(a, w);
        else
            angles[order.last] = turn_angle(c, w);
        return load4(angles);
    }
    angles[order.second] = asin_approx(2.0f * half_sine);
    const Vec4 sines = vec4(w * a + order.parity * b * c, w * c + order.parity * a * b, 0.0f);
    const Vec4 cosines = vec4(0.5f - (a * a + b * b), 0.5f - (b * b + c * c), 0.0f);
    const Vec4 outer = atan2_4(sines, cosines);
    angles[order.first] = x_of(outer);
    angles[order.last] = y_of(outer);
    return load4(angles);
}

// All ones in the lanes whose bound is active; `first_bit` stands for x.
Vec4 active_lanes(uint32_t flags, uint32_t first_bit)
{
    const auto lane_mask = [flags](uint32_t bit) { return (flags & bit) != 0 ? ~0u : 0u; };
    return bits4(lane_mask(first_bit), lane_mask(first_bit * 2), lane_mask(first_bit * 4), 0u);
}

}  // namespace

JointFrame joint_frame_identity()
{
    JointFrame frame{};
    frame.pre = frame.post = quat_identity();
    quat_axes(frame.post, frame.axes[0], frame.axes[1], frame.axes[2]);
    frame.minimum = frame.maximum = zero4();
    return frame;
}

void set_pre_rotation(JointFrame& frame, Quat pre)
{
    frame.pre = pre;
    keep_flag(frame, kHasPreRotation, is_turned(pre));
}

void set_post_rotation(JointFrame& frame, Quat post)
{
    frame.post = post;
    quat_axes(normalize_quat(post), frame.axes[0], frame.axes[1], frame.axes[2]);
    keep_flag(frame, kHasPostRotation, is_turned(post));
}

Quat rotation_from_angles(const JointFrame& frame, Vec4 angles)
{
    const Vec4 half = xyz(angles) * 0.5f;
    const Vec4 s = sin4(half);
    const Vec4 c = cos4(half);
    Quat q = frame.order == kTwistAndSwing ? from_twist_and_swing(s, c) : from_three_turns(kTurnOrders[frame.order / 2], s, c);
    q = normalize_quat(q);
    if ((frame.flags & kHasPreRotation) != 0) q = quat_mul(normalize_quat(frame.pre), q);
    if ((frame.flags & kHasPostRotation) != 0) q = quat_mul(q, conjugate(normalize_quat(frame.post)));
    return q;
}

Vec4 angles_from_rotation(const JointFrame& frame, Quat q)
{
    Quat r = q;
    if ((frame.flags & kHasPreRotation) != 0) r = quat_mul(conjugate(frame.pre), r);
    if ((frame.flags & kHasPostRotation) != 0) r = quat_mul(r, normalize_quat(frame.post));
    r = normalize_quat(r);
    if (frame.order == kTwistAndSwing) return to_twist_and_swing(r);
    return to_three_turns(kTurnOrders[frame.order / 2], first_turn_takes_all(frame.order), r);
}

Vec4 clamp_angles(const JointFrame& frame, Vec4 angles)
{
    if (!has_active_bounds(frame)) return angles;
    const Vec4 raised = select4(active_lanes(frame.flags, kMinimumActive), max4(angles, frame.minimum), angles);
    return select4(active_lanes(frame.flags, kMaximumActive), min4(raised, frame.maximum), raised);
}

}  // namespace lbx
