#include "field/field_sampler.h"
#include "painting/colour_map.h"
#include "painting/painter.h"

#include <algorithm>
#include <cmath>

namespace NoisePreview {

namespace {

using namespace Vestrel;

/// Lambert's cosine of the angle between the surface normal (-a, -b, 1) and the light from (-1, -1, 1), the
/// upper left, as y points down.
float LightOf(const TVector<float, 4>& gradient) {
    constexpr float kRelief = 0.3f; // height of a value of 1, in cells; more leaves many slopes black
    const float a = kRelief * gradient.x;
    const float b = kRelief * gradient.y;
    return std::max(0.0f, (1.0f + a + b) / std::sqrt(3.0f * (1.0f + a * a + b * b)));
}

/// Level ground, which has a light of 1 / sqrt(3), keeps its colour.
CPixel Lit(const CPixel& colour, float light) {
    const float share = light * std::sqrt(3.0f);
    return {std::min(1.0f, colour.r * share), std::min(1.0f, colour.g * share),
            std::min(1.0f, colour.b * share)};
}

class CFieldPainter final : public CPainter {
public:
    CFieldPainter(const CFastNoise3& noise, const CPicture& picture, CSamplingRecord& record)
        : m_IsGradient(picture.IsGradient()),
          m_Colours(picture.m_Colours),
          m_Sampler(noise, picture, SamplesFor(picture, record), record) {}

    void PaintRow(uint64_t, std::span<CPixel> pixels) override {
        while (!pixels.empty()) {
            const CSamples samples = m_Sampler.Next(pixels.size());
            for (size_t k = 0; k < samples.m_Count; ++k) {
                pixels[k] = _PixelOf(samples, k);
            }
            pixels = pixels.subspan(samples.m_Count);
        }
    }

private:
    static ESamples SamplesFor(const CPicture& picture, const CSamplingRecord& record) {
        const bool hasValues = picture.m_Colours != EColours::kGrey || record.m_HasStatistics;
        return !picture.IsGradient() ? ESamples::kValues : hasValues ? ESamples::kBoth : ESamples::kGradients;
    }

    CPixel _PixelOf(const CSamples& samples, size_t k) const {
        if (!m_IsGradient) {
            return ColourOf(m_Colours, samples.m_Values[k]);
        }
        const float light = LightOf(samples.m_Gradients[k]);
        return m_Colours == EColours::kGrey ? Grey(light)
                                            : Lit(ColourOf(m_Colours, samples.m_Values[k]), light);
    }

    bool m_IsGradient;
    EColours m_Colours;
    CFieldSampler m_Sampler;
};

} // namespace

CPainterPointer MakeFieldPainter(const CFastNoise3& noise, const CPicture& picture, CSamplingRecord& record) {
    return std::make_unique<CFieldPainter>(noise, picture, record);
}

} // namespace NoisePreview
