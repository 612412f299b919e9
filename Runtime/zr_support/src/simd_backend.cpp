#include <zr_support_internal/strict_arithmetic.h>

#include <zr_support/simd_backend.h>

namespace Vestrel::SIMD_Neon {

const char* BackendName() noexcept {
#if VESTREL_SIMD_BACKEND_NEON
    return "NEON";
#elif VESTREL_SIMD_BACKEND_SSE
    return "SSE";
#elif VESTREL_SIMD_BACKEND_WASM
    return "wasm";
#else
    return "portable";
#endif
}

TVector<float, 4> _LanesAsReceived(Float4 value) noexcept {
    alignas(16) TVector<float, 4> lanes;
    StoreAligned(&lanes, value);
    return lanes;
}

Float4 _MultiplyAdd(const Float4* a, Float4 b, Float4 c) noexcept {
    return *a * b + c;
}

} // namespace Vestrel::SIMD_Neon
