#include <zr_support_internal/x86_processor.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <ios>
#include <iterator>
#include <ostream>
#include <set>
#include <sstream>
#include <string>

namespace {

using namespace Vestrel;
using namespace Vestrel::Internal;

constexpr EInstructionSet kFourLanes = EInstructionSet::kFourLanes;
constexpr EInstructionSet kAvx2 = EInstructionSet::kAvx2;
constexpr EInstructionSet kAvx512 = EInstructionSet::kAvx512;

// Processors.

struct CKnownProcessor {
    const char* m_Name;
    CX86Processor m_Processor;
    EInstructionSet m_Expected;

    friend std::ostream& operator<<(std::ostream& stream, const CKnownProcessor& known) {
        return stream << known.m_Name;
    }
};

// CPUID recorded on real processors, unless noted otherwise from the files GenuineIntel*_CPUID.txt and
// AuthenticAMD*_CPUID.txt of github.com/InstLatx64/InstLatx64. They contain not XCR0 but CPUID leaf 13: EAX
// lists the registers that the processor can save, and EBX is the size of those enabled by the operating
// system, 0x340 bytes with YMM, 0x980 or 0xA80 with ZMM.
//
// Expectations follow from the definitions of the bits in Intel's and AMD's manuals.
constexpr CX86Processor kIceLake = {0x1B, 0x7FFAFBBF, 0xF2BF27EF, 0x40405F4E, 0xE7};
constexpr CX86Processor kHaswell = {0x0D, 0x7FFAFBFF, 0x000027AB, 0x00000000, 0x07};

constexpr CKnownProcessor kKnown[] = {
    // a report to the Highway project on GitHub
    {"Core 2 Duo E7200", {0x0A, 0x0008E39D, 0, 0, 0}, kFourLanes},
    // GenuineIntel00106E5_Lynnfield
    {"Core i7-860, Nehalem", {0x0B, 0x0098E3FD, 0, 0, 0}, kFourLanes},
    // GenuineIntel00206A7_SandyBridge
    {"Core i5-2400, Sandy Bridge", {0x0D, 0x1FBAE3FF, 0, 0, 0x07}, kFourLanes},
    // AuthenticAMD0600F20_K15_Vishera: AVX and FMA, but not AVX2
    {"FX-8350, Piledriver", {0x0D, 0x3E98320B, 0x00000008, 0, 0x07}, kFourLanes},
    // GenuineIntel00306C3_Haswell
    {"Core i7-4770, Haswell", kHaswell, kAvx2},
    // GenuineIntel0050670_KnightsLanding: AVX-512 F, but neither BW nor VBMI
    {"Xeon Phi, Knights Landing", {0x0D, 0x7FF8F3BF, 0x1C0D23AB, 0x00000001, 0xE7}, kAvx2},
    // GenuineIntel0050654_SkylakeX: AVX-512 F and BW, but not VBMI
    {"Core i9-7900X, Skylake-X", {0x16, 0x7FFEFBBF, 0xD39FFFFB, 0x00000000, 0xFF}, kAvx2},
    // GenuineIntel00706E5_IceLakeY
    {"Core i7-1065G7, Ice Lake", kIceLake, kAvx512},
    // AuthenticAMD0870F10_K17_Matisse
    {"Ryzen 9 PRO 3900, Zen 2", {0x10, 0x7ED8320B, 0x219C91A9, 0x00400004, 0x07}, kAvx2},
    // read with CPUID and XGETBV in a virtual machine
    {"EPYC, Zen 3, virtual", {0x0D, 0xFFFA3203, 0x219C07AB, 0x00400684, 0x07}, kAvx2},
    // AuthenticAMD0A60F12_K19_Raphael_01
    {"Ryzen 5 7600X, Zen 4", {0x10, 0x7EF8320B, 0xF1BF97A9, 0x00405FCE, 0xE7}, kAvx512},
};

/// A processor with features hidden by firmware, hypervisor or operating system.
constexpr CX86Processor Without(CX86Processor processor, uint32_t CX86Processor::*field, uint32_t bits) {
    processor.*field &= ~bits;
    return processor;
}

constexpr uint32_t kXSaveBits = 3u << 26;

constexpr CX86Processor With(CX86Processor processor, uint32_t CX86Processor::*field, uint32_t value) {
    processor.*field = value;
    return processor;
}

constexpr CKnownProcessor kRestricted[] = {
    {"firmware limits the leaves to 3", With(kIceLake, &CX86Processor::m_HighestLeaf, 3), kFourLanes},
    {"the last leaf but one", With(kIceLake, &CX86Processor::m_HighestLeaf, 6), kFourLanes},
    {"no leaf above 7", With(kIceLake, &CX86Processor::m_HighestLeaf, 7), kAvx512},
    {"a hypervisor hides XSAVE, but not AVX2",
     With(Without(kIceLake, &CX86Processor::m_Leaf1Ecx, kXSaveBits), &CX86Processor::m_Xcr0, 0), kFourLanes},
    {"a hypervisor hides AVX-512's leaf 7 ECX", With(kIceLake, &CX86Processor::m_Leaf7Ecx, 0), kAvx2},
    {"an operating system without XSAVE",
     With(Without(kHaswell, &CX86Processor::m_Leaf1Ecx, 1u << 27), &CX86Processor::m_Xcr0, 0), kFourLanes},
    {"an operating system that saves x87 and SSE alone", With(kIceLake, &CX86Processor::m_Xcr0, 0x03),
     kFourLanes},
    {"an operating system that saves no ZMM", With(kIceLake, &CX86Processor::m_Xcr0, 0x07), kAvx2},
    {"an operating system that saves masks, but no ZMM", With(kIceLake, &CX86Processor::m_Xcr0, 0x27), kAvx2},
    {"an operating system that saves ZMM and more", With(kIceLake, &CX86Processor::m_Xcr0, 0x602E7), kAvx512},
    {"an operating system that saves everything for a processor without AVX-512",
     With(kHaswell, &CX86Processor::m_Xcr0, 0xE7), kAvx2},
};

TEST(X86Processor, FindsTheWidestInstructionSet) {
    for (const CKnownProcessor& known : kKnown) {
        EXPECT_EQ(WidestInstructionSet(known.m_Processor), known.m_Expected) << known;
    }
}

TEST(X86Processor, RespectsHiddenFeatures) {
    for (const CKnownProcessor& known : kRestricted) {
        EXPECT_EQ(WidestInstructionSet(known.m_Processor), known.m_Expected) << known;
    }
}

// Single bits.

struct CBit {
    uint32_t CX86Processor::*m_Field;
    uint32_t m_Number;
    /// The widest instruction set without the bit.
    EInstructionSet m_Without;
};

/// The features that the kernels' sources are compiled for. `g++ -dM -E -x c++ /dev/null`, and the same of
/// clang++, print what the flags in zr_maths's CMakeLists.txt imply.
constexpr CBit kNeeded[] = {
    {&CX86Processor::m_Leaf1Ecx, 0, kFourLanes},  // __SSE3__
    {&CX86Processor::m_Leaf1Ecx, 9, kFourLanes},  // __SSSE3__
    {&CX86Processor::m_Leaf1Ecx, 12, kAvx2},      // __FMA__
    {&CX86Processor::m_Leaf1Ecx, 19, kFourLanes}, // __SSE4_1__
    {&CX86Processor::m_Leaf1Ecx, 20, kFourLanes}, // __SSE4_2__ and __CRC32__
    {&CX86Processor::m_Leaf1Ecx, 23, kFourLanes}, // __POPCNT__
    {&CX86Processor::m_Leaf1Ecx, 26, kFourLanes}, // __XSAVE__
    {&CX86Processor::m_Leaf1Ecx, 27, kFourLanes}, // XGETBV may be used
    {&CX86Processor::m_Leaf1Ecx, 28, kFourLanes}, // __AVX__
    {&CX86Processor::m_Leaf1Ecx, 29, kAvx2},      // __F16C__
    {&CX86Processor::m_Leaf7Ebx, 5, kFourLanes},  // __AVX2__
    {&CX86Processor::m_Leaf7Ebx, 16, kAvx2},      // __AVX512F__
    {&CX86Processor::m_Leaf7Ebx, 30, kAvx2},      // __AVX512BW__
    {&CX86Processor::m_Leaf7Ecx, 1, kAvx2},       // __AVX512VBMI__
    {&CX86Processor::m_Xcr0, 1, kFourLanes},      // XMM
    {&CX86Processor::m_Xcr0, 2, kFourLanes},      // YMM
    {&CX86Processor::m_Xcr0, 5, kAvx2},           // masks
    {&CX86Processor::m_Xcr0, 6, kAvx2},           // ZMM0 to ZMM15
    {&CX86Processor::m_Xcr0, 7, kAvx2},           // ZMM16 to ZMM31
};

TEST(X86Processor, NeedsExactlyTheFeaturesOfTheKernels) {
    constexpr CX86Processor kEverything = {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};
    constexpr uint32_t CX86Processor::*kFields[] = {&CX86Processor::m_Leaf1Ecx, &CX86Processor::m_Leaf7Ebx,
                                                    &CX86Processor::m_Leaf7Ecx, &CX86Processor::m_Xcr0};
    for (size_t field = 0; field < std::size(kFields); ++field) {
        for (uint32_t number = 0; number < 32; ++number) {
            EInstructionSet expected = kAvx512;
            for (const CBit& bit : kNeeded) {
                if (bit.m_Field == kFields[field] && bit.m_Number == number) {
                    expected = bit.m_Without;
                }
            }
            EXPECT_EQ(WidestInstructionSet(Without(kEverything, kFields[field], 1u << number)), expected)
                << "without bit " << number << " of field " << field;
        }
    }
}

// This processor.

#if defined(__x86_64__) && defined(__linux__)
/// The words of the first line of /proc/cpuinfo with this key.
std::set<std::string> FromLinux(const char* name) {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line) && !line.starts_with(name)) {
    }
    std::istringstream words(line.substr(line.find(':') + 1));
    return {std::istream_iterator<std::string>(words), {}};
}

