#pragma once

// Views of many GiB for tests, with almost no memory. For 64-bit addresses.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace Vestrel {

/// Addresses without memory. All accesses fault, except at places that Use has mapped.
class CSparseMemory {
public:
    explicit CSparseMemory(size_t size) : m_Size(size) {
        void* const pages =
            mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        StopUnless(pages != MAP_FAILED);
        m_Begin = static_cast<unsigned char*>(pages);
    }

    ~CSparseMemory() {
        munmap(m_Begin, m_Size);
    }

    CSparseMemory(const CSparseMemory&) = delete;
    CSparseMemory& operator=(const CSparseMemory&) = delete;

    unsigned char* Begin() const {
        return m_Begin;
    }

    /// Maps the pages of `size` bytes at `offset` and returns their address.
    unsigned char* Use(size_t offset, size_t size) const {
        const size_t first = offset / PageSize() * PageSize();
        StopUnless(mprotect(m_Begin + first, offset - first + size, PROT_READ | PROT_WRITE) == 0);
        return m_Begin + offset;
    }

protected:
    static size_t PageSize() {
        return static_cast<size_t>(sysconf(_SC_PAGESIZE));
    }

    static void StopUnless(bool hasSucceeded) {
        if (!hasSucceeded) {
            std::perror("sparse memory");
            std::abort();
        }
    }

private:
    size_t m_Size;
    unsigned char* m_Begin;
};

/// `period` bytes of memory, a multiple of the page size, mapped repeatedly: a write to one address appears
/// at all addresses that are multiples of the period away.
class CRepeatedMemory : public CSparseMemory {
public:
    CRepeatedMemory(size_t size, size_t period) : CSparseMemory((size / period + 1) * period) {
        const int file = memfd_create("repeated memory", 0);
        StopUnless(file != -1 && ftruncate(file, static_cast<off_t>(period)) == 0);
        for (size_t offset = 0; offset <= size; offset += period) {
            StopUnless(mmap(Begin() + offset, period, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file,
                            0) != MAP_FAILED);
        }
        close(file);
    }
};

} // namespace Vestrel
