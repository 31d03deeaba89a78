// program_spectrogram_test.cpp: pictures of sound as the program writes them.
#include "tests/host/failures.h"
#include "tests/host/png_files.h"

#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>

namespace tonekit::host::test {
namespace {

// Where the parts of a picture are.
constexpr uint32_t kLeft = 56, kTop = 80, kPartLine = 20, kBetween = 36;
constexpr uint32_t kRight = 24 + 14 + 40 + 16; // bar, labels and margin
constexpr uint8_t kLevels = 224;
constexpr uint8_t kTickColour = 224 + 22;

class Spectrograms : public Failures {
protected:
    // The level that a pixel of a panel shows.
    static double LevelAt(const PngFile &png, uint32_t x, uint32_t y)
    {
        EXPECT_LT(png.At(x, y), kLevels);
        return -150 + 150.0 * png.At(x, y) / (kLevels - 1);
    }

    // The places of the marks along a line of pixels.
    static std::vector<uint32_t> TicksDown(const PngFile &png, uint32_t x, uint32_t from, uint32_t to)
    {
        std::vector<uint32_t> ticks;
        for (uint32_t y = from; y < to; ++y) {
            if (png.At(x, y) == kTickColour)
                ticks.push_back(y);
        }
        return ticks;
    }
    static std::vector<uint32_t> TicksAcross(const PngFile &png, uint32_t y, uint32_t from, uint32_t to)
    {
        std::vector<uint32_t> ticks;
        for (uint32_t x = from; x < to; ++x) {
            if (png.At(x, y) == kTickColour)
                ticks.push_back(x);
        }
        return ticks;
    }

    // Whether there is something written in this place.
    static bool HasText(const PngFile &png, uint32_t left, uint32_t top, uint32_t width, uint32_t height)
    {
        int ink = 0;
        for (uint32_t y = top; y < top + height; ++y) {
            for (uint32_t x = left; x < left + width; ++x)
                ink += png.At(x, y) > kLevels + 10 ? 1 : 0;
        }
        return ink > 5;
    }

    PngFile Drawn(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"--spectrogram", folder / "a.png"});
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return ReadPng(folder / "a.png");
    }

    std::string ToneFile(const std::string &name, int channels, double hertz, double amplitude,
                         size_t frames = 44100, int rate = 44100)
    {
        WriteSound(folder / name,
                   Tone(SF_FORMAT_WAV | SF_FORMAT_PCM_24, rate, channels, frames, hertz, amplitude));
        return folder / name;
    }
};

TEST_F(Spectrograms, ShowAToneInItsRowWithTheColourOfItsLevel)
{
    const PngFile png = Drawn({ToneFile("tone.wav", 1, 5000, 0.1)});
    ASSERT_EQ(png.width, kLeft + 640 + kRight);
    ASSERT_EQ(png.height, kTop + 512 + 36);
    // 512 rows of 43.07 Hz: the 116th of them, counted from 0 at the bottom.
    const uint32_t row = kTop + 511 - 116;
    for (const uint32_t x : {kLeft + 100, kLeft + 320, kLeft + 550}) {
        EXPECT_NEAR(LevelAt(png, x, row), -20, 1);
        EXPECT_LT(LevelAt(png, x, row - 40), -140);
        EXPECT_LT(LevelAt(png, x, row + 40), -140);
        for (uint32_t y = kTop; y < kTop + 512; ++y)
            EXPECT_LE(LevelAt(png, x, y), LevelAt(png, x, row));
    }
}

TEST_F(Spectrograms, HaveColoursThatGrowBrighter)
{
    const PngFile png = Drawn({folder / "good.wav"});
    ASSERT_EQ(png.palette.size(), 256u);
    double before = -1;
    for (size_t i = 0; i < kLevels; ++i) {
        const auto &c = png.palette[i];
        const double brightness = 0.2126 * c[0] + 0.7152 * c[1] + 0.0722 * c[2];
        EXPECT_GT(brightness, before - 0.8) << i;
        before = brightness;
    }
    EXPECT_EQ(png.palette[0], (std::array<uint8_t, 3>{0, 0, 4}));
    EXPECT_EQ(png.palette[kLevels - 1], (std::array<uint8_t, 3>{252, 255, 164}));
}

