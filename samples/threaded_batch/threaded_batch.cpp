// Samples a large batch with several threads, each a chunk of it, and shows that neither their number nor
// where the chunks end changes a single bit.

#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using CPositions = std::vector<Vestrel::TVector<float, 3>>;

/// Any number of samplers may run at once on one object.
void SampleWithThreads(const Vestrel::CFastNoise3& noise, const CPositions& positions,
                       std::vector<float>& samples, uint32_t threadCount) {
    const uint32_t count = static_cast<uint32_t>(samples.size());
    const uint32_t chunk = (count + threadCount - 1) / threadCount;
    std::vector<std::thread> threads;
    for (uint32_t first = 0; first < count; first += chunk) {
        threads.emplace_back([&, first, size = std::min(chunk, count - first)] {
            noise.SampleQuintic3D({samples.data() + first, size, sizeof(float)},
                                  {positions.data() + first, size, sizeof(positions[0])});
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace

int main() {
    constexpr uint32_t kCount = 2'000'003;
    Vestrel::CStdRandomGenerator generator(7);
    const Vestrel::CFastNoise3 noise(&generator);
    CPositions positions(kCount + 1); // a spare: each is read as 16 bytes
    generator.FillRandomFloats({&positions[0].x, 3 * kCount}, -100.0f, 100.0f);

    std::vector<float> expected(kCount);
    SampleWithThreads(noise, positions, expected, 1);
    const uint32_t processors = std::max(1u, std::thread::hardware_concurrency());
    bool areEqual = true;
    for (const uint32_t threadCount : {1u, 2u, 3u, 7 * processors}) {
        std::vector<float> samples(kCount);
        const auto start = std::chrono::steady_clock::now();
        SampleWithThreads(noise, positions, samples, threadCount);
        const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
        const bool isEqual = std::memcmp(samples.data(), expected.data(), kCount * sizeof(float)) == 0;
        std::printf("%3u threads: %6.1f ms, %s\n", threadCount, time.count(),
                    isEqual ? "the same bits" : "OTHER BITS");
        areEqual = areEqual && isEqual;
    }
    return areEqual ? 0 : 1;
}
