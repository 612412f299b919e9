#pragma once

#include <cstdint>

namespace Vestrel::Internal {

/// The hash that VerifyArithmetic compares with the promised one, for a test to print.
uint64_t HashOfOperations() noexcept;

} // namespace Vestrel::Internal
