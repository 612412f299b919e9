#pragma once

// For the library's own source files, whose results are promised to the bit: stops a build whose
// floating-point arithmetic would not keep the promise. To be included before anything else. It is not
// installed, and no public header includes it: programs that use the library may take what flags they like
// for code of their own.

#include <cfloat>

#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__ != 0) ||                \
    defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__) || defined(__NO_SIGNED_ZEROS__)
#error "Vestrel's own sources need IEEE arithmetic: build them without -ffast-math or any part of it."
#endif

static_assert(FLT_EVAL_METHOD == 0,
              "Vestrel's own sources need float operations that round to float: on 32-bit x86 build with "
              "-msse2 -mfpmath=sse.");

static_assert(0.1 != static_cast<double>(0.1f),
              "Vestrel's own sources need constants of double precision: build them without "
              "-fsingle-precision-constant.");

// Lets the operations of zr_support/simd_float4.h do without what keeps them as they are under any flags.
#define VESTREL_STRICT_ARITHMETIC 1