TEST_F(Spectrograms, HaveAxesWithLabels)
{
    const PngFile png = Drawn({ToneFile("tone.wav", 1, 5000, 0.1)});
    // 0, 2, 4 ... 22 kHz of 22.05 in 512 rows
    std::vector<uint32_t> frequencies;
    for (const int rows : {511, 464, 418, 372, 325, 279, 232, 186, 139, 93, 46, 0})
        frequencies.push_back(kTop + static_cast<uint32_t>(rows));
    const std::vector<uint32_t> ticks = TicksDown(png, kLeft - 3, kTop - 1, kTop + 512);
    ASSERT_EQ(ticks.size(), frequencies.size());
    for (size_t i = 0; i < ticks.size(); ++i) {
        EXPECT_NEAR(ticks[i], frequencies[frequencies.size() - 1 - i], 1) << i;
        EXPECT_TRUE(HasText(png, kLeft - 30, ticks[i] - 5, 22, 10)) << i;
    }
    EXPECT_TRUE(HasText(png, 16, kTop - 20, 30, 14)); // kHz
    // 0.0 to 1.0 seconds in 640 columns
    const std::vector<uint32_t> times = TicksAcross(png, kTop + 512 + 2, kLeft, kLeft + 641);
    ASSERT_EQ(times.size(), 11u);
    for (size_t i = 0; i < times.size(); ++i) {
        EXPECT_EQ(times[i], kLeft + 64 * i);
        EXPECT_TRUE(HasText(png, times[i] - 14, kTop + 512 + 8, 28, 12)) << i;
    }
    // 0 to -150 dBFS in 512 rows
    const uint32_t bar = kLeft + 640 + 24;
    const std::vector<uint32_t> levels = TicksDown(png, bar + 16, kTop - 1, kTop + 512);
    ASSERT_EQ(levels.size(), 16u);
    for (size_t i = 0; i < levels.size(); ++i) {
        EXPECT_NEAR(levels[i], kTop + 34.13 * static_cast<double>(i), 1.1);
        EXPECT_TRUE(HasText(png, bar + 20, levels[i] - 5, 30, 10)) << i;
    }
    EXPECT_NEAR(png.At(bar + 5, kTop + 256), kLevels / 2, 1);
    EXPECT_TRUE(HasText(png, bar, kTop - 20, 30, 14));     // dBFS
    EXPECT_TRUE(HasText(png, kLeft, 16, 80, 14));          // the name
    EXPECT_TRUE(HasText(png, kLeft, 36, 200, 14));         // what it is
    EXPECT_FALSE(HasText(png, kLeft, kTop - 20, 100, 14)); // one channel has no name
}

TEST_F(Spectrograms, HaveAPanelForEachChannel)
{
    Sound sound = Tone(kWav16, 48000, 6, 48000, 3000, 0.5);
    for (size_t i = 0; i < sound.samples.size(); ++i) {
        if (i % 6 != 4)
            sound.samples[i] = 0;
    }
    WriteSound(folder / "six.wav", sound);
    const PngFile png = Drawn({folder / "six.wav"});
    EXPECT_EQ(png.height, kTop + 6 * 160 + 5 * kPartLine + 36);
    for (uint32_t part = 0; part < 6; ++part) {
        const uint32_t top = kTop + part * (160 + kPartLine);
        const uint32_t row = top + 159 - 20; // of 150 Hz each
        EXPECT_TRUE(HasText(png, kLeft, top - 18, 60, 14)) << part;
        if (part == 4)
            EXPECT_NEAR(LevelAt(png, kLeft + 300, row), -6, 1);
        else
            EXPECT_EQ(LevelAt(png, kLeft + 300, row), -150) << part;
    }
}

