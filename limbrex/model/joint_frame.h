// A joint's own axes and bounds: how a rotation and three joint angles belong together.
//
//   q = pre * E(angles) * conj(post)        pre and post take part when their flag bit says they differ from identity
//
// E turns about the axes of the rotation order. Code 12 is a twist about x (the bone) and a swing that moves that axis; codes 0 to 11 are three
// turns in a fixed order (an odd code means the even one below it).
#pragma once

#include "limbrex/math/quaternion.h"

namespace lbx
{

inline constexpr uint32_t kMinimumActive = 2;   // bits 1, 2, 3: minimum x, y, z active
inline constexpr uint32_t kMaximumActive = 16;  // bits 4, 5, 6: maximum x, y, z active
inline constexpr uint32_t kAnyBoundActive = 0x7E;
inline constexpr uint32_t kHasPreRotation = 128;
inline constexpr uint32_t kHasPostRotation = 256;
inline constexpr int32_t kTwistAndSwing = 12;

struct JointFrame
{
    Quat pre;
    Quat post;
    Vec4 axes[3];  // the post-rotation's x, y, z axes; x is the bone direction
    Vec4 minimum;  // radians, x, y, z
    Vec4 maximum;
    int32_t order;  // 0 to 12
    uint32_t flags;
    uint32_t unused[2];
};

inline bool has_active_bounds(const JointFrame& frame) { return (frame.flags & kAnyBoundActive) != 0; }

// Identity frame, code 0, no bounds.
JointFrame joint_frame_identity();
// Set a rotation and keep its flag bit (bit 7, bit 8) and the axes of the post-rotation in step with it.
void set_pre_rotation(JointFrame& frame, Quat pre);
void set_post_rotation(JointFrame& frame, Quat post);

Quat rotation_from_angles(const JointFrame& frame, Vec4 angles);
Vec4 angles_from_rotation(const JointFrame& frame, Quat q);
// Each component raised to its active minimum, then lowered to its active maximum; unchanged when no bound is active.
Vec4 clamp_angles(const JointFrame& frame, Vec4 angles);

}  // namespace lbx
