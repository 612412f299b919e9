#pragma once

#include <zr_support/compiler.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Vestrel {

/// A contiguous run of `m_Count` elements: element k lies at `m_Data + k`. It owns nothing.
template <typename T>
struct TMemoryView {
    /// The first element. May be null if there are none.
    T* m_Data = nullptr;

    /// How many elements there are.
    uint32_t m_Count = 0;

    /// An empty view.
    constexpr TMemoryView() = default;

    /// A view of `count` elements from `data` on, which the caller keeps alive.
    constexpr TMemoryView(T* data, uint32_t count) : m_Data(data), m_Count(count) {}

    /// A view of T is a view of const T.
    template <typename U, typename = std::enable_if_t<std::is_same_v<const U, T>>>
    constexpr TMemoryView(const TMemoryView<U>& other) : m_Data(other.m_Data), m_Count(other.m_Count) {}

    /// Element `index`. The caller guarantees index < m_Count.
    constexpr T& operator[](uint32_t index) const {
        return m_Data[index];
    }
};

/// `m_Count` elements, each `m_Stride` bytes after the one before; with a stride of 0 every element is the
/// one at `m_Data`. It owns nothing.
///
/// The second parameter is -1 for a stride that is known at run time, the only kind there is.
template <typename T, int kStride = -1>
struct TStridedMemoryView {
    static_assert(kStride == -1, "a view's stride is a run-time field");

    /// The first element. May be null if there are none.
    T* m_Data = nullptr;

    /// How many elements there are.
    uint32_t m_Count = 0;

    /// The bytes from one element to the next.
    uint32_t m_Stride = sizeof(T);

    /// An empty view, with the stride of packed elements.
    constexpr TStridedMemoryView() = default;

    /// A view of `count` elements from `data` on, which the caller keeps alive. `stride` is in bytes.
    constexpr TStridedMemoryView(T* data, uint32_t count, uint32_t stride)
        : m_Data(data), m_Count(count), m_Stride(stride) {}

    /// A view of T is a view of const T.
    template <typename U, typename = std::enable_if_t<std::is_same_v<const U, T>>>
    constexpr TStridedMemoryView(const TStridedMemoryView<U, kStride>& other)
        : m_Data(other.m_Data), m_Count(other.m_Count), m_Stride(other.m_Stride) {}

    /// Element `index`. The caller guarantees index < m_Count, and an element aligned as a T is.
    T& operator[](uint32_t index) const {
        using TByte = std::conditional_t<std::is_const_v<T>, const unsigned char, unsigned char>;
        TByte* const bytes = reinterpret_cast<TByte*>(m_Data);
        return *reinterpret_cast<T*>(bytes + static_cast<size_t>(index) * m_Stride);
    }
};

static_assert(sizeof(void*) != 8 ||
              (sizeof(TMemoryView<float>) == 16 && offsetof(TMemoryView<float>, m_Data) == 0 &&
               offsetof(TMemoryView<float>, m_Count) == 8));
static_assert(sizeof(void*) != 8 ||
              (sizeof(TStridedMemoryView<float>) == 16 && offsetof(TStridedMemoryView<float>, m_Data) == 0 &&
               offsetof(TStridedMemoryView<float>, m_Count) == 8 &&
               offsetof(TStridedMemoryView<float>, m_Stride) == 12));

} // namespace Vestrel
