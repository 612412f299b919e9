#pragma once

// The instruction set that both libraries use: one choice per process, made at the first call that asks.

#include <zr_support/compiler.h>
#include <zr_support/config.h>
#include <zr_support/instruction_set.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Vestrel::Internal {

inline constexpr size_t kInstructionSetCount = 3;

/// Not one of the enumeration: nothing has asked yet.
inline constexpr EInstructionSet kNotSelected{UINT32_MAX};

/// kNotSelected, or what all calls use. Relaxed order is enough: every choice gives the same results.
VESTREL_PUBLIC extern std::atomic<EInstructionSet> g_SelectedInstructionSet;

/// The widest instruction set that the library was built with and that processor and operating system
/// support.
EInstructionSet SupportedInstructionSet() noexcept;

/// Selects SupportedInstructionSet(), unless another thread has selected one meanwhile.
VESTREL_PUBLIC EInstructionSet _SelectInstructionSet() noexcept;

/// The widest that is supported, unless LimitInstructionSet asked for less.
[[gnu::always_inline]] inline EInstructionSet SelectedInstructionSet() noexcept {
    const EInstructionSet selected = g_SelectedInstructionSet.load(std::memory_order_relaxed);
    if (selected == kNotSelected) [[unlikely]] {
        return _SelectInstructionSet();
    }
    return selected;
}

/// Display name, e.g. "AVX2".
constexpr const char* NameOf(EInstructionSet set) {
    switch (set) {
    case EInstructionSet::kAvx2:
        return "AVX2";
    case EInstructionSet::kAvx512:
        return "AVX-512";
    default:
        return "four lanes";
    }
}

} // namespace Vestrel::Internal
