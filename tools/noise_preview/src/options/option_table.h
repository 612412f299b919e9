#pragma once

#include "options/options.h"

#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace NoisePreview {

// What the value of an option may be, and the member that it sets.

struct CFlag {
    bool COptions::*m_Member;
};

template <typename TNumber>
struct TRange {
    TNumber COptions::*m_Member;
    TNumber m_Min;
    TNumber m_Max;
};

struct CText {
    std::string COptions::*m_Member;
};

/// One of the words of the metavariable.
struct CChoice {
    void (*m_Set)(COptions& options, uint32_t index);
};

/// Two whole numbers with an x between them.
struct CSize {};

/// An option of the command line.
struct COption {
    const char* m_Name;
    const char* m_Metavar; // of the value in the help, such as WxH; null for flags
    std::variant<CFlag, TRange<uint32_t>, TRange<double>, CText, CChoice, CSize> m_Value;
    const char* m_Description;         // without range and default of numbers
    const char* m_Needed = nullptr;    // the option without which this one makes no sense
    const char* m_ShortName = nullptr; // such as -o
};

/// Every option but --help and --version, in the order of the help.
std::span<const COption> OptionTable();

std::vector<std::string> OptionNames();

/// For the help and the manual, with range and default of a number.
std::string Description(const COption& option);

/// The words to choose from; none if the value is no choice.
std::vector<std::string> WordsOf(const COption& option);

/// Sets the option. Throws a CUsageError if its value makes no sense.
void ParseOption(const COption& option, const std::string& value, COptions& options);

} // namespace NoisePreview
