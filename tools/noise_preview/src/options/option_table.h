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
    void (*m_Parse)(const std::string& text, COptions& options);
    const char* m_Needed = nullptr; // an option without which this one makes no sense
};

/// Every option but --help, in the order in which they are explained.
std::span<const COption> OptionTable();

/// Refuses the value of an option, by an exception for the parser of the command line.
[[noreturn]] void Refuse(const std::string& option, const std::string& text, const std::string& reason);

/// Likewise the option itself.
[[noreturn]] void Refuse(const std::string& option, const std::string& reason);

} // namespace NoisePreview