TEST_F(Spectrograms, ShowInputAndOutputBesideEachOther)
{
    const std::string in = ToneFile("tone.wav", 1, 6000, 0.1);
    const PngFile png = Drawn({"--rate", "88200", "--bits", "24", in, folder / "out.flac"});
    // 5/8 of 640 columns each; 44.1 kHz in 512 rows of 86.13 Hz.
    ASSERT_EQ(png.width, kLeft + 400 + kBetween + 400 + kRight);
    const uint32_t row = kTop + 511 - 69;
    const uint32_t second = kLeft + 400 + kBetween;
    EXPECT_NEAR(LevelAt(png, kLeft + 200, row), -20, 1);
    EXPECT_NEAR(LevelAt(png, second + 200, row), -20, 1);
    // There is nothing above half of the input's rate, and little in the output.
    EXPECT_EQ(png.At(kLeft + 200, kTop + 100), kLevels);
    EXPECT_LT(png.At(kLeft + 200, kTop + 300), kLevels);
    EXPECT_LT(LevelAt(png, second + 200, kTop + 100), -140);
    EXPECT_EQ(TicksDown(png, second - 3, kTop - 1, kTop + 512),
              TicksDown(png, kLeft - 3, kTop - 1, kTop + 512));
    EXPECT_TRUE(HasText(png, second, 16, 80, 14));
    EXPECT_EQ(ReadSound(folder / "out.flac").rate, 88200);
}

TEST_F(Spectrograms, ShowWhatALossyCoderLeft)
{
    const std::string in = folder / "noise.wav";
    WriteSound(in, Noise(kWav16, 44100, 1, 60000));
    const PngFile png = Drawn({"--bitrate", "64k", in, folder / "out.mp3"});
    const uint32_t second = kLeft + 400 + kBetween;
    const uint32_t row = kTop + 511 - 488; // 21 kHz of 22.05
    const auto mean = [&](uint32_t left) {
        double sum = 0;
        for (uint32_t x = 100; x < 300; ++x)
            sum += LevelAt(png, left + x, row) / 200;
        return sum;
    };
    EXPECT_GT(mean(kLeft), -60);
    EXPECT_LT(mean(second), -100);
}

TEST_F(Spectrograms, OfACopyShowOneSound)
{
    RunHost({folder / "good.wav", folder / "good.flac"});
    const PngFile png = Drawn({"--set", "TITLE=a", folder / "good.flac", folder / "copy.flac"});
    EXPECT_EQ(png.width, kLeft + 640 + kRight);
    EXPECT_EQ(ReadSound(folder / "copy.flac").samples, ReadSound(folder / "good.wav").samples);
}

TEST_F(Spectrograms, GrowWiderWithTheSound)
{
    struct Case {
        size_t seconds;
        uint32_t columns;
    };
    for (const Case &wanted : {Case{1, 640}, Case{10, 640}, Case{20, 800}, Case{80, 1120}})
        EXPECT_EQ(Drawn({ToneFile("long.wav", 1, 500, 0.5, 8000 * wanted.seconds, 8000)}).width,
                  kLeft + wanted.columns + kRight);
}

TEST_F(Spectrograms, AreOfThePartThatIsAskedFor)
{
    const std::string in = ToneFile("tone.wav", 1, 5000, 0.1, 44100 * 20);
    EXPECT_EQ(Drawn({in}).width, kLeft + 800 + kRight);
    const PngFile png = Drawn({"--start", "12", "--end", "14", in});
    EXPECT_EQ(png.width, kLeft + 640 + kRight);
    EXPECT_EQ(TicksAcross(png, kTop + 512 + 2, kLeft, kLeft + 641).size(), 11u); // 0.0 to 2.0 by 0.2
}

