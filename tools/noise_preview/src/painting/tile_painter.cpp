#include "painting/painter.h"

#include <algorithm>
#include <utility>

namespace NoisePreview {

namespace {

constexpr CPixel kMark = {0.86f, 0.08f, 0.08f};

class CTilePainter final : public CPainter {
public:
    CTilePainter(CPainterPointer painter, const CPicture& picture)
        : m_Painter(std::move(painter)),
          m_IsPlane(picture.m_Dimension > 1),
          m_Height(picture.m_Height),
          m_Length(std::min(picture.m_Width, picture.m_Height) / 16) {}

    void PaintRow(uint64_t row, std::span<CPixel> pixels) override {
        m_Painter->PaintRow(row, pixels);
        const uint64_t width = pixels.size();
        for (uint64_t column = 0; column < width; ++column) {
            if ((_IsMiddle(column, width) && _IsEdge(row, m_Height)) ||
                (m_IsPlane && _IsMiddle(row, m_Height) && _IsEdge(column, width))) {
                pixels[column] = kMark;
            }
        }
    }

private:
    /// The two pixels on either side of the seam.
    static bool _IsMiddle(uint64_t place, uint64_t size) {
        return place + 1 == size / 2 || place == size / 2;
    }
    bool _IsEdge(uint64_t place, uint64_t size) const {
        return place < m_Length || place + m_Length >= size;
    }

    CPainterPointer m_Painter;
    bool m_IsPlane; // a curve has no seam along y
    uint64_t m_Height;
    uint64_t m_Length; // of a mark, in pixels
};

} // namespace

CPainterPointer MakeTilePainter(CPainterPointer painter, const CPicture& picture) {
    return std::make_unique<CTilePainter>(std::move(painter), picture);
}

} // namespace NoisePreview
