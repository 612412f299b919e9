#include "painting/painter.h"

#include <utility>

namespace NoisePreview {

CPainterPointer MakePainter(const Vestrel::CFastNoise3& noise, const CPicture& picture,
                            CSamplingRecord& record) {
    if (picture.m_Compare != ECompare::kNothing) {
        return MakeComparePainter(noise, picture, record);
    }
    CPainterPointer painter = picture.m_IsLine || picture.m_Dimension == 1
                                  ? MakeCurvePainter(noise, picture, record)
                                  : MakeFieldPainter(noise, picture, record);
    return picture.m_IsTile ? MakeTilePainter(std::move(painter), picture) : std::move(painter);
}

} // namespace NoisePreview
