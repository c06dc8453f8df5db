// The floating-point environment of every operation that computes: all exceptions masked, round to nearest, flush to zero.
#pragma once

#include "limbrex/math/float4.h"

namespace lbx
{

inline constexpr uint32_t kSolverControlWord = 0x9F80;

// Rounding and flush-to-zero are part of the result. The caller's whole word returns, with its sticky flags, as it came.
struct SolverFloatScope
{
    uint32_t callerWord = read_control_word();
    SolverFloatScope() { write_control_word(kSolverControlWord); }
    ~SolverFloatScope() { write_control_word(callerWord); }
    SolverFloatScope(const SolverFloatScope&) = delete;
    SolverFloatScope& operator=(const SolverFloatScope&) = delete;
};

}  // namespace lbx
