#pragma once

#include "field/sampling_record.h"
#include "job/picture.h"
#include "job/pixel.h"

#include <zr_maths/maths_noise_fast.h>

#include <cstdint>
#include <memory>
#include <span>

namespace NoisePreview {

/// Paints one picture row by row, so that it never is in memory as a whole.
class CPainter {
public:
    virtual ~CPainter() = default;

    /// Paints row number `row`. Rows must be asked for in order, from 0 on. May throw std::bad_alloc.
    virtual void PaintRow(uint64_t row, std::span<CPixel> pixels) = 0;
};

using CPainterPointer = std::unique_ptr<CPainter>;

/// A painter of any picture. `noise` and `record` must outlive it.
CPainterPointer MakePainter(const Vestrel::CFastNoise3& noise, const CPicture& picture,
                            CSamplingRecord& record);

// The painters that MakePainter chooses from:

/// The panels of --compare side by side, each with its label above.
CPainterPointer MakeComparePainter(const Vestrel::CFastNoise3& noise, const CPicture& picture,
                                   CSamplingRecord& record);

/// The curve of a 1D field; or, for --curve, values above and the derivative below.
CPainterPointer MakeCurvePainter(const Vestrel::CFastNoise3& noise, const CPicture& picture,
                                 CSamplingRecord& record);

/// Values or lit gradients of a plane.
CPainterPointer MakeFieldPainter(const Vestrel::CFastNoise3& noise, const CPicture& picture,
                                 CSamplingRecord& record);

/// The picture of `painter`, with marks at its edges that point at the seams in the middle.
CPainterPointer MakeTilePainter(CPainterPointer painter, const CPicture& picture);

} // namespace NoisePreview
