#include "painting/label.h"

namespace NoisePreview {

namespace {

constexpr size_t kGlyphWidth = 5;
constexpr size_t kGlyphHeight = 7;
constexpr size_t kAdvance = kGlyphWidth + 1;
constexpr uint64_t kMargin = 3; // above and below the glyphs, at scale 1

struct CGlyph {
    char m_Character;
    const char* m_Rows[kGlyphHeight];
};

// clang-format off
constexpr CGlyph kGlyphs[] = {
    {'a', {"     ", "     ", " ### ", "    #", " ####", "#   #", " ####"}},
    {'b', {"#    ", "#    ", "#### ", "#   #", "#   #", "#   #", "#### "}},
    {'c', {"     ", "     ", " ####", "#    ", "#    ", "#    ", " ####"}},
    {'d', {"    #", "    #", " ####", "#   #", "#   #", "#   #", " ####"}},
    {'e', {"     ", "     ", " ### ", "#   #", "#####", "#    ", " ####"}},
    {'i', {"  #  ", "     ", " ##  ", "  #  ", "  #  ", "  #  ", " ### "}},
    {'l', {" ##  ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "}},
    {'n', {"     ", "     ", "#### ", "#   #", "#   #", "#   #", "#   #"}},
    {'o', {"     ", "     ", " ### ", "#   #", "#   #", "#   #", " ### "}},
    {'q', {"     ", " ####", "#   #", "#   #", " ####", "    #", "    #"}},
    {'r', {"     ", "     ", "# ###", "##   ", "#    ", "#    ", "#    "}},
    {'t', {"  #  ", "  #  ", "#####", "  #  ", "  #  ", "  #  ", "   ##"}},
    {'u', {"     ", "     ", "#   #", "#   #", "#   #", "#   #", " ####"}},
    {'v', {"     ", "     ", "#   #", "#   #", "#   #", " # # ", "  #  "}},
    {'x', {"     ", "     ", "#   #", " # # ", "  #  ", " # # ", "#   #"}},
    {'D', {"#### ", "#   #", "#   #", "#   #", "#   #", "#   #", "#### "}},
    {'1', {"  #  ", " ##  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "}},
    {'2', {" ### ", "#   #", "    #", "   # ", "  #  ", " #   ", "#####"}},
    {'3', {" ### ", "#   #", "    #", "  ## ", "    #", "#   #", " ### "}},
    {'4', {"   # ", "  ## ", " # # ", "#  # ", "#####", "   # ", "   # "}},
    {',', {"     ", "     ", "     ", "     ", "     ", "  #  ", " #   "}},
    {'.', {"     ", "     ", "     ", "     ", "     ", "     ", "  #  "}},
    {'-', {"     ", "     ", "     ", "#####", "     ", "     ", "     "}},
    {'/', {"    #", "    #", "   # ", "  #  ", " #   ", "#    ", "#    "}},
};
// clang-format on

bool IsInk(char character, size_t row, size_t column) {
    for (const CGlyph& glyph : kGlyphs) {
        if (glyph.m_Character == character) {
            return glyph.m_Rows[row][column] == '#';
        }
    }
    return false;
}

} // namespace

CLabel::CLabel(std::string_view text, uint64_t width, uint64_t height) {
    for (const std::string_view candidate : {text, text.substr(0, text.find(','))}) {
        for (m_Scale = 2; m_Scale > 0; --m_Scale) {
            m_Text = candidate;
            if (m_Text.size() * kAdvance * m_Scale <= width && Height() <= height) {
                return;
            }
        }
    }
}

uint64_t CLabel::Height() const {
    return m_Text.empty() ? 0 : (kGlyphHeight + 2 * kMargin) * m_Scale;
}

void CLabel::PaintRow(uint64_t row, const CPixel& colour, std::span<CPixel> pixels) const {
    const uint64_t top = kMargin * m_Scale;
    if (row < top || row >= top + kGlyphHeight * m_Scale) {
        return;
    }
    for (size_t x = 0; x < m_Text.size() * kAdvance * m_Scale; ++x) {
        const size_t column = x / m_Scale % kAdvance;
        if (column < kGlyphWidth && IsInk(m_Text[x / m_Scale / kAdvance], (row - top) / m_Scale, column)) {
            pixels[x] = colour;
        }
    }
}

} // namespace NoisePreview
