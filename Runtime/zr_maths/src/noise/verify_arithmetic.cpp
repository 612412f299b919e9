#include <zr_support_internal/strict_arithmetic.h>

#include <zr_maths/verify_arithmetic.h>

#include "verify_arithmetic_hash.h"
#include <zr_support_internal/canonical_bits.h>

#include <zr_maths/maths_noise_fast.h>
#include <zr_support/simd_streams.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <random>

namespace Vestrel {

namespace {

using SIMD_Neon::Float4;

/// The hash of all results. It changes only with the operations hashed here.
constexpr uint64_t kPromisedHash = 0x1688F7A5FD2435B9;

/// Long enough for every path, with a remainder after the blocks of wide kernels: four at a time and one at a
/// time.
constexpr uint32_t kPositionCount = 512 + 63;

/// The same for gradients.
constexpr uint32_t kRecordCount = 128 + 63;

constexpr uint32_t kFourLaneCount = 63;

constexpr uint32_t kStreamCount = 256;

/// Unusual coordinates: next to 0 and to whole numbers, at the limits of the integers and beyond, and with
/// denormal squares.
constexpr float kUnusualCoordinates[] = {0x1p-149f,
                                         -0x1p-149f,
                                         0x1.8p-127f,
                                         -0x1.8p-127f,
                                         0x1p-70f,
                                         -0x1p-70f,
                                         -1e-10f,
                                         -0.0f,
                                         -1.0f,
                                         0x1.fffffep-1f,
                                         8388607.5f,
                                         0x1.fffffep30f,
                                         0x1p31f,
                                         -0x1p31f,
                                         -3e9f,
                                         std::numeric_limits<float>::infinity(),
                                         std::numeric_limits<float>::quiet_NaN()};

/// The same numbers everywhere, without heap memory.
class CFixedGenerator final : public CAbstractRandomGenerator {
public:
    void FillRandomFloats(const TMemoryView<float>& view, float min, float max) override {
        for (uint32_t k = 0; k < view.m_Count; ++k) {
            view.m_Data[k] = min + (max - min) * (static_cast<float>(Next()) * 0x1p-31f);
        }
    }

    /// One coordinate in four is unusual.
    float NextCoordinate() {
        const uint32_t number = Next();
        return number % 4 == 0 ? kUnusualCoordinates[number / 4 % std::size(kUnusualCoordinates)]
                               : static_cast<float>(number) * 0x1p-21f - 512.0f;
    }

    /// Below 2^31.
    uint32_t Next() {
        return static_cast<uint32_t>(m_Random());
    }

private:
    std::minstd_rand m_Random;
};

/// Hashes the results of all operations for the same coordinates.
class CHashedOperations {
public:
    CHashedOperations() {
        for (float& coordinate : m_Coordinates) {
            coordinate = m_Generator.NextCoordinate();
        }
    }

    uint64_t Hash() {
        AddBatches();
        AddFourLanes();
        AddGradientBatches();
        AddStreams();
        AddRotations();
        return m_Hash;
    }

private:
    template <typename TPosition>
    using TBatchSampler = void (CFastNoise3::*)(const TStridedMemoryView<float>&,
                                                const TStridedMemoryView<const TPosition>&) const noexcept;
    using CRecord = TPair<TVector<float, 4>, TVector<int, 4>>;
    using CGradient = TVector<float, 4>;
    using CGradientBatch = void (CFastNoise3::*)(const TMemoryView<const CRecord>&,
                                                 const TMemoryView<CGradient>&) const noexcept;

    void Add(const float* values, size_t count) {
        for (size_t k = 0; k < count; ++k) {
            m_Hash = HashWith(m_Hash, values[k]);
        }
    }

    void Add(Float4 value) {
        alignas(16) float lanes[4];
        SIMD_Neon::StoreAligned(lanes, value);
        Add(lanes, 4);
    }

    /// Packed and aligned, then misaligned, so that positions go one at a time.
    template <typename TPosition>
    void AddBatch(TBatchSampler<TPosition> sample, uint32_t stride = sizeof(TPosition)) {
        for (const size_t shift : {size_t{0}, size_t{1}}) {
            alignas(16) float samples[kPositionCount + 1];
            const auto* const positions = reinterpret_cast<const TPosition*>(m_Coordinates + shift);
            (m_Noise.*sample)( // GCOVR_EXCL_BR_LINE: never virtual, which compilers test for
                {samples + shift, kPositionCount, sizeof(float)}, {positions, kPositionCount, stride});
            Add(samples + shift, kPositionCount);
        }
    }

