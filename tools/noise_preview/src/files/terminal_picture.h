#pragma once

#include "options/options.h"
#include "painting/pixel.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace NoisePreview {

/// What colours a terminal can show.
enum class ETerminalColours { kNone, k256, kAll };

/// Those of standard output, as the environment tells: kNone where it is no terminal or a dumb one, where its
/// letters are not those of UTF-8, or where NO_COLOR asks for none.
ETerminalColours TerminalColours();

/// Makes the pictures so small that what is drawn fits into the terminal: two rows of pixels are a line of
/// text. Throws std::runtime_error, with a message for the user, where not even the labels fit.
void ShrinkToTerminal(COptions& options);

/// A picture on the terminal in the making, row by row.
class CTerminalPicture {
public:
    explicit CTerminalPicture(ETerminalColours colours);

    void AddRow(std::span<const CPixel> pixels);

    /// Writes what is left to standard output. Throws std::runtime_error, with a message for the user.
    void Finish();

private:
    void _AddLine(std::span<const CPixel> lower);
    std::string _ColourCode(const CPixel& pixel, const char* ground) const;

    ETerminalColours m_Colours;
    std::vector<CPixel> m_Upper; // the row that waits for the one below it; empty when there is none
    std::string m_Text;
};

} // namespace NoisePreview
