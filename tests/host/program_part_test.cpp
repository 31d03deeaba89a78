// program_part_test.cpp: parts of files, by times.
#include "tests/host/failures.h"

#include <cstddef>
#include <filesystem>

namespace tonekit::host::test {
namespace {

constexpr int kFlac16 = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;

// Frames `first` to before `end`.
Sound Cut(const Sound &sound, size_t first, size_t end)
{
    Sound cut = sound;
    const auto channels = static_cast<size_t>(sound.channels);
    cut.samples.assign(sound.samples.begin() + static_cast<ptrdiff_t>(first * channels),
                       sound.samples.begin() + static_cast<ptrdiff_t>(end * channels));
    return cut;
}

class Parts : public Failures {
protected:
    void Run(const std::vector<std::string> &arguments)
    {
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }

    std::string Info(const std::string &name) { return RunHost({"--info", folder / name}).out; }
};

TEST_F(Parts, HoldTheSamplesBetweenTheirTimes)
{
    const int formats[] = {kWav16,
                           SF_FORMAT_WAV | SF_FORMAT_PCM_24,
                           SF_FORMAT_WAV | SF_FORMAT_PCM_U8,
                           SF_FORMAT_AIFF | SF_FORMAT_PCM_32,
                           SF_FORMAT_W64 | SF_FORMAT_FLOAT,
                           kFlac16};
    for (const int format : formats) {
        const Sound whole = Noise(format, 44100, 2, 100000);
        WriteSound(folder / "in", whole);
        // 0.5 s are 22050 frames, 1.250034 s are 55126.5, of which the nearest is taken.
        Run({"--start", "0.5", "--end", "0:00:01.25003", "-t", "wav", folder / "in", folder / "part.wav"});
        EXPECT_EQ(ReadSound(folder / "part.wav").samples, Cut(whole, 22050, 55126).samples) << format;
        Run({"--start", "2", "-t", "wav", folder / "in", folder / "rest.wav"});
        EXPECT_EQ(ReadSound(folder / "rest.wav").samples, Cut(whole, 88200, 100000).samples) << format;
        Run({"--end", "0:00.1", "-t", "flac", "-b", "24", folder / "in", folder / "first.flac"});
        EXPECT_EQ(ReadSound(folder / "first.flac").Frames(), 4410u) << format;
    }
}

TEST_F(Parts, OfOneTypeAreCutAndNotCopied)
{
    const Sound whole = Noise(kFlac16, 48000, 1, 96000);
    WriteSound(folder / "a.flac", whole);
    Run({"--start", "1.5", folder / "a.flac", folder / "b.flac"});
    EXPECT_EQ(ReadSound(folder / "b.flac").samples, Cut(whole, 72000, 96000).samples);
}

// A coder with a memory is read from the start, so that the part has the samples that the whole has.
TEST_F(Parts, OfLossyFilesAreThoseOfTheWhole)
{
    WriteSound(folder / "in.wav", Noise(kWav16, 48000, 2, 150000));
    for (const char *name : {"a.mp3", "a.ogg", "a.opus"}) {
        Run({folder / "in.wav", folder / name});
        Run({"-b", "32f", folder / name, folder / "whole.wav"});
        Run({"-b", "32f", "--start", "1.1", "--end", "2.3", folder / name, folder / "part.wav"});
        const Sound whole = ReadSound(folder / "whole.wav");
        EXPECT_EQ(ReadSound(folder / "part.wav").samples, Cut(whole, 52800, 110400).samples) << name;
    }
}

TEST_F(Parts, FromOneTimeToTheNextJoinWithoutAGap)
{
    const Sound whole = Noise(kWav16, 44100, 2, 100000);
    WriteSound(folder / "a.wav", whole);
    Sound joined = Cut(whole, 0, 0);
    const std::vector<std::string> times = {"0", "0.33333", "0.77777", "1.99999", "2.26757"};
    for (size_t i = 0; i + 1 < times.size(); ++i) {
        Run({"--start", times[i], "--end", times[i + 1], folder / "a.wav", folder / "b.wav"});
        const Sound part = ReadSound(folder / "b.wav");
        joined.samples.insert(joined.samples.end(), part.samples.begin(), part.samples.end());
    }
    EXPECT_EQ(joined.samples, whole.samples);
}

TEST_F(Parts, KeepTheirChaptersAndTags)
{
    WriteText(folder / "chapters.txt", "0:00 One\n0:01 Two\n0:02 Three\n0:03.5 Four\n");
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 44100 * 4));
    Run({"--chapters", folder / "chapters.txt", "--set", "TITLE=Piece", "--set",
         "REPLAYGAIN_TRACK_GAIN=-1.00 dB", "--set", "REPLAYGAIN_ALBUM_GAIN=-2.00 dB", "--set", "CUESHEET=x",
         folder / "a.wav", folder / "a.flac"});
    for (const char *name : {"part.flac", "part.mp3"}) {
        Run({"--start", "1.5", "--end", "3.5", folder / "a.flac", folder / name});
        const std::string info = Info(name);
        EXPECT_NE(info.find("TITLE       Piece"), std::string::npos) << info;
        EXPECT_NE(info.find("REPLAYGAIN_ALBUM_GAIN"), std::string::npos) << info;
        EXPECT_EQ(info.find("REPLAYGAIN_TRACK_GAIN"), std::string::npos) << info;
        EXPECT_EQ(info.find("CUESHEET"), std::string::npos) << info;
        EXPECT_NE(info.find("00:00:00.000 Two"), std::string::npos) << info;
        EXPECT_NE(info.find("00:00:00.500 Three"), std::string::npos) << info;
        EXPECT_EQ(info.find("One"), std::string::npos) << info;
        EXPECT_EQ(info.find("Four"), std::string::npos) << info;
    }
    // Chapters from a file have the input's times too.
    Run({"--start", "2", "--chapters", folder / "chapters.txt", folder / "a.wav", folder / "b.flac"});
    EXPECT_NE(Info("b.flac").find("00:00:01.500 Four"), std::string::npos);
}

