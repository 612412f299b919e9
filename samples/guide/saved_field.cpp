#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <vector>

using namespace Vestrel;

/// 256 values and 256 speeds. (A CFastNoise3 has no speeds.)
using CSaved = std::array<float, 512>;

/// Draws one field from another generator, and records its floats.
class CRecordingGenerator final : public CAbstractRandomGenerator {
public:
    explicit CRecordingGenerator(CAbstractRandomGenerator& source) : m_Source(source) {}

    void FillRandomFloats(const TMemoryView<float>& view, float min, float max) override {
        m_Source.FillRandomFloats(view, min, max);
        std::copy_n(view.m_Data, view.m_Count, m_Saved.data() + m_Count);
        m_Count += view.m_Count;
    }

    CAbstractRandomGenerator& m_Source;
    CSaved m_Saved = {};
    uint32_t m_Count = 0;
};

/// Replays the floats of a file; out-of-range ones become `min`.
class CReplayingGenerator final : public CAbstractRandomGenerator {
public:
    explicit CReplayingGenerator(const CSaved& saved) : m_Saved(saved) {}

    void FillRandomFloats(const TMemoryView<float>& view, float min, float max) override {
        for (uint32_t k = 0; k < view.m_Count; ++k) {
            const float value = m_Saved[m_Count++];
            const bool fits = min <= value && value <= max;
            view.m_Data[k] = fits ? value : min;
            m_AllFit = m_AllFit && fits;
        }
    }

    const CSaved& m_Saved;
    uint32_t m_Count = 0;
    bool m_AllFit = true;
};

/// The program saves time and variation itself.
std::vector<float> SamplesAt(float time, float variation, CRotatableFastNoise3& noise) {
    noise.SetSpinVariation(variation);
    noise.RotateBasis(time);
    std::vector<float> positions(1000), samples(1000);
    for (uint32_t k = 0; k < 1000; ++k) {
        positions[k] = 0.37f * static_cast<float>(k);
    }
    noise.SampleQuintic1D({samples.data(), 1000, 4}, {positions.data(), 1000, 4});
    return samples;
}

int main() {
    CStdRandomGenerator generator(12);
    CRecordingGenerator recorder(generator);
    CRotatableFastNoise3 noise(&recorder);
    const std::vector<float> expected = SamplesAt(3.25f, 0.5f, noise);

    // In this machine's byte order.
    std::ofstream("field.bin", std::ios::binary)
        .write(reinterpret_cast<const char*>(&recorder.m_Saved), sizeof(CSaved));

    CSaved saved;
    std::ifstream file("field.bin", std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(&saved), sizeof(saved)) || file.get() != EOF) {
        std::fprintf(stderr, "field.bin is no field\n");
        return 1;
    }
    CReplayingGenerator replayer(saved);
    CRotatableFastNoise3 restored(&replayer);
    const std::vector<float> samples = SamplesAt(3.25f, 0.5f, restored);
    const bool isEqual = std::memcmp(samples.data(), expected.data(), 1000 * sizeof(float)) == 0;
    std::printf("1000 samples: %s\n", replayer.m_AllFit && isEqual ? "the same bits" : "OTHER BITS");
    return replayer.m_AllFit && isEqual ? 0 : 1;
}
