// mp3_length_test.cpp: MP3 files whose encoder noted no length are read to their real end.
#include "host/audio/audio_reader.h"
#include "host/system/paths.h"
#include "tests/host/failures.h"

#include <array>
#include <filesystem>

namespace tonekit::host::test {
namespace {

constexpr size_t kHalf = 441000;

// Encoders that can't go back to the beginning leave the note out; so does the program in a pipe. Frames of
// 1152 samples: 20 s, and what the encoder adds at both ends.
class Mp3WithoutLength : public Failures {
protected:
    // 10 s of noise and of silence, which need frames of very different sizes. A length that is guessed from
    // the first frame is far too small or too large.
    std::string Encoded(bool noiseFirst, const std::vector<std::string> &rate)
    {
        Sound sound = Noise(kWav16, 44100, 2, kHalf);
        sound.samples.insert(noiseFirst ? sound.samples.end() : sound.samples.begin(), 2 * kHalf, 0);
        WriteSound(folder / "long.wav", sound);
        std::vector<std::string> arguments = {"-q", "-", "-t", "mp3", "-"};
        arguments.insert(arguments.begin(), rate.begin(), rate.end());
        const Outcome outcome = RunHostOnPipes(ReadText(folder / "long.wav"), arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.out;
    }

    static std::vector<float> SamplesOf(AudioReader &reader)
    {
        std::vector<float> samples;
        std::array<float, 2000> block;
        while (const uint32_t got = reader.Read(block.data(), 1000))
            samples.insert(samples.end(), block.begin(), block.begin() + 2 * got);
        return samples;
    }

    static double Energy(const float *samples, size_t count)
    {
        double sum = 0;
        for (size_t i = 0; i < count; ++i)
            sum += static_cast<double>(samples[i]) * samples[i];
        return sum / static_cast<double>(count);
    }

    // All of it is there twice, and the noise is where it belongs.
    void ExpectAll(const std::string &name, bool noiseFirst, size_t mp3Frames)
    {
        AudioReader reader(PathFromUtf8(name));
        EXPECT_EQ(reader.frames(), 0u); // nobody knows
        EXPECT_TRUE(reader.CanRewind());
        const std::vector<float> samples = SamplesOf(reader);
        ASSERT_EQ(samples.size(), 2 * 1152 * mp3Frames);
        reader.Rewind();
        EXPECT_TRUE(SamplesOf(reader) == samples);
        constexpr size_t kBorder = 2 * 4000; // delays and echoes of the coder
        const double first = Energy(&samples[kBorder], 2 * kHalf - 2 * kBorder);
        const double second = Energy(&samples[2 * kHalf + kBorder], 2 * kHalf - 2 * kBorder);
        EXPECT_GT(noiseFirst ? first : second, 0.05);
        EXPECT_LT(noiseFirst ? second : first, 1e-6);
    }
};

TEST_F(Mp3WithoutLength, IsReadToItsEnd)
{
    for (const bool noiseFirst : {true, false}) {
        WriteText(folder / "a.mp3", Encoded(noiseFirst, {"--vbr", "5"}));
        ExpectAll(folder / "a.mp3", noiseFirst, 767);
    }
    WriteText(folder / "a.mp3", Encoded(true, {"--bitrate", "128k"}));
    ExpectAll(folder / "a.mp3", true, 767);
}

TEST_F(Mp3WithoutLength, MayHaveTagsAtBothEnds)
{
    const std::string music = Encoded(true, {"--vbr", "5"});
    const std::string front = std::string("ID3\x04\0\0\0\0\x02\x03", 10) + std::string(259, '\0');
    const std::string end = "TAG" + std::string(125, 'x');
    for (const std::string &tags : {front, front + front}) {
        WriteText(folder / "a.mp3", tags + music + end);
        ExpectAll(folder / "a.mp3", true, 767);
    }
}

TEST_F(Mp3WithoutLength, IsConvertedAndMeasured)
{
    WriteText(folder / "a.mp3", Encoded(true, {"--vbr", "5"}));
    for (const char *level : {"off", "-20"}) { // the second is read twice
        std::vector<std::string> arguments = {"-q", "-b",  "32f",           folder / "a.mp3",
                                              "-t", "raw", folder / "a.raw"};
        if (level != std::string("off"))
            arguments.insert(arguments.begin(), {"--normalize", level});
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(std::filesystem::file_size(folder / "a.raw"), 767u * 1152 * 8) << level;
    }
}

TEST_F(Mp3WithoutLength, ClaimsNoneUnlessItIsRead)
{
    WriteText(folder / "a.mp3", Encoded(false, {"--vbr", "5"}));
    EXPECT_NE(RunHost({"--info", "--json", folder / "a.mp3"}).out.find("\"frames\": null"),
              std::string::npos);
    EXPECT_NE(RunHost({"--info", folder / "a.mp3"}).out.find("Length      not said by the file"),
              std::string::npos);
    EXPECT_NE(RunHost({"--info", "--hash", "sha256", folder / "a.mp3"}).out.find("(883584 frames)"),
              std::string::npos);
}

TEST_F(Mp3WithoutLength, IsNotWhatANoteGives)
{
    ASSERT_EQ(RunHost({"-q", "--vbr", "5", folder / "good.wav", folder / "a.mp3"}).status, 0);
    AudioReader reader(PathFromUtf8(folder / "a.mp3"));
    EXPECT_EQ(reader.frames(), 50000u);
    const std::vector<float> samples = SamplesOf(reader);
    EXPECT_EQ(samples.size(), 100000u);
    reader.Rewind();
    EXPECT_TRUE(SamplesOf(reader) == samples);
}

} // namespace
} // namespace tonekit::host::test
