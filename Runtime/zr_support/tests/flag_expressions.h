#pragma once

// Expressions of four-lane values that compilers change if flags allow it. They are compiled with several
// sets of flags and must give the same bits.

#include <zr_support/simd_float4.h>

#include <cstddef>

namespace Vestrel {

struct CFlagExpression {
    const char* m_Name;
    /// Of four values a, b, c and d.
    SIMD_Neon::Float4 (*m_Evaluate)(const SIMD_Neon::Float4* values);
};

struct CFlagExpressions {
    const CFlagExpression* m_Expressions;
    size_t m_Count;
};

CFlagExpressions StrictExpressions();
CFlagExpressions ContractedExpressions();
CFlagExpressions FastMathExpressions();
CFlagExpressions FastMathFmaExpressions();
CFlagExpressions FastMathAvx512Expressions();

} // namespace Vestrel
