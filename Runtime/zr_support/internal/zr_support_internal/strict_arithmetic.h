#pragma once

// Included first in the library's own sources: stops a build whose flags would change the promised bits.
// Public headers do not include it, so programs may use any flags for their own code.

#include <zr_support/simd/flushing_vectors.h>

#include <cfloat>

#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__ != 0) ||                \
    defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__) || defined(__NO_SIGNED_ZEROS__)
#error "Vestrel's own sources need IEEE arithmetic: build them without -ffast-math or any part of it."
#endif

// Clang defines a macro for -ffinite-math-only alone, so pragmas switch the other parts of fast-math off.
// (float_control alone would allow contraction, and targets without strict arithmetic, such as 32-bit ARM and
// WebAssembly, ignore it.)
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wignored-pragmas"
#pragma float_control(precise, on)
#pragma clang diagnostic pop
#pragma clang fp reassociate(off) contract(off)
#endif

// CMake detects vectors that flush denormals from CMAKE_CXX_FLAGS, but not from a folder's flags.
#if VESTREL_VECTORS_FLUSH && !defined(VESTREL_NOT_VECTORISED)
#error "Vestrel's own sources must not be vectorised for AltiVec or 32-bit NEON, which flush denormals: \
give -maltivec or -mfpu=neon in CMAKE_CXX_FLAGS, in a new build folder, so that CMake adds the flags for that."
#endif

static_assert(FLT_EVAL_METHOD == 0,
              "Vestrel's own sources need float operations that round to float: on 32-bit x86 build with "
              "-msse2 -mfpmath=sse.");

static_assert(0.1 != static_cast<double>(0.1f),
              "Vestrel's own sources need constants of double precision: build them without "
              "-fsingle-precision-constant.");

// With these flags, the operations of zr_support/simd_float4.h need not be pinned.
#define VESTREL_STRICT_ARITHMETIC 1
