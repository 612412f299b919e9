#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

using CPositions = std::vector<Vestrel::TVector<float, 3>>;

void SampleInChunks(const Vestrel::CFastNoise3& noise, const CPositions& positions,
                    std::vector<float>& samples, uint32_t chunk) {
    const uint32_t count = static_cast<uint32_t>(samples.size());
    std::vector<std::thread> threads;
    for (uint32_t first = 0; first < count; first += chunk) {
        threads.emplace_back([&, first] {
            const uint32_t size = std::min(chunk, count - first);
            noise.SampleQuintic3D({samples.data() + first, size, sizeof(float)},
                                  {positions.data() + first, size, sizeof(positions[0])});
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

int main() {
    constexpr uint32_t kCount = 100'000;
    Vestrel::CStdRandomGenerator generator(9);
    const Vestrel::CFastNoise3 noise(&generator);
    CPositions positions(kCount);
    generator.FillRandomFloats({&positions[0].x, 3 * kCount}, -100.0f, 100.0f);

    std::vector<float> whole(kCount), chunks(kCount);
    SampleInChunks(noise, positions, whole, kCount);
    SampleInChunks(noise, positions, chunks, 512 * 64);
    const bool isEqual = std::memcmp(whole.data(), chunks.data(), kCount * sizeof(float)) == 0;
    std::printf("%s\n", isEqual ? "the same bits" : "OTHER BITS");
    return isEqual ? 0 : 1;
}
