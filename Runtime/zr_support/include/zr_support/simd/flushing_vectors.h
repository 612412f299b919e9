#pragma once

// Whether this is compiled for vector instructions that take denormals for 0 where the scalar ones keep them:
// those of NEON on 32-bit ARM always do, those of AltiVec on Linux, which starts programs so. (VSX has
// others.) Floats must not come there, and compilers bring them: -ffast-math is all that g++ asks for on ARM,
// clang++ needs no flag, and on PowerPC neither does.

#if (defined(__arm__) && defined(__ARM_NEON)) || (defined(__ALTIVEC__) && !defined(__VSX__))
#define VESTREL_VECTORS_FLUSH 1
#else
#define VESTREL_VECTORS_FLUSH 0
#endif
