#pragma once

// For tests and benchmarks that select instruction sets.

#include <zr_support_internal/selected_instruction_set.h>

#include <vector>

namespace Vestrel {

/// The instruction sets that library and processor support, widest first.
inline std::vector<EInstructionSet> SupportedInstructionSets() {
    std::vector<EInstructionSet> sets;
    for (auto set = static_cast<uint32_t>(Internal::SupportedInstructionSet()) + 1; set-- > 0;) {
        sets.push_back(static_cast<EInstructionSet>(set));
    }
    return sets;
}

/// Selects one of SupportedInstructionSets during its lifetime.
class CSelectedInstructionSet {
public:
    explicit CSelectedInstructionSet(EInstructionSet set) {
        Internal::g_SelectedInstructionSet.store(set);
    }

    ~CSelectedInstructionSet() {
        Internal::g_SelectedInstructionSet.store(m_Before);
    }

    CSelectedInstructionSet(const CSelectedInstructionSet&) = delete;
    CSelectedInstructionSet& operator=(const CSelectedInstructionSet&) = delete;

private:
    const EInstructionSet m_Before = Internal::SelectedInstructionSet();
};

} // namespace Vestrel
