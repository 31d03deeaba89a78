// load_kernels_test.cpp: every body of every load kernel against the model and against literal values.
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

class LoadKernels : public testing::TestWithParam<char> {
protected:
    void TearDown() override { SetHDCDGain(6); }

    template <class Sample>
    auto *Kernel(const KernelPair &kernel)
    {
        if constexpr (sizeof(Sample) == 8)
            return Body<LoadDoubleBody>(kernel.ofDouble, GetParam());
        else
            return Body<LoadFloatBody>(kernel.ofFloat, GetParam());
    }

    template <class Sample>
    static Sample Expected(Encoding encoding, const uint8_t *bytes)
    {
        const double gain = HdcdGainTable[GetHDCDGain()];
        if constexpr (sizeof(Sample) == 8)
            return reference::LoadedDouble(encoding, bytes, gain);
        else
            return reference::LoadedFloat(encoding, bytes, gain);
    }

    // Loads bytes of count samples and compares each with the model, bit for bit.
    template <class Sample>
    void Compare(const KernelPair &kernel, const uint8_t *bytes, uint32_t count, size_t misalignment = 0)
    {
        GuardedBuffer loaded(count * sizeof(Sample), misalignment * sizeof(Sample));
        Kernel<Sample>(kernel)(bytes, loaded.As<Sample>(), count);
        EXPECT_TRUE(loaded.Intact()) << Name<Sample>(kernel) << " count " << count;
        const uint32_t size = reference::Bytes(kernel.encoding);
        for (uint32_t i = 0; i < count; ++i) {
            const Sample expected = Expected<Sample>(kernel.encoding, bytes + i * size);
            ASSERT_EQ(std::memcmp(&expected, loaded.As<Sample>() + i, sizeof expected), 0)
                << Name<Sample>(kernel) << " sample " << i << " of " << count << ": "
                << loaded.As<Sample>()[i] << " for " << expected;
        }
    }

    void CompareBoth(const KernelPair &kernel, const Bytes &bytes)
    {
        const auto count =
            static_cast<uint32_t>(bytes.size() / std::max(1u, reference::Bytes(kernel.encoding)));
        Compare<double>(kernel, bytes.data(), count);
        Compare<float>(kernel, bytes.data(), count);
    }

    template <class Sample>
    static const char *Name(const KernelPair &kernel)
    {
        return sizeof(Sample) == 8 ? kernel.ofDouble : kernel.ofFloat;
    }

    double LoadDouble(const char *name, const Bytes &bytes)
    {
        double loaded = -99;
        Body<LoadDoubleBody>(name, GetParam())(bytes.data(), &loaded, 1);
        return loaded;
    }

    float LoadFloat(const char *name, const Bytes &bytes)
    {
        float loaded = -99;
        Body<LoadFloatBody>(name, GetParam())(bytes.data(), &loaded, 1);
        return loaded;
    }
};

TEST_P(LoadKernels, EveryValueOf8Bits)
{
    Bytes bytes(256);
    for (size_t i = 0; i < 256; ++i)
        bytes[i] = static_cast<uint8_t>(i);
    CompareBoth(kLoadKernels[0], bytes);
}

TEST_P(LoadKernels, EveryValueOf16Bits)
{
    Bytes bytes;
    for (int i = 0; i < 65536; ++i)
        bytes.insert(bytes.end(), {static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8)});
    CompareBoth(kLoadKernels[1], bytes);
}

TEST_P(LoadKernels, RandomBitsOfEveryEncoding)
{
    Random random(24);
    for (const KernelPair &kernel : kLoadKernels) {
        Bytes bytes(200003 * reference::Bytes(kernel.encoding));
        random.Fill(bytes.data(), bytes.size());
        CompareBoth(kernel, bytes);
    }
}

TEST_P(LoadKernels, SpecialFloats)
{
    for (const KernelPair &kernel : kLoadKernels) {
        if (kernel.encoding == Encoding::kFloat32) {
            const std::vector<float> samples = SpecialSamples<float>();
            const auto *bytes = reinterpret_cast<const uint8_t *>(samples.data());
            CompareBoth(kernel, Bytes(bytes, bytes + samples.size() * 4));
        }
        if (kernel.encoding == Encoding::kFloat64) {
            const std::vector<double> samples = SpecialSamples<double>();
            const auto *bytes = reinterpret_cast<const uint8_t *>(samples.data());
            CompareBoth(kernel, Bytes(bytes, bytes + samples.size() * 8));
        }
    }
}

TEST_P(LoadKernels, LimitsOfLongIntegers)
{
    Bytes bytes;
    for (const int64_t base :
         {INT64_MIN, int64_t{0}, INT64_MAX, int64_t{1} << 53, -(int64_t{1} << 53), int64_t{1} << 62})
        for (int64_t step = -3; step <= 3; ++step) {
            const uint64_t value = static_cast<uint64_t>(base) + static_cast<uint64_t>(step);
            for (int i = 0; i < 8; ++i)
                bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
        }
    for (const KernelPair &kernel : kLoadKernels)
        if (kernel.encoding == Encoding::kInt64 || kernel.encoding == Encoding::kInt32)
            CompareBoth(kernel, bytes);
}

