// program_hdcd_test.cpp: HDCD is found, decoded and reported.
#include "tests/host/audio_files.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"
#include "tests/support/hdcd_encoder.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace tonekit::host::test {
namespace {

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
constexpr int kFrames = 44100 * 4;
constexpr double kAmplitude = 0.25;

// A sine with the same code B packet on both channels twenty times a second.
void WriteHdcd(const std::string &name, uint8_t control)
{
    std::vector<int32_t> samples;
    for (int i = 0; i < kFrames; ++i) {
        const auto value =
            static_cast<int32_t>(kAmplitude * 32767 * std::sin(2 * std::numbers::pi * 1000 * i / 44100));
        samples.insert(samples.end(), 2, value);
    }
    HdcdEncoder encoder(samples);
    for (size_t frame = 500; frame + 100 < kFrames; frame += 2205) {
        encoder.CodeB(0, frame, control);
        encoder.CodeB(1, frame, control);
    }
    Sound sound{kWav16, 44100, 2, {}};
    for (const int32_t sample : samples)
        sound.samples.push_back(static_cast<int32_t>(static_cast<uint32_t>(sample) << 16));
    WriteSound(name, sound);
}

// The largest sample of the second half, as a part of full scale.
double PeakOf(const std::string &name)
{
    const Sound sound = ReadSound(name);
    double peak = 0;
    for (size_t i = sound.samples.size() / 2; i < sound.samples.size(); ++i)
        peak = std::max(peak, std::fabs(sound.samples[i] * 0x1p-31));
    return peak;
}

// A target gain of -6 dB and none.
constexpr uint8_t kGain = 12;
constexpr uint8_t kNoEffect = 0;

TEST(Hdcd, InfoTellsWhetherItHasAnEffect)
{
    TemporaryFolder folder;
    WriteHdcd(folder / "gain.wav", kGain);
    WriteHdcd(folder / "plain.wav", kNoEffect);
    WriteSound(folder / "none.wav", Noise(kWav16, 44100, 2, 1000));
    EXPECT_NE(RunHost({"--info", folder / "gain.wav"}).out.find("HDCD        yes\n"), std::string::npos);
    EXPECT_NE(RunHost({"--info", folder / "plain.wav"}).out.find("HDCD        yes (no effect)\n"),
              std::string::npos);
    EXPECT_NE(RunHost({"--info", folder / "none.wav"}).out.find("HDCD        no\n"), std::string::npos);
}

TEST(Hdcd, AutoDecodesItWhereItHasAnEffect)
{
    TemporaryFolder folder;
    WriteHdcd(folder / "a.wav", kGain);
    const Outcome outcome = RunHost({"--hdcd", "auto", folder / "a.wav", folder / "b.wav"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("HDCD decoded"), std::string::npos);
    const Sound decoded = ReadSound(folder / "b.wav");
    EXPECT_EQ(decoded.format & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_24);
    EXPECT_EQ(decoded.Frames(), static_cast<size_t>(kFrames));
    // 6 dB down by the code; the gain of 6 dB makes up for the scale of decoded samples.
    EXPECT_NEAR(PeakOf(folder / "b.wav"), kAmplitude * std::pow(10, -6 / 20.0) * 0.99763, 0.002);
}

TEST(Hdcd, OfAPartIsDecodedFromTheStartOfTheFileOn)
{
    TemporaryFolder folder;
    WriteHdcd(folder / "a.wav", kGain);
    RunHost({"--hdcd", "on", folder / "a.wav", folder / "whole.wav"});
    RunHost({"--hdcd", "on", "--start", "2", folder / "a.wav", folder / "part.wav"});
    const Sound whole = ReadSound(folder / "whole.wav");
    EXPECT_EQ(ReadSound(folder / "part.wav").samples,
              std::vector<int32_t>(whole.samples.begin() + 2 * 88200, whole.samples.end()));
}

TEST(Hdcd, IsDecodedBeforeAGain)
{
    TemporaryFolder folder;
    WriteHdcd(folder / "a.wav", kGain);
    RunHost({"--hdcd", "on", "--hdcd-gain", "3", "-b", "32f", folder / "a.wav", folder / "plain.wav"});
    RunHost({"--hdcd", "on", "--hdcd-gain", "3", "-b", "32f", "--gain", "-6.0205999132796239",
             folder / "a.wav", folder / "soft.wav"});
    EXPECT_NEAR(PeakOf(folder / "soft.wav"), PeakOf(folder / "plain.wav") / 2, 1e-6);
    EXPECT_GT(PeakOf(folder / "soft.wav"), 0.01);
}

TEST(Hdcd, AutoLeavesOtherFilesAlone)
{
    TemporaryFolder folder;
    WriteHdcd(folder / "a.wav", kNoEffect);
    const Outcome outcome = RunHost({"--hdcd", "auto", folder / "a.wav", folder / "b.wav"});
    EXPECT_EQ(outcome.out.find("HDCD decoded"), std::string::npos);
    EXPECT_EQ(ReadSound(folder / "b.wav").samples, ReadSound(folder / "a.wav").samples);
}

TEST(Hdcd, OffIsTheDefaultAndCopiesTheSamples)
{
    TemporaryFolder folder;
    WriteHdcd(folder / "a.wav", kGain);
    for (const std::vector<std::string> &option : {std::vector<std::string>{}, {"--hdcd", "off"}}) {
        std::vector<std::string> arguments = option;
        arguments.insert(arguments.end(), {folder / "a.wav", folder / "b.flac"});
        EXPECT_EQ(RunHost(arguments).status, 0);
        EXPECT_EQ(ReadSound(folder / "b.flac").samples, ReadSound(folder / "a.wav").samples);
    }
}

TEST(Hdcd, OnDecodesWhateverThereIsAndSaysSo)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Tone(kWav16, 44100, 2, 44100, 1000, kAmplitude));
    const Outcome outcome = RunHost({"--hdcd", "on", folder / "a.wav", folder / "b.wav"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.err.find("no HDCD"), std::string::npos);
    EXPECT_NE(outcome.out.find("HDCD decoded"), std::string::npos);
    EXPECT_NEAR(PeakOf(folder / "b.wav"), kAmplitude, 0.001);
}

TEST(Hdcd, TheGainHasSevenSettings)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Tone(kWav16, 44100, 2, 44100, 1000, kAmplitude));
    for (int gain = 0; gain <= 6; ++gain) {
        RunHost({"--hdcd", "on", "--hdcd-gain", std::to_string(gain), folder / "a.wav", folder / "b.wav"});
        EXPECT_NEAR(PeakOf(folder / "b.wav"), kAmplitude / 2 * std::pow(10, gain / 20.0), 0.001) << gain;
    }
}

