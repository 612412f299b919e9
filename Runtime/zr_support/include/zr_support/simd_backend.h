#pragma once

#include <zr_support/simd_float4.h>
#include <zr_support/vector.h>

namespace Vestrel::SIMD_Neon {

/// The backend that the library was built with: "NEON", "SSE", "wasm" or "portable".
VESTREL_PUBLIC const char* BackendName() noexcept;

/// The lanes of `value` as the compiled library receives them. They differ from the caller's only if the
/// caller was compiled with another backend than the library, in which case no four-lane value may cross
/// between them.
VESTREL_PUBLIC TVector<float, 4> _LanesAsReceived(Float4 value) noexcept;

/// *a * b + c, worked out in the compiled library: for VerifyCallerArithmetic, which compares it with what it
/// has to be. Values go and come in all the ways in which samplers take and return them.
VESTREL_PUBLIC Float4 _MultiplyAdd(const Float4* a, Float4 b, Float4 c) noexcept;

} // namespace Vestrel::SIMD_Neon
