#include <zr_support_internal/strict_arithmetic.h>

#include <zr_maths/maths_noise_fast.h>

#include "gradient_batch.h"
#include "sample_batch.h"
#include "tables.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vestrel {

namespace {

using Internal::AllocateTable;
using Internal::ENoiseQuality;
using Internal::FreeTable;
using Internal::GradientAtPosition;
using Internal::GradientBatch;
using Internal::kPeriod;
using Internal::SampleAtPosition;
using Internal::SampleBatch;
using Internal::SampleCoherent;
using Internal::TBasisLookup;

constexpr size_t kDrawnBytes = kPeriod * sizeof(float);
constexpr size_t kBasisBytes = (2 * kPeriod + 1) * sizeof(float);

} // namespace

static_assert(sizeof(void*) != 8 || sizeof(CFastNoise3) == 16);

CFastNoise3::CFastNoise3(CAbstractRandomGenerator* generator) : m_Basis(AllocateTable(kBasisBytes)) {
    _ResetSampler(generator);
}

CFastNoise3::CFastNoise3(const CFastNoise3& other) : m_Basis(AllocateTable(kBasisBytes)) {
    std::memcpy(m_Basis, other.m_Basis, kBasisBytes);
}

CFastNoise3& CFastNoise3::operator=(const CFastNoise3& other) {
    // Both tables may be the same one.
    std::memmove(m_Basis, other.m_Basis, kBasisBytes);
    return *this;
}

CFastNoise3::~CFastNoise3() {
    FreeTable(m_Basis);
}

void CFastNoise3::ResetSampler(CAbstractRandomGenerator* generator) {
    _ResetSampler(generator);
}

void CFastNoise3::_ResetSampler(CAbstractRandomGenerator* generator) {
    if (generator != nullptr) {
        generator->FillRandomFloats(TMemoryView<float>(m_Basis, kPeriod), -1.0f, 1.0f);
    }
    _RefreshBasis();
}

void CFastNoise3::_RefreshBasis() {
    std::memcpy(m_Basis + kPeriod, m_Basis, kDrawnBytes);
    m_Basis[2 * kPeriod] = m_Basis[0];
}

void CFastNoise3::SampleLinear1D(const TStridedMemoryView<float>& output,
                                 const TStridedMemoryView<const float>& positions) const noexcept {
    SampleBatch<1, ENoiseQuality::kLinear>(m_Basis, output, positions);
}

void CFastNoise3::SampleCubic1D(const TStridedMemoryView<float>& output,
                                const TStridedMemoryView<const float>& positions) const noexcept {
    SampleBatch<1, ENoiseQuality::kCubic>(m_Basis, output, positions);
}

void CFastNoise3::SampleQuintic1D(const TStridedMemoryView<float>& output,
                                  const TStridedMemoryView<const float>& positions) const noexcept {
    SampleBatch<1, ENoiseQuality::kQuintic>(m_Basis, output, positions);
}

void CFastNoise3::SampleLinear2D(
    const TStridedMemoryView<float>& output,
    const TStridedMemoryView<const TVector<float, 2>>& positions) const noexcept {
    SampleBatch<2, ENoiseQuality::kLinear>(m_Basis, output, positions);
}

void CFastNoise3::SampleCubic2D(const TStridedMemoryView<float>& output,
                                const TStridedMemoryView<const TVector<float, 2>>& positions) const noexcept {
    SampleBatch<2, ENoiseQuality::kCubic>(m_Basis, output, positions);
}

void CFastNoise3::SampleQuintic2D(
    const TStridedMemoryView<float>& output,
    const TStridedMemoryView<const TVector<float, 2>>& positions) const noexcept {
    SampleBatch<2, ENoiseQuality::kQuintic>(m_Basis, output, positions);
}

void CFastNoise3::SampleLinear3D(
    const TStridedMemoryView<float>& output,
    const TStridedMemoryView<const TVector<float, 3>>& positions) const noexcept {
    SampleBatch<3, ENoiseQuality::kLinear>(m_Basis, output, positions);
}

void CFastNoise3::SampleCubic3D(const TStridedMemoryView<float>& output,
                                const TStridedMemoryView<const TVector<float, 3>>& positions) const noexcept {
    SampleBatch<3, ENoiseQuality::kCubic>(m_Basis, output, positions);
}

