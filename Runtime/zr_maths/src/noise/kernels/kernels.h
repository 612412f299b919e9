#pragma once

// Functions for long runs on processors with wider registers than four floats. They give the same bits as the
// code for four lanes, which is always there and takes the rest.

#include "../lattice/lattice.h"

#include <zr_support_internal/selected_instruction_set.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vestrel::Internal {

inline constexpr uint32_t kPositionsPerBlock = 64;

/// What kernels read: packed positions by dimension, 3D positions four floats apart, and the records of the
/// batch of gradients.
enum class EKernelInput { k1D, k2D, k3D, k4D, kPadded3D, kRecords };
inline constexpr size_t kKernelInputCount = 6;

/// Writes `count` results, packed: samples, or gradients of four floats. Pointers may have any alignment, and
/// `count` is a multiple of kPositionsPerBlock. Reads all inputs of a block before it writes the block's
/// results, and no bytes between or after inputs.
using CKernel = void (*)(const float* basis, void* results, const void* inputs, size_t count) noexcept;

/// The kernels for one input, by ENoiseQuality.
struct CKernelsOfInput {
    /// Shorter runs are faster by four lanes.
    uint32_t m_MinimumCount;
    std::array<CKernel, 3> m_Kernels;
};

/// The kernels of one instruction set, by EKernelInput.
using CKernels = std::array<CKernelsOfInput, kKernelInputCount>;

namespace Avx2 {
extern const CKernels kKernels;
}

namespace Avx512 {
extern const CKernels kKernels;
}

/// By EInstructionSet; null means four lanes. Not const, so that tests can put in their own.
extern std::array<const CKernels*, kInstructionSetCount> g_Kernels;

/// Runs whole blocks by the kernel of the selected instruction set, if `count` reaches its minimum. Returns
/// how many inputs are done.
template <ENoiseQuality kQuality>
[[gnu::always_inline]] inline uint32_t RunWholeBlocks(EKernelInput input, const float* basis, void* results,
                                                      const void* inputs, uint32_t count) noexcept {
    const CKernels* const kernels = g_Kernels[static_cast<size_t>(SelectedInstructionSet())];
    if (kernels == nullptr || count < (*kernels)[static_cast<size_t>(input)].m_MinimumCount) {
        return 0;
    }
    const uint32_t done = count / kPositionsPerBlock * kPositionsPerBlock;
    (*kernels)[static_cast<size_t>(input)].m_Kernels[static_cast<size_t>(kQuality)](basis, results, inputs,
                                                                                    done);
    return done;
}

} // namespace Vestrel::Internal
