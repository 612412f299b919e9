#pragma once

#include "field/field_sampler.h"
#include "painting/painter.h"

#include <memory>
#include <vector>

namespace NoisePreview {

/// Paints what the options ask for of a field; a picture is for one state of the field. `noise` and `record`
/// are borrowed.
std::unique_ptr<CPainter> MakePainter(const Vestrel::CFastNoise3& noise, const COptions& options,
                                      CSamplingRecord& record);

/// A plane, or a slice through the field: its values or its relief.
class CFieldPainter final : public CPainter {
public:
    explicit CFieldPainter(CFieldSampler sampler);

    void Paint(uint64_t first, std::span<CPixel> pixels) override;

private:
    void _PaintValues(uint64_t first, std::span<CPixel> pixels);
    void _PaintGradients(uint64_t first, std::span<CPixel> pixels);

    CFieldSampler m_Sampler;
    std::vector<float> m_Values;
    std::vector<Vestrel::TVector<float, 4>> m_Gradients;
};

} // namespace NoisePreview
