// known_signals_test.cpp: measures signals whose loudness or peak is known from the standards.
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <numbers>
#include <tonekit/loudness.h>
#include <vector>

namespace {

constexpr uint32_t kRate = 48000;
constexpr uint32_t kSeconds = 20;

double Amplitude(double decibels)
{
    return std::pow(10.0, decibels / 20.0);
}

// A sine of 1 kHz, in phase in all channels, with each channel's peak level in dBFS.
std::vector<double> Tone(const std::vector<double> &levels)
{
    std::vector<double> samples;
    samples.reserve(kRate * kSeconds * levels.size());
    for (uint32_t frame = 0; frame < kRate * kSeconds; ++frame)
        for (const double level : levels)
            samples.push_back(Amplitude(level) * std::sin(2.0 * std::numbers::pi * 1000.0 * frame / kRate));
    return samples;
}

double Loudness(const std::vector<double> &levels)
{
    const uint32_t channels = static_cast<uint32_t>(levels.size());
    ReplayGainState *state = ReplayGain_Init(channels, kRate);
    ReplayGain_Process(state, Tone(levels).data(), kRate * kSeconds);
    const double loudness = ReplayGain_GetLoudness(state);
    ReplayGain_Deinit(state);
    return loudness;
}

constexpr double kSilent = -200.0;
constexpr double kTolerance = 0.1; // LU, which the EBU grants a meter

} // namespace

TEST(KnownSignals, StereoToneAtMinus23LufsGivesPlusFive)
{
    EXPECT_NEAR(Loudness({-23.0, -23.0}), 5.0, kTolerance);
}

TEST(KnownSignals, StereoToneAtMinus18LufsGivesZero)
{
    EXPECT_NEAR(Loudness({-18.0, -18.0}), 0.0, kTolerance);
}

TEST(KnownSignals, StereoToneAtMinus10LufsGivesANegativeFigure)
{
    EXPECT_NEAR(Loudness({-10.0, -10.0}), -8.0, kTolerance);
}

TEST(KnownSignals, MonoIsAsLoudAsTheSameSignalOnTwoChannels)
{
    EXPECT_NEAR(Loudness({-23.0}), 5.0, kTolerance);
    EXPECT_NEAR(Loudness({-23.0}), Loudness({-23.0, -23.0}), 1e-9);
}

// In the channel-based layouts a surround channel weighs 1.41 times a front one.
TEST(KnownSignals, QuadMeasuresThirdAndFourthAsSurround)
{
    EXPECT_NEAR(Loudness({-23.0, -23.0, kSilent, kSilent}), 5.0, kTolerance);
    const double surround = -23.0 - 10.0 * std::log10(1.41);
    EXPECT_NEAR(Loudness({kSilent, kSilent, surround, surround}), 5.0, kTolerance);
    EXPECT_NEAR(Loudness({-26.0, -26.0, surround - 3.0, surround - 3.0}), 5.0, kTolerance);
}

// The EBU's multichannel tone: left and right -28, centre -24, surrounds -30 dBFS are -23 LUFS.
TEST(KnownSignals, FiveChannelsHaveTheCentreThirdAndNoLowFrequencyChannel)
{
    EXPECT_NEAR(Loudness({-28.0, -28.0, -24.0, -30.0, -30.0}), 5.0, kTolerance);
}

TEST(KnownSignals, FivePointOneLeavesTheLowFrequencyChannelOut)
{
    EXPECT_NEAR(Loudness({-28.0, -28.0, -24.0, kSilent, -30.0, -30.0}), 5.0, kTolerance);
    EXPECT_NEAR(Loudness({-28.0, -28.0, -24.0, -6.0, -30.0, -30.0}), 5.0, kTolerance);
}

TEST(KnownSignals, PeakBetweenTheSamplesIsSeenByTruePeakAlone)
{
    // A quarter of the rate, sampled 45 degrees off its peaks: samples reach 0.5 / sqrt(2), the wave 0.5.
    std::vector<double> samples;
    for (uint32_t frame = 0; frame < kRate; ++frame) {
        const double phase = std::numbers::pi * (0.5 * frame + 0.25);
        samples.insert(samples.end(), {0.25 * std::sin(phase), 0.5 * std::sin(phase)});
    }
    ReplayGainState *sampled = ReplayGain_Init(2, kRate);
    ReplayGainState *between = ReplayGain_Init_TruePeak(2, kRate);
    ReplayGain_Process(sampled, samples.data(), kRate);
    ReplayGain_Process(between, samples.data(), kRate);
    EXPECT_NEAR(ReplayGain_GetPeak(sampled), 0.5 / std::numbers::sqrt2, 1e-9);
    // A true-peak meter may read 0.2 dB too much or 0.4 dB too little.
    EXPECT_GT(ReplayGain_GetPeak(between), 0.5 * Amplitude(-0.4));
    EXPECT_LT(ReplayGain_GetPeak(between), 0.5 * Amplitude(0.2));
    EXPECT_EQ(ReplayGain_GetLoudness(sampled), ReplayGain_GetLoudness(between));
    ReplayGain_Deinit(sampled);
    ReplayGain_Deinit(between);
}

TEST(KnownSignals, PeakIsThatOfTheLoudestChannelWhereverItStands)
{
    for (uint32_t loudest = 0; loudest < 6; ++loudest) {
        std::vector<double> samples(6 * 100, 0.125);
        samples[6 * 50 + loudest] = -0.75;
        ReplayGainState *state = ReplayGain_Init(6, kRate);
        ReplayGain_Process(state, samples.data(), 100);
        EXPECT_EQ(ReplayGain_GetPeak(state), 0.75) << "channel " << loudest;
        ReplayGain_Deinit(state);
    }
}
