#pragma once

#include <zr_support/simd_float4.h>
#include <zr_support/vector.h>

namespace Vestrel::SIMD_Neon {

/// The backend that the library was built with: "NEON", "SSE", "wasm" or "portable".
VESTREL_PUBLIC const char* BackendName() noexcept;

/// The lanes of `value` as the compiled library receives them. They differ from the caller's only if the
/// caller was compiled with another backend than the library; then no four-lane value may be passed between
/// them.
VESTREL_PUBLIC TVector<float, 4> _LanesAsReceived(Float4 value) noexcept;

/// *a * b + c, computed in the compiled library, for VerifyCallerArithmetic to check. Values are passed in
/// every way that samplers use: by pointer, by value and as the result.
VESTREL_PUBLIC Float4 _MultiplyAdd(const Float4* a, Float4 b, Float4 c) noexcept;

} // namespace Vestrel::SIMD_Neon
