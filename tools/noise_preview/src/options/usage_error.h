#pragma once

#include <stdexcept>
#include <string>

namespace NoisePreview {

/// Options that make no sense; the message names them.
class CUsageError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Throws a CUsageError about the value of an option.
[[noreturn]] inline void Refuse(const std::string& option, const std::string& value,
                                const std::string& reason) {
    throw CUsageError(option + ": '" + value + "' is " + reason);
}

/// Throws a CUsageError about the option itself.
[[noreturn]] inline void Refuse(const std::string& option, const std::string& reason) {
    throw CUsageError(option + ": " + reason);
}

} // namespace NoisePreview
