#pragma once

// Whether this is compiled for vector instructions that take denormals for 0 where the scalar ones keep them.
// NEON on 32-bit ARM always does; AltiVec does on Linux, which starts programs in that mode. (VSX does not.)
// Floats must not get there, and compilers put them there: g++ with -ffast-math on ARM, clang++ without any
// flag, and both without any on PowerPC.

#if (defined(__arm__) && defined(__ARM_NEON)) || (defined(__ALTIVEC__) && !defined(__VSX__))
#define VESTREL_VECTORS_FLUSH 1
#else
#define VESTREL_VECTORS_FLUSH 0
#endif
