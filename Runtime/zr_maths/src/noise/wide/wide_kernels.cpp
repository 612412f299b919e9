#include "strict_arithmetic.h"

#include "wide_kernels.h"

#include "wide_instruction_sets.h"

#include <atomic>

namespace Vestrel::Internal {

namespace {

constexpr CWideKernels kFourLanes = {"four lanes", {}, {}, 0, {}, nullptr};

/// The best first. There is room for all, and the unused ones are null.
struct CWideKernelList {
    std::array<const CWideKernels*, 3> m_Kernels = {};
    size_t m_Count = 0;

    void AddIf(bool isHere, const CWideKernels& kernels) {
        if (isHere) { // GCOVR_EXCL_BR_LINE: no processor goes both ways
            m_Kernels[m_Count++] = &kernels;
        }
    }
};

/// What compilers report has the registers that the operating system saves, too.
CWideKernelList FindWideKernels() {
    CWideKernelList list;
#if VESTREL_WIDE_KERNELS
    __builtin_cpu_init();
    // Not by &&, of which one processor goes one way alone.
    const bool hasAvx512 = (__builtin_cpu_supports("avx512f") != 0) &
                           (__builtin_cpu_supports("avx512bw") != 0) &
                           (__builtin_cpu_supports("avx512vbmi") != 0);
    list.AddIf(hasAvx512, Avx512::kKernels);
    list.AddIf(__builtin_cpu_supports("avx2"), Avx2::kKernels);
#endif
    list.AddIf(true, kFourLanes);
    return list;
}

// Not a guarded static, which would take a call and a lock: threads that come here first all find the same.
constinit std::atomic<const CWideKernels*> g_Chosen = nullptr;

} // namespace

const CWideKernels& WideKernels() noexcept {
    const CWideKernels* chosen = g_Chosen.load(std::memory_order_relaxed);
    if (chosen == nullptr) [[unlikely]] {
        // Unless another thread has chosen meanwhile.
        const CWideKernels* const best = FindWideKernels().m_Kernels[0];
        const bool isFirst = g_Chosen.compare_exchange_strong(chosen, best, std::memory_order_relaxed);
        chosen = isFirst ? best : chosen; // GCOVR_EXCL_BR_LINE: it takes a race to lose one
    }
    return *chosen;
}

std::span<const CWideKernels* const> WideKernelsHere() noexcept {
    static const CWideKernelList list = FindWideKernels(); // GCOVR_EXCL_BR_LINE: guarded against threads
    return {list.m_Kernels.data(), list.m_Count};
}

void ChooseWideKernels(const CWideKernels& kernels) noexcept {
    g_Chosen.store(&kernels, std::memory_order_relaxed);
}

} // namespace Vestrel::Internal