    void AddBatches() {
        AddBatch(&CFastNoise3::SampleLinear1D);
        AddBatch(&CFastNoise3::SampleCubic1D);
        AddBatch(&CFastNoise3::SampleQuintic1D);
        AddBatch(&CFastNoise3::SampleLinear2D);
        AddBatch(&CFastNoise3::SampleCubic2D);
        AddBatch(&CFastNoise3::SampleQuintic2D);
        AddBatch(&CFastNoise3::SampleLinear3D);
        AddBatch(&CFastNoise3::SampleCubic3D);
        AddBatch(&CFastNoise3::SampleQuintic3D);
        AddBatch(&CFastNoise3::SampleQuintic3D, 4 * sizeof(float)); // with padding
        AddBatch(&CFastNoise3::SampleLinear4D);
        AddBatch(&CFastNoise3::SampleCubic4D);
        AddBatch(&CFastNoise3::SampleQuintic4D);
    }

    void AddFourLanes() {
        for (uint32_t k = 0; k < kFourLaneCount; ++k) {
            const float* const first = m_Coordinates + 4 * k;
            const Float4 positions[] = {SIMD_Neon::LoadAligned(first), SIMD_Neon::LoadAligned(first + 4),
                                        SIMD_Neon::LoadAligned(first + 8),
                                        SIMD_Neon::LoadAligned(first + 12)};
            Add(Float4(m_Noise.SampleLinear(positions[0]), m_Noise.SampleCubic(positions[0]),
                       m_Noise.SampleQuintic(positions[0]), 0.0f));
            Add(m_Noise.CoherentSampleLinear(positions));
            Add(m_Noise.CoherentSampleCubic(positions));
            Add(m_Noise.CoherentSampleQuintic(positions));
            Add(m_Noise.Sample1stOrderDerivativesLinear(positions[0]));
            Add(m_Noise.Sample1stOrderDerivativesCubic(positions[0]));
            Add(m_Noise.Sample1stOrderDerivativesQuintic(positions[0]));
        }
    }

    void AddGradientBatch(CGradientBatch sample, const TMemoryView<const CRecord>& records) {
        CGradient gradients[kRecordCount];
        (m_Noise.*sample)(records, {gradients, kRecordCount}); // GCOVR_EXCL_BR_LINE: never virtual
        Add(&gradients[0].x, 4 * kRecordCount);
    }

    /// Uses coordinates of any kind as fractions.
    void AddGradientBatches() {
        CRecord records[kRecordCount];
        for (uint32_t k = 0; k < kRecordCount; ++k) {
            const float* const fractions = m_Coordinates + 4 * k;
            const auto nextCell = [&] { return static_cast<int>(m_Generator.Next() / 8 % 256); };
            records[k] = {{fractions[0], fractions[1], fractions[2], 0.0f},
                          {nextCell(), nextCell(), nextCell(), 0}};
        }
        AddGradientBatch(&CFastNoise3::Sample1stOrderDerivativesLinear, {records, kRecordCount});
        AddGradientBatch(&CFastNoise3::Sample1stOrderDerivativesCubic, {records, kRecordCount});
        AddGradientBatch(&CFastNoise3::Sample1stOrderDerivativesQuintic, {records, kRecordCount});
    }

    void AddStreams() {
        alignas(16) float ratios[kStreamCount];
        alignas(16) float results[kStreamCount];
        m_Generator.FillRandomFloats({ratios, kStreamCount}, -1.0f, 1.0f);
        SIMD_Neon::FullPrecision::ArcSinStream_Aligned16(ratios, results, kStreamCount);
        Add(results, kStreamCount);
        SIMD_Neon::LowPrecision::SinStream_Aligned16(m_Coordinates, results, kStreamCount);
        Add(results, kStreamCount);
    }

    /// Rotates to a near and a far time and samples the field.
    void AddRotations() {
        for (const float time : {0.37f, -20000.5f}) {
            m_Noise.RotateBasis(time);
            AddBatch(&CFastNoise3::SampleLinear1D);
        }
    }

    /// For 4D positions, also shifted by one float; 3D positions need fewer.
    alignas(16) float m_Coordinates[4 * kPositionCount + 4];
    CFixedGenerator m_Generator;
    CRotatableFastNoise3 m_Noise{&m_Generator};
    uint64_t m_Hash = kEmptyHash;
};

} // namespace

uint64_t Internal::HashOfOperations() noexcept {
    return CHashedOperations().Hash();
}

bool VerifyArithmetic() noexcept {
    return Internal::HashOfOperations() == kPromisedHash;
}

} // namespace Vestrel
