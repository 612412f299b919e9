#pragma once

// Which instruction sets an x86-64 processor supports. The decision is a function of numbers, apart from
// reading them, so that tests can decide for any processor.
//
// Bits as in Intel's Software Developer's Manual: "CPUID" in volume 2A, "XSAVE-supported features and
// state-component bitmaps" in volume 1. AMD's are the same.

#include <zr_support/instruction_set.h>

#include <cstdint>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace Vestrel::Internal {

/// The parts of CPUID and XGETBV that the decision needs.
struct CX86Processor {
    /// CPUID leaf 0, EAX: the highest leaf. Leaves beyond it have no meaning, but need not be 0.
    uint32_t m_HighestLeaf;
    /// CPUID leaf 1, ECX.
    uint32_t m_Leaf1Ecx;
    /// CPUID leaf 7, subleaf 0, EBX.
    uint32_t m_Leaf7Ebx;
    /// CPUID leaf 7, subleaf 0, ECX.
    uint32_t m_Leaf7Ecx;
    /// The lower half of XCR0: the registers that the operating system saves. 0 without OSXSAVE in leaf 1,
    /// which reading XCR0 needs.
    uint32_t m_Xcr0;
};

/// In ECX of leaf 1: XCR0 can be read.
constexpr uint32_t kOsXSave = 1u << 27;

constexpr bool _HasAllBits(uint32_t bits, uint32_t wanted) {
    return (bits & wanted) == wanted;
}

/// Whether the processor has everything that compilers may use with -mavx2. The flag implies AVX, all levels
/// of SSE, POPCNT and XSAVE, but neither FMA nor BMI.
constexpr bool _HasAvx2(const CX86Processor& processor) {
    constexpr uint32_t kLeaf1Ecx = 1u << 0    // SSE3
                                   | 1u << 9  // SSSE3
                                   | 1u << 19 // SSE4.1
                                   | 1u << 20 // SSE4.2
                                   | 1u << 23 // POPCNT
                                   | 1u << 26 // XSAVE
                                   | 1u << 28 // AVX
                                   | kOsXSave;
    constexpr uint32_t kLeaf7Ebx = 1u << 5; // AVX2
    constexpr uint32_t kXcr0 = 1u << 1      // XMM registers
                               | 1u << 2;   // upper halves of YMM
    return processor.m_HighestLeaf >= 7 && _HasAllBits(processor.m_Leaf1Ecx, kLeaf1Ecx) &&
           _HasAllBits(processor.m_Leaf7Ebx, kLeaf7Ebx) && _HasAllBits(processor.m_Xcr0, kXcr0);
}

/// Whether a processor with AVX2 also has everything that compilers may use with -mavx512f -mavx512bw
/// -mavx512vbmi. Only Clang's -mavx512f implies FMA and F16C.
constexpr bool _HasAvx512(const CX86Processor& processor) {
    constexpr uint32_t kLeaf1Ecx = 1u << 12    // FMA
                                   | 1u << 29; // F16C
    constexpr uint32_t kLeaf7Ebx = 1u << 16    // AVX512F
                                   | 1u << 30; // AVX512BW
    constexpr uint32_t kLeaf7Ecx = 1u << 1;    // AVX512_VBMI
    constexpr uint32_t kXcr0 = 1u << 5         // mask registers
                               | 1u << 6       // upper halves of ZMM0 to ZMM15
                               | 1u << 7;      // ZMM16 to ZMM31
    return _HasAllBits(processor.m_Leaf1Ecx, kLeaf1Ecx) && _HasAllBits(processor.m_Leaf7Ebx, kLeaf7Ebx) &&
           _HasAllBits(processor.m_Leaf7Ecx, kLeaf7Ecx) && _HasAllBits(processor.m_Xcr0, kXcr0);
}

/// The widest instruction set that the processor supports.
constexpr EInstructionSet WidestInstructionSet(const CX86Processor& processor) {
    if (!_HasAvx2(processor)) {
        return EInstructionSet::kFourLanes;
    }
    return _HasAvx512(processor) ? EInstructionSet::kAvx512 : EInstructionSet::kAvx2;
}

#if defined(__x86_64__)
/// What this processor reports.
inline CX86Processor ReadX86Processor() {
    CX86Processor processor = {};
    uint32_t eax, ebx, ecx, edx;
    __cpuid(0, processor.m_HighestLeaf, ebx, ecx, edx);
    __cpuid(1, eax, ebx, processor.m_Leaf1Ecx, edx);
    __cpuid_count(7, 0, eax, processor.m_Leaf7Ebx, processor.m_Leaf7Ecx, edx);
    if (_HasAllBits(processor.m_Leaf1Ecx, kOsXSave)) { // GCOVR_EXCL_BR_LINE: no processor goes both ways
        __asm__ volatile("xgetbv" : "=a"(processor.m_Xcr0), "=d"(edx) : "c"(0));
    }
    return processor;
}
#endif

} // namespace Vestrel::Internal
