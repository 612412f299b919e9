#pragma once

// What the tests of the streams share.

#include <zr_support_internal/canonical_bits.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace Vestrel {

using CStream = void (*)(const float* in, float* out, uint32_t count) noexcept;

constexpr uint32_t kBlock = 4096;

/// A block of floats with neighbouring bit patterns, and a stream's results.
struct CStreamBlock {
    alignas(16) std::array<float, kBlock> m_In;
    alignas(16) std::array<float, kBlock> m_Out;

    /// Runs the stream on the floats with the bits `first`, `first` + `step` and so on.
    void Run(CStream stream, uint32_t first, uint32_t step) {
        for (uint32_t k = 0; k < kBlock; ++k) {
            m_In[k] = std::bit_cast<float>(first + k * step);
        }
        stream(m_In.data(), m_Out.data(), kBlock);
    }
};

/// Calls `visit(block)` with every 1021st float of all bit patterns, some four million.
template <typename TVisit>
void VisitFloats(CStream stream, const TVisit& visit) {
    constexpr uint32_t kStep = 1021;
    static CStreamBlock block;
    for (uint64_t first = 0; first < uint64_t{1} << 32; first += uint64_t{kStep} * kBlock) {
        block.Run(stream, static_cast<uint32_t>(first), kStep);
        visit(block);
    }
}

/// Expects the stream to write exactly `count` results, those of `one`, for all multiples of four that fit
/// into `in`.
inline void ExpectMultiplesOfFour(CStream stream, float (*one)(float) noexcept, const float (&in)[32]) {
    for (uint32_t count = 0; count <= 32; count += 4) {
        alignas(16) float aligned[32];
        alignas(16) float out[40];
        std::copy(std::begin(in), std::end(in), std::begin(aligned));
        std::fill(std::begin(out), std::end(out), -7.0f);
        stream(aligned, out + 4, count);
        for (uint32_t k = 0; k < 40; ++k) {
            const bool isWritten = 4 <= k && k < count + 4;
            EXPECT_EQ(out[k], isWritten ? one(in[k - 4]) : -7.0f) << "place " << k << " of " << count;
        }
    }
}

/// A hash of a stream's results for the floats of VisitFloats.
inline uint64_t HashOfStream(CStream stream) {
    uint64_t hash = kEmptyHash;
    VisitFloats(stream, [&](const CStreamBlock& block) {
        for (const float value : block.m_Out) {
            hash = HashWith(hash, value);
        }
    });
    return hash;
}

} // namespace Vestrel
