#pragma once

#include "options/options.h"

#include <span>
#include <string>

namespace NoisePreview {

/// An option of the command line.
struct COption {
    const char* m_Name;
    const char* m_Form; // of its argument; null where it takes none
    const char* m_Description;
    void (*m_Parse)(const std::string& text, COptions& options); // refuses by a CRefusal
    const char* m_Needed = nullptr; // an option without which this one makes no sense
};

/// Every option but --help, in the order in which they are explained.
std::span<const COption> OptionTable();

} // namespace NoisePreview
