// program_posix_test.cpp: the program under circumstances that only POSIX systems let a test arrange.
#include "host/audio/audio_reader.h"
#include "host/audio/header_bytes.h"
#include "host/audio/sound_stream.h"
#include "host/jobs.h"
#include "host/system/failure.h"
#include "host/system/platform.h"
#include "host/tags/tag_reader.h"
#include "tests/host/failures.h"
#include "tests/host/run_program_posix.h"

#include <csignal>
#include <functional>
#include <regex>
#include <unistd.h>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;

TEST_F(Failures, OfAFullDisk)
{
    for (const char *name : {"old.wav", "out.flac", "out.ogg", "out.caf"}) {
        const std::vector<std::string> arguments = {"-r", "96000", folder / "good.wav", folder / name};
        ExpectFailureOf([&] { return RunHostUnder({.fileSizeLimit = 20000}, arguments); }, 1,
                        "writing failed");
    }
}

TEST_F(Failures, OfAFullDiskWhenTheTagsAreWritten)
{
    // Enough for the audio, not for the picture.
    WriteText(folder / "p.png", std::string("\x89PNG\r\n\x1A\n", 8) + std::string(100000, 'x'));
    const uintmax_t audio = fs::file_size(folder / "good.wav");
    const Outcome outcome =
        RunHostUnder({.fileSizeLimit = audio + 10000},
                     {"--cover", folder / "p.png", folder / "good.wav", folder / "out.wav"});
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
        // A program that doesn't stop meets the limit long before it fills the disk.
        const Circumstances circumstances = {
            .fileSizeLimit = 64 << 20, .signal = signal, .watchedFolder = folder.path().string()};
        const std::vector<std::string> arguments = {
            "-q", "-r", "96000", "--quality", "best", folder / "long.wav", folder / "old.wav"};
        ExpectFailureOf([&] { return RunHostUnder(circumstances, arguments); }, 128 + signal, "interrupted");
    }
}

TEST_F(Failures, NeverGoIntoTheAudioWhereTheStandardStreamsAreClosed)
{
    WriteSound(folder / "b.wav", Noise(kWav16, 44100, 2, 50000, 2));
    WriteText(folder / "bad.wav", "not audio");
    const Circumstances closed = {.closedStreams = true};
    fs::create_directory(folder / "out");
    // A summary and a complaint would have been said, and couldn't be.
    EXPECT_EQ(
        RunHostUnder(closed, {folder / "good.wav", folder / "bad.wav", folder / "b.wav", folder / "out"})
            .status,
        1);
    EXPECT_EQ(RunHostUnder(closed, {"-q", folder / "good.wav", folder / "quiet.wav"}).status, 0);
    EXPECT_EQ(ReadText(folder / "out/good.wav"), ReadText(folder / "good.wav"));
    EXPECT_EQ(ReadText(folder / "out/b.wav"), ReadText(folder / "b.wav"));
    EXPECT_EQ(ReadText(folder / "quiet.wav"), ReadText(folder / "good.wav"));
}

TEST_F(Failures, OfAnInterruptBetweenTheLastSampleAndTheCommit)
{
    const auto convert = [&] {
        signal(SIGTERM, SIG_DFL);
        NoteInterrupts();
        const Options options = ParseOptions({folder / "good.wav", folder / "old.wav"});
        const ProgressSink progress = [](double done, double) {
            if (done == 1)
                raise(SIGTERM);
        };
        try {
            ConvertFile(options, {}, MakeJobs(options)[0], progress);
        } catch (const Interrupted &) {
            _exit(33);
        }
        _exit(0);
    };
    const std::vector<std::string> names = folder.Names();
    EXPECT_EXIT(convert(), testing::ExitedWithCode(33), "");
    EXPECT_EQ(ReadText(folder / "old.wav"), "precious");
    EXPECT_EQ(folder.Names(), names);
}

// A file can have any number of small parts, each of which is passed over.
TEST_F(Failures, OfAnInterruptWhileAFileIsOpened)
{
    const auto ends = [](const std::function<void()> &work) {
        signal(SIGTERM, SIG_DFL);
        NoteInterrupts();
        raise(SIGTERM);
        try {
            work();
        } catch (const Interrupted &) {
            _exit(33);
        }
        _exit(0);
    };
    const std::string flac = folder / "a.flac";
    RunHost({"-q", folder / "good.wav", flac});
    const auto search = [&] {
        File file;
        file.OpenToRead(PathFromUtf8(flac));
        HeaderBytes(file).Has(0, "fLaC");
    };
    const auto tags = [&] {
        std::vector<std::string> warnings;
        ReadTags(PathFromUtf8(flac), TagKind::Flac, {}, NewTagBlock().get(), warnings);
    };
    const auto libsndfile = [&] {
        SoundStream stream;
        SF_INFO info{};
        stream.file().OpenToRead(PathFromUtf8(flac));
        stream.Start(SFM_READ, info);
        if (!stream.handle())
            throw Interrupted();
    };
    EXPECT_EXIT(ends(search), testing::ExitedWithCode(33), "");
    EXPECT_EXIT(ends(tags), testing::ExitedWithCode(33), "");
    EXPECT_EXIT(ends(libsndfile), testing::ExitedWithCode(33), "");
    EXPECT_EXIT(ends([&] { AudioReader reader(PathFromUtf8(flac)); }), testing::ExitedWithCode(33), "");
}

