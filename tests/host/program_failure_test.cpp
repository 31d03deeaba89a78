// program_failure_test.cpp: bad input and bad luck end in one line, the right status and no harm.
#include "tests/host/audio_files.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

class Failures : public testing::Test {
protected:
    void SetUp() override
    {
        WriteSound(folder / "good.wav", Noise(kWav16, 44100, 2, 50000));
        WriteText(folder / "old.wav", "precious");
        names_ = folder.Names();
    }

    // The run fails with this status and one line that contains `what`, and no file came, went or changed.
    void ExpectFailure(int status, const std::string &what, const std::vector<std::string> &arguments,
                       const Circumstances &circumstances = {})
    {
        names_ = folder.Names();
        const Outcome outcome = RunHost(arguments, circumstances);
        EXPECT_EQ(outcome.status, status) << outcome.err;
        EXPECT_NE(outcome.err.find(what), std::string::npos) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_EQ(outcome.err.substr(0, 17), "tonekit-convert: ");
        EXPECT_EQ(folder.Names(), names_);
        EXPECT_EQ(ReadText(folder / "old.wav"), "precious");
    }

    void ExpectBadInput(const std::string &what, const std::string &input)
    {
        ExpectFailure(1, what, {input, folder / "old.wav"});
        ExpectFailure(1, what, {"--info", input});
    }

    TemporaryFolder folder;

private:
    std::vector<std::string> names_;
};

TEST_F(Failures, OfInputsThatAreNoAudio)
{
    WriteText(folder / "text.wav", "this is no audio file at all");
    WriteText(folder / "empty.wav", "");
    ExpectBadInput("no such file", folder / "none.wav");
    ExpectBadInput("folder", folder.path().string());
    ExpectBadInput("not an audio file", folder / "text.wav");
    ExpectBadInput("empty", folder / "empty.wav");
}

TEST_F(Failures, OfInputsWithoutFrames)
{
    for (const int format : {kWav16, SF_FORMAT_AIFF | SF_FORMAT_PCM_16, SF_FORMAT_W64 | SF_FORMAT_FLOAT}) {
        WriteSound(folder / "none", Sound{format, 44100, 2, {}});
        ExpectBadInput("0 frames", folder / "none");
    }
}

TEST_F(Failures, OfInputsWithTooManyChannels)
{
    WriteSound(folder / "nine.wav", Noise(kWav16, 44100, 9, 100));
    ExpectBadInput("9 channels", folder / "nine.wav");
}

