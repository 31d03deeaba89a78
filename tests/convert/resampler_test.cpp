// resampler_test.cpp: what a converter asks of libsoxr, and that it releases everything.
#include "tests/support/dependency_calls.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <tonekit/convert.h>
#include <vector>

namespace tonekit {
namespace {

class ResamplerTest : public testing::Test {
protected:
    void SetUp() override { RecordResamplers(&requests_); }
    void TearDown() override
    {
        RecordResamplers(nullptr);
        SetSampleRateConverterParameters2(0, 0);
    }

    // What a new converter of stereo to 5.1 asked for; the converter is gone.
    const std::vector<ResamplerRequest> &Requests(uint32_t inputRate, uint32_t outputRate, uint32_t span = 0)
    {
        requests_.clear();
        SRC4_Deinit(SRC4_Init(0, 16, 2, inputRate, 0, 24, 6, outputRate, false, false, 7, 7 + span));
        return requests_;
    }

    // Where the stop band of the filter begins, as a part of the Nyquist frequency.
    double StopBand(uint32_t inputRate, uint32_t outputRate)
    {
        return Requests(inputRate, outputRate).back().quality.stopband_begin;
    }

    std::vector<ResamplerRequest> requests_;
};

TEST_F(ResamplerTest, IsAskedForByTheFullRatesAndTheOutputChannels)
{
    for (const uint32_t span : {0u, 24u, 31u}) {
        ASSERT_EQ(Requests(44100, 48000, span).size(), 1u);
        const ResamplerRequest &request = requests_[0];
        EXPECT_TRUE(request.accepted);
        EXPECT_EQ(request.inputRate, 44100.0);
        EXPECT_EQ(request.outputRate, 48000.0);
        EXPECT_EQ(request.channels, 6u);
        EXPECT_FALSE(request.asksForError || request.hasRuntime);
        EXPECT_EQ(request.io.itype, span < 31 ? SOXR_FLOAT32_I : SOXR_FLOAT64_I);
        EXPECT_EQ(request.io.otype, request.io.itype);
        EXPECT_EQ(request.io.scale, 1.0);
        EXPECT_EQ(request.io.flags, 8ul);
        EXPECT_EQ(request.quality.precision, span == 0 ? 20.0 : span == 24 ? 28.0 : 32.0);
        EXPECT_EQ(request.quality.phase_response, 50.0);
        EXPECT_EQ(request.quality.stopband_begin, 1.0);
        EXPECT_EQ(request.quality.flags, 0ul);
    }
}

// The whole bits from 56 down, until libsoxr accepts: the highest that it does.
TEST_F(ResamplerTest, RefusedPrecisionFallsToTheHighestAccepted)
{
    ASSERT_FALSE(Requests(44100, 48000, 33).empty());
    double bits = 56;
    for (const ResamplerRequest &request : requests_) {
        EXPECT_EQ(request.quality.precision, bits--);
        EXPECT_EQ(request.accepted, &request == &requests_.back());
        EXPECT_DOUBLE_EQ(request.quality.passband_end, 0.9141429406225077) << "the recipe's own band stays";
        EXPECT_EQ(request.quality.stopband_begin, 1.0);
        EXPECT_EQ(request.io.itype, SOXR_FLOAT64_I);
    }
    EXPECT_GE(requests_.back().quality.precision, 33.0) << "what the packaged library accepts";
}

TEST_F(ResamplerTest, ModeAndAliasingAreThoseOfTheSettings)
{
    constexpr double kPassBand[] = {0.9137436532733066, 0.9827487306546613, 0.9948246191963984};
    constexpr double kStopBand[] = {1.05, 1.01, 1.003};
    for (uint32_t mode = 0; mode < 3; ++mode)
        for (const uint8_t aliasing : std::initializer_list<uint8_t>{0, 1, 200}) {
            SetSampleRateConverterParameters2(mode, aliasing);
            const soxr_quality_spec_t quality = Requests(44100, 48000).back().quality;
            EXPECT_DOUBLE_EQ(quality.passband_end, kPassBand[mode]);
            EXPECT_NEAR(quality.stopband_begin, aliasing ? kStopBand[mode] : 1.0, 1e-12);
        }
}

TEST_F(ResamplerTest, AliasingNeeds44100OnBothSides)
{
    SetSampleRateConverterParameters2(0, 1);
    EXPECT_NEAR(StopBand(44100, 48000), 1.05, 1e-12);
    EXPECT_NEAR(StopBand(48000, 44100), 1.05, 1e-12);
    EXPECT_EQ(StopBand(44099, 48000), 1.0);
    EXPECT_EQ(StopBand(48000, 44099), 1.0);
    EXPECT_EQ(StopBand(44100, 44099), 1.0);
    EXPECT_EQ(StopBand(44099, 44100), 1.0);
    EXPECT_EQ(StopBand(22050, 44100), 1.0);
    EXPECT_EQ(StopBand(44100, 22050), 1.0);
}

TEST_F(ResamplerTest, IsNotAskedForAtEqualRates)
{
    for (const uint32_t span : {0u, 24u, 31u, 33u}) {
        void *handle = SRC4_Init(0, 16, 2, 48000, 0, 24, 6, 48000, false, false, 0, span);
        const auto *converter = static_cast<const CSampleRateConverter4 *>(handle);
        EXPECT_EQ(converter->resampler, nullptr);
        EXPECT_FALSE(converter->resamplerActive);
        EXPECT_FALSE(converter->useDoublePath);
        SRC4_Deinit(handle);
    }
    EXPECT_TRUE(requests_.empty());
}

TEST_F(ResamplerTest, GoesWithItsConverter)
{
    const int64_t before = LiveResamplers();
    for (const uint32_t span : {0u, 33u}) {
        void *handle = SRC4_Init(0, 16, 2, 48000, 0, 24, 2, 44100, false, false, 0, span);
        EXPECT_EQ(LiveResamplers(), before + 1);
        SRC4_Deinit(handle);
        EXPECT_EQ(LiveResamplers(), before);
    }
    {
        CSampleRateConverter3 converter;
        void *input = nullptr;
        void *output = nullptr;
        converter.Init(0, 16, 2, 48000, 0, 24, 2, 44100, input, output, false, false, 0, 0);
        EXPECT_EQ(LiveResamplers(), before + 1);
    }
    EXPECT_EQ(LiveResamplers(), before);
}

} // namespace
} // namespace tonekit
