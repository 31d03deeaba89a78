// convert_test.cpp: whole conversions with each of their allocations failing, those of libsoxr included.
#include "tests/memory/every_allocation.h"
#include "tests/support/forget_filters.h"

#include <cmath>
#include <cstdint>
#include <memory>
#include <tonekit/convert.h>
#include <vector>

namespace tonekit {
namespace {

using Owner = std::unique_ptr<void, void (*)(void *)>;

struct Conversion {
    const char *name;
    uint32_t inputBits, inputRate, outputRate, channels, span, mode;
};

class EveryAllocationOf : public testing::TestWithParam<Conversion> {};

// Reads all that is there.
uint64_t Drain(void *handle, uint32_t (*take)(void *, void **, uint32_t *, uint32_t *))
{
    void *out = nullptr;
    uint32_t frames = 0;
    uint32_t bytes = 0;
    uint64_t total = 0;
    while (take(handle, &out, &frames, &bytes))
        total += frames;
    return total;
}

uint64_t Convert(const Conversion &c, const std::vector<int32_t> &noise, uint32_t frames)
{
    const Owner handle(SRC4_Init(0, c.inputBits, c.channels, c.inputRate, 0, 24, c.channels, c.outputRate,
                                 true, true, 0, c.span),
                       SRC4_Deinit);
    SRC4_Write(handle.get(), noise.data(), frames);
    return Drain(handle.get(), SRC4_Read) + Drain(handle.get(), SRC4_Flush);
}

TEST_P(EveryAllocationOf, AConversionMayFail)
{
    const Conversion &c = GetParam();
    SetDitherParameters(1, 1);
    SetSampleRateConverterParameters2(c.mode, 0);
    const uint32_t frames = 150000;
    const std::vector<int32_t> noise(size_t{frames} * c.channels, 0x12345678);
    const uint64_t whole = Convert(c, noise, frames);
    uint64_t last = 0;
    const uint64_t allocations = FailEachInTurn([&] { last = Convert(c, noise, frames); }, ForgetFilters);
    EXPECT_EQ(last, whole);
    EXPECT_NEAR(static_cast<double>(whole), std::ceil(1.0 * frames * c.outputRate / c.inputRate), 2.0);
    // A resampler's own are most of these: its filters, transforms and queues.
    EXPECT_GE(allocations, c.inputRate == c.outputRate ? 5u : 28u);
    SetDitherParameters(0, 1);
    SetSampleRateConverterParameters2(0, 0);
}

TEST(EveryAllocation, OfASecondConverterIsNoneForFilters)
{
    const auto make = [] { SRC4_Deinit(SRC4_Init(0, 16, 2, 44100, 0, 16, 2, 48000, false, false, 0, 24)); };
    const uint64_t designing = FailEachInTurn(make, ForgetFilters);
    const uint64_t sharing = FailEachInTurn(make);
    EXPECT_GT(sharing, 10u);
    EXPECT_GT(designing, sharing + 10) << "coefficients and the tables of transforms";
}

// After a failure the handle yields nothing more, and can be released.
TEST(EveryAllocation, OfAReadMayFailAndTheHandleIsUsedOn)
{
    const std::vector<float> noise(2 * 400000, 0.25f);
    for (uint64_t n = 1;; ++n) {
        const Owner handle(SRC4_Init(1, 32, 2, 44100, 1, 32, 2, 48000, false, false, 0, 0), SRC4_Deinit);
        SRC4_Write(handle.get(), noise.data(), 400000);
        process_heap::Fail(n);
        bool thrown = false;
        try {
            Drain(handle.get(), SRC4_Read);
            Drain(handle.get(), SRC4_Flush);
        } catch (const std::bad_alloc &) {
            thrown = true;
        }
        process_heap::Fail(0);
        const bool failed = process_heap::HasFailed();
        EXPECT_EQ(thrown, failed) << n;
        if (!failed) {
            EXPECT_GT(n, 5u);
            break;
        }
        Drain(handle.get(), SRC4_Read);
        Drain(handle.get(), SRC4_Flush);
    }
}

constexpr Conversion kConversions[] = {
    {"EqualRates", 16, 44100, 44100, 2, 0, 0}, {"Up", 16, 44100, 48000, 2, 0, 0},
    {"Down", 32, 48000, 44100, 2, 24, 1},      {"Double", 32, 44100, 48000, 6, 33, 2},
    {"Halved", 16, 96000, 48000, 1, 24, 0},    {"Irrational", 16, 44100, 44099, 2, 33, 0},
    {"FarDown", 16, 192000, 8000, 2, 31, 0},
};

INSTANTIATE_TEST_SUITE_P(, EveryAllocationOf, testing::ValuesIn(kConversions),
                         [](const auto &instance) { return instance.param.name; });

} // namespace
} // namespace tonekit
