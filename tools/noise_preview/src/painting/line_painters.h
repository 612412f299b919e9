#pragma once

#include "field/field_sampler.h"
#include "painting/curve_plot.h"
#include "painting/painter.h"

#include <optional>

namespace NoisePreview {

/// The curve of a 1D field.
class CCurvePainter final : public CPainter {
public:
    explicit CCurvePainter(CFieldSampler sampler);

    void Paint(uint64_t first, std::span<CPixel> pixels) override;

private:
    CFieldSampler m_Sampler;
    std::optional<CCurvePlot> m_Plot; // from the first row on
};

/// The values along a line through a 3D field above, the derivative along it below.
class CLinePainter final : public CPainter {
public:
    explicit CLinePainter(CFieldSampler sampler);

    void Paint(uint64_t first, std::span<CPixel> pixels) override;

private:
    void _Sample();
    void _PaintRow(uint64_t row, std::span<CPixel> pixels) const;

    CFieldSampler m_Sampler;
    uint64_t m_UpperRowCount;
    std::optional<CCurvePlot> m_Values; // from the first row on
    std::optional<CCurvePlot> m_Derivatives;
};

} // namespace NoisePreview
