#pragma once

#include <zr_support/compiler.h>

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Vestrel {

namespace Internal {

// A view of T takes elements of type T, or of U where T is const U, as std::span does.
template <typename U, typename T>
using TEnableIfElements = std::enable_if_t<std::is_convertible_v<U (*)[], T (*)[]>>;

// What data() points at. No type without data() and size().
template <typename TContainer, typename = decltype(std::declval<TContainer&>().size())>
using TElementOf = std::remove_pointer_t<decltype(std::declval<TContainer&>().data())>;

// A view such as std::span gives the same elements whether it is const or not; an owner does not. The owner
// std::array<const T, n> does, but cannot be assigned to.
template <typename TContainer>
constexpr bool kIsView = std::is_same_v<TElementOf<TContainer>, TElementOf<const TContainer>>&&
    std::is_copy_assignable_v<TContainer>;

constexpr uint32_t CountOf(uint64_t size) {
    assert(size <= UINT32_MAX && "a view has at most 2^32 - 1 elements");
    return static_cast<uint32_t>(size);
}

} // namespace Internal

/// A contiguous run of `m_Count` elements: element k lies at `m_Data + k`. It owns nothing.
template <typename T>
struct TMemoryView {
    /// The first element. May be null if there are none.
    T* m_Data = nullptr;

    /// The number of elements.
    uint32_t m_Count = 0;

    /// An empty view.
    constexpr TMemoryView() = default;

    /// A view of `count` elements from `data` on.
    ///
    /// The caller guarantees that they outlive the view.
    constexpr TMemoryView(T* data, uint32_t count) : m_Data(data), m_Count(count) {}

    /// A view of all elements of an array.
    ///
    /// The caller guarantees that it outlives the view.
    template <typename U, size_t kSize, typename = Internal::TEnableIfElements<U, T>>
    constexpr TMemoryView(U (&array)[kSize]) : TMemoryView(array, Internal::CountOf(kSize)) {}

    /// Not of a temporary array.
    template <typename U, size_t kSize>
    TMemoryView(const U (&&)[kSize]) = delete;

    /// A view of all elements of a `std::vector`, `std::array`, `std::span` or anything else with `data()`
    /// and `size()`. A temporary is refused at compile time unless it is a view itself, or an owner that
    /// gives only const elements, which cannot be told from one.
    ///
    /// The caller guarantees
    /// - at most 2^32 - 1 elements (debug builds assert);
    /// - that the elements stay where they are as long as the view is in use.
    template <typename TContainer,
              typename = Internal::TEnableIfElements<Internal::TElementOf<TContainer>, T>,
              typename = std::enable_if_t<std::is_lvalue_reference_v<TContainer> ||
                                          Internal::kIsView<std::remove_cv_t<TContainer>>>>
    constexpr TMemoryView(TContainer&& container)
        : TMemoryView(container.data(), Internal::CountOf(static_cast<uint64_t>(container.size()))) {}

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

    /// The number of elements.
    uint32_t m_Count = 0;

    /// The bytes from one element to the next.
    uint32_t m_Stride = sizeof(T);

    /// An empty view, with the stride of packed elements.
    constexpr TStridedMemoryView() = default;

    /// A view of `count` elements from `data` on, `stride` bytes apart.
    ///
    /// The caller guarantees that they outlive the view.
    constexpr TStridedMemoryView(T* data, uint32_t count, uint32_t stride)
        : m_Data(data), m_Count(count), m_Stride(stride) {}

    /// A view of packed elements: those of an array, a container or a view that TMemoryView<T> is made from,
    /// with the same guarantees, or those of a TMemoryView<T> itself.
    template <typename TElements,
              typename = std::enable_if_t<std::is_convertible_v<TElements, TMemoryView<T>>>>
    constexpr TStridedMemoryView(TElements&& elements) {
        const TMemoryView<T> packed = std::forward<TElements>(elements);
        m_Data = packed.m_Data;
        m_Count = packed.m_Count;
    }

    /// A view of T is a view of const T.
    template <typename U, typename = std::enable_if_t<std::is_same_v<const U, T>>>
    constexpr TStridedMemoryView(const TStridedMemoryView<U, kStride>& other)
        : m_Data(other.m_Data), m_Count(other.m_Count), m_Stride(other.m_Stride) {}

    /// Element `index`.
    ///
    /// The caller guarantees
    /// - index < m_Count;
    /// - an element aligned as a T is.
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