TEST_P(LoadKernels, AnyCountAtAnyAddressBetweenUnreadablePages)
{
    Random random(7);
    for (const KernelPair &kernel : kLoadKernels) {
        const uint32_t size = reference::Bytes(kernel.encoding);
        GuardedPages pages(300 * 8);
        random.Fill(pages.Begin(), pages.size());
        for (uint32_t count = 0; count < 150; ++count) {
            Compare<double>(kernel, pages.Begin(), count, count % 8);
            Compare<float>(kernel, pages.End() - count * size, count, count % 8);
            Compare<double>(kernel, pages.End() - count * size, count, count % 3);
        }
        for (size_t misalignment = 1; misalignment < 16; ++misalignment)
            Compare<float>(kernel, pages.Begin() + misalignment, 100);
    }
}

TEST_P(LoadKernels, NoSamplesTouchNothing)
{
    for (const KernelPair &kernel : kLoadKernels) {
        Kernel<double>(kernel)(nullptr, nullptr, 0);
        Kernel<float>(kernel)(nullptr, nullptr, 0);
    }
}

TEST_P(LoadKernels, SilenceReadsNothing)
{
    std::vector<double> doubles(100, 5.0);
    Body<LoadDoubleBody>("LoadSilenceToDouble", GetParam())(nullptr, doubles.data(), 99);
    EXPECT_EQ(doubles[0], 0.0);
    EXPECT_EQ(doubles[98], 0.0);
    EXPECT_EQ(doubles[99], 5.0);
    std::vector<float> floats(100, 5.0f);
    Body<LoadFloatBody>("LoadSilenceToFloat", GetParam())(nullptr, floats.data(), 99);
    EXPECT_EQ(floats[0], 0.0f);
    EXPECT_EQ(floats[98], 0.0f);
    EXPECT_EQ(floats[99], 5.0f);
}

TEST_P(LoadKernels, KnownValues)
{
    EXPECT_EQ(LoadDouble("LoadInt8ToDouble", {128}), 0.0);
    EXPECT_EQ(LoadDouble("LoadInt8ToDouble", {0}), -1.0);
    EXPECT_EQ(LoadDouble("LoadInt8ToDouble", {255}), 0.9921875);
    EXPECT_EQ(LoadFloat("LoadInt8ToFloat", {128}), 0.0f);
    EXPECT_EQ(LoadFloat("LoadInt8ToFloat", {0}), -1.0f);
    EXPECT_EQ(LoadFloat("LoadInt8ToFloat", {255}), 0.9921875f);
    EXPECT_EQ(LoadDouble("LoadInt16ToDouble", {0x00, 0x80}), -1.0);
    EXPECT_EQ(LoadFloat("LoadInt16ToFloat", {0xFF, 0x7F}), 0.999969482421875f);
    EXPECT_EQ(LoadDouble("LoadInt24ToDouble", {0xFF, 0xFF, 0x7F}), 8388607 * 1.1920928955078125e-07);
    EXPECT_EQ(LoadDouble("LoadInt24ToDouble", {0x00, 0x00, 0x80}), -1.0);
    EXPECT_EQ(LoadFloat("LoadInt24ToFloat", {0xFF, 0xFF, 0x7F}), 0.99999988079071044921875f);
    EXPECT_EQ(LoadFloat("LoadInt24ToFloat", {0x00, 0x00, 0x80}), -1.0f);
    EXPECT_EQ(LoadDouble("LoadInt32ToDouble", {0x00, 0x00, 0x00, 0x80}), -1.0);
    EXPECT_EQ(LoadFloat("LoadInt32ToFloat", {0xFF, 0xFF, 0xFF, 0x7F}), 1.0f);
    EXPECT_EQ(LoadDouble("LoadInt64ToDouble", {0, 0, 0, 0, 0, 0, 0, 0x80}), -1.0);
    EXPECT_EQ(LoadFloat("LoadInt64ToFloat", {255, 255, 255, 255, 255, 255, 255, 0x7F}), 1.0f);
}

TEST_P(LoadKernels, Int64IsRoundedToDoubleBeforeFloat)
{
    // 2^54 + 2^30 + 1: the last bit is lost in double, and the tie that is left goes to even.
    EXPECT_EQ(LoadFloat("LoadInt64ToFloat", {1, 0, 0, 0x40, 0, 0, 0x40, 0}), 0x1p-9f);
}

TEST_P(LoadKernels, HdcdGainIsTheOneSetAtTheCall)
{
    const double factors[] = {1.0,
                              1.1220184543019633,
                              1.2589254117941673,
                              1.4125375446227544,
                              1.5848931924611134,
                              1.7782794100389228,
                              1.9952623149688795};
    const Bytes half = {0, 0, 0, 0x40}; // 2^30
    EXPECT_EQ(LoadDouble("LoadHdcdInt32ToDouble", half), 0.5 * 1.9952623149688795);
    for (uint32_t index = 0; index < 7; ++index) {
        EXPECT_EQ(HdcdGainTable[index], factors[index]);
        SetHDCDGain(index);
        EXPECT_EQ(LoadDouble("LoadHdcdInt32ToDouble", half), 0.5 * factors[index]);
        EXPECT_EQ(LoadFloat("LoadHdcdInt32ToFloat", half), static_cast<float>(0.5 * factors[index]));
        Random random(index);
        Bytes bytes(4 * 1003);
        random.Fill(bytes.data(), bytes.size());
        CompareBoth(kLoadKernels[5], bytes);
    }
}

INSTANTIATE_TEST_SUITE_P(Bodies, LoadKernels, testing::ValuesIn(RunnableLetters()),
                         [](const auto &letter) { return std::string(1, letter.param); });

} // namespace
} // namespace tonekit
