#pragma once

#include "field/sampling_record.h"
#include "files/output_file.h"
#include "options/options.h"

#include <zr_maths/maths_noise_fast.h>

namespace NoisePreview {

/// Writes the floats of which a picture would be made: values, or gradients. Shows its progress. Throws
/// std::bad_alloc, or std::runtime_error with a message for the user.
void WriteData(const COptions& options, const Vestrel::CFastNoise3& noise, COutputFile& file,
               CSamplingRecord& record);

/// Writes the values at the positions in a file. Otherwise likewise.
void WriteSamplesAtPositions(const COptions& options, const Vestrel::CFastNoise3& noise, COutputFile& file,
                             CSamplingRecord& record);

} // namespace NoisePreview
