#pragma once

// Memory between guard pages, for tests of what a call reads and writes.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Vestrel {

/// The guard page that memory is next to.
enum class EEdge { kBegin, kEnd };

constexpr std::array<EEdge, 2> kEdges = {EEdge::kBegin, EEdge::kEnd};

/// Offsets of floats from multiples of 16.
constexpr std::array<size_t, 4> kFloatOffsets = {0, 4, 8, 12};

inline std::ostream& operator<<(std::ostream& stream, EEdge edge) {
    return stream << (edge == EEdge::kBegin ? "behind the first page" : "before the last page");
}

/// Memory of at least the requested size, between two guard pages.
class CGuardedMemory {
public:
    explicit CGuardedMemory(size_t size) : m_PageSize(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        m_Size = (size + m_PageSize - 1) / m_PageSize * m_PageSize;
        void* const pages =
            mmap(nullptr, m_Size + 2 * m_PageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED ||
            mprotect(static_cast<unsigned char*>(pages) + m_PageSize, m_Size, PROT_READ | PROT_WRITE) != 0) {
            std::perror("guarded memory");
            std::abort();
        }
        m_Begin = static_cast<unsigned char*>(pages) + m_PageSize;
    }

    ~CGuardedMemory() {
        munmap(m_Begin - m_PageSize, m_Size + 2 * m_PageSize);
    }

    CGuardedMemory(const CGuardedMemory&) = delete;
    CGuardedMemory& operator=(const CGuardedMemory&) = delete;

    unsigned char* Begin() const {
        return m_Begin;
    }

    unsigned char* End() const {
        return m_Begin + m_Size;
    }

    /// The address of `size` bytes next to one of the guard pages, `offset` bytes past a multiple of 16. They
    /// end exactly at the last page if the offset allows it.
    unsigned char* Place(EEdge edge, size_t size, size_t offset = 0) const {
        if (edge == EEdge::kBegin) {
            return m_Begin + offset;
        }
        unsigned char* const last = End() - size;
        return last - (reinterpret_cast<uintptr_t>(last) - offset) % 16;
    }

    /// Makes writes fault, too.
    void MakeReadOnly() const {
        EXPECT_EQ(mprotect(m_Begin, m_Size, PROT_READ), 0);
    }

private:
    size_t m_PageSize;
    size_t m_Size;
    unsigned char* m_Begin;
};

/// A written float, at an offset in bytes from the start of a view.
struct CWrittenFloat {
    size_t m_Offset;
    float m_Value;
};

/// Guarded memory filled with floats between 1000 and 1300, which detects writes.
class CWatchedMemory : public CGuardedMemory {
public:
    explicit CWatchedMemory(size_t size) : CGuardedMemory(size) {
        for (unsigned char* at = Begin(); at < End(); at += sizeof(float)) {
            const float value = 1000.0f + 0.3f * static_cast<float>((at - Begin()) / 4 * 7 % 1000);
            std::memcpy(at, &value, sizeof(value));
        }
        Remember();
    }

    /// Takes the current contents as the unwritten state.
    void Remember() {
        m_Contents.assign(Begin(), End());
    }

    /// The unwritten contents at `data`.
    const unsigned char* ContentsAt(const unsigned char* data) const {
        return &m_Contents[static_cast<size_t>(data - Begin())];
    }

    /// Whether exactly the floats at `offsets` from `data` have been written. Restores the contents.
    testing::AssertionResult HasWritten(unsigned char* data, const std::vector<size_t>& offsets) {
        for (const size_t offset : offsets) {
            const unsigned char* const before = ContentsAt(data) + offset;
            if (std::memcmp(data + offset, before, sizeof(float)) == 0) {
                return testing::AssertionFailure() << "nothing was written to the float at byte " << offset;
            }
            std::memcpy(data + offset, before, sizeof(float));
        }
        return HoldsAfter(data, {});
    }

    /// Whether the bytes at and around `data` are those after `writes`, in their order. Restores the
    /// contents.
    testing::AssertionResult HoldsAfter(unsigned char* data, const std::vector<CWrittenFloat>& writes) {
        size_t size = 0;
        for (const CWrittenFloat& write : writes) {
            size = std::max(size, write.m_Offset + sizeof(float));
        }
        const ptrdiff_t before = std::min<ptrdiff_t>(kMargin, data - Begin());
        const ptrdiff_t behind = static_cast<ptrdiff_t>(size) + kMargin;
        unsigned char* const first = data - before;
        unsigned char* const last = data + std::min(behind, End() - data);
        const unsigned char* const contents = ContentsAt(first);
        std::vector<unsigned char> expected(contents, contents + (last - first));
        for (const CWrittenFloat& write : writes) {
            std::memcpy(&expected[static_cast<size_t>(before) + write.m_Offset], &write.m_Value,
                        sizeof(float));
        }
        const auto [is, shouldBe] = std::mismatch(first, last, expected.begin());
        const testing::AssertionResult result = is == last ? testing::AssertionSuccess()
                                                           : testing::AssertionFailure()
                                                                 << "byte " << is - data << " is " << int{*is}
                                                                 << ", not " << int{*shouldBe};
        std::copy(contents, contents + (last - first), first);
        return result;
    }

private:
    static constexpr ptrdiff_t kMargin = 64;

    std::vector<unsigned char> m_Contents;
};

/// The offsets of `count` packed floats.
inline std::vector<size_t> PackedOffsets(size_t count) {
    std::vector<size_t> offsets(count);
    for (size_t k = 0; k < count; ++k) {
        offsets[k] = k * sizeof(float);
    }
    return offsets;
}

/// During its lifetime, a fault ends the program with a description. The description may allocate because the
/// tested code, which faults, does not.
class CFaultReporter {
public:
    using CDescription = std::function<void(std::ostream&)>;

    explicit CFaultReporter(CDescription describe) {
        s_Describe = std::move(describe);
        struct sigaction action = {};
        action.sa_sigaction = Report;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGSEGV, &action, &m_Before);
    }

    ~CFaultReporter() {
        sigaction(SIGSEGV, &m_Before, nullptr);
    }

    /// The description, for other failures.
    static std::string Text() {
        std::ostringstream text;
        s_Describe(text);
        return text.str();
    }

    CFaultReporter(const CFaultReporter&) = delete;
    CFaultReporter& operator=(const CFaultReporter&) = delete;

private:
    static void Report(int, siginfo_t* info, void*) {
        std::cerr << "invalid access at " << info->si_addr << ": " << Text() << std::endl;
        _exit(1);
    }

    static inline CDescription s_Describe;
    struct sigaction m_Before;
};

} // namespace Vestrel
