#include <zr_support/mem_alloc.h>

#include "child_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/resource.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The allocators of sanitizers abort on exhaustion by default.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
extern "C" const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}
#endif

namespace {

using namespace Vestrel;

constexpr Mem::EAllocType kType = static_cast<Mem::EAllocType>(0);
constexpr Mem::EOrigin kOrigin = static_cast<Mem::EOrigin>(0);

/// The last request to the C library.
struct CRequest {
    size_t m_Alignment;
    size_t m_Size;
} s_Request;

} // namespace

// Replaces the C library's, which accepts sizes that the standard does not allow.
extern "C" void* aligned_alloc(size_t alignment, size_t size) noexcept {
    s_Request = {alignment, size};
    void* block = nullptr;
    return posix_memalign(&block, alignment, size) == 0 ? block : nullptr;
}

namespace {

TEST(MemAlloc, BlocksAreAlignedAndWritableToTheirEnd) {
    for (const uint32_t alignment : {1u, 2u, 4u, 8u, 16u, 32u, 64u, 4096u}) {
        for (const uint64_t size : {1u, 31u, 32u, 33u, 2052u, 3076u}) {
            void* const block = Mem::_RawAlloc(size, alignment, kType, kOrigin);
            ASSERT_NE(block, nullptr) << size << " bytes aligned to " << alignment;
            EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignment, 0u)
                << size << " bytes aligned to " << alignment;
            std::memset(block, 0xAB, static_cast<size_t>(size));
            Mem::_RawFree(block, kType, kOrigin);
        }
    }
}

TEST(MemAlloc, RequestsTheSmallestMultipleOfTheAlignment) {
    for (const uint32_t alignment : {1u, 2u, 4u, 8u, 16u, 32u, 64u, 4096u}) {
        for (uint64_t size = 0; size < 200; ++size) {
            Mem::_RawFree(Mem::_RawAlloc(size, alignment, kType, kOrigin), kType, kOrigin);
            const size_t expectedAlignment = std::max<size_t>(alignment, alignof(std::max_align_t));
            size_t expectedSize = expectedAlignment;
            while (expectedSize < size) {
                expectedSize += expectedAlignment;
            }
            EXPECT_EQ(s_Request.m_Alignment, expectedAlignment) << size << " bytes aligned to " << alignment;
            EXPECT_EQ(s_Request.m_Size, expectedSize) << size << " bytes aligned to " << alignment;
        }
    }
}

TEST(MemAlloc, FreedMemoryIsReused) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need more address space than the limit";
#endif
    const CChildResult result = RunInChild([] {
        constexpr uint64_t kMebibyte = 1 << 20;
        const rlimit limit = {512 * kMebibyte, 512 * kMebibyte};
        setrlimit(RLIMIT_AS, &limit);
        for (int k = 0; k < 1000; ++k) {
            Mem::_RawFree(Mem::_RawAlloc(kMebibyte, 32, kType, kOrigin), kType, kOrigin);
        }
    });
    EXPECT_TRUE(result.HasExitedWith(0)) << result.m_Errors;
}

TEST(MemAlloc, EmptyBlocksHaveDistinctAddresses) {
    void* const first = Mem::_RawAlloc(0, 32, kType, kOrigin);
    void* const second = Mem::_RawAlloc(0, 32, kType, kOrigin);
    EXPECT_NE(first, nullptr);
    EXPECT_NE(first, second);
    Mem::_RawFree(first, kType, kOrigin);
    Mem::_RawFree(second, kType, kOrigin);
}

TEST(MemAlloc, FreeingNullIsAllowed) {
    Mem::_RawFree(nullptr, kType, kOrigin);
}

TEST(MemAlloc, ExhaustionPrintsAMessageAndAborts) {
    // The largest possible size, and a size that wraps to almost nothing when padded.
    const CChildResult huge = RunInChild([] { Mem::_RawAlloc(UINT64_MAX / 2, 32, kType, kOrigin); });
    EXPECT_TRUE(huge.WasKilledBy(SIGABRT));
    EXPECT_NE(huge.m_Errors.find(
                  "Vestrel: out of memory: no block of 9223372036854775807 bytes, aligned to 32, is left\n"),
              std::string::npos)
        << huge.m_Errors;
    const CChildResult wrapping = RunInChild([] { Mem::_RawAlloc(UINT64_MAX - 5, 32, kType, kOrigin); });
    EXPECT_TRUE(wrapping.WasKilledBy(SIGABRT));
    EXPECT_NE(wrapping.m_Errors.find("Vestrel: out of memory"), std::string::npos) << wrapping.m_Errors;
}

} // namespace
