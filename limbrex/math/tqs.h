// Transforms as translation, rotation and scale: p goes to T + R(S * p).
#pragma once

#include "limbrex/math/quaternion.h"

namespace lbx
{

struct Tqs
{
    Vec4 t;  // w = 0
    Quat q;
    Vec4 s;  // w = 1
};

inline Tqs tqs_identity() { return {zero4(), quat_identity(), splat(1.0f)}; }

// ---- the solver's own form: scales take no part and stay as they are ----------------------------------------------------------

// Local T and Q of a node from its global and its parent's global.
inline void local_from_global(Tqs& local, const Tqs& global, const Tqs& parent)
{
    const Quat inverse = conjugate(normalize_quat(parent.q));
    local.t = rotate(inverse, global.t - parent.t);
    local.q = quat_mul(inverse, global.q);
}
// Global T and Q of a node from its local and its parent's global.
inline void global_from_local(Tqs& global, const Tqs& local, const Tqs& parent)
{
    global.t = parent.t + rotate(parent.q, local.t);
    global.q = normalize_quat(quat_mul(parent.q, local.q));
}

// ---- the scale-aware form: offsets taken from a stance, and the host's locals -------------------------------------------------

// 1 / s per lane, 0 where s is 0, so that a scale of nothing yields nothing instead of NaN.
inline Vec4 safe_reciprocal(Vec4 s)
{
    const Vec4 nothing = equal4(s, zero4());
    return andnot4(nothing, splat(1.0f) / select4(nothing, splat(1.0f), s));
}
inline Tqs relative_to(const Tqs& parent, const Tqs& global)
{
    const Vec4 inverse_scale = safe_reciprocal(parent.s);
    const Quat inverse = conjugate(parent.q);
    return {xyz(rotate(inverse, global.t - parent.t) * inverse_scale), quat_mul(inverse, global.q),
            with_w(global.s * inverse_scale, splat(1.0f))};
}
inline Tqs composed(const Tqs& parent, const Tqs& local)
{
    return {parent.t + rotate(parent.q, parent.s * local.t), normalize_quat(quat_mul(parent.q, local.q)),
            with_w(local.s * parent.s, splat(1.0f))};
}

}  // namespace lbx
