#pragma once

#include <stdexcept>
#include <string>

namespace NoisePreview {

/// Of options that make no sense; says what is wrong.
class CRefusal final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Refuses the value of an option, by a CRefusal.
[[noreturn]] inline void Refuse(const std::string& option, const std::string& text,
                                const std::string& reason) {
    throw CRefusal(option + ": '" + text + "' is " + reason);
}

/// Likewise the option itself.
[[noreturn]] inline void Refuse(const std::string& option, const std::string& reason) {
    throw CRefusal(option + ": " + reason);
}

} // namespace NoisePreview