TEST_F(Failures, OfStandardOutputThatIsFull)
{
    const Circumstances full = {.out = "/dev/full"};
    for (const std::vector<std::string> &arguments : {std::vector<std::string>{"--help"},
                                                      {"--version"},
                                                      {"--info", folder / "good.wav"},
                                                      {"--info", "--json", folder / "good.wav"}})
        ExpectFailureOf([&] { return RunHostUnder(full, arguments); }, 1, "standard output can't be written");
    // The file is complete all the same.
    const Outcome outcome = RunHostUnder(full, {folder / "good.wav", folder / "copy.wav"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "tonekit-convert: standard output can't be written\n");
    EXPECT_EQ(ReadSound(folder / "copy.wav").samples, ReadSound(folder / "good.wav").samples);
}

TEST(Circumstances, ASignalThatIsIgnoredFromTheStartStaysIgnored)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        TemporaryFolder folder;
        WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 44100 * 3));
        const Circumstances circumstances = {
            .signal = signal, .watchedFolder = folder.path().string(), .signalIgnored = true};
        const Outcome outcome = RunHostUnder(
            circumstances, {"-r", "96000", "--quality", "best", folder / "a.wav", folder / "b.wav"});
        EXPECT_EQ(outcome.status, 0) << signal;
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(ReadSound(folder / "b.wav").Frames(), size_t{96000} * 3);
    }
}

TEST_F(Failures, OfOutputsThatAreNoFiles)
{
    ExpectFailure(1, "", {folder / "good.wav", "/proc/out.wav"});
    ExpectFailure(1, "not a regular file", {"-t", "wav", folder / "good.wav", "/dev/null"});
}

TEST_F(Failures, OfInputAndOutputBeingOneFileBySymbolicLinks)
{
    fs::create_symlink("good.wav", folder / "soft.wav");
    ExpectFailure(1, "same file", {folder / "good.wav", folder / "soft.wav"});
    ExpectFailure(1, "same file", {folder / "soft.wav", folder / "good.wav"});
    EXPECT_TRUE(fs::is_symlink(folder / "soft.wav"));
}

TEST(Circumstances, ProgressIsShownOnATerminal)
{
    if (!TerminalsCanBeOpened())
        GTEST_SKIP() << "pseudo-terminals can't be opened here";
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 44100 * 20));
    const std::vector<std::string> arguments = {"-r", "48000", folder / "a.wav", folder / "b.flac"};
    const Outcome shown = RunOnTerminal(arguments);
    EXPECT_EQ(shown.status, 0);
    EXPECT_TRUE(std::regex_search(shown.out, std::regex("\r[^\r]*\\[#*\\.*\\] +[0-9]+%  [0-9.]+x")))
        << shown.out;
}

TEST(Circumstances, QuietSaysNothingOnATerminal)
{
    if (!TerminalsCanBeOpened())
        GTEST_SKIP() << "pseudo-terminals can't be opened here";
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 1000));
    const Outcome outcome = RunOnTerminal({"--quiet", folder / "a.wav", folder / "b.flac"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
}

// Stereo of this length in seconds, of which the file system keeps only the header.
void WriteSilence(const std::string &name, uint32_t seconds)
{
    WriteSound(name, Sound{kWav16, 44100, 2, {0, 0}});
    std::string header = ReadText(name).substr(0, 44);
    const auto put = [&](size_t place, uint32_t number) {
        for (size_t i = 0; i < 4; ++i)
            header[place + i] = static_cast<char>(number >> 8 * i);
    };
    const uint32_t bytes = seconds * 44100 * 4;
    put(4, bytes + 36);
    put(40, bytes);
    WriteText(name, header);
    std::filesystem::resize_file(name, uintmax_t{bytes} + 44);
}

TEST(Circumstances, ALongFileNeedsNoMoreMemoryThanAShortOne)
{
#ifdef TONEKIT_SANITIZED
    GTEST_SKIP() << "sanitizers need memory of their own";
#endif
    TemporaryFolder folder;
    const auto peak = [&](uint32_t seconds) {
        WriteSilence(folder / "a.wav", seconds);
        long most = 0;
        const Outcome outcome =
            RunHostUnder({.peakKiB = &most}, {"-q", "-r", "48000", "-b", "24", "--replaygain", "--hash",
                                              "sha256", folder / "a.wav", folder / "b.flac"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return most;
    };
    const long minute = peak(60);
    EXPECT_LT(minute, 64 * 1024);
    EXPECT_LT(peak(600), minute + 2048);
}

TEST(Circumstances, NumbersAreWrittenTheSameInEveryLocale)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 1000));
    const Outcome outcome =
        RunHostUnder({.locale = "de_DE.UTF-8"}, {"--json", folder / "a.wav", folder / "b.wav"});
    EXPECT_NE(outcome.out.find("\"seconds\": 0.0226757369"), std::string::npos) << outcome.out;
}

} // namespace
} // namespace tonekit::host::test
