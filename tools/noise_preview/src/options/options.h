#pragma once

#include "job/job.h"

#include <optional>
#include <set>
#include <string>

namespace NoisePreview {

/// From here on floats have no fractions.
inline constexpr double kMaxCoordinate = 0x1p23;

/// The options of a command line, as given: a job to be completed by Resolve.
struct COptions : CJob {
    double m_Seconds = 0.0; // of an animation
    std::optional<EFormat> m_AskedFormat;
    std::set<std::string> m_Given; // their names

    bool Has(const std::string& name) const {
        return m_Given.contains(name);
    }
};

} // namespace NoisePreview
