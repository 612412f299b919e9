// Statistics of the field over ten million positions.

#include "lattice/permutations.h"
#include "noise_test_support.h"
#include "operations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

namespace {

using namespace Vestrel;

constexpr uint32_t kCount = 10000000;
constexpr uint32_t kChunk = 8192;

class FieldStatistics : public testing::TestWithParam<CBatchSampler> {
protected:
    /// Calls `visit(positions, samples, count)` with chunks of positions within two periods of the origin,
    /// all multiples of 2^-12, so that adding a period is exact.
    template <typename TVisit>
    void VisitChunks(const TVisit& visit) {
        std::mt19937 random(1300);
        const uint32_t floats = static_cast<uint32_t>(GetParam().m_Dimension);
        std::vector<float> positions(kChunk * floats + 4);
        std::vector<float> samples(kChunk);
        for (uint32_t done = 0; done < kCount; done += kChunk) {
            const uint32_t count = std::min(kChunk, kCount - done);
            for (float& coordinate : positions) {
                coordinate = static_cast<float>(random() >> 11) * 0x1p-12f - 256.0f;
            }
            Sample(samples, positions, count);
            visit(positions, samples, count);
        }
    }

    void Sample(std::vector<float>& samples, const std::vector<float>& positions, uint32_t count) const {
        GetParam().m_Sample(m_Noise, {samples.data(), count, 4}, positions.data(), count,
                            GetParam().PositionSize());
    }

    COpenNoise m_Noise = EvenNoise();
};

INSTANTIATE_TEST_SUITE_P(All, FieldStatistics, testing::ValuesIn(kBatchSamplers), CNameOfInstance());

TEST_P(FieldStatistics, MeanIsNearZeroAndValuesAreInRange) {
    double sum = 0.0;
    double squares = 0.0;
    float lowest = 0.0f;
    float highest = 0.0f;
    VisitChunks([&](const std::vector<float>&, const std::vector<float>& samples, uint32_t count) {
        for (uint32_t k = 0; k < count; ++k) {
            sum += static_cast<double>(samples[k]);
            squares += static_cast<double>(samples[k]) * static_cast<double>(samples[k]);
            lowest = std::min(lowest, samples[k]);
            highest = std::max(highest, samples[k]);
        }
    });
    // The mean of ten million values with a deviation below 0.6 deviates by less than 0.0002; the bound is
    // five times that.
    EXPECT_NEAR(sum / kCount, 0.0, 1e-3);
    EXPECT_GE(lowest, -1.000001f);
    EXPECT_LE(highest, 1.000001f);
    // The field does vary; a blend of 2, 4, 8, 16 values varies less and less.
    const double spread = std::sqrt(squares / kCount);
    const double thinnest[] = {0.40, 0.30, 0.22, 0.16};
    EXPECT_GT(spread, thinnest[GetParam().m_Dimension - 1]);
    EXPECT_LT(spread, 0.58);
    EXPECT_LT(lowest, -0.7f);
    EXPECT_GT(highest, 0.7f);
}

TEST_P(FieldStatistics, EveryAxisRepeatsAfter256Cells) {
    std::vector<float> moved;
    std::vector<float> samplesOfMoved(kChunk);
    uint32_t chunk = 0;
    VisitChunks([&](const std::vector<float>& positions, const std::vector<float>& samples, uint32_t count) {
        // One axis per chunk, alternately up and down.
        const size_t dimension = static_cast<size_t>(GetParam().m_Dimension);
        const float period = chunk / dimension % 2 == 0 ? 256.0f : -256.0f;
        moved = positions;
        for (size_t k = chunk % dimension; k < kChunk * dimension; k += dimension) {
            moved[k] += period;
        }
        Sample(samplesOfMoved, moved, count);
        ASSERT_EQ(std::memcmp(samplesOfMoved.data(), samples.data(), count * sizeof(float)), 0)
            << "axis " << chunk % dimension << " by " << period << ", chunk " << chunk;
        ++chunk;
    });
}

/// The strongest autocorrelation of 256 values, shifted cyclically by 1 to 128 places.
double StrongestCorrelation(const std::array<float, 256>& values) {
    const double mean = std::accumulate(values.begin(), values.end(), 0.0) / 256.0;
    std::array<double, 512> twice;
    for (size_t k = 0; k < twice.size(); ++k) {
        twice[k] = static_cast<double>(values[k % 256]) - mean;
    }
    const double* const first = twice.data();
    const double square = std::inner_product(first, first + 256, first, 0.0);
    double strongest = 0.0;
    for (size_t places = 1; places <= 128; ++places) {
        const double product = std::inner_product(first, first + 256, first + places, 0.0);
        strongest = std::max(strongest, std::fabs(product / square));
    }
    return strongest;
}

// The numbers of docs/guide/10-range.md. Lattice values along the last axis are the basis in 3D and 4D, and
// the permuted basis in 1D and 2D.
TEST(FieldsOf4096Seeds, MeansAndCorrelationsAreThoseOfTheGuide) {
    const auto& P = Internal::kFastNoisePermutations;
    uint32_t farMeans = 0;
    double squaresOfMeans = 0.0;
    std::vector<double> ofBasis;
    std::vector<double> ofPermuted;
    for (uint32_t seed = 0; seed < 4096; ++seed) {
        CStdRandomGenerator generator(seed);
        const COpenNoise noise(&generator);
        std::array<float, 256> basis;
        std::array<float, 256> permuted;
        for (size_t k = 0; k < 256; ++k) {
            basis[k] = noise.Basis()[k];
            permuted[k] = noise.Basis()[P[k]];
        }
        const double mean = std::accumulate(basis.begin(), basis.end(), 0.0) / 256.0;
        farMeans += std::fabs(mean) > 0.1 ? 1 : 0;
        squaresOfMeans += mean * mean;
        ofBasis.push_back(StrongestCorrelation(basis));
        ofPermuted.push_back(StrongestCorrelation(permuted));
    }
    EXPECT_EQ(farMeans, 26u);
    EXPECT_NEAR(std::sqrt(squaresOfMeans / 4096.0), 0.037, 0.0005);
    for (std::vector<double>* const correlations : {&ofBasis, &ofPermuted}) {
        std::sort(correlations->begin(), correlations->end());
        EXPECT_NEAR(correlations->at(4096 / 20), 0.14, 0.005) << "95 % exceed it";
        EXPECT_NEAR(correlations->at(4096 / 2), 0.17, 0.005) << "50 % exceed it";
    }
    EXPECT_NEAR(ofBasis.back(), 0.32, 0.005);
    EXPECT_NEAR(ofPermuted.back(), 0.31, 0.005);
}

} // namespace