TEST_F(Parts, AreToldInTheReport)
{
    const Outcome json = RunHost({"--json", "--start", "0.25", folder / "good.wav", folder / "b.wav"});
    EXPECT_NE(json.out.find("\"start\": 0.25"), std::string::npos) << json.out;
    const Outcome text = RunHost({"--end", "0.5", folder / "good.wav", folder / "b.wav"});
    EXPECT_NE(text.out.find(", from 0:00:00.000 to 0:00:00.500\n"), std::string::npos) << text.out;
}

TEST_F(Parts, AreTakenOfEveryFileOfAFolder)
{
    std::filesystem::create_directories(folder / "in");
    WriteSound(folder / "in/a.wav", Noise(kWav16, 44100, 2, 50000, 1));
    WriteSound(folder / "in/b.wav", Noise(kWav16, 44100, 2, 60000, 2));
    Run({"--end", "1", folder / "in", folder / "out"});
    EXPECT_EQ(ReadSound(folder / "out/a.wav").Frames(), 44100u);
    EXPECT_EQ(ReadSound(folder / "out/b.wav").samples,
              Cut(Noise(kWav16, 44100, 2, 60000, 2), 0, 44100).samples);
}

TEST_F(Parts, OutsideTheAudioAreRefused)
{
    const std::string in = folder / "good.wav"; // 50000 frames, 1.134 s
    const std::string out = folder / "old.wav";
    ExpectFailure(1, "good.wav: 0:00:02.000 is beyond the end of the audio at 0:00:01.134",
                  {"--start", "2", in, out});
    ExpectFailure(1, "beyond the end of the audio", {"--end", "1.2", in, out});
    ExpectFailure(1, "beyond the end of the audio", {"--start", "999:59:59", in, out});
    // At its very end nothing is left, which is known before anything is read.
    ExpectFailure(1, "0:00:01.134 is beyond the end of the audio",
                  {"--dry-run", "--start", "1.1337868", in, out});
    ExpectFailure(1, "shorter than a sample", {"--start", "0.5", "--end", "0.500001", in, out});
    ExpectFailure(2, "--end must be after --start", {"--start", "1", "--end", "1", in, out});
    ExpectFailure(2, "--end must be after the start of the audio", {"--end", "0", in, out});
    for (const char *time : {"", "-1", "1:2:3:4", "1e3", "soon", "1:", "1.2.3", "inf", "9999999999", "1:99"})
        ExpectFailure(2, "--start must be a time such as", {"--start", time, in, out});
    ExpectFailure(2, "--in-place keeps the audio", {"--in-place", "--start", "1", "--set", "TITLE=x", in});
}

} // namespace
} // namespace tonekit::host::test
