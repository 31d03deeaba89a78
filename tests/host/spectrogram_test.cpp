// spectrogram_test.cpp: the powers of tones by time and frequency.
#include "host/processing/spectrogram.h"
#include "host/processing/spectrum.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>

namespace tonekit::host::test {
namespace {

double Decibels(double power)
{
    return 10 * std::log10(power);
}

std::vector<double> Sine(size_t count, double turnsPerSample, double amplitude, double phase = 0.3)
{
    std::vector<double> samples(count);
    for (size_t i = 0; i < count; ++i)
        samples[i] =
            amplitude * std::sin(2 * std::numbers::pi * turnsPerSample * static_cast<double>(i) + phase);
    return samples;
}

TEST(Spectrum, OfASineHasItsPowerAtItsFrequencyAndNoneFurtherOn)
{
    Spectrum spectrum(1024);
    for (const int place : {20, 100, 411}) {
        std::vector<double> powers(513);
        spectrum.AddPowers(Sine(1024, place / 1024.0, 0.1).data(), powers.data());
        for (int k = 0; k <= 512; ++k) {
            const double level = Decibels(powers[static_cast<size_t>(k)] + 1e-40);
            if (k == place)
                EXPECT_NEAR(level, -20, 1e-6);
            else if (std::abs(k - place) > 7)
                EXPECT_LT(level, -190) << k;
            else
                EXPECT_LT(level, -20.5) << k;
        }
    }
}

TEST(Spectrum, OfASineBetweenTwoFrequenciesIsNearlyAsStrong)
{
    Spectrum spectrum(1024);
    std::vector<double> powers(513);
    spectrum.AddPowers(Sine(1024, 100.5 / 1024, 1).data(), powers.data());
    EXPECT_NEAR(Decibels(powers[100]), -0.55, 0.2);
    EXPECT_NEAR(powers[100], powers[101], 1e-8);
}

TEST(Spectrum, AddsToWhatIsThereAndKnowsBothEnds)
{
    Spectrum spectrum(64);
    std::vector<double> powers(33, 7);
    spectrum.AddPowers(std::vector<double>(64, 0.5).data(), powers.data());
    EXPECT_NEAR(powers[0], 7.25, 1e-9);
    EXPECT_NEAR(powers[32], 7, 1e-9);
    std::vector<double> highest(64);
    for (size_t i = 0; i < 64; ++i)
        highest[i] = i % 2 ? -0.5 : 0.5;
    powers.assign(33, 0);
    spectrum.AddPowers(highest.data(), powers.data());
    EXPECT_NEAR(powers[32], 0.25, 1e-9);
    EXPECT_NEAR(powers[0], 0, 1e-12);
}

// All of the samples, which are interleaved, in blocks of this size.
Spectrogram SpectrogramOf(const AudioFormat &format, const std::vector<double> &samples, uint64_t told,
                          uint32_t rows = 100, uint32_t columns = 640, size_t block = 5000)
{
    Spectrogram spectrogram(format, told, rows, columns);
    const size_t frames = samples.size() / format.channels;
    for (size_t i = 0; i < frames; i += block)
        spectrogram.Take(&samples[i * format.channels], static_cast<uint32_t>(std::min(block, frames - i)));
    spectrogram.Finish();
    return spectrogram;
}

size_t StrongestRow(const std::vector<double> &powers)
{
    return static_cast<size_t>(std::max_element(powers.begin(), powers.end()) - powers.begin());
}

TEST(Spectrogram, HasATonesLevelInTheRowOfItsFrequency)
{
    const AudioFormat format{SampleFormat::Float64, 1, 48000};
    struct Case {
        double hertz;
        size_t row;
    };
    // Of 100 rows each has 240 Hz.
    for (const Case &wanted : {Case{1000, 4}, Case{12120, 50}, Case{23900, 99}}) {
        const std::vector<double> samples = Sine(96000, wanted.hertz / 48000, 0.01);
        for (const uint64_t told : {uint64_t{96000}, uint64_t{0}}) {
            const Spectrogram spectrogram = SpectrogramOf(format, samples, told);
            EXPECT_EQ(spectrogram.frames(), 96000u);
            for (const double from : {20000.0, 50000.0, 70000.0}) {
                const std::vector<double> powers = spectrogram.Powers(0, from, from + 150);
                ASSERT_EQ(powers.size(), 100u);
                EXPECT_EQ(StrongestRow(powers), wanted.row) << wanted.hertz;
                EXPECT_NEAR(Decibels(powers[wanted.row]), -40, 0.6);
                EXPECT_LT(powers[(wanted.row + 50) % 100], 1e-20);
            }
        }
    }
}

TEST(Spectrogram, KnowsWhenATonePlays)
{
    // The right channel is silent but from 1 to 2 seconds.
    std::vector<double> samples(2 * 3 * 44100);
    for (size_t i = 44100; i < 2 * 44100; ++i)
        samples[2 * i + 1] = std::sin(2 * std::numbers::pi * 5000 / 44100 * static_cast<double>(i));
    const AudioFormat format{SampleFormat::Float64, 2, 44100};
    const Spectrogram spectrogram = SpectrogramOf(format, samples, 3 * 44100);
    EXPECT_EQ(spectrogram.parts(), 2u);
    const size_t row = 22; // 220.5 Hz each
    const auto level = [&](uint32_t part, double second) {
        return Decibels(spectrogram.Powers(part, second * 44100, second * 44100 + 200)[row] + 1e-30);
    };
    EXPECT_LT(level(1, 0.9), -200);
    EXPECT_NEAR(level(1, 1.1), 0, 0.6);
    EXPECT_NEAR(level(1, 1.9), 0, 0.6);
    EXPECT_LT(level(1, 2.1), -200);
    EXPECT_NEAR(level(1, 1), -6, 1.5); // half of the stretch
    EXPECT_LT(level(0, 1.5), -200);
}

TEST(Spectrogram, AveragesWhatIsBetweenTwoPlaces)
{
    std::vector<double> samples = Sine(80000, 1000.0 / 8000, 1);
    std::fill(samples.begin(), samples.begin() + 40000, 0);
    const Spectrogram spectrogram = SpectrogramOf({SampleFormat::Float64, 1, 8000}, samples, 80000, 64);
    const size_t row = 16; // of 62.5 Hz
    EXPECT_NEAR(spectrogram.Powers(0, 0, 80000)[row], 0.5, 0.03);
    EXPECT_NEAR(spectrogram.Powers(0, 20000, 60000)[row], 0.5, 0.03);
    EXPECT_EQ(spectrogram.Powers(0, 80000, 90000)[row], 0);
}

TEST(Spectrogram, OfALengthThatNobodyKnowsKeepsItsTimes)
{
    // Long enough for the columns to be halved many times; the tone plays from a quarter to a half.
    const size_t frames = 8000 * 300;
    std::vector<double> samples = Sine(frames, 1000.0 / 8000, 0.5);
    std::fill(samples.begin(), samples.begin() + frames / 4, 0);
    std::fill(samples.begin() + frames / 2, samples.end(), 0);
    for (const uint64_t told : {uint64_t{0}, uint64_t{frames}, uint64_t{1000}, uint64_t{10 * frames}}) {
        const Spectrogram spectrogram = SpectrogramOf({SampleFormat::Float64, 1, 8000}, samples, told, 64);
        const auto power = [&](double place) {
            return spectrogram.Powers(0, place * frames, place * frames + 1000)[16];
        };
        EXPECT_LT(power(0.2), 1e-15) << told;
        EXPECT_NEAR(power(0.3), 0.25, 0.03) << told;
        EXPECT_NEAR(power(0.45), 0.25, 0.03) << told;
        EXPECT_LT(power(told > frames ? 0.7 : 0.55), 1e-15) << told;
    }
}

TEST(Spectrogram, IsTheSameInBlocksOfAnySize)
{
    const std::vector<double> samples = Sine(30000, 0.05, 0.3);
    const AudioFormat format{SampleFormat::Float64, 1, 44100};
    const Spectrogram whole = SpectrogramOf(format, samples, 0, 64, 640, 30000);
    for (const size_t block : {size_t{1}, size_t{37}, size_t{4096}}) {
        const Spectrogram parted = SpectrogramOf(format, samples, 0, 64, 640, block);
        for (const double from : {0.0, 7000.0, 29900.0})
            EXPECT_EQ(parted.Powers(0, from, from + 100), whole.Powers(0, from, from + 100)) << block;
    }
}

TEST(Spectrogram, OfAFewFramesOrNoneIsThere)
{
    const AudioFormat format{SampleFormat::Float64, 1, 44100};
    for (const uint64_t told : {0u, 1u, 10u, 1000000u}) {
        for (const size_t frames : {size_t{1}, size_t{10}, size_t{100}}) {
            const Spectrogram spectrogram = SpectrogramOf(format, std::vector<double>(frames, 0.5), told);
            EXPECT_GT(spectrogram.Powers(0, 0, 1)[0], 0) << told << ", " << frames;
        }
        EXPECT_EQ(SpectrogramOf(format, {}, told).Powers(0, 0, 1), std::vector<double>(100));
    }
}

TEST(Spectrogram, TakesWhatIsNoNumberForSilence)
{
    const AudioFormat format{SampleFormat::Float64, 1, 8000};
    std::vector<double> samples = Sine(40000, 1000.0 / 8000, 0.5);
    samples[10000] = std::numeric_limits<double>::quiet_NaN();
    samples[20000] = std::numeric_limits<double>::infinity();
    samples[30000] = 1e300;
    const Spectrogram spectrogram = SpectrogramOf(format, samples, 40000, 64);
    EXPECT_NEAR(spectrogram.Powers(0, 5000, 5100)[16], 0.25, 0.03);
    EXPECT_NEAR(spectrogram.Powers(0, 15000, 15100)[16], 0.25, 0.03);
    for (double from = 0; from < 40000; from += 100)
        EXPECT_TRUE(std::isfinite(spectrogram.Powers(0, from, from + 100)[16])) << from;
}

TEST(Spectrogram, OfManyChannelsIsTheMeanOfTheirPowers)
{
    const std::vector<double> tone = Sine(20000, 1000.0 / 8000, 1);
    std::vector<double> samples(20000 * 10);
    for (size_t i = 0; i < tone.size(); ++i)
        samples[i * 10 + 7] = tone[i];
    const Spectrogram spectrogram = SpectrogramOf({SampleFormat::Float64, 10, 8000}, samples, 20000, 64);
    EXPECT_EQ(spectrogram.parts(), 1u);
    EXPECT_NEAR(spectrogram.Powers(0, 10000, 10100)[16], 0.1, 0.01);
}

} // namespace
} // namespace tonekit::host::test
