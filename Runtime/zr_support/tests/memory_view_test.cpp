#include <zr_support/memory_view.h>

#include "child_process.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace Vestrel;

// Whether views of T are made from a TFrom: both kinds or neither.
template <typename TFrom, typename T>
constexpr bool kMakesViews = [] {
    constexpr bool isPacked = std::is_convertible_v<TFrom, TMemoryView<T>>;
    static_assert(isPacked == std::is_convertible_v<TFrom, TStridedMemoryView<T>>);
    return isPacked;
}();

using CFloats = std::vector<float>;

// Containers that outlive the call; const elements are not written.
static_assert(kMakesViews<CFloats&, float> && kMakesViews<CFloats&, const float>);
static_assert(kMakesViews<const CFloats&, const float> && !kMakesViews<const CFloats&, float>);
static_assert(kMakesViews<std::array<float, 3>&, float> &&
              kMakesViews<const std::array<float, 3>&, const float>);
static_assert(kMakesViews<float (&)[3], float> && kMakesViews<const float (&)[3], const float>);
static_assert(!kMakesViews<const float (&)[3], float>);

// Temporaries that own their elements are refused, const ones too.
static_assert(!kMakesViews<CFloats, const float> && !kMakesViews<const CFloats, const float>);
static_assert(!kMakesViews<std::array<float, 3>, const float>);
static_assert(!kMakesViews<std::array<const float, 3>, const float>);
static_assert(!kMakesViews<std::string, const char>);
static_assert(!kMakesViews<float[3], const float> && !kMakesViews<const float[3], const float>);
static_assert(!kMakesViews<std::initializer_list<float>, const float>);

// Temporary views are not.
static_assert(kMakesViews<std::span<float>, float> && kMakesViews<std::span<float>, const float>);
static_assert(kMakesViews<const std::span<const float, 3>, const float>);
static_assert(!kMakesViews<std::span<const float>, float>);

// Elements of another type are refused: those of a derived class would lie further apart.
struct CBase {
    float m_Value;
};
struct CDerived : CBase {
    float m_More;
};
static_assert(!kMakesViews<std::vector<int>&, const float> && !kMakesViews<float (&)[3][3], float>);
static_assert(!kMakesViews<std::vector<CDerived>&, CBase> && !kMakesViews<int, float>);
static_assert(!kMakesViews<std::nullptr_t, float>);

// Views are passed by value in loops, and samplers read their members.
static_assert(std::is_trivially_copyable_v<TMemoryView<float>> &&
              std::is_standard_layout_v<TMemoryView<float>>);
static_assert(std::is_trivially_copyable_v<TStridedMemoryView<float>> &&
              std::is_standard_layout_v<TStridedMemoryView<float>>);

template <typename T>
void ExpectMemory(const TMemoryView<T>& view, T* data, uint32_t count) {
    EXPECT_EQ(view.m_Data, data);
    EXPECT_EQ(view.m_Count, count);
}

template <typename T>
void ExpectMemory(const TStridedMemoryView<T>& view, T* data, uint32_t count) {
    EXPECT_EQ(view.m_Data, data);
    EXPECT_EQ(view.m_Count, count);
    EXPECT_EQ(view.m_Stride, sizeof(T));
}

template <typename TView>
class ViewFromContainer : public testing::Test {};
using CViews = testing::Types<TMemoryView<double>, TStridedMemoryView<double>>;
TYPED_TEST_SUITE(ViewFromContainer, CViews);

TYPED_TEST(ViewFromContainer, HasAllElements) {
    std::vector<double> vector(7);
    std::array<double, 5> array = {};
    double values[3] = {};
    ExpectMemory<double>(TypeParam(vector), vector.data(), 7);
    ExpectMemory<double>(TypeParam(array), array.data(), 5);
    ExpectMemory<double>(TypeParam(values), values, 3);
    ExpectMemory<double>(TypeParam(std::span(vector).subspan(2, 4)), &vector[2], 4);
}

TYPED_TEST(ViewFromContainer, MayHaveNoElements) {
    ExpectMemory<double>(TypeParam(std::span<double>()), nullptr, 0);
}

/// Claims any number of elements.
struct CHugeContainer {
    uint64_t m_Size;
    double m_Element = 0.0;

    double* data() {
        return &m_Element;
    }

    uint64_t size() const {
        return m_Size;
    }
};