TEST_F(Spectrograms, ComeFromPipesAndBesideThem)
{
    const std::string in = ToneFile("tone.wav", 1, 5000, 0.1);
    const PngFile file = Drawn({in});
    Outcome outcome = RunHostOnPipes(ReadText(in), {"--spectrogram", folder / "b.png", "-"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(ReadPng(folder / "b.png").width, file.width);
    EXPECT_NEAR(LevelAt(ReadPng(folder / "b.png"), kLeft + 320, kTop + 511 - 116), -20, 1);
    outcome = RunHostOnPipes(ReadText(in), {"-q", "--spectrogram", folder / "c.png", "-t", "flac", "-", "-"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out.substr(0, 4), "fLaC");
    EXPECT_EQ(ReadPng(folder / "c.png").width, kLeft + 400 + kBetween + 400 + kRight);
}

TEST_F(Spectrograms, AreToldOf)
{
    const std::string in = ToneFile("tone.wav", 1, 5000, 0.1);
    const std::string png = folder / "a.png";
    std::string said = RunHost({"--spectrogram", png, in}).out;
    EXPECT_EQ(said.substr(0, said.find('\n')), in + " (WAV, 44100 Hz, 24 bit, mono) -> " + png);
    EXPECT_NE(said.find("  0:01 of audio in "), std::string::npos) << said;
    said = RunHost({"--spectrogram", png, in, folder / "out.flac"}).out;
    EXPECT_NE(said.find(", spectrogram in " + png + "\n"), std::string::npos) << said;
    auto report = nlohmann::json::parse(RunHost({"--json", "--spectrogram", png, in}).out);
    EXPECT_EQ(report["files"][0]["spectrogram"], png);
    EXPECT_TRUE(report["files"][0]["output"].is_null());
    report = nlohmann::json::parse(RunHost({"--json", in, folder / "out.flac"}).out);
    EXPECT_TRUE(report["files"][0]["spectrogram"].is_null());
}

TEST_F(Spectrograms, NeedANameOfTheirOwn)
{
    const std::string good = folder / "good.wav";
    ExpectFailure(2, "ends in .png", {"--spectrogram", folder / "old.wav", good});
    ExpectFailure(2, "ends in .png", {"--spectrogram", "-", good});
    ExpectFailure(2, "ends in .png", {"--spectrogram", ".png", good});
    WriteSound(folder / "sound.png", Noise(kWav16, 44100, 2, 1000));
    const std::string before = ReadText(folder / "sound.png");
    ExpectFailure(1, "same file", {"--spectrogram", folder / "sound.png", folder / "sound.png"});
    ExpectFailure(1, "same file", {"--spectrogram", folder / "x.png", "-t", "wav", good, folder / "x.png"});
    ExpectFailure(
        1, "same file",
        {"--spectrogram", folder / "sound.png", "--cover", folder / "sound.png", good, folder / "x.flac"});
    EXPECT_EQ(ReadText(folder / "sound.png"), before);
}

TEST_F(Spectrograms, AreOfOneFile)
{
    const std::string good = folder / "good.wav";
    const std::string png = folder / "x.png";
    std::filesystem::create_directories(folder.path() / "in");
    WriteSound(folder / "in/1.wav", Noise(kWav16, 44100, 2, 1000));
    WriteSound(folder / "in/2.wav", Noise(kWav16, 44100, 2, 1000));
    ExpectFailure(2, "name one INPUT",
                  {"--spectrogram", png, folder / "in/1.wav", folder / "in/2.wav", folder / "out"});
    ExpectFailure(2, "name one INPUT", {"--spectrogram", png, folder / "in", folder / "out"});
    ExpectFailure(2, "leave --split", {"--spectrogram", png, "--split", "chapters", good, folder / "out"});
    ExpectFailure(2, "leave --spectrogram out", {"--spectrogram", png, "--in-place", "--set", "A=b", good});
    ExpectFailure(2, "--info and --extract-cover don't", {"--spectrogram", png, "--info", good});
    ExpectFailure(2, "--rate needs an OUTPUT", {"--spectrogram", png, "--rate", "48k", good});
    ExpectFailure(2, "--set needs an OUTPUT", {"--spectrogram", png, "--set", "A=b", good});
}

TEST_F(Spectrograms, ThatFailLeaveNothing)
{
    const std::string good = folder / "good.wav";
    WriteText(folder / "kept.png", "a picture");
    WriteText(folder / "broken.wav", "RIFF and no more");
    ExpectFailure(1, "there is no folder", {"--spectrogram", folder / "none/x.png", good});
    ExpectFailure(1, "there is no folder",
                  {"--spectrogram", folder / "none/x.png", good, folder / "old.wav"});
    ExpectFailure(1, "there is no folder",
                  {"--spectrogram", folder / "kept.png", good, folder / "none/x.wav"});
    ExpectFailure(1, "no such file", {"--spectrogram", folder / "kept.png", folder / "none.wav"});
    ExpectFailure(1, "broken.wav", {"--spectrogram", folder / "kept.png", folder / "broken.wav"});
    CutOff(good, 100000);
    ExpectFailure(1, "good.wav", {"--spectrogram", folder / "kept.png", good});
    ExpectFailure(1, "good.wav", {"--spectrogram", folder / "kept.png", good, folder / "old.wav"});
    EXPECT_EQ(ReadText(folder / "kept.png"), "a picture");
}

} // namespace
} // namespace tonekit::host::test