void CFastNoise3::SampleQuintic3D(
    const TStridedMemoryView<float>& output,
    const TStridedMemoryView<const TVector<float, 3>>& positions) const noexcept {
    SampleBatch<3, ENoiseQuality::kQuintic>(m_Basis, output, positions);
}

void CFastNoise3::SampleLinear4D(
    const TStridedMemoryView<float>& output,
    const TStridedMemoryView<const TVector<float, 4>>& positions) const noexcept {
    SampleBatch<4, ENoiseQuality::kLinear>(m_Basis, output, positions);
}

void CFastNoise3::SampleCubic4D(const TStridedMemoryView<float>& output,
                                const TStridedMemoryView<const TVector<float, 4>>& positions) const noexcept {
    SampleBatch<4, ENoiseQuality::kCubic>(m_Basis, output, positions);
}

void CFastNoise3::SampleQuintic4D(
    const TStridedMemoryView<float>& output,
    const TStridedMemoryView<const TVector<float, 4>>& positions) const noexcept {
    SampleBatch<4, ENoiseQuality::kQuintic>(m_Basis, output, positions);
}

float CFastNoise3::SampleLinear(SIMD_Neon::Float4 position) const noexcept {
    return SampleAtPosition<ENoiseQuality::kLinear>(m_Basis, position);
}

float CFastNoise3::SampleCubic(SIMD_Neon::Float4 position) const noexcept {
    return SampleAtPosition<ENoiseQuality::kCubic>(m_Basis, position);
}

float CFastNoise3::SampleQuintic(SIMD_Neon::Float4 position) const noexcept {
    return SampleAtPosition<ENoiseQuality::kQuintic>(m_Basis, position);
}

SIMD_Neon::Float4 CFastNoise3::CoherentSampleLinear(const SIMD_Neon::Float4* positions) const noexcept {
    return SampleCoherent<ENoiseQuality::kLinear>(TBasisLookup<3>{m_Basis}, positions);
}

SIMD_Neon::Float4 CFastNoise3::CoherentSampleCubic(const SIMD_Neon::Float4* positions) const noexcept {
    return SampleCoherent<ENoiseQuality::kCubic>(TBasisLookup<3>{m_Basis}, positions);
}

SIMD_Neon::Float4 CFastNoise3::CoherentSampleQuintic(const SIMD_Neon::Float4* positions) const noexcept {
    return SampleCoherent<ENoiseQuality::kQuintic>(TBasisLookup<3>{m_Basis}, positions);
}

SIMD_Neon::Float4 CFastNoise3::Sample1stOrderDerivativesLinear(SIMD_Neon::Float4 position) const noexcept {
    return GradientAtPosition<ENoiseQuality::kLinear>(m_Basis, position);
}

SIMD_Neon::Float4 CFastNoise3::Sample1stOrderDerivativesCubic(SIMD_Neon::Float4 position) const noexcept {
    return GradientAtPosition<ENoiseQuality::kCubic>(m_Basis, position);
}

SIMD_Neon::Float4 CFastNoise3::Sample1stOrderDerivativesQuintic(SIMD_Neon::Float4 position) const noexcept {
    return GradientAtPosition<ENoiseQuality::kQuintic>(m_Basis, position);
}

void CFastNoise3::Sample1stOrderDerivativesLinear(
    const TMemoryView<const TPair<TVector<float, 4>, TVector<int, 4>>>& cells,
    const TMemoryView<TVector<float, 4>>& output) const noexcept {
    GradientBatch<ENoiseQuality::kLinear>(m_Basis, cells, output);
}

void CFastNoise3::Sample1stOrderDerivativesCubic(
    const TMemoryView<const TPair<TVector<float, 4>, TVector<int, 4>>>& cells,
    const TMemoryView<TVector<float, 4>>& output) const noexcept {
    GradientBatch<ENoiseQuality::kCubic>(m_Basis, cells, output);
}

void CFastNoise3::Sample1stOrderDerivativesQuintic(
    const TMemoryView<const TPair<TVector<float, 4>, TVector<int, 4>>>& cells,
    const TMemoryView<TVector<float, 4>>& output) const noexcept {
    GradientBatch<ENoiseQuality::kQuintic>(m_Basis, cells, output);
}

} // namespace Vestrel
