// store_kernels_test.cpp: every body of every store kernel against the model and against literal values.
#include "convert/sample_formats.h"
#include "tests/convert/sample_formats_kernels.h"
#include "tests/convert/sample_values.h"
#include "tests/support/bodies.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/guarded_pages.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tonekit {
namespace {

using reference::Encoding;
using Bytes = std::vector<uint8_t>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class StoreKernels : public testing::TestWithParam<char> {
protected:
    template <class Sample>
    auto *Kernel(const KernelPair &kernel)
    {
        if constexpr (sizeof(Sample) == 8)
            return Body<StoreDoubleBody>(kernel.ofDouble, GetParam());
        else
            return Body<StoreFloatBody>(kernel.ofFloat, GetParam());
    }

    static void Model(Encoding encoding, double sample, uint8_t *out)
    {
        reference::StoreDouble(encoding, sample, out);
    }
    static void Model(Encoding encoding, float sample, uint8_t *out)
    {
        reference::StoreFloat(encoding, sample, out);
    }

    // Stores count samples and compares each with the model.
    template <class Sample>
    void Compare(const KernelPair &kernel, const Sample *samples, uint32_t count, size_t misalignment = 0)
    {
        const uint32_t size = reference::Bytes(kernel.encoding);
        GuardedBuffer stored(count * size, misalignment);
        Kernel<Sample>(kernel)(stored.data(), samples, count);
        EXPECT_TRUE(stored.Intact()) << Name<Sample>(kernel) << " count " << count;
        for (uint32_t i = 0; i < count; ++i) {
            uint8_t expected[8];
            Model(kernel.encoding, samples[i], expected);
            ASSERT_EQ(std::memcmp(stored.data() + i * size, expected, size), 0)
                << Name<Sample>(kernel) << " sample " << i << " of " << count << ": " << samples[i]
                << " gives "
                << testing::PrintToString(Bytes(stored.data() + i * size, stored.data() + (i + 1) * size));
        }
    }

    template <class Sample>
    void Compare(const KernelPair &kernel, const std::vector<Sample> &samples)
    {
        Compare(kernel, samples.data(), static_cast<uint32_t>(samples.size()));
    }

    template <class Sample>
    static const char *Name(const KernelPair &kernel)
    {
        return sizeof(Sample) == 8 ? kernel.ofDouble : kernel.ofFloat;
    }

    // A sample on its own, and as all of a long run: by the rule for single samples and by that for groups.
    template <class Stored, class Sample>
    Stored Store(const char *name, Sample sample)
    {
        const std::vector<Sample> samples(67, sample);
        Bytes run(67 * sizeof(Stored));
        auto *body = Body<void(void *, const Sample *, uint32_t)>(name, GetParam());
        body(run.data(), samples.data(), 67);
        Stored single;
        body(&single, samples.data(), 1);
        for (size_t i = 0; i < 67; ++i)
            EXPECT_EQ(std::memcmp(&single, run.data() + i * sizeof(Stored), sizeof(Stored)), 0)
                << name << " " << i;
        return single;
    }

    int Store24(const char *name, double sample)
    {
        struct Three {
            uint8_t bytes[3];
        };
        const bool fromFloat = std::strstr(name, "Float") != nullptr;
        const Three three =
            fromFloat ? Store<Three>(name, static_cast<float>(sample)) : Store<Three>(name, sample);
        return static_cast<int>(reference::SignedValue(three.bytes, 3));
    }
};

TEST_P(StoreKernels, SamplesAroundEveryStep)
{
    Random random(16);
    for (const KernelPair &kernel : kStoreKernels)
        for (const uint32_t bits : {8u, 16u, 24u, 32u}) {
            Compare(kernel, SamplesAroundSteps<double>(bits, random));
            Compare(kernel, SamplesAroundSteps<float>(bits, random));
        }
}

TEST_P(StoreKernels, SpecialSamples)
{
    for (const KernelPair &kernel : kStoreKernels) {
        Compare(kernel, SpecialSamples<double>());
        Compare(kernel, SpecialSamples<float>());
    }
}

TEST_P(StoreKernels, OneSpecialSampleAmongOrdinaryOnes)
{
    const std::vector<double> specials = SpecialSamples<double>();
    for (const KernelPair &kernel : kStoreKernels)
        for (size_t i = 0; i < specials.size(); ++i) {
            std::vector<double> doubles(80, 0.25);
            doubles[i % 80] = specials[i];
            Compare(kernel, doubles);
            Compare(kernel, std::vector<float>(doubles.begin(), doubles.end()));
        }
}

TEST_P(StoreKernels, RandomBitPatterns)
{
    Random random(5);
    for (const KernelPair &kernel : kStoreKernels) {
        Compare(kernel, RandomBitPatterns<double>(100003, random));
        Compare(kernel, RandomBitPatterns<float>(100003, random));
    }
}

TEST_P(StoreKernels, MixedSamples)
{
    Random random(6);
    for (const KernelPair &kernel : kStoreKernels) {
        Compare(kernel, MixedSamples<double>(200003, random));
        Compare(kernel, MixedSamples<float>(200003, random));
    }
}

TEST_P(StoreKernels, AnyCountAtAnyAddressBetweenUnreadablePages)
{
    Random random(7);
    GuardedPages pages(300 * 8);
    for (const KernelPair &kernel : kStoreKernels)
        for (uint32_t count = 0; count < 150; ++count) {
            const std::vector<double> doubles = MixedSamples<double>(count, random);
            const std::vector<float> floats = MixedSamples<float>(count, random);
            auto *lastDoubles = reinterpret_cast<double *>(pages.End()) - count;
            std::copy(doubles.begin(), doubles.end(), lastDoubles);
            Compare(kernel, lastDoubles, count, count % 8);
            auto *lastFloats = reinterpret_cast<float *>(pages.End()) - count;
            std::copy(floats.begin(), floats.end(), lastFloats);
            Compare(kernel, lastFloats, count, count % 5);
            auto *firstFloats = reinterpret_cast<float *>(pages.Begin());
            std::copy(floats.begin(), floats.end(), firstFloats);
            Compare(kernel, firstFloats, count, count % 3);
        }
}

// After a clipped sample the kernels go on with limits for a while, which may reach the end of the block.
TEST_P(StoreKernels, ClippedStretchesEndWithTheBlock)
{
    GuardedPages pages(1100 * 8);
    for (const KernelPair &kernel : kStoreKernels)
        for (uint32_t count = 480; count < 1100; count += 7) {
            auto *doubles = reinterpret_cast<double *>(pages.End()) - count;
            for (uint32_t i = 0; i < count; ++i)
                doubles[i] = (i % 401 == count % 97 ? -3.25 : 0.75) * (i % 2 ? 1 : -1);
            Compare(kernel, doubles, count, count % 8);
            const std::vector<float> floats(doubles, doubles + count);
            auto *lastFloats = reinterpret_cast<float *>(pages.End()) - count;
            std::copy(floats.begin(), floats.end(), lastFloats);
            Compare(kernel, lastFloats, count, count % 4);
        }
}

TEST_P(StoreKernels, NoSamplesTouchNothing)
{
    for (const KernelPair &kernel : kStoreKernels) {
        Kernel<double>(kernel)(nullptr, nullptr, 0);
        Kernel<float>(kernel)(nullptr, nullptr, 0);
    }
}

TEST_P(StoreKernels, NothingIsWrittenByStoreNothing)
{
    uint8_t byte = 77;
    Body<StoreDoubleBody>("StoreNothing", GetParam())(&byte, nullptr, 1000);
    EXPECT_EQ(byte, 77);
}

TEST_P(StoreKernels, FullScale)
{
    EXPECT_EQ(Store<int16_t>("StoreDoubleToInt16", 1.0), 32767);
    EXPECT_EQ(Store<int16_t>("StoreFloatToInt16", 1.0f), 32767);
    EXPECT_EQ(Store24("StoreDoubleToInt24", 1.0), 8388607);
    EXPECT_EQ(Store24("StoreFloatToInt24", 1.0), 8388607);
    EXPECT_EQ(Store<int32_t>("StoreDoubleToInt32", 1.0), 2147483647);
    EXPECT_EQ(Store<int32_t>("StoreFloatToInt32", 1.0f), 2147483647);
    EXPECT_EQ(Store<int16_t>("StoreDoubleToInt16", -1.0), -32768);
    EXPECT_EQ(Store<int16_t>("StoreFloatToInt16", -1.0f), -32768);
    EXPECT_EQ(Store24("StoreDoubleToInt24", -1.0), -8388608);
    EXPECT_EQ(Store24("StoreFloatToInt24", -1.0), -8388608);
    EXPECT_EQ(Store<int32_t>("StoreDoubleToInt32", -1.0), INT32_MIN);
    EXPECT_EQ(Store<int32_t>("StoreFloatToInt32", -1.0f), INT32_MIN);
}

TEST_P(StoreKernels, EightBitsHaveTheirOffsetRule)
{
    EXPECT_EQ(Store<uint8_t>("StoreDoubleToInt8", 1.0), 255);
    EXPECT_EQ(Store<uint8_t>("StoreDoubleToInt8", -1.0), 0);
    EXPECT_EQ(Store<uint8_t>("StoreDoubleToInt8", 0.0), 128);
    EXPECT_EQ(Store<uint8_t>("StoreFloatToInt8", 1.0f), 255);
    EXPECT_EQ(Store<uint8_t>("StoreFloatToInt8", -1.0f), 0);
    EXPECT_EQ(Store<uint8_t>("StoreFloatToInt8", 0.0f), 128);
    // A half goes up here, not away from zero: t = 127.5 + 0.5.
    EXPECT_EQ(Store<uint8_t>("StoreDoubleToInt8", -0.00390625), 128);
    // Just below a half: double keeps it below; the float form rounds 128.49999 and its sum to floats of
    // fewer bits.
    EXPECT_EQ(Store<uint8_t>("StoreDoubleToInt8", 0.0039062498), 128);
    EXPECT_EQ(Store<uint8_t>("StoreFloatToInt8", 0.0039062498f), 129);
}

TEST_P(StoreKernels, ZeroOfEitherSignIsZero)
{
    for (const double zero : {0.0, -0.0}) {
        EXPECT_EQ(Store<int16_t>("StoreDoubleToInt16", zero), 0);
        EXPECT_EQ(Store24("StoreFloatToInt24", zero), 0);
        EXPECT_EQ(Store<int32_t>("StoreDoubleToInt32", zero), 0);
    }
}

TEST_P(StoreKernels, HalvesGoAwayFromZero)
{
    EXPECT_EQ(Store<int16_t>("StoreDoubleToInt16", 0.5 / 32768), 1);
    EXPECT_EQ(Store<int16_t>("StoreDoubleToInt16", -0.5 / 32768), -1);
    EXPECT_EQ(Store<int16_t>("StoreFloatToInt16", 2.5f / 32768), 3);
    EXPECT_EQ(Store<int16_t>("StoreFloatToInt16", -2.5f / 32768), -3);
    EXPECT_EQ(Store24("StoreDoubleToInt24", 1.5 / 8388608), 2);
    EXPECT_EQ(Store<int32_t>("StoreDoubleToInt32", -1.5 / 2147483648.0), -2);
}

TEST_P(StoreKernels, TheSumWithTheHalfIsRoundedToTheWorkingFormat)
{
    // The greatest number below a half plus a half is 1 after rounding.
    EXPECT_EQ(Store<int16_t>("StoreFloatToInt16", 0x1.fffffep-2f / 32768), 1);
    EXPECT_EQ(Store<int16_t>("StoreDoubleToInt16", 0x1.fffffffffffffp-2 / 32768), 1);
    EXPECT_EQ(Store<int16_t>("StoreDoubleToInt16", static_cast<double>(0x1.fffffep-2f / 32768)), 0);
    EXPECT_EQ(Store24("StoreFloatToInt24", 0x1.fffffep-2 / 8388608), 1);
    EXPECT_EQ(Store24("StoreFloatToInt24", -0x1.fffffep-2 / 8388608), -1);
    EXPECT_EQ(Store24("StoreDoubleToInt24", 0x1.fffffep-2 / 8388608), 0);
    EXPECT_EQ(Store<int32_t>("StoreFloatToInt32", 0x1.fffffep-2f / 2147483648.0f), 0);
}

TEST_P(StoreKernels, WhatIsBeyondFullScaleIsClipped)
{
    for (const double beyond : {1.0001, 2.0, 65536.0, 1e9, 1e30, kInfinity}) {
        const auto narrow = static_cast<float>(beyond);
        EXPECT_EQ(Store<uint8_t>("StoreDoubleToInt8", beyond), 255);
        EXPECT_EQ(Store<uint8_t>("StoreFloatToInt8", -narrow), 0);
        EXPECT_EQ(Store<int16_t>("StoreDoubleToInt16", beyond), 32767);
        EXPECT_EQ(Store<int16_t>("StoreDoubleToInt16", -beyond), -32768);
        EXPECT_EQ(Store<int16_t>("StoreFloatToInt16", narrow), 32767);
        EXPECT_EQ(Store<int16_t>("StoreFloatToInt16", -narrow), -32768);
        EXPECT_EQ(Store24("StoreDoubleToInt24", beyond), 8388607);
        EXPECT_EQ(Store24("StoreDoubleToInt24", -beyond), -8388608);
        EXPECT_EQ(Store24("StoreFloatToInt24", beyond), 8388607);
        EXPECT_EQ(Store24("StoreFloatToInt24", -beyond), -8388608);
        EXPECT_EQ(Store<int32_t>("StoreDoubleToInt32", beyond), INT32_MAX);
        EXPECT_EQ(Store<int32_t>("StoreFloatToInt32", -narrow), INT32_MIN);
        EXPECT_EQ(Store<float>("StoreDoubleToFloat32", beyond), 1.0f);
        EXPECT_EQ(Store<float>("StoreDoubleToFloat32", -beyond), -1.0f);
        EXPECT_EQ(Store<float>("StoreFloatToFloat32", narrow), 1.0f);
        EXPECT_EQ(Store<float>("StoreFloatToFloat32", -narrow), -1.0f);
        EXPECT_EQ(Store<double>("StoreDoubleToFloat64", beyond), beyond);
        EXPECT_EQ(Store<double>("StoreFloatToFloat64", -narrow), -narrow);
    }
}

TEST_P(StoreKernels, NotANumberIsZeroOrTheLowestOf32Bits)
{
    for (const double nan : {kNaN, -kNaN}) {
        EXPECT_EQ(Store<uint8_t>("StoreDoubleToInt8", nan), 0);
        EXPECT_EQ(Store<uint8_t>("StoreFloatToInt8", static_cast<float>(nan)), 0);
        EXPECT_EQ(Store<int16_t>("StoreDoubleToInt16", nan), 0);
        EXPECT_EQ(Store<int16_t>("StoreFloatToInt16", static_cast<float>(nan)), 0);
        EXPECT_EQ(Store24("StoreDoubleToInt24", nan), 0);
        EXPECT_EQ(Store24("StoreFloatToInt24", nan), 0);
        EXPECT_EQ(Store<int32_t>("StoreDoubleToInt32", nan), INT32_MIN);
        EXPECT_EQ(Store<int32_t>("StoreFloatToInt32", static_cast<float>(nan)), INT32_MIN);
        EXPECT_TRUE(std::isnan(Store<float>("StoreDoubleToFloat32", nan)));
        EXPECT_TRUE(std::isnan(Store<float>("StoreFloatToFloat32", static_cast<float>(nan))));
    }
}

INSTANTIATE_TEST_SUITE_P(Bodies, StoreKernels, testing::ValuesIn(RunnableLetters()),
                         [](const auto &letter) { return std::string(1, letter.param); });

} // namespace
} // namespace tonekit
