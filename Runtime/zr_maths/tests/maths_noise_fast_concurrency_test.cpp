#include "instruction_sets.h"
#include "noise_test_support.h"
#include "operations.h"

#include <zr_support/instruction_set.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using namespace Vestrel;

// ThreadSanitizer also checks that no sampler writes what another reads.
TEST(FastNoiseConcurrency, SamplersMayRunConcurrentlyOnOneObject) {
    CStdRandomGenerator generator(6);
    const COpenNoise noise(&generator);
    constexpr uint32_t kCount = 3001;
    const std::vector<float> positions = CCoordinates(7).Fill(4 * kCount);
    for (const CBatchSampler& sampler : kBatchSamplers) {
        std::vector<std::vector<float>> samples(4, std::vector<float>(kCount));
        std::vector<std::thread> threads;
        for (std::vector<float>& own : samples) {
            threads.emplace_back([&] {
                for (int repeat = 0; repeat < 20; ++repeat) {
                    sampler.m_Sample(noise, {own.data(), kCount, 4}, positions.data(), kCount,
                                     sampler.PositionSize());
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (const std::vector<float>& own : samples) {
            EXPECT_EQ(std::memcmp(own.data(), samples[0].data(), kCount * sizeof(float)), 0)
                << sampler.m_Name;
        }
    }
}

// A call finishes with the instruction set that it started with.
TEST(FastNoiseConcurrency, TheInstructionSetMayBeLimitedConcurrently) {
    const CSelectedInstructionSet restored(Internal::SelectedInstructionSet());
    const COpenNoise noise = EvenNoise();
    constexpr uint32_t kCount = 513;
    const std::vector<float> positions = CCoordinates(8).Fill(3 * kCount);
    const auto sample = [&](float* samples) {
        noise.SampleCubic3D({samples, kCount, 4},
                            {reinterpret_cast<const TVector<float, 3>*>(positions.data()), kCount, 12});
    };
    std::array<float, kCount> expected;
    sample(expected.data());
    std::atomic<bool> isDone = false;
    std::thread limiting([&] {
        for (uint32_t k = 0; !isDone; ++k) {
            LimitInstructionSet(static_cast<EInstructionSet>(k % 3));
        }
    });
    for (int repeat = 0; repeat < 1000; ++repeat) {
        std::array<float, kCount> samples;
        sample(samples.data());
        EXPECT_EQ(std::memcmp(samples.data(), expected.data(), sizeof(samples)), 0) << repeat;
    }
    isDone = true;
    limiting.join();
}

} // namespace
