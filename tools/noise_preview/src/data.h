#pragma once

#include "field/sampling_record.h"
#include "files/output_file.h"
#include "job/job.h"

#include <zr_maths/maths_noise_fast.h>

namespace NoisePreview {

/// Writes the values or gradients of a view as floats, and shows the progress. Throws std::bad_alloc, or
/// std::runtime_error with a message for the user.
void WriteData(const CJob& job, const Vestrel::CFastNoise3& noise, COutputFile& file,
               CSamplingRecord& record);

/// The same for the values at the positions in a file.
void WriteSamplesAtPositions(const CJob& job, const Vestrel::CFastNoise3& noise, COutputFile& file,
                             CSamplingRecord& record);

} // namespace NoisePreview
