// Joint limits as a caller sets and reads them: in the node's own space, before the stance is composed in.

#include "limbrex/math/float_scope.h"
#include "limbrex/model/characterization.h"
#include "limbrex/model/transform_io.h"

namespace lbx
{
namespace
{

// Mask bit i stands for flag bit i + 1.
constexpr uint32_t kMinimumMask = 7;
constexpr uint32_t kMaximumMask = 56;

LimitRecord* find_limit(LBXCharacter* character, int node)
{
    const int slot = character ? slot_of(*character, node) : -1;
    const int index = slot >= 0 ? node_records(*character)[slot].limit : -1;
    return index >= 0 ? &limit_records(*character)[index] : nullptr;
}

Vec4 read_angles(const float* v) { return read_three(v, 0.0f); }
Vec4 read_angles(const double* v) { return vec4(static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])); }
Quat read_rotation(const float* q) { return read_four(q); }
Quat read_rotation(const double* q)
{
    return vec4(static_cast<float>(q[0]), static_cast<float>(q[1]), static_cast<float>(q[2]), static_cast<float>(q[3]));
}

void set_activity(JointFrame& joint, uint32_t mask, uint32_t which) { joint.flags = (joint.flags & ~(which << 1)) | ((mask & which) << 1); }

template <class Number>
void set_minimum(LBXCharacter* character, int node, const Number* minimum, uint32_t mask)
{
    LimitRecord* limit = find_limit(character, node);
    if (!limit || !minimum) return;
    const SolverFloatScope scope;
    limit->joint.minimum = read_angles(minimum);
    set_activity(limit->joint, mask, kMinimumMask);
}

template <class Number>
void set_maximum(LBXCharacter* character, int node, const Number* maximum, uint32_t mask)
{
    LimitRecord* limit = find_limit(character, node);
    if (!limit || !maximum) return;
    const SolverFloatScope scope;
    limit->joint.maximum = read_angles(maximum);
    set_activity(limit->joint, mask, kMaximumMask);
}

template <class Number>
void set_pre(LBXCharacter* character, int node, const Number* pre)
{
    LimitRecord* limit = find_limit(character, node);
    if (!limit || !pre) return;
    const SolverFloatScope scope;
    set_pre_rotation(limit->joint, read_rotation(pre));
}

template <class Number>
void set_post(LBXCharacter* character, int node, const Number* post)
{
    LimitRecord* limit = find_limit(character, node);
    if (!limit || !post) return;
    const SolverFloatScope scope;
    set_post_rotation(limit->joint, read_rotation(post));
}

template <class Number>
void set_limits(LBXCharacter* character, int node, const Number* minimum, const Number* maximum, const Number* pre, const Number* post,
                uint32_t mask)
{
    set_minimum(character, node, minimum, mask);
    set_maximum(character, node, maximum, mask);
    set_pre(character, node, pre);
    set_post(character, node, post);
}

template <class Number>
void get_limits(const LBXCharacter* character, int node, Number* minimum, Number* maximum, Number* pre, Number* post, uint32_t* mask,
                int* order)
{
    const int slot = character ? slot_of(*character, node) : -1;
    const LimitRecord* limit = slot >= 0 ? limit_of_slot(*character, slot) : nullptr;
    if (!limit) return;
    const SolverFloatScope scope;
    if (minimum) write_numbers(minimum, limit->joint.minimum);
    if (maximum) write_numbers(maximum, limit->joint.maximum);
    if (pre) write_numbers(pre, quat_mul(conjugate(stance_of_pre_rotation(*character, slot)), limit->joint.pre));
    if (post) write_numbers(post, quat_mul(conjugate(stance_of_post_rotation(*character, slot)), limit->joint.post));
    if (mask) *mask |= (limit->joint.flags & kAnyBoundActive) >> 1;
    if (order) *order = limit->joint.order;
}

}  // namespace
}  // namespace lbx

using namespace lbx;

void LBXSetNodeLimitsfv(LBXCharacter* character, int node, const float* min3, const float* max3, const float* pre4, const float* post4,
                        uint32_t mask)
{
    set_limits(character, node, min3, max3, pre4, post4, mask);
}
void LBXSetNodeLimitsdv(LBXCharacter* character, int node, const double* min3, const double* max3, const double* pre4, const double* post4,
                        uint32_t mask)
{
    set_limits(character, node, min3, max3, pre4, post4, mask);
}
void LBXSetNodeLimitsMinfv(LBXCharacter* character, int node, const float* min3, uint32_t mask)
{
    set_minimum(character, node, min3, mask);
}
void LBXSetNodeLimitsMindv(LBXCharacter* character, int node, const double* min3, uint32_t mask)
{
    set_minimum(character, node, min3, mask);
}
void LBXSetNodeLimitsMaxfv(LBXCharacter* character, int node, const float* max3, uint32_t mask)
{
    set_maximum(character, node, max3, mask);
}
void LBXSetNodeLimitsMaxdv(LBXCharacter* character, int node, const double* max3, uint32_t mask)
{
    set_maximum(character, node, max3, mask);
}
void LBXSetNodeLimitsPreRotationfv(LBXCharacter* character, int node, const float* q4) { set_pre(character, node, q4); }
void LBXSetNodeLimitsPreRotationdv(LBXCharacter* character, int node, const double* q4) { set_pre(character, node, q4); }
void LBXSetNodeLimitsPostRotationfv(LBXCharacter* character, int node, const float* q4) { set_post(character, node, q4); }
void LBXSetNodeLimitsPostRotationdv(LBXCharacter* character, int node, const double* q4) { set_post(character, node, q4); }

void LBXSetNodeRotationOrder(LBXCharacter* character, int node, int code)
{
    LimitRecord* limit = find_limit(character, node);
    if (limit && code >= 0 && code <= kTwistAndSwing) limit->joint.order = code;
}

void LBXSetNodeTranslationLimit(LBXCharacter* character, int node, float minFactor, float maxFactor, bool on)
{
    LimitRecord* limit = find_limit(character, node);
    if (!limit) return;
    limit->minimumFactor = minFactor;
    limit->maximumFactor = maxFactor;
    limit->translationOn = on ? 1 : 0;
}

void LBXGetNodeLimits(const LBXCharacter* character, int node, float* min3, float* max3, float* pre4, float* post4, uint32_t* mask,
                      int* order)
{
    get_limits(character, node, min3, max3, pre4, post4, mask, order);
}
void LBXGetNodeLimitsdv(const LBXCharacter* character, int node, double* min3, double* max3, double* pre4, double* post4, uint32_t* mask,
                        int* order)
{
    get_limits(character, node, min3, max3, pre4, post4, mask, order);
}
