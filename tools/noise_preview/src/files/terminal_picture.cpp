#include "files/picture_file.h"

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace NoisePreview {

namespace {

/// Index into xterm's 256 colours: 24 greys from 232 on, a 6 x 6 x 6 cube from 16 on.
int NumberOf(const CPixel& pixel) {
    if (pixel.r == pixel.g && pixel.g == pixel.b) {
        return 232 + Rounded(pixel.r, 23);
    }
    return 16 + 36 * Rounded(pixel.r, 5) + 6 * Rounded(pixel.g, 5) + Rounded(pixel.b, 5);
}

class CTerminalPicture final : public CPictureFile {
public:
    explicit CTerminalPicture(ETerminalColours colours) : m_Colours(colours) {}

    void AddRow(std::span<const CPixel> pixels) override {
        if (m_Upper.empty()) {
            m_Upper.assign(pixels.begin(), pixels.end());
            return;
        }
        _AddLine(pixels);
        m_Upper.clear();
    }

    void Finish() override {
        if (!m_Upper.empty()) {
            _AddLine(std::vector<CPixel>(m_Upper.size()));
        }
        if (std::fputs(m_Text.c_str(), stdout) < 0) {
            throw std::runtime_error("the picture cannot be written to standard output");
        }
    }

private:
    void _AddLine(std::span<const CPixel> lower) {
        for (size_t x = 0; x < lower.size(); ++x) {
            // Upper half block: foreground above, background below.
            m_Text += _ColourCode(m_Upper[x], "38") + _ColourCode(lower[x], "48") + "\u2580";
        }
        m_Text += "\x1B[0m\n";
    }

    std::string _ColourCode(const CPixel& pixel, const char* ground) const {
        const std::string begin = std::string("\x1B[") + ground;
        if (m_Colours == ETerminalColours::k256) {
            return begin + ";5;" + std::to_string(NumberOf(pixel)) + "m";
        }
        return begin + ";2;" + std::to_string(Rounded(pixel.r, 255)) + ";" +
               std::to_string(Rounded(pixel.g, 255)) + ";" + std::to_string(Rounded(pixel.b, 255)) + "m";
    }

    ETerminalColours m_Colours;
    std::vector<CPixel> m_Upper; // the upper row of an unfinished line, or empty
    std::string m_Text;
};

} // namespace

std::unique_ptr<CPictureFile> OpenTerminal(ETerminalColours colours) {
    return std::make_unique<CTerminalPicture>(colours);
}

} // namespace NoisePreview
