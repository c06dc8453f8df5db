// The unit of every bench: one forward-kinematics pass over a rig, local transforms to global ones. It is what any engine pays to pose the rig
// at all, so ratios to it travel between machines. Tight on purpose: flat arrays, parents first, one loop, four lanes a vector, no scales.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace limbrex_bench
{

struct alignas(16) Transform
{
    float t[4];
    float q[4];
};

struct Skeleton
{
    std::vector<int32_t> parents;  // an earlier joint; joint 0 is the root
    std::vector<Transform> locals, globals;
};

template <int X, int Y, int Z, int W>
inline __m128 lanes(__m128 v)
{
    return _mm_shuffle_ps(v, v, _MM_SHUFFLE(W, Z, Y, X));
}

// a * b: rotates by b, then by a. Only w's two middle terms differ in sign from the other rows.
inline __m128 multiply(__m128 a, __m128 b)
{
    const __m128 flip_w = _mm_set_ps(-0.0f, 0.0f, 0.0f, 0.0f);
    const __m128 awwww_b = _mm_mul_ps(lanes<3, 3, 3, 3>(a), b);
    const __m128 axyzx_b = _mm_mul_ps(lanes<0, 1, 2, 0>(a), lanes<3, 3, 3, 0>(b));
    const __m128 ayzxy_b = _mm_mul_ps(lanes<1, 2, 0, 1>(a), lanes<2, 0, 1, 1>(b));
    const __m128 azxyz_b = _mm_mul_ps(lanes<2, 0, 1, 2>(a), lanes<1, 2, 0, 2>(b));
    return _mm_sub_ps(_mm_add_ps(awwww_b, _mm_xor_ps(_mm_add_ps(axyzx_b, ayzxy_b), flip_w)), azxyz_b);
}

// u x v with w = 0 when both w's are finite and the same lanes cancel.
inline __m128 cross(__m128 a, __m128 b)
{
    return lanes<1, 2, 0, 3>(_mm_sub_ps(_mm_mul_ps(a, lanes<1, 2, 0, 3>(b)), _mm_mul_ps(lanes<1, 2, 0, 3>(a), b)));
}

// v + 2 w (u x v) + 2 u x (u x v)
inline __m128 rotate(__m128 q, __m128 v)
{
    const __m128 once = cross(q, v);
    const __m128 twice = _mm_add_ps(once, once);
    return _mm_add_ps(_mm_add_ps(v, _mm_mul_ps(lanes<3, 3, 3, 3>(q), twice)), cross(q, twice));
}

inline void forward_kinematics(Skeleton& skeleton)
{
    const size_t count = skeleton.parents.size();
    const int32_t* parents = skeleton.parents.data();
    const Transform* locals = skeleton.locals.data();
    Transform* globals = skeleton.globals.data();
    globals[0] = locals[0];
    for (size_t i = 1; i < count; ++i)
    {
        const Transform& parent = globals[parents[i]];
        const __m128 q = _mm_load_ps(parent.q);
        _mm_store_ps(globals[i].q, multiply(q, _mm_load_ps(locals[i].q)));
        _mm_store_ps(globals[i].t, _mm_add_ps(_mm_load_ps(parent.t), rotate(q, _mm_load_ps(locals[i].t))));
    }
}

}  // namespace limbrex_bench
