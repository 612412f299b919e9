#pragma once

#include "job/job.h"

namespace NoisePreview {

/// The colours of standard output by its environment. kNone if it is not a terminal or a dumb one, if its
/// encoding is not UTF-8, or if NO_COLOR is set.
ETerminalColours TerminalColours();

/// Shrinks a picture that is larger than the terminal. Throws std::runtime_error with a message for the user
/// if not even the labels fit.
void FitIntoTerminal(CPicture& picture);

} // namespace NoisePreview
