#include "files/terminal_picture.h"

#include "painting/compare_painter.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <stdexcept>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace NoisePreview {

namespace {

std::string_view Environment(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool HasUtf8() {
    return std::setlocale(LC_CTYPE, "") != nullptr && std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

/// The lines that the picture may have, two rows each, leave room for the report and the prompt.
CPictureSize TerminalSize() {
    constexpr unsigned kTextLines = 2;
    winsize size = {};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0;
    const unsigned columns = isKnown ? size.ws_col : 80u;
    const unsigned lines = isKnown ? size.ws_row : 24u;
    return {columns, 2 * (std::max(lines, kTextLines + 1) - kTextLines)};
}

/// A colour's number among the 256 that terminals have: 24 greys, or a cube of 6 levels a side.
int NumberOf(const CPixel& pixel) {
    if (pixel.r == pixel.g && pixel.g == pixel.b) {
        return 232 + Rounded(pixel.r, 23);
    }
    return 16 + 36 * Rounded(pixel.r, 5) + 6 * Rounded(pixel.g, 5) + Rounded(pixel.b, 5);
}

} // namespace

ETerminalColours TerminalColours() {
    const std::string_view colours = Environment("COLORTERM");
    const std::string_view terminal = Environment("TERM");
    const bool hasColours = terminal != "dumb" && Environment("NO_COLOR").empty();
    if (isatty(STDOUT_FILENO) == 0 || !hasColours || !HasUtf8()) {
        return ETerminalColours::kNone;
    }
    if (colours == "truecolor" || colours == "24bit") {
        return ETerminalColours::kAll;
    }
    const bool has256 = terminal.find("256color") != std::string_view::npos;
    return has256 ? ETerminalColours::k256 : ETerminalColours::kNone;
}

void ShrinkToTerminal(COptions& options) {
    const CPictureSize most = TerminalSize();
    const CPictureSize all = SizeOfPicture(options);
    COptions smallest = options;
    smallest.m_Width = 0;
    smallest.m_Height = 0;
    const CPictureSize fixed = SizeOfPicture(smallest); // gaps and labels
    if (most.m_Width <= fixed.m_Width || most.m_Height <= fixed.m_Height) {
        throw std::runtime_error(
            "the terminal is too small for pictures side by side; --output makes a file");
    }
    const auto scale = [](uint64_t room, uint64_t taken, uint64_t whole) {
        return static_cast<double>(room - taken) / static_cast<double>(whole - taken);
    };
    const double least = std::min({1.0, scale(most.m_Width, fixed.m_Width, all.m_Width),
                                   scale(most.m_Height, fixed.m_Height, all.m_Height)});
    options.m_Width = std::max(1u, static_cast<uint32_t>(options.m_Width * least));
    options.m_Height = std::max(1u, static_cast<uint32_t>(options.m_Height * least));
}

CTerminalPicture::CTerminalPicture(ETerminalColours colours) : m_Colours(colours) {}

void CTerminalPicture::AddRow(std::span<const CPixel> pixels) {
    if (m_Upper.empty()) {
        m_Upper.assign(pixels.begin(), pixels.end());
        return;
    }
    _AddLine(pixels);
    m_Upper.clear();
}

void CTerminalPicture::Finish() {
    if (!m_Upper.empty()) {
        _AddLine(std::vector<CPixel>(m_Upper.size()));
    }
    if (std::fputs(m_Text.c_str(), stdout) < 0) {
        throw std::runtime_error("the picture cannot be written to standard output");
    }
}

void CTerminalPicture::_AddLine(std::span<const CPixel> lower) {
    for (size_t x = 0; x < lower.size(); ++x) {
        m_Text +=
            _ColourCode(m_Upper[x], "38") + _ColourCode(lower[x], "48") + "\u2580"; // the upper half block
    }
    m_Text += "\x1B[0m\n";
}

std::string CTerminalPicture::_ColourCode(const CPixel& pixel, const char* ground) const {
    const std::string begin = std::string("\x1B[") + ground;
    if (m_Colours == ETerminalColours::k256) {
        return begin + ";5;" + std::to_string(NumberOf(pixel)) + "m";
    }
    return begin + ";2;" + std::to_string(Rounded(pixel.r, 255)) + ";" +
           std::to_string(Rounded(pixel.g, 255)) + ";" + std::to_string(Rounded(pixel.b, 255)) + "m";
}

} // namespace NoisePreview