TEST(Hdcd, AFileThatBreaksOffAfterTheScanIsRefused)
{
    // A FLAC header has the number of frames, and the end is missing after the minute that is scanned.
    TemporaryFolder folder;
    WriteSound(folder / "a.flac", Noise(SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 8000, 2, 8000 * 75));
    CutOff(folder / "a.flac", std::filesystem::file_size(folder / "a.flac") * 65 / 75);
    for (const char *choice : {"auto", "on"}) {
        const Outcome outcome = RunHost({"--hdcd", choice, folder / "a.flac", folder / "b.wav"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.err.find("breaks off"), std::string::npos) << outcome.err;
        EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.flac"});
    }
}

TEST(Hdcd, TheScanEndsAfterAMinute)
{
    // Codes from the second minute on are found by decoding, not by the scan.
    TemporaryFolder folder;
    WriteHdcd(folder / "a.wav", kGain);
    const Sound late = ReadSound(folder / "a.wav");
    Sound sound{kWav16, 44100, 2, std::vector<int32_t>(size_t{2} * 44100 * 61)};
    sound.samples.insert(sound.samples.end(), late.samples.begin(), late.samples.end());
    WriteSound(folder / "b.wav", sound);
    EXPECT_NE(RunHost({"--info", folder / "b.wav"}).out.find("HDCD        no\n"), std::string::npos);
}

} // namespace
} // namespace tonekit::host::test
