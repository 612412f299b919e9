#pragma once

// For the library's own source files, whose results are promised to the bit: stops a build whose
// floating-point arithmetic would not keep the promise. To be included before anything else. It is not
// installed, and no public header includes it: programs that use the library may take what flags they like
// for code of their own.

#include <zr_support/simd/flushing_vectors.h>

#include <cfloat>

#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__ != 0) ||                \
    defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__) || defined(__NO_SIGNED_ZEROS__)
#error "Vestrel's own sources need IEEE arithmetic: build them without -ffast-math or any part of it."
#endif

// Clang shows sources no part of fast-math but -ffinite-math-only. They switch the parts off here instead,
// whatever the flags. (float_control would allow contraction, and targets without strict arithmetic, such as
// 32-bit ARM and WebAssembly, ignore it.)
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wignored-pragmas"
#pragma float_control(precise, on)
#pragma clang diagnostic pop
#pragma clang fp reassociate(off) contract(off)
#endif

// CMake sees vectors that flush denormals by CMAKE_CXX_FLAGS, but not by the flags of a folder.
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

// Lets the operations of zr_support/simd_float4.h do without what keeps them as they are under any flags.
#define VESTREL_STRICT_ARITHMETIC 1
