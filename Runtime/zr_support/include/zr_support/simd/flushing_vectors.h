#pragma once

// 1 where vector instructions flush denormals that scalar instructions keep: NEON on 32-bit ARM, and AltiVec
// on Linux, which starts programs in that mode (VSX does not flush). Floats must stay out of these vectors,
// though compilers vectorise with them: g++ with -ffast-math on ARM, clang++ without any flag, and both
// without any flag on PowerPC.

#if (defined(__arm__) && defined(__ARM_NEON)) || (defined(__ALTIVEC__) && !defined(__VSX__))
#define VESTREL_VECTORS_FLUSH 1
#else
#define VESTREL_VECTORS_FLUSH 0
#endif
