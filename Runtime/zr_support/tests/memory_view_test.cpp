#include <zr_support/memory_view.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using namespace Vestrel;

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
