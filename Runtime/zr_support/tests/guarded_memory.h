#pragma once

// Memory between pages that must not be touched, for tests of what a call reads and writes.

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

/// Which of the pages something lies next to.
enum class EEdge { kBegin, kEnd };

constexpr std::array<EEdge, 2> kEdges = {EEdge::kBegin, EEdge::kEnd};

/// How far floats may be from a multiple of 16.
constexpr std::array<size_t, 4> kFloatOffsets = {0, 4, 8, 12};

inline std::ostream& operator<<(std::ostream& stream, EEdge edge) {
    return stream << (edge == EEdge::kBegin ? "behind the first page" : "before the last page");
}

/// At least as much memory as asked for, between two pages that must not be touched.
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

    /// The place for `size` bytes that is next to one of the pages, and `offset` bytes past a multiple of 16.
    /// They touch the last page if that offset leads there.
    unsigned char* Place(EEdge edge, size_t size, size_t offset = 0) const {
        if (edge == EEdge::kBegin) {
            return m_Begin + offset;
        }
        unsigned char* const last = End() - size;
        return last - (reinterpret_cast<uintptr_t>(last) - offset) % 16;
    }

    /// From now on writing is a fault, too.
    void MakeReadOnly() const {
        EXPECT_EQ(mprotect(m_Begin, m_Size, PROT_READ), 0);
    }

private:
    size_t m_PageSize;
    size_t m_Size;
    unsigned char* m_Begin;
};

/// A float that has been written, so many bytes from the start of a view.
struct CWrittenFloat {
    size_t m_Offset;
    float m_Value;
};

/// Guarded memory full of floats between 1000 and 1300, which knows what has been written to it.
class CWatchedMemory : public CGuardedMemory {
public:
    explicit CWatchedMemory(size_t size) : CGuardedMemory(size) {
        for (unsigned char* at = Begin(); at < End(); at += sizeof(float)) {
            const float value = 1000.0f + 0.3f * static_cast<float>((at - Begin()) / 4 * 7 % 1000);
            std::memcpy(at, &value, sizeof(value));
        }
        Remember();
    }

    /// What it holds now is what it should hold but for what is written from now on.
    void Remember() {
        m_Contents.assign(Begin(), End());
    }

    /// What should be at `data`.
    const unsigned char* ContentsAt(const unsigned char* data) const {
        return &m_Contents[static_cast<size_t>(data - Begin())];
    }

    /// Whether of the bytes around `data` exactly the floats at `offsets` from it have been written. Puts
    /// back what was there.
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

    /// Whether the bytes around `data` are what they should be after `writes`, one after the other. Puts back
    /// what was there.
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
        std::vector<unsigned char> due(contents, contents + (last - first));
        for (const CWrittenFloat& write : writes) {
            std::memcpy(&due[static_cast<size_t>(before) + write.m_Offset], &write.m_Value, sizeof(float));
        }
        const auto [is, shouldBe] = std::mismatch(first, last, due.begin());
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

/// `count` distances of floats that are packed.
inline std::vector<size_t> PackedOffsets(size_t count) {
    std::vector<size_t> offsets(count);
    for (size_t k = 0; k < count; ++k) {
        offsets[k] = k * sizeof(float);
    }
    return offsets;
}

/// While it lives, a fault ends the program, as it would anyway, but first says what went before. Describing
/// may allocate: what faults is code that does not.
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

    /// What went before, for other failures.
    static std::string Text() {
        std::ostringstream text;
        s_Describe(text);
        return text.str();
    }

    CFaultReporter(const CFaultReporter&) = delete;
    CFaultReporter& operator=(const CFaultReporter&) = delete;

private:
    static void Report(int, siginfo_t* info, void*) {
        std::cerr << "touched memory that it must not, at " << info->si_addr << ": " << Text() << std::endl;
        _exit(1);
    }

    static inline CDescription s_Describe;
    struct sigaction m_Before;
};

} // namespace Vestrel
