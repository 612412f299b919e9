#pragma once

// Faster ways through long runs, for processors with wider registers than four floats: the same bits, of
// whole blocks of samples. The code for four lanes is always there; it takes what these leave.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Vestrel::Internal {

/// Writes `count` samples, packed, of as many positions, one behind the other. All pointers may have any
/// alignment. Reads all positions of a block before it writes the samples of it, and nothing but positions,
/// no padding behind them either. `count` is a multiple of kWideBlock.
using CWideSampler = void (*)(const float* basis, void* samples, const void* positions,
                              size_t count) noexcept;

/// So many positions are a block.
inline constexpr uint32_t kWideBlock = 64;

/// The positions that wide samplers are for, by their numbers of coordinates and the bytes from one to the
/// next.
enum class EWideLayout { k1D, k2D, k3D, k4D, kPadded3D };
inline constexpr size_t kWideLayoutCount = 5;

/// Writes the gradients of `count` positions that are given as fractions and cells, in the batch's order of
/// operations. `count` is a multiple of kWideBlock. All records of a block are read before its gradients are
/// written.
using CWideGradients = void (*)(const float* basis, void* gradients, const void* records,
                                size_t count) noexcept;

/// Writes the sines of `count` angles, a multiple of kWideBlock. Returns whether all angles were near
/// (sin_of_near.h); if not, what it has written is of no use.
using CWideSines = bool (*)(const float* angles, float* sines, size_t count) noexcept;

/// All of one instruction set.
struct CWideKernels {
    /// As people know the instruction set.
    const char* m_Name;
    /// By layout: from so many positions on they are faster than four lanes.
    std::array<uint32_t, kWideLayoutCount> m_LeastCount;
    /// By layout and quality. May be null.
    std::array<std::array<CWideSampler, 3>, kWideLayoutCount> m_Samplers;
    /// From so many records on, gradients are faster.
    uint32_t m_LeastRecordCount;
    /// By quality. May be null.
    std::array<CWideGradients, 3> m_Gradients;
    /// May be null.
    CWideSines m_Sines;
};

/// Those that samplers use: the best of WideKernelsHere, unless LimitInstructionSet or a test has chosen
/// others.
const CWideKernels& WideKernels() noexcept;

/// All that the library has for this processor, the best first. The last stands for the code for four lanes,
/// and has no samplers.
std::span<const CWideKernels* const> WideKernelsHere() noexcept;

/// Makes all samplers use `kernels`, one of WideKernelsHere, from now on. For tests and benchmarks.
void ChooseWideKernels(const CWideKernels& kernels) noexcept;

} // namespace Vestrel::Internal
