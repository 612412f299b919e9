// Stack use of calls, on a thread with a painted stack. The bounds are those of docs/guarantees.md.

#include "noise_test_support.h"
#include <zr_support_internal/selected_instruction_set.h>

#include <zr_maths/verify_arithmetic.h>

#include <gtest/gtest.h>

#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

namespace {

using namespace Vestrel;

#if defined(__has_feature)
#define VESTREL_HAS_FEATURE(feature) __has_feature(feature)
#else
#define VESTREL_HAS_FEATURE(feature) 0
#endif

constexpr bool kIsSanitized =
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) ||                                         \
    VESTREL_HAS_FEATURE(address_sanitizer) || VESTREL_HAS_FEATURE(thread_sanitizer) ||                       \
    VESTREL_HAS_FEATURE(memory_sanitizer)
    true;
#else
    false;
#endif

struct CBounds {
    size_t m_Operation;
    size_t m_Verification;
};

CBounds Bounds() {
    const bool isAvx512 = Internal::SelectedInstructionSet() == EInstructionSet::kAvx512;
#if defined(__OPTIMIZE__)
    return isAvx512 ? CBounds{12 << 10, 32 << 10} : CBounds{5 << 10, 26 << 10};
#elif defined(__clang__)
    return isAvx512 ? CBounds{150 << 10, 180 << 10} : CBounds{50 << 10, 62 << 10};
#else
    return isAvx512 ? CBounds{76 << 10, 96 << 10} : CBounds{32 << 10, 44 << 10};
#endif
}

/// Bytes of a new thread's stack that `operation` has changed, down to the lowest.
size_t TouchedBytes(std::function<void()> operation) {
    constexpr size_t kSize = 1 << 20;
    constexpr unsigned char kPaint = 0xA5;
    constexpr size_t kPage = 1 << 16; // the largest page size on Linux
    std::vector<unsigned char> memory(kSize + kPage, kPaint);
    const size_t offset = kPage - reinterpret_cast<uintptr_t>(memory.data()) % kPage;
    unsigned char* const stack = memory.data() + offset;
    pthread_attr_t attributes;
    pthread_t thread;
    EXPECT_EQ(pthread_attr_init(&attributes), 0);
    EXPECT_EQ(pthread_attr_setstack(&attributes, stack, kSize), 0);
    const auto run = [](void* function) -> void* {
        (*static_cast<std::function<void()>*>(function))();
        return nullptr;
    };
    EXPECT_EQ(pthread_create(&thread, &attributes, run, &operation), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
    const auto* const lowest =
        std::find_if(stack, stack + kSize, [](unsigned char byte) { return byte != kPaint; });
    return static_cast<size_t>(stack + kSize - lowest);
}

/// Bytes used, without those of the thread itself.
size_t BytesUsed(std::function<void()> operation) {
    return TouchedBytes(std::move(operation)) - TouchedBytes([] {});
}

class StackUse : public testing::Test {
protected:
    void SetUp() override {
        if (kIsSanitized) {
            GTEST_SKIP() << "sanitizers put redzones around all variables";
        }
    }
};

TEST_F(StackUse, IsMeasured) {
    const size_t used = BytesUsed([] {
        unsigned char bytes[20000];
        asm volatile("" : : "r"(bytes) : "memory");
        std::fill_n(bytes, sizeof(bytes), static_cast<unsigned char>(0));
        asm volatile("" : : "r"(bytes) : "memory");
    });
    EXPECT_GE(used, 19000u);
    EXPECT_LE(used, 30000u);
}

TEST_F(StackUse, IsWithinBounds) {
    const CBounds bounds = Bounds();
    EXPECT_LE(BytesUsed([] { VerifyArithmetic(); }), bounds.m_Verification) << "VerifyArithmetic";

    constexpr uint32_t kCount = 1023;
    COpenNoise noise = EvenNoise();
    CListGenerator generator(EvenValues());
    CRotatableFastNoise3 rotatable(&generator);
    std::vector<float> positions(4 * kCount + 4, 0.37f);
    std::vector<float> samples(kCount);
    const TStridedMemoryView<float> output = {samples.data(), kCount, sizeof(float)};
    for (const float coordinate : {0.37f, 3e9f}) {
        positions[100] = coordinate;
        const auto expect = [&](const char* name, auto sample, auto position) {
            const auto* const data = reinterpret_cast<const decltype(position)*>(positions.data());
            EXPECT_LE(BytesUsed([&] {
                          (noise.*sample)(output, {data, kCount, sizeof(position)});
                      }),
                      bounds.m_Operation)
                << name << " with a coordinate of " << coordinate;
        };
        expect("1D", &CFastNoise3::SampleQuintic1D, 0.0f);
        expect("2D", &CFastNoise3::SampleQuintic2D, TVector<float, 2>());
        expect("3D", &CFastNoise3::SampleQuintic3D, TVector<float, 3>());
        expect("4D", &CFastNoise3::SampleQuintic4D, TVector<float, 4>());
    }
    const std::vector<TPair<TVector<float, 4>, TVector<int, 4>>> records(kCount);
    std::vector<TVector<float, 4>> gradients(kCount);
    EXPECT_LE(
        BytesUsed([&] {
            noise.Sample1stOrderDerivativesQuintic({records.data(), kCount}, {gradients.data(), kCount});
        }),
        bounds.m_Operation)
        << "gradients";
    for (const float time : {0.37f, 20000.5f}) {
        EXPECT_LE(BytesUsed([&] { rotatable.RotateBasis(time); }), bounds.m_Operation) << "time " << time;
    }
}

} // namespace
