// Samples a large batch with several threads, one chunk each, and shows that neither their number nor the
// chunk ends change a single bit. They only matter for speed: chunks of a multiple of 64 positions are whole
// blocks for the kernels of wide registers, which take any alignment. The four-lane path needs both pointers
// at multiples of 16, which chunks of a multiple of 4 positions (of 12 bytes, with samples of 4 bytes)
// preserve. The picture is a field in the colours of the threads that sampled it.

#include "../support/picture.h"
#include "../support/png_file.h"
#include "../support/sample_program.h"

#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using namespace Samples;

using CPositions = std::vector<Vestrel::TVector<float, 3>>;

/// Calls `work` with the number of a chunk, its first element and its size, each in its own thread. All
/// chunks but the last have the same size, a multiple of `step`.
template <typename TWork>
void RunInChunks(uint32_t count, uint32_t threadCount, uint32_t step, const TWork& work) {
    const uint32_t share = (count + threadCount - 1) / threadCount;
    const uint32_t chunk = (share + step - 1) / step * step;
    std::vector<std::thread> threads;
    for (uint32_t first = 0; first < count; first += chunk) {
        threads.emplace_back(work, first / chunk, first, std::min(chunk, count - first));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// Any number of threads may sample one object.
void SampleWithThreads(const Vestrel::CFastNoise3& noise, const CPositions& positions,
                       std::vector<float>& samples, uint32_t threadCount, uint32_t step) {
    RunInChunks(static_cast<uint32_t>(samples.size()), threadCount, step,
                [&](uint32_t, uint32_t first, uint32_t size) {
                    noise.SampleQuintic3D({samples.data() + first, size, sizeof(float)},
                                          {positions.data() + first, size, sizeof(positions[0])});
                });
}

void CheckBits(const Vestrel::CFastNoise3& noise, const CPositions& positions, uint32_t count) {
    std::vector<float> expected(count);
    SampleWithThreads(noise, positions, expected, 1, 1);
    const uint32_t processors = std::max(1u, std::thread::hardware_concurrency());
    bool areEqual = true;
    for (const uint32_t threadCount : {1u, 2u, 3u, 7 * processors}) {
        for (const uint32_t step : {64u, 1u}) {
            std::vector<float> samples(count);
            const auto start = std::chrono::steady_clock::now();
            SampleWithThreads(noise, positions, samples, threadCount, step);
            const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
            const bool isEqual = std::memcmp(samples.data(), expected.data(), count * sizeof(float)) == 0;
            std::printf("threads %3u, chunks of a multiple of %2u: %6.1f ms, %s\n", threadCount, step,
                        time.count(), isEqual ? "the same bits" : "OTHER BITS");
            areEqual = areEqual && isEqual;
        }
    }
    if (!areEqual) {
        throw std::runtime_error("threads have changed samples");
    }
}

/// Each thread's samples in its colour. Chunks do not end at row ends.
CPicture Stripes(const Vestrel::CFastNoise3& noise) {
    static constexpr CColour kColours[] = {
        {0.93f, 0.36f, 0.33f}, {0.96f, 0.62f, 0.27f}, {0.93f, 0.82f, 0.40f}, {0.47f, 0.75f, 0.42f},
        {0.25f, 0.70f, 0.72f}, {0.33f, 0.50f, 0.86f}, {0.66f, 0.42f, 0.80f}};
    CPicture picture(640, 320);
    const uint32_t count = picture.m_Width * picture.m_Height;
    CPositions positions(count);
    for (uint32_t k = 0; k < count; ++k) {
        const float u = static_cast<float>(k % picture.m_Width) / 48.0f;
        const float v = static_cast<float>(k / picture.m_Width) / 48.0f;
        // A plane tilted to hide the axes of the lattice.
        positions[k] = {0.8f * u - 0.36f * v, 0.8f * v, 0.6f * u + 0.48f * v};
    }
    std::vector<float> samples(count);
    RunInChunks(count, std::size(kColours), 64, [&](uint32_t chunk, uint32_t first, uint32_t size) {
        noise.SampleQuintic3D({samples.data() + first, size, sizeof(float)},
                              {positions.data() + first, size, sizeof(positions[0])});
        for (uint32_t k = first; k < first + size; ++k) {
            const float vein = 1.0f - std::fabs(samples[k]);
            picture.Set(k % picture.m_Width, k / picture.m_Width, kColours[chunk] * (0.10f + vein * vein));
        }
    });
    return picture;
}

std::vector<uint8_t> Draw() {
    constexpr uint32_t kCount = 1'000'003;
    Vestrel::CStdRandomGenerator generator(7);
    const Vestrel::CFastNoise3 noise(&generator);
    CPositions positions(kCount);
    generator.FillRandomFloats({&positions[0].x, 3 * kCount}, -100.0f, 100.0f);
    CheckBits(noise, positions, kCount);
    return PngOf(Stripes(noise));
}

} // namespace

int main(int argumentCount, char** arguments) {
    return RunSample(argumentCount, arguments, "threaded_batch", "threaded_batch.png", Draw);
}
