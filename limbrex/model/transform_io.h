// Transforms in and out of callers' memory, which may lie at any byte address. Translations and scales are read as three numbers and written
// as four; nothing beyond them is touched.
#pragma once

#include <cstring>

#include "limbrex/math/tqs.h"

namespace lbx
{

// In id lists of bulk transfers: -1, like every id that names nothing, passes over a record.
inline constexpr int kEndOfIds = -2;

inline float read_float(const void* p, size_t index)
{
    float v;
    std::memcpy(&v, static_cast<const char*>(p) + index * sizeof(float), sizeof(v));
    return v;
}
inline Vec4 read_three(const void* p, float w) { return vec4(read_float(p, 0), read_float(p, 1), read_float(p, 2), w); }
inline Vec4 read_four(const void* p)
{
    Vec4 v;
    std::memcpy(&v, p, sizeof(v));
    return v;
}
inline void write_four(void* p, Vec4 v) { std::memcpy(p, &v, sizeof(v)); }

// A scale's -0 becomes +0.
inline Vec4 read_scale(const void* p) { return read_three(p, 1.0f) + zero4(); }

inline Tqs read_transform(const float* t, const float* q, const float* s) { return {read_three(t, 0.0f), read_four(q), read_scale(s)}; }
inline Tqs read_transform(const double* t, const double* q, const double* s)
{
    const float tf[3] = {static_cast<float>(t[0]), static_cast<float>(t[1]), static_cast<float>(t[2])};
    const float qf[4] = {static_cast<float>(q[0]), static_cast<float>(q[1]), static_cast<float>(q[2]), static_cast<float>(q[3])};
    const float sf[3] = {static_cast<float>(s[0]), static_cast<float>(s[1]), static_cast<float>(s[2])};
    return read_transform(tf, qf, sf);
}

inline void write_numbers(float* p, Vec4 v) { write_four(p, v); }
inline void write_numbers(double* p, Vec4 v)
{
    p[0] = static_cast<double>(x_of(v));
    p[1] = static_cast<double>(y_of(v));
    p[2] = static_cast<double>(z_of(v));
    p[3] = static_cast<double>(w_of(v));
}
// Outputs that are null are left out.
template <class Number>
inline void write_transform(const Tqs& transform, Number* t, Number* q, Number* s)
{
    if (t) write_numbers(t, transform.t);
    if (q) write_numbers(q, transform.q);
    if (s) write_numbers(s, transform.s);
}

// One record at the byte offsets of a description (of nodes or of effectors).
template <class Description>
inline Tqs read_record(const Description& d, const void* record)
{
    const auto* bytes = static_cast<const char*>(record);
    return {read_three(bytes + d.offsetT, 0.0f), read_four(bytes + d.offsetQ), read_scale(bytes + d.offsetS)};
}
template <class Description>
inline void write_record(const Tqs& transform, const Description& d, void* record)
{
    auto* bytes = static_cast<char*>(record);
    write_four(bytes + d.offsetT, transform.t);
    write_four(bytes + d.offsetQ, transform.q);
    write_four(bytes + d.offsetS, transform.s);
}

}  // namespace lbx