TYPED_TEST(ViewFromContainer, CountsToTheLastOf32Bits) {
    CHugeContainer most = {UINT32_MAX};
    ExpectMemory<double>(TypeParam(most), most.data(), UINT32_MAX);
#if !defined(NDEBUG)
    CHugeContainer tooMany = {uint64_t{UINT32_MAX} + 1};
    const CChildResult result = RunInChild([&] { TypeParam{tooMany}; });
    EXPECT_TRUE(result.WasKilledBy(SIGABRT));
    EXPECT_NE(result.m_Errors.find("at most 2^32 - 1 elements"), std::string::npos) << result.m_Errors;
#endif
}

TEST(StridedMemoryView, PacksTheElementsOfAMemoryView) {
    double values[3] = {};
    const TMemoryView<double> packed(values, 2);
    ExpectMemory<double>(TStridedMemoryView<double>(packed), values, 2);
}

TEST(MemoryView, DefaultIsEmpty) {
    const TMemoryView<float> view;
    EXPECT_EQ(view.m_Data, nullptr);
    EXPECT_EQ(view.m_Count, 0u);
}

TEST(MemoryView, ElementsAreContiguous) {
    float values[] = {1.0f, 2.0f, 3.0f};
    const TMemoryView<float> view(values, 3);
    EXPECT_EQ(view.m_Count, 3u);
    EXPECT_EQ(&view[0], &values[0]);
    EXPECT_EQ(&view[2], &values[2]);
}

TEST(MemoryView, ConvertsToConstButNotBack) {
    float values[] = {1.0f, 2.0f};
    const TMemoryView<const float> view = TMemoryView<float>(values, 2);
    EXPECT_EQ(view.m_Data, values);
    EXPECT_EQ(view.m_Count, 2u);
    static_assert(!std::is_convertible_v<TMemoryView<const float>, TMemoryView<float>>);
    static_assert(!std::is_convertible_v<TMemoryView<int>, TMemoryView<const float>>);
}

TEST(StridedMemoryView, DefaultIsEmptyAndPacked) {
    const TStridedMemoryView<float> view;
    EXPECT_EQ(view.m_Data, nullptr);
    EXPECT_EQ(view.m_Count, 0u);
    EXPECT_EQ(view.m_Stride, sizeof(float));
}

TEST(StridedMemoryView, BracesAreAnAddressACountAndAStride) {
    float values[3] = {};
    const TStridedMemoryView<float> view = {values, 2, 8};
    EXPECT_EQ(view.m_Data, values);
    EXPECT_EQ(view.m_Count, 2u);
    EXPECT_EQ(view.m_Stride, 8u);
    const TStridedMemoryView<float> null = {nullptr, 0, 0};
    EXPECT_EQ(null.m_Data, nullptr);
    EXPECT_EQ(null.m_Count, 0u);
    EXPECT_EQ(null.m_Stride, 0u);
}

TEST(StridedMemoryView, StrideIsInBytes) {
    float values[] = {0.0f, 1.0f, 2.0f, 3.0f, 4.0f};
    const TStridedMemoryView<float> view(values, 3, 2 * sizeof(float));
    EXPECT_EQ(&view[0], &values[0]);
    EXPECT_EQ(&view[1], &values[2]);
    EXPECT_EQ(&view[2], &values[4]);
}

TEST(StridedMemoryView, StrideZeroPresentsTheSameElementAtEveryIndex) {
    float value = 7.0f;
    const TStridedMemoryView<float> view(&value, 1000, 0);
    EXPECT_EQ(&view[0], &value);
    EXPECT_EQ(&view[1], &value);
    EXPECT_EQ(&view[999], &value);
}

TEST(StridedMemoryView, IsWritable) {
    float values[] = {0.0f, 0.0f, 0.0f};
    const TStridedMemoryView<float> view(values, 2, 8);
    view[1] = 5.0f;
    EXPECT_EQ(values[2], 5.0f);
}

TEST(StridedMemoryView, ConvertsToConstButNotBack) {
    float values[] = {1.0f, 2.0f};
    const TStridedMemoryView<const float> view = TStridedMemoryView<float>(values, 1, 8);
    EXPECT_EQ(view.m_Data, values);
    EXPECT_EQ(view.m_Count, 1u);
    EXPECT_EQ(view.m_Stride, 8u);
    static_assert(!std::is_convertible_v<TStridedMemoryView<const float>, TStridedMemoryView<float>>);
}

TEST(StridedMemoryView, RunTimeStrideIsTheDefault) {
    static_assert(std::is_same_v<TStridedMemoryView<float>, TStridedMemoryView<float, -1>>);
}

} // namespace