TEST_F(Failures, OfInputsThatAreCutOff)
{
    const struct {
        const char *extension;
        int format;
    } forms[] = {{"wav", kWav16},
                 {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
                 {"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
                 {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS},
                 {"mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
                 {"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24},
                 {"caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16},
                 {"w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16}};
    for (const auto &form : forms) {
        const std::string name = folder / (std::string("cut.") + form.extension);
        WriteSound(name, Tone(form.format, 48000, 2, 100000, 440));
        CutOff(name, fs::file_size(name) * 2 / 3);
        ExpectFailure(1, form.extension == std::string("flac") ? "breaks off" : "cut off",
                      {name, folder / "old.wav"});
        fs::remove(name);
    }
}

TEST_F(Failures, OfOutputsThatCantBeWritten)
{
    ExpectFailure(1, "no folder", {folder / "good.wav", folder / "nowhere/out.wav"});
    ExpectFailure(1, "", {folder / "good.wav", folder / "old.wav/out.wav"});
    ExpectFailure(1, "", {folder / "good.wav", "/proc/out.wav"});
    ExpectFailure(1, "not a regular file", {"-t", "wav", folder / "good.wav", "/dev/null"});
}

TEST_F(Failures, OfInputAndOutputBeingOneFile)
{
    fs::create_hard_link(folder / "good.wav", folder / "hard.wav");
    fs::create_symlink("good.wav", folder / "soft.wav");
    const std::string before = ReadText(folder / "good.wav");
    for (const char *name : {"good.wav", "hard.wav", "soft.wav", "./good.wav"}) {
        ExpectFailure(1, "same file", {folder / "good.wav", folder / name});
        ExpectFailure(1, "same file", {folder / name, folder / "good.wav"});
    }
    ExpectFailure(1, "same file", {folder / "good.wav", folder.path().string()});
    EXPECT_EQ(ReadText(folder / "good.wav"), before);
}

TEST_F(Failures, OfAFullDisk)
{
    for (const char *name : {"old.wav", "out.flac", "out.ogg", "out.caf"}) {
        ExpectFailure(1, "writing failed", {"-r", "96000", folder / "good.wav", folder / name},
                      {.fileSizeLimit = 20000});
    }
}

TEST_F(Failures, OfAFullDiskWhenTheTagsAreWritten)
{
    // Enough for the audio, not for the picture.
    WriteText(folder / "p.png", std::string("\x89PNG\r\n\x1A\n", 8) + std::string(100000, 'x'));
    const uintmax_t audio = fs::file_size(folder / "good.wav");
    const Outcome outcome = RunHost({"--cover", folder / "p.png", folder / "good.wav", folder / "out.wav"},
                                    {.fileSizeLimit = audio + 10000});
    // The audio is kept with a warning, or nothing is: never a damaged file.
    EXPECT_NE(outcome.err, "");
    if (outcome.status == 0)
        EXPECT_EQ(ReadSound(folder / "out.wav").samples, ReadSound(folder / "good.wav").samples);
    else
        EXPECT_FALSE(fs::exists(folder / "out.wav"));
}

TEST_F(Failures, OfAnInterrupt)
{
    // Long enough to be caught in the middle; the file system keeps only the header.
    const std::string header = ReadText(folder / "good.wav").substr(0, 40) + "\xF0\xFF\xFF\x7F";
    WriteText(folder / "long.wav", header);
    fs::resize_file(folder / "long.wav", 44 + 0x7FFFFFF0u);
    for (const int signal : {SIGINT, SIGTERM}) {
        ExpectFailure(128 + signal, "interrupted",
                      {"-q", "-r", "96000", "--quality", "best", folder / "long.wav", folder / "old.wav"},
                      {.signal = signal, .watchedFolder = folder.path().string()});
    }
}

TEST_F(Failures, OfTheCommandLine)
{
    const std::string in = folder / "good.wav";
    ExpectFailure(2, "INPUT", {});
    ExpectFailure(2, "OUTPUT", {in});
    ExpectFailure(2, "no option", {"--nonsense", in, folder / "out.wav"});
    ExpectFailure(2, "--channels", {"-c", "3", in, folder / "out.wav"});
    ExpectFailure(2, "extension", {in, folder / "out"});
    ExpectFailure(2, ".xyz", {in, folder / "out.xyz"});
    ExpectFailure(2, "FLAC", {"-b", "64f", in, folder / "out.flac"});
    ExpectFailure(2, "MP3", {"-r", "96000", in, folder / "out.mp3"});
}

TEST_F(Failures, OfFilesForTheTags)
{
    const std::string in = folder / "good.wav";
    WriteText(folder / "bad.txt", "not a chapter");
    ExpectFailure(1, "no such file", {"--cover", folder / "none.jpg", in, folder / "out.flac"});
    ExpectFailure(1, "no picture", {"--cover", folder / "bad.txt", in, folder / "out.flac"});
    ExpectFailure(1, "line 1", {"--chapters", folder / "bad.txt", in, folder / "out.flac"});
}

TEST_F(Failures, OfHdcdWhereThereCanBeNone)
{
    WriteSound(folder / "deep.wav", Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_24, 44100, 2, 100));
    ExpectFailure(1, "16 bit stereo", {"--hdcd", "on", folder / "deep.wav", folder / "out.wav"});
}

TEST_F(Failures, AreToldInJsonToo)
{
    const Outcome outcome = RunHost({"--json", folder / "none.wav", folder / "out.wav"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("\"ok\": false"), std::string::npos);
    EXPECT_NE(outcome.out.find("no such file"), std::string::npos);
}

TEST_F(Failures, ABrokenTagIsOnlyAWarning)
{
    WriteSound(folder / "a.mp3", Tone(SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 44100, 2, 44100, 440));
    const std::string tag = std::string("ID3\x04\0\0\0\0\0\x20", 10) + std::string(32, '\xEE');
    WriteText(folder / "b.mp3", tag + ReadText(folder / "a.mp3"));
    const Outcome outcome = RunHost({folder / "b.mp3", folder / "b.wav"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.err.find("warning: "), std::string::npos);
    EXPECT_EQ(ReadSound(folder / "b.wav").channels, 2);
}

} // namespace
} // namespace tonekit::host::test
