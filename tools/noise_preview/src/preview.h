#pragma once

#include "job/job.h"

#include <string>

namespace NoisePreview {

/// Does the job, shows its progress, and returns the report. Throws std::bad_alloc, or std::runtime_error
/// with a message for the user.
std::string DrawPreview(const CJob& job);

} // namespace NoisePreview
