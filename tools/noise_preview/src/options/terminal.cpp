#include "options/terminal.h"

#include <algorithm>
#include <clocale>
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

/// In pixels: a line of text shows two rows of them.
CPictureSize TerminalSize() {
    constexpr unsigned kTextLines = 2; // for the report and the prompt
    winsize size = {};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0;
    const unsigned columns = isKnown ? size.ws_col : 80u;
    const unsigned lines = isKnown ? size.ws_row : 24u;
    return {columns, 2 * (std::max(lines, kTextLines + 1) - kTextLines)};
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

void FitIntoTerminal(CPicture& picture) {
    const CPictureSize room = TerminalSize();
    const CPictureSize size = picture.Size();
    const CPictureSize fixed{size.m_Width - uint64_t{picture.PanelCount()} * picture.m_Width,
                             size.m_Height - picture.m_Height}; // gaps and labels
    if (room.m_Width <= fixed.m_Width || room.m_Height <= fixed.m_Height) {
        throw std::runtime_error("the terminal is too small for --compare; --output writes a file");
    }
    const auto scale = [](uint64_t available, uint64_t unscaled, uint64_t whole) {
        return static_cast<double>(available - unscaled) / static_cast<double>(whole - unscaled);
    };
    const double factor = std::min({1.0, scale(room.m_Width, fixed.m_Width, size.m_Width),
                                    scale(room.m_Height, fixed.m_Height, size.m_Height)});
    picture.m_Width = std::max(1u, static_cast<uint32_t>(picture.m_Width * factor));
    picture.m_Height = std::max(1u, static_cast<uint32_t>(picture.m_Height * factor));
}

} // namespace NoisePreview
