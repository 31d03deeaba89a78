// quality_test.cpp: measured signal quality of whole conversions: tone error, alias rejection, length, real
// recordings.
#include "tests/support/measure.h"
#include "tests/support/recording.h"
#include "tests/support/stream.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <numbers>
#include <string>
#include <tonekit/convert.h>
#include <vector>

namespace tonekit {
namespace {

using Samples = std::vector<double>;

struct QualityRow {
    uint32_t span;
    double toneError;      // dB, at the most
    double aliasRejection; // dB, at the most
};

// The float path ends at the precision of its samples.
constexpr QualityRow kQualities[] = {{0, -118, -118}, {24, -142, -142}, {31, -185, -185}, {33, -190, -190}};

TEST(Quality, TonesComeOutClean)
{
    for (const QualityRow &quality : kQualities)
        for (const auto &[inputRate, outputRate] :
             {std::pair{44100u, 48000u}, {44100u, 96000u}, {96000u, 44100u}, {48000u, 44100u}})
            for (const double frequency : {1000.0, 15000.0}) {
                const Samples out = ConvertDouble(Sine(frequency, inputRate, inputRate), 1, inputRate, 1,
                                                  outputRate, quality.span);
                EXPECT_LT(ToneError(out, frequency, outputRate), quality.toneError)
                    << inputRate << " to " << outputRate << ", span " << quality.span << ", " << frequency
                    << " Hz";
            }
}

TEST(Quality, TonesAboveTheNewBandAreRejected)
{
    for (const QualityRow &quality : kQualities)
        for (const double frequency : {22100.0, 25000.0, 30000.0, 44000.0}) {
            const Samples out =
                ConvertDouble(Sine(frequency, 96000, 96000), 1, 96000, 1, 44100, quality.span);
            EXPECT_LT(LevelOfTone(out), quality.aliasRejection) << frequency << " Hz, span " << quality.span;
        }
}

TEST(Quality, PassBandIsFlat)
{
    for (const QualityRow &quality : kQualities)
        for (const double frequency : {20.0, 1000.0, 10000.0, 18000.0, 20000.0}) {
            const Samples out =
                ConvertDouble(Sine(frequency, 48000, 96000), 1, 48000, 1, 44100, quality.span);
            EXPECT_NEAR(LevelOfTone(out), 0.0, 0.012) << frequency << " Hz, span " << quality.span;
        }
}

TEST(Quality, SteeperModesKeepMoreOfTheBand)
{
    double levels[3];
    for (uint32_t mode = 0; mode < 3; ++mode) {
        SetSampleRateConverterParameters2(mode, 0);
        const Samples out = ConvertDouble(Sine(21900, 96000, 96000), 1, 96000, 1, 44100, 24);
        levels[mode] = LevelOfTone(out);
    }
    SetSampleRateConverterParameters2(0, 0);
    EXPECT_LT(levels[0], -20.0);
    EXPECT_LT(levels[1], -3.0);
    EXPECT_NEAR(levels[2], 0.0, 0.012);
}

TEST(Quality, OutputSpansTheInput)
{
    for (const auto &[inputRate, outputRate] : {std::pair{44100u, 48000u},
                                                {44100u, 96000u},
                                                {96000u, 44100u},
                                                {48000u, 44100u},
                                                {44100u, 44101u},
                                                {8000u, 192000u},
                                                {192000u, 8000u}})
        for (const uint32_t frames : {65u, 1000u, 5324u, 60211u, 100000u}) {
            const Samples out = ConvertDouble(Samples(frames, 0.1), 1, inputRate, 1, outputRate, 24);
            const double expected = static_cast<double>(frames) * outputRate / inputRate;
            EXPECT_NEAR(static_cast<double>(out.size()), expected, 1.0)
                << inputRate << " " << outputRate << " " << frames;
        }
}

TEST(Quality, EdgesOfAToneDoNotRing)
{
    const Samples out = ConvertDouble(Sine(500, 44100, 130000), 1, 44100, 1, 48000, 33);
    double worst = 0;
    for (size_t i = 0; i < 200; ++i)
        worst = std::max(worst, std::abs(out[i] - 0.5 * std::sin(2 * std::numbers::pi * 500 *
                                                                 static_cast<double>(i) / 48000.0)));
    EXPECT_LT(worst, 0.01) << "a hard start would overshoot by several per cent";
}

// Two recordings of speech side by side, as if made at the given rate.
Samples StereoRecording()
{
    const Recording left = ReadRecording("Front_Left.wav");
    const Recording right = ReadRecording("Front_Right.wav");
    const size_t frames = std::min(left.samples.size(), right.samples.size());
    Samples stereo(2 * frames);
    for (size_t i = 0; i < frames; ++i) {
        stereo[2 * i] = left.samples[i] / 32768.0;
        stereo[2 * i + 1] = right.samples[i] / 32768.0;
    }
    return stereo;
}

// The difference of two signals in dB of the first, some way inside the ends.
double Difference(const Samples &a, const Samples &b)
{
    const size_t count = std::min(a.size(), b.size());
    Samples rest(count);
    for (size_t i = 0; i < count; ++i)
        rest[i] = a[i] - b[i];
    const size_t margin = count / 20;
    return Decibels(Rms(rest, margin, count - margin) / Rms(a, margin, count - margin));
}

TEST(Recordings, SurviveUpAndDownAgain)
{
    const Samples original = StereoRecording();
    struct Row {
        uint32_t rate, over;
        double difference; // dB; what the recording holds above the pass band is lost
    };
    for (const Row &row : {Row{44100, 48000, -75}, {44100, 96000, -75}, {48000, 192000, -75}}) {
        SetSampleRateConverterParameters2(2, 0);
        const Samples up = ConvertDouble(original, 2, row.rate, 2, row.over, 33);
        const Samples back = ConvertDouble(up, 2, row.over, 2, row.rate, 33);
        SetSampleRateConverterParameters2(0, 0);
        EXPECT_NEAR(static_cast<double>(back.size()), static_cast<double>(original.size()), 4.0);
        EXPECT_LT(Difference(original, back), row.difference) << row.over;
    }
}

TEST(Recordings, StereoTo51AndBackKeepsTheFronts)
{
    const Samples stereo = StereoRecording();
    const Samples surround = ConvertDouble(stereo, 2, 48000, 6, 48000, 0);
    ASSERT_EQ(surround.size(), stereo.size() * 3);
    for (size_t frame = 0; frame < stereo.size() / 2; ++frame) {
        const double left = stereo[2 * frame];
        const double right = stereo[2 * frame + 1];
        ASSERT_EQ(surround[6 * frame], left);
        ASSERT_EQ(surround[6 * frame + 1], right);
        ASSERT_DOUBLE_EQ(surround[6 * frame + 2], 0.3548 * left + 0.3548 * right);
        ASSERT_EQ(surround[6 * frame + 4], 0.5012 * left);
        ASSERT_EQ(surround[6 * frame + 5], 0.5012 * right);
    }
    const Samples back = ConvertDouble(surround, 6, 48000, 2, 48000, 0);
    for (size_t frame = 0; frame < stereo.size() / 2; ++frame) {
        const double *in = &surround[6 * frame];
        ASSERT_NEAR(back[2 * frame], in[0] + 0.7079 * in[2] + 0.5012 * in[4], 1e-15);
    }
}

// Power of a signal between two frequencies, by a plain Fourier sum over a few hundred lines.
double BandPower(const Samples &samples, double from, double to, uint32_t rate)
{
    double power = 0;
    constexpr int kLines = 60;
    for (int line = 0; line < kLines; ++line) {
        const double step = 2 * std::numbers::pi * (from + (to - from) * (line + 0.5) / kLines) / rate;
        double re = 0;
        double im = 0;
        for (size_t i = 0; i < samples.size(); ++i) {
            re += samples[i] * std::cos(step * static_cast<double>(i));
            im += samples[i] * std::sin(step * static_cast<double>(i));
        }
        power += re * re + im * im;
    }
    return power / kLines;
}

TEST(Recordings, DitherTo16BitsKeepsItsNoiseWhereItsModeSays)
{
    const Recording recording = ReadRecording("Front_Center.wav");
    Samples original(recording.samples.begin(), recording.samples.end());
    for (double &sample : original)
        sample = sample / 32768.0 * 0.25 + 1.0 / 262144; // below 16 bits too
    double low[3];
    double high[3];
    for (uint32_t mode = 0; mode < 3; ++mode) {
        SetDitherParameters(1, mode);
        const std::vector<int16_t> out = ConvertTo16(original, 1, 48000, true);
        SetDitherParameters(0, 1);
        ASSERT_EQ(out.size(), original.size());
        Samples noise(8192);
        double largest = 0;
        for (size_t i = 0; i < noise.size(); ++i) {
            noise[i] = out[i + 20000] - original[i + 20000] * 32768.0;
            largest = std::max(largest, std::abs(noise[i]));
        }
        EXPECT_GT(Rms(noise, 0, noise.size()), 0.3) << mode;
        EXPECT_LT(largest, mode == 2 ? 10.0 : 2.0) << mode << ": a step of the output at the most";
        low[mode] = BandPower(noise, 500, 4000, 48000);
        high[mode] = BandPower(noise, 16000, 23000, 48000);
    }
    EXPECT_NEAR(Decibels(std::sqrt(high[0] / low[0])), 0.0, 3.0) << "rectangular: white";
    EXPECT_GT(Decibels(std::sqrt(high[1] / low[1])), 2.0) << "the difference of noise rises with frequency";
    EXPECT_GT(Decibels(std::sqrt(high[2] / low[2])), 15.0) << "shaped: moved to the top of the band";
    EXPECT_LT(low[2], low[0] / 2) << "and quieter where the ear is keen";
}

} // namespace
} // namespace tonekit
