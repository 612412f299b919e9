#include "painting/label.h"

namespace NoisePreview {

namespace {

constexpr size_t kGlyphWidth = 5;
constexpr size_t kGlyphHeight = 7;
constexpr size_t kScale = kLabelHeight / kGlyphHeight;
constexpr size_t kAdvance = kGlyphWidth + 1;

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

void PaintLabelRow(std::string_view label, uint64_t row, const CPixel& colour, std::span<CPixel> pixels) {
    const size_t width = std::min(pixels.size(), label.size() * kAdvance * kScale);
    for (size_t x = 0; row < kLabelHeight && x < width; ++x) {
        const size_t column = x / kScale % kAdvance;
        if (column < kGlyphWidth && IsInk(label[x / kScale / kAdvance], row / kScale, column)) {
            pixels[x] = colour;
        }
    }
}

} // namespace NoisePreview
