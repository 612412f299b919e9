#include "strict_arithmetic.h"

#include "wide_kernels.h"

#include "wide_instruction_sets.h"
#include "x86_processor.h"

#include <zr_maths/limit_instruction_set.h>

#include <algorithm>
#include <atomic>
#include <span>

namespace Vestrel::Internal {

namespace {

constexpr CWideKernels kFourLanes = {"four lanes", {}, {}, {}, {}, {}};

/// All that the library was built with: from the end, one for each EInstructionSet.
constexpr const CWideKernels* kBestFirst[] = {
#if VESTREL_WIDE_KERNELS
    &Avx512::kKernels,
    &Avx2::kKernels,
#endif
    &kFourLanes,
};

EInstructionSet WidestInstructionSetHere() {
#if VESTREL_WIDE_KERNELS
    return WidestInstructionSet(ReadX86Processor());
#else
    return EInstructionSet::kFourLanes;
#endif
}

/// Those that run where `widest` does, the best first.
std::span<const CWideKernels* const> KernelsUpTo(EInstructionSet widest) {
    return std::span(kBestFirst).last(static_cast<size_t>(widest) + 1);
}

// Not a guarded static, which would take a call and a lock: threads that come here first all find the same.
constinit std::atomic<const CWideKernels*> g_Chosen = nullptr;

} // namespace

const CWideKernels& WideKernels() noexcept {
    const CWideKernels* chosen = g_Chosen.load(std::memory_order_relaxed);
    if (chosen == nullptr) [[unlikely]] {
        // Unless another thread has chosen meanwhile.
        const CWideKernels* const best = WideKernelsHere()[0];
        const bool isFirst = g_Chosen.compare_exchange_strong(chosen, best, std::memory_order_relaxed);
        chosen = isFirst ? best : chosen; // GCOVR_EXCL_BR_LINE: it takes a race to lose one
    }
    return *chosen;
}

std::span<const CWideKernels* const> WideKernelsHere() noexcept {
    return KernelsUpTo(WidestInstructionSetHere());
}

void ChooseWideKernels(const CWideKernels& kernels) noexcept {
    g_Chosen.store(&kernels, std::memory_order_relaxed);
}

} // namespace Vestrel::Internal

namespace Vestrel {

EInstructionSet LimitInstructionSet(EInstructionSet most) noexcept {
    const EInstructionSet used = std::min(most, Internal::WidestInstructionSetHere());
    Internal::ChooseWideKernels(*Internal::KernelsUpTo(used)[0]);
    return used;
}

} // namespace Vestrel
