#include "batch_samplers.h"
#include "noise_test_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace {

using namespace Vestrel;

// Under ThreadSanitizer this also shows that no sampler writes anything that another reads.
TEST(FastNoiseConcurrency, SamplersMayRunAtOnceOnOneObject) {
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

} // namespace
