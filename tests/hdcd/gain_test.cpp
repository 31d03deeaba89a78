// gain_test.cpp: scaling, peak extension, the gain ramp and the analysis modes, in each body.
#include "hdcd/analyze.h"
#include "hdcd/hdcd_tables.h"
#include "tests/hdcd/hdcd_bodies.h"
#include "tests/reference/hdcd_model.h"
#include "tests/support/element_address.h"
#include "tests/support/guarded_buffer.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace tonekit {
namespace {

class HdcdGain : public HdcdBodies {
protected:
    int32_t One(int32_t sample, int32_t bits, bool extend)
    {
        EXPECT_EQ(envelope(&sample, 1, 1, bits, 0, 0, extend), 0);
        return sample;
    }
};

TEST_P(HdcdGain, PlainSamplesAreScaledTo2To30)
{
    EXPECT_EQ(One(1, 16, false), 32768);
    EXPECT_EQ(One(-1, 16, false), -32768);
    EXPECT_EQ(One(32767, 16, false), 32767 * 32768);
    EXPECT_EQ(One(-32768, 16, false), -(1 << 30));
    EXPECT_EQ(One(-524288, 20, false), -(1 << 30));
    EXPECT_EQ(One(3, 20, false), 3 * 2048);
    EXPECT_EQ(One(3, 24, false), 3 * 128);
    EXPECT_EQ(One(-8388608, 24, false), -(1 << 30));
}

TEST_P(HdcdGain, PeaksAreExtendedFromTheLevelOn)
{
    EXPECT_EQ(One(22912, 16, true), 22912 * 32768);
    EXPECT_EQ(One(-22912, 16, true), -22912 * 32768);
    EXPECT_EQ(One(22913, 16, true), 0x2CC08300);
    EXPECT_EQ(One(-22913, 16, true), -0x2CC08300);
    EXPECT_EQ(One(32767, 16, true), 0x7FF38000);
    EXPECT_EQ(One(-32767, 16, true), -0x7FF38000);
    EXPECT_EQ(One(-32768, 16, true), INT32_MIN);
}

TEST_P(HdcdGain, EveryMagnitudeFrom22913To32768)
{
    for (int32_t magnitude = 22913; magnitude <= 32768; ++magnitude) {
        const uint32_t value = HdcdPeakTable[magnitude - 22913];
        EXPECT_EQ(static_cast<uint32_t>(One(-magnitude, 16, true)), 0 - value);
        if (magnitude < 32768) {
            EXPECT_EQ(static_cast<uint32_t>(One(magnitude, 16, true)), value);
        }
    }
}

TEST_P(HdcdGain, MagnitudesBeyondTheTableTakeItsLastEntry)
{
    for (const int32_t sample : {32768, 40000, INT32_MAX, -40000, INT32_MIN, INT32_MIN + 1})
        EXPECT_EQ(One(sample, 16, true), INT32_MIN) << sample;
}

// The table is that of 16 bits and doesn't join the shift at the levels of 20 and 24 bits.
TEST_P(HdcdGain, DeeperSamplesUseTheSameTableAtTheirOwnLevel)
{
    EXPECT_EQ(One(514432, 20, true), 514432 * 2048);
    EXPECT_EQ(One(514433, 20, true), 0x2CC08300);
    EXPECT_EQ(One(524287, 20, true), 0x7FF38000);
    EXPECT_EQ(One(8378752, 24, true), 8378752 * 128);
    EXPECT_EQ(One(-8378753, 24, true), -0x2CC08300);
    EXPECT_EQ(One(-8388608, 24, true), INT32_MIN);
}

TEST_P(HdcdGain, AttackTakesOneStepASampleAndHolds)
{
    Samples samples(300, 1000);
    EXPECT_EQ(envelope(samples.data(), 300, 1, 16, 0, 256, 0), 256);
    const int64_t scaled = 1000 * 32768;
    for (int i = 0; i < 300; ++i) {
        const int gain = std::min(i + 1, 256);
        EXPECT_EQ(samples[static_cast<size_t>(i)], scaled * HdcdGainTable32[gain] >> 23) << i;
    }
    EXPECT_EQ(samples[0], scaled * 0x7FF144 >> 23);
    EXPECT_EQ(samples[299], scaled * 0x721482 >> 23);
}

TEST_P(HdcdGain, ReleaseTakesEightStepsASample)
{
    Samples samples(40, -777);
    EXPECT_EQ(envelope(samples.data(), 40, 1, 16, 256, 0, 0), 0);
    const int64_t scaled = -777 * 32768;
    for (int i = 0; i < 40; ++i) {
        const int gain = std::max(256 - 8 * (i + 1), 0);
        EXPECT_EQ(samples[static_cast<size_t>(i)], scaled * HdcdGainTable32[gain] >> 23) << i;
    }
    EXPECT_EQ(samples[30], scaled * 0x7F8A52 >> 23);
    EXPECT_EQ(samples[31], scaled);
}

TEST_P(HdcdGain, FullRampsTakeTheirExactLengths)
{
    Samples samples(2000, 9);
    EXPECT_EQ(envelope(samples.data(), 1919, 1, 16, 0, 1920, 0), 1919);
    EXPECT_EQ(envelope(samples.data(), 1920, 1, 16, 0, 1920, 0), 1920);
    EXPECT_EQ(envelope(samples.data(), 239, 1, 16, 1920, 0, 0), 8);
    EXPECT_EQ(envelope(samples.data(), 240, 1, 16, 1920, 0, 0), 0);
}

TEST_P(HdcdGain, RestBelowEightClosesInNoSample)
{
    int32_t sample = 123;
    for (int gain = 1; gain < 8; ++gain)
        EXPECT_EQ(envelope(&sample, 0, 1, 16, gain, 0, 0), 0);
    EXPECT_EQ(envelope(&sample, 0, 1, 16, 8, 0, 0), 8);
    EXPECT_EQ(envelope(&sample, 0, 1, 16, 135, 128, 0), 128);
    EXPECT_EQ(envelope(&sample, 0, 1, 16, 136, 128, 0), 136);
    EXPECT_EQ(envelope(&sample, 0, 1, 16, 0, 5, 0), 0);
    EXPECT_EQ(sample, 123);
    EXPECT_EQ(envelope(&sample, 1, 1, 16, 5, 0, 0), 0);
    EXPECT_EQ(sample, 123 * 32768);
}

TEST_P(HdcdGain, AttenuationRoundsTowardsMinusInfinity)
{
    int32_t samples[2] = {1, -1};
    envelope(samples, 1, 1, 24, 1920, 1920, 0);
    envelope(samples + 1, 1, 1, 24, 1920, 1920, 0);
    EXPECT_EQ(samples[0], 128 * 0x35FA26 >> 23);
    EXPECT_EQ(samples[0] + 1, -samples[1]);
}

TEST_P(HdcdGain, NegativeCountsDoNothing)
{
    EXPECT_EQ(envelope(nullptr, -7, 1, 16, 0, 256, 1), 0);
    EXPECT_EQ(envelope(nullptr, -7, 1, 16, 256, 0, 1), 256);
}

TEST_P(HdcdGain, EnvelopeAgreesWithTheModel)
{
    Random random(static_cast<uint64_t>(GetParam()));
    for (int round = 0; round < 600; ++round) {
        const auto count = static_cast<int32_t>(random.Below(round % 4 == 0 ? 2500 : 60));
        const auto stride = static_cast<int32_t>(1 + random.Below(3));
        GuardedBuffer buffer(static_cast<size_t>(count * stride) * 4, 4 * random.Below(16));
        random.Fill(buffer.data(), buffer.size());
        int32_t *samples = buffer.As<int32_t>();
        if (round % 2 == 0)
            for (int32_t i = 0; i < count * stride; ++i)
                samples[i] >>= 16;
        Samples model(samples, samples + count * stride);
        const int32_t bits = 16 + 4 * static_cast<int32_t>(random.Below(3));
        const auto gain = static_cast<int32_t>(random.Below(1921));
        const auto target = static_cast<int32_t>(128 * random.Below(16));
        const bool extend = random.Below(2) != 0;
        const int32_t expected =
            reference::HdcdEnvelope(model.data(), count, stride, bits, gain, target, extend);
        ASSERT_EQ(envelope(samples, count, stride, bits, gain, target, extend), expected);
        ASSERT_EQ(Samples(samples, samples + count * stride), model);
        ASSERT_TRUE(buffer.Intact());
    }
}

TEST_P(HdcdGain, BothChannelsAtOnceAgreeWithTheModelHoweverTheRunIsCut)
{
    Random random(static_cast<uint64_t>(GetParam()));
    for (int round = 0; round < 600; ++round) {
        const auto frames = static_cast<int32_t>(random.Below(round % 4 == 0 ? 2500 : 60));
        GuardedBuffer buffer(static_cast<size_t>(frames) * 8, 4 * random.Below(16));
        random.Fill(buffer.data(), buffer.size());
        int32_t *samples = buffer.As<int32_t>();
        if (round % 2 == 0)
            for (int32_t i = 0; i < 2 * frames; ++i)
                samples[i] >>= 16;
        Samples model(samples, samples + 2 * frames);
        LinkedGain gain{};
        gain.target = static_cast<int32_t>(128 * random.Below(16));
        int32_t expected[2];
        const bool unequalBits = random.Below(8) == 0;
        const auto bits = static_cast<int32_t>(16 + 4 * random.Below(3));
        for (int i = 0; i < 2; ++i) {
            gain.bits[i] = unequalBits ? 16 + 4 * i : bits;
            gain.extend[i] = random.Below(2) != 0;
            gain.gain[i] = random.Below(3) == 0 ? 0 : static_cast<int32_t>(random.Below(1921));
            expected[i] = reference::HdcdEnvelope(ElementAddress(model.data(), i), frames, 2, gain.bits[i],
                                                  gain.gain[i], gain.target, gain.extend[i] != 0);
        }
        for (int32_t done = 0; done < frames || frames == 0;) {
            const auto piece = static_cast<int32_t>(random.Below(static_cast<uint32_t>(frames - done) + 1));
            envelopeLinked(samples + 2 * done, piece, &gain);
            done += piece;
            if (frames == 0)
                break;
        }
        ASSERT_EQ(gain.gain[0], expected[0]);
        ASSERT_EQ(gain.gain[1], expected[1]);
        ASSERT_EQ(Samples(samples, samples + 2 * frames), model);
        ASSERT_TRUE(buffer.Intact());
    }
}

TONEKIT_HDCD_BODIES(HdcdGain);

TEST(HdcdAnalysis, ToneHas300HertzAtEveryRate)
{
    const struct {
        uint32_t rate, period;
    } rows[] = {{44100, 147},  {48000, 160},  {88200, 294}, {96000, 320},
                {176400, 588}, {192000, 640}, {32000, 147}};
    for (const auto &row : rows) {
        uint32_t index = 0;
        Samples first;
        for (uint32_t i = 0; i < row.period; ++i)
            first.push_back(hdcd_tone(&index, row.rate));
        EXPECT_EQ(index, 0u) << row.rate;
        EXPECT_EQ(first.back(), 0);
        EXPECT_EQ(hdcd_tone(&index, row.rate), first[0]);
        EXPECT_EQ(index, 1u);
        EXPECT_EQ(first[0], static_cast<int>(std::sin(2 * std::numbers::pi / row.period) * 3276.7));
    }
}

TEST(HdcdAnalysis, PreparedSamplesKeepTheControlBitAndMarkPeaks)
{
    HdcdChannelState c;
    hdcd_channel_init(&c, 44100, 16, 0, 0);
    Samples samples = {22913, -22913, 22912, -22912, 1, 0, INT32_MIN, -1};
    PrepareAnalysis(&c, samples.data(), 8, 1);
    const Samples low = {3, 3, 0, 0, 1, 0, 2, 1};
    for (size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(samples[i] & 3, low[i]) << i;
        EXPECT_EQ(samples[i] >> 2, HdcdToneTable44[4 * static_cast<int>(i + 1)] >> 2) << i;
    }
    EXPECT_EQ(c.tone_index, 8u);
}

TEST(HdcdAnalysis, GainModeRaisesTheToneUpTo19Times)
{
    Samples samples(4, 100);
    EXPECT_EQ(hdcd_analyze(samples.data(), 1, 1, 0, 0, 0, 1, 0, 0), 0);
    EXPECT_EQ(samples[0], 100 * 32768);
    EXPECT_EQ(hdcd_analyze(samples.data() + 1, 1, 1, 1920, 1920, 0, 1, 0, 0), 1920);
    EXPECT_EQ(samples[1], 1900 * 32768);
    EXPECT_EQ(hdcd_analyze(samples.data() + 2, 2, 1, 0, 128, 0, 1, 0, 0), 2);
    EXPECT_EQ(samples[2], 100 * 32768 / 1024 * (18432 / 1920 + 1024));
    EXPECT_EQ(samples[3], 100 * 32768 / 1024 * (2 * 18432 / 1920 + 1024));
}

TEST(HdcdAnalysis, PeakModeMarksPreparedPeaksWhileExtensionIsOn)
{
    for (const int extend : {0, 1}) {
        Samples samples = {102, 100};
        hdcd_analyze(samples.data(), 2, 1, 0, 0, extend, 2, 1, 1);
        EXPECT_EQ(samples[0], extend ? 102 * 32768 * 19 : 102 * 32768);
        EXPECT_EQ(samples[1], 100 * 32768);
    }
}

TEST(HdcdAnalysis, TimerAndMismatchModesMarkTheWholeRun)
{
    const auto run = [](uint32_t mode, uint32_t timer, int32_t mismatch) {
        Samples samples = {50, -50};
        hdcd_analyze(samples.data(), 2, 1, 0, 0, 1, mode, timer, mismatch);
        EXPECT_EQ(samples[0], -samples[1]);
        return samples[0] / (50 * 32768);
    };
    EXPECT_EQ(run(3, 1, 0), 19);
    EXPECT_EQ(run(3, 0, 1), 1);
    EXPECT_EQ(run(4, 1, 1), 19);
    EXPECT_EQ(run(4, 1, 0), 1);
    EXPECT_EQ(run(4, 1, -1), 1);
    EXPECT_EQ(run(5, 1, 1), 1);
    EXPECT_EQ(run(6, 1, 1), 1);
}

TEST(HdcdAnalysis, AgreesWithTheModel)
{
    Random random(77);
    for (int round = 0; round < 1000; ++round) {
        const auto count = static_cast<int32_t>(random.Below(round % 5 == 0 ? 2500 : 40));
        const auto stride = static_cast<int32_t>(1 + random.Below(2));
        Samples samples(static_cast<size_t>(count * stride));
        random.Fill(samples.data(), samples.size() * 4);
        Samples model = samples;
        const auto gain = static_cast<int32_t>(random.Below(1921));
        const auto target = static_cast<int32_t>(128 * random.Below(16));
        const bool extend = random.Below(2) != 0;
        const uint32_t mode = random.Below(8);
        const uint32_t timer = random.Below(2) * 5;
        const auto mismatch = static_cast<int32_t>(random.Below(3)) - 1;
        const int32_t expected =
            reference::HdcdAnalyze(model.data(), count, stride, gain, target, extend, mode, timer, mismatch);
        ASSERT_EQ(hdcd_analyze(samples.data(), count, stride, gain, target, extend, mode, timer, mismatch),
                  expected);
        ASSERT_EQ(samples, model) << mode;
    }
}

TEST(HdcdAnalysis, ModesHaveLabels)
{
    EXPECT_STREQ(HdcdAnalyzeModeText[0], "disabled");
    EXPECT_STREQ(HdcdAnalyzeModeText[1], "gain adjustment level at each sample");
    EXPECT_STREQ(HdcdAnalyzeModeText[2], "samples where peak extend occurs");
    EXPECT_STREQ(HdcdAnalyzeModeText[3], "samples where the code detect timer is active");
    EXPECT_STREQ(HdcdAnalyzeModeText[4], "samples where the target gain does not match between channels");
    EXPECT_STREQ(HdcdAnalyzeModeText[5], "any samples above peak extend level");
    EXPECT_STREQ(HdcdAnalyzeModeText[6], "gain adjustment level at each sample, in each channel");
}

} // namespace
} // namespace tonekit