struct CFlag {
    const char* m_Name;
    uint32_t CX86Processor::*m_Field;
    uint32_t m_Bits;
};

// Linux may hide features of the processor, but reports none that it lacks.
TEST(X86Processor, ReadsTheFeaturesThatLinuxReports) {
    constexpr CFlag kFlags[] = {
        {"pni", &CX86Processor::m_Leaf1Ecx, 1u << 0},
        {"ssse3", &CX86Processor::m_Leaf1Ecx, 1u << 9},
        {"fma", &CX86Processor::m_Leaf1Ecx, 1u << 12},
        {"popcnt", &CX86Processor::m_Leaf1Ecx, 1u << 23},
        {"avx", &CX86Processor::m_Leaf1Ecx, 7u << 26},
        {"f16c", &CX86Processor::m_Leaf1Ecx, 1u << 29},
        {"fsgsbase", &CX86Processor::m_Leaf7Ebx, 1u << 0},
        {"avx2", &CX86Processor::m_Leaf7Ebx, 1u << 5},
        {"avx512f", &CX86Processor::m_Leaf7Ebx, 1u << 16},
        {"avx512bw", &CX86Processor::m_Leaf7Ebx, 1u << 30},
        {"avx512vbmi", &CX86Processor::m_Leaf7Ecx, 1u << 1},
        {"vaes", &CX86Processor::m_Leaf7Ecx, 1u << 9},
        {"rdpid", &CX86Processor::m_Leaf7Ecx, 1u << 22},
        {"avx", &CX86Processor::m_Xcr0, 0x06},
        {"avx512f", &CX86Processor::m_Xcr0, 0xE6},
    };
    const CX86Processor processor = ReadX86Processor();
    const std::set<std::string> level = FromLinux("cpuid level");
    ASSERT_FALSE(level.empty());
    EXPECT_EQ(processor.m_HighestLeaf, std::stoul(*level.begin()));
    const std::set<std::string> flags = FromLinux("flags");
    for (const CFlag& flag : kFlags) {
        const uint32_t read = processor.*flag.m_Field;
        EXPECT_TRUE(!flags.contains(flag.m_Name) || (read & flag.m_Bits) == flag.m_Bits)
            << flag.m_Name << ", but read was 0x" << std::hex << read;
    }
}
#endif

} // namespace
