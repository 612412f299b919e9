#include <zr_support_internal/strict_arithmetic.h>

#include <zr_support/instruction_set.h>

#include <zr_support_internal/selected_instruction_set.h>
#include <zr_support_internal/x86_processor.h>

#include <algorithm>

namespace Vestrel::Internal {

// Constant-initialised: other static initialisers may sample. A guarded static would take a call and a lock.
constinit std::atomic<EInstructionSet> g_SelectedInstructionSet = kNotSelected;

EInstructionSet SupportedInstructionSet() noexcept {
#if VESTREL_WIDE_KERNELS
    return WidestInstructionSet(ReadX86Processor());
#else
    return EInstructionSet::kFourLanes;
#endif
}

[[gnu::cold]] EInstructionSet _SelectInstructionSet() noexcept {
    EInstructionSet selected = kNotSelected;
    const EInstructionSet widest = SupportedInstructionSet();
    const bool isFirst =
        g_SelectedInstructionSet.compare_exchange_strong(selected, widest, std::memory_order_relaxed);
    return isFirst ? widest : selected; // GCOVR_EXCL_BR_LINE: it takes a race to lose one
}

} // namespace Vestrel::Internal

namespace Vestrel {

EInstructionSet LimitInstructionSet(EInstructionSet most) noexcept {
    const EInstructionSet selected = std::min(most, Internal::SupportedInstructionSet());
    Internal::g_SelectedInstructionSet.store(selected, std::memory_order_relaxed);
    return selected;
}

} // namespace Vestrel
