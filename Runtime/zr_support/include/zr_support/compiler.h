#pragma once

// Public headers include this one first, so that an unsupported compiler stops here with one sentence instead
// of failing at an attribute that it does not know.

#if defined(__clang__)
#if __clang_major__ < 14
#error "Vestrel needs g++ 12 or newer, or clang++ 14 or newer."
#endif
#elif defined(__GNUC__)
#if __GNUC__ < 12
#error "Vestrel needs g++ 12 or newer, or clang++ 14 or newer."
#endif
#else
#error "Vestrel needs g++ 12 or newer, or clang++ 14 or newer."
#endif

#if __cplusplus < 201703L
#error "Vestrel's headers need C++17 or newer."
#endif
