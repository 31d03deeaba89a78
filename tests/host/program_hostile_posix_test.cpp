// program_hostile_posix_test.cpp: hostile names, files that are none, forbidden folders and abandoned files,
// as POSIX systems let a test arrange them.
#include "tests/host/failures.h"
#include "tests/host/run_program_posix.h"

#include <csignal>
#include <fcntl.h>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;

TEST_F(Failures, OfPicturesAndChaptersThatAreNoFiles)
{
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const char *option : {"--cover", "--chapters"}) {
        ExpectFailure(1, "pipe: is not a regular file",
                      {option, folder / "pipe", folder / "good.wav", folder / "a.flac"});
        ExpectFailure(1, "is not a regular file",
                      {option, folder.path().string(), folder / "good.wav", folder / "a.flac"});
    }
}

TEST_F(Failures, OfPipesThatAreNamed)
{
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    const std::string line =
        "pipe: is a pipe: to read it as standard input, put - in its place and < before it\n";
    ExpectBadInput(line, folder / "pipe");
    ExpectFailure(1, line, {"--raw", "s16le,44100,2", folder / "pipe", folder / "a.wav"});
    ExpectFailure(1, line, {"--in-place", "--set", "TITLE=A", folder / "pipe"});
    ExpectFailure(1, line, {"--spectrogram", folder / "a.png", folder / "pipe"});
    ExpectFailure(1, line, {"--join", folder / "good.wav", folder / "pipe", folder / "a.wav"});
    ExpectBadInput("is not a regular file\n", "/dev/null");
}

TEST_F(Failures, OfNamesThatAreTooLong)
{
    const std::string name = folder / (std::string(300, 'n') + ".wav");
    ExpectFailure(1, "nn.wav: File name too long\n", {folder / "good.wav", name});
    ExpectFailure(1, "nn.wav: File name too long\n", {name, folder / "a.wav"});
    ExpectFailure(1, "File name too long\n", {folder / "good.wav", name + "/"});
    ExpectFailure(1, "File name too long\n", {"--cover", name, folder / "good.wav", folder / "a.wav"});
}

TEST_F(Failures, SayNamesWithoutWhatATerminalObeys)
{
    ExpectFailure(1, "a\\nb\\x1b[2J\\u009b\\xff.wav: no such file",
                  {folder / "a\nb\x1B[2J\xC2\x9B\xFF.wav", folder / "x.wav"});
}

TEST(HostileNames, AreShownInOneLine)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 1000));
    const std::string name = folder / "b\n\x1B[31mc\xC2\x85\xFF.wav";
    const Outcome outcome = RunHost({"--hash", "sha256", folder / "a.wav", name});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 3) << outcome.out;
    EXPECT_EQ(outcome.out.find_first_of("\x1B\xFF\x85"), std::string::npos) << outcome.out;
    const Outcome info = RunHost({"--info", name});
    EXPECT_EQ(info.out.find(folder / "b\\n\\x1b[31mc\\u0085\\xff.wav\n"), 0u) << info.out;
}

TEST(HostileNames, MayHaveLongExtensions)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 1000));
    const std::string name = folder / ("b." + std::string(250, 'e'));
    EXPECT_EQ(RunHost({"-q", "-t", "flac", folder / "a.wav", name}).err, "");
    EXPECT_TRUE(fs::exists(name));
}

TEST(LeftBehind, TemporaryFilesOfKilledRunsGo)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 1000));
    for (const char *name : {".tonekit-0123abcd.wav", ".tonekit-0123abce", ".tonekit-inwork00.wav",
                             ".tonekit-notes", ".tonekit-0123ABCD.wav", "tonekit-0123abcd.wav"})
        WriteText(folder / name, "old");
    fs::create_symlink("a.wav", folder / ".tonekit-symlink0.wav");
    const int inWork = open((folder / ".tonekit-inwork00.wav").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(inWork, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(RunHost({"-q", folder / "a.wav", folder / "b.wav"}).status, 0);
    close(inWork);
    EXPECT_EQ(folder.Names(),
              (std::vector<std::string>{".tonekit-0123ABCD.wav", ".tonekit-inwork00.wav", ".tonekit-notes",
                                        ".tonekit-symlink0.wav", "a.wav", "b.wav", "tonekit-0123abcd.wav"}));
}

TEST(LeftBehind, AKilledRunLeavesWhatTheNextOneRemoves)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 44100 * 60));
    const Circumstances killed = {.signal = SIGKILL, .watchedFolder = folder.path().string()};
    EXPECT_EQ(
        RunHostUnder(killed, {"-q", "-r", "96000", "--quality", "best", folder / "a.wav", folder / "b.wav"})
            .status,
        128 + SIGKILL);
    EXPECT_EQ(folder.Names().size(), 2u);
    EXPECT_EQ(RunHost({"-q", folder / "a.wav", folder / "c.wav"}).status, 0);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"a.wav", "c.wav"}));
}

TEST(HostileAudio, LetsNoLibraryWriteOnStandardError)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.mp3", Tone(SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 44100, 2, 44100 * 5, 440));
    const std::string whole = ReadText(folder / "a.mp3");
    for (uint32_t seed = 1; seed <= 20; ++seed) {
        std::string broken = whole;
        uint32_t state = seed;
        for (int i = 0; i < 40; ++i) {
            state = state * 1664525 + 1013904223;
            broken[state % broken.size()] = static_cast<char>(state >> 24);
        }
        WriteText(folder / "b.mp3", broken);
        const Outcome outcome = RunHost({"-q", folder / "b.mp3", folder / "b.wav"});
        for (size_t line = 0; line < outcome.err.size(); line = outcome.err.find('\n', line) + 1)
            EXPECT_EQ(outcome.err.compare(line, 17, "tonekit-convert: "), 0) << outcome.err;
    }
}

TEST(Circumstances, ThreadsThatCantBeStartedAreNoFailure)
{
#ifdef TONEKIT_SANITIZED
    GTEST_SKIP() << "sanitizers need room of their own";
#endif
    TemporaryFolder folder;
    std::vector<std::string> arguments = {"-j", "64"};
    for (int i = 0; i < 64; ++i) {
        arguments.push_back(folder / (std::to_string(i) + ".wav"));
        WriteSound(arguments.back(), Noise(kWav16, 44100, 2, 1000));
    }
    arguments.push_back(folder / "out/");
    const Outcome outcome = RunHostUnder({.memoryLimit = 300ul << 20}, arguments);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    for (int i = 0; i < 64; ++i)
        EXPECT_TRUE(fs::exists(folder / ("out/" + std::to_string(i) + ".wav")));
}

// What says that memory ran out takes memory too, while dozens of others take theirs.
TEST_F(Failures, OfMemoryInABatchEndNoOtherFile)
{
#ifdef TONEKIT_SANITIZED
    GTEST_SKIP() << "sanitizers need room of their own";
#endif
    std::vector<std::string> arguments = {"-j", "64", "-t", "flac"};
    for (int i = 0; i < 80; ++i) {
        arguments.push_back(folder / ("s" + std::to_string(i) + ".wav"));
        fs::copy_file(folder / "good.wav", arguments.back());
    }
    arguments.push_back(folder / "out");
    for (const unsigned long mebibytes : {80ul, 80ul, 100ul, 120ul, 120ul, 120ul, 150ul, 200ul}) {
        fs::remove_all(folder / "out");
        fs::create_directory(folder / "out");
        const Outcome outcome = RunHostUnder({.memoryLimit = mebibytes << 20}, arguments);
        size_t written = 0;
        for (const auto &file : fs::directory_iterator(folder / "out")) {
            EXPECT_NE(file.path().filename().string()[0], '.') << file.path();
            ++written;
        }
        const auto failed = static_cast<size_t>(std::count(outcome.err.begin(), outcome.err.end(), '\n'));
        EXPECT_EQ(outcome.status, failed == 0 ? 0 : 1) << mebibytes << outcome.err;
        EXPECT_EQ(written + failed, 80u) << mebibytes << outcome.err;
    }
    arguments.insert(arguments.begin(), "--replaygain=album");
    const Outcome albums = RunHostUnder({.memoryLimit = 120ul << 20}, arguments);
    std::istringstream lines(albums.err);
    for (std::string line; std::getline(lines, line);)
        EXPECT_NE(line.find(": not enough memory"), std::string::npos) << line;
}

// The pass that measures albums has threads of its own.
TEST_F(Failures, OfMemoryWhileAlbumsAreMeasuredEndNoOtherFile)
{
#ifdef TONEKIT_SANITIZED
    GTEST_SKIP() << "sanitizers need room of their own";
#endif
    std::vector<std::string> arguments = {"-q", "-j", "64", "--normalize", "-16", "--normalize-by", "album"};
    for (int i = 0; i < 80; ++i) {
        arguments.push_back(folder / ("s" + std::to_string(i) + ".wav"));
        fs::copy_file(folder / "good.wav", arguments.back());
    }
    arguments.push_back(folder / "out/");
    for (const unsigned long mebibytes : {60ul, 70ul, 80ul, 80ul, 90ul, 100ul, 120ul, 150ul}) {
        fs::remove_all(folder / "out");
        const Outcome outcome = RunHostUnder({.memoryLimit = mebibytes << 20}, arguments);
        ASSERT_TRUE(outcome.status == 0 || outcome.status == 1) << mebibytes << outcome.err;
        std::istringstream lines(outcome.err);
        for (std::string line; std::getline(lines, line);)
            EXPECT_NE(line.find("not enough memory"), std::string::npos) << mebibytes << line;
    }
}

// All files of an album wait for the last one.
TEST(Circumstances, AnAlbumMayHaveMoreFilesThanAreOpenAtFirst)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 100));
    std::vector<std::string> arguments = {"-q", "--replaygain=album"};
    for (int i = 0; i < 60; ++i) {
        arguments.push_back(folder / (std::to_string(i) + ".wav"));
        fs::copy_file(folder / "a.wav", arguments.back());
    }
    arguments.push_back(folder / "out/");
    const Outcome outcome = RunHostUnder({.openFiles = 40}, arguments);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
}

// libvorbis takes room for all samples of a call on the stack.
TEST(Circumstances, SmallStacksAreNoReasonToCrash)
{
    TemporaryFolder folder;
    for (const char *name : {"a.wav", "b.wav"})
        WriteSound(folder / name, Noise(kWav16, 44100, 2, 100000));
    for (const bool fixed : {false, true}) {
        for (const char *jobs : {"1", "2"}) {
            fs::remove_all(folder / "out");
            const Outcome outcome = RunHostUnder({.stackLimit = 128ul << 10, .stackIsFixed = fixed},
                                                 {"-q", "-j", jobs, "-r", "96000", "-t", "ogg",
                                                  folder / "a.wav", folder / "b.wav", folder / "out/"});
            EXPECT_EQ(outcome.status, 0) << jobs;
            EXPECT_EQ(outcome.err, "");
            EXPECT_TRUE(fs::exists(folder / "out/a.ogg") && fs::exists(folder / "out/b.ogg"));
        }
    }
}

// The stack can't grow where no memory is left.
TEST(Circumstances, MemoryThatEndsInAnEncoderIsTold)
{
#ifdef TONEKIT_SANITIZED
    GTEST_SKIP() << "sanitizers need room of their own";
#endif
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 132300));
    for (unsigned long mebibytes = 30; mebibytes < 46; ++mebibytes) {
        const Outcome outcome = RunHostUnder({.memoryLimit = mebibytes << 20},
                                             {"-q", "-r", "48000", folder / "a.wav", folder / "b.ogg"});
        EXPECT_TRUE(outcome.status == 0 || outcome.status == 1 || outcome.status == 127)
            << mebibytes << ": " << outcome.status << outcome.err;
    }
}

TEST(Circumstances, AFileDoesWithTheThreadsThatThereIsMemoryFor)
{
#ifdef TONEKIT_SANITIZED
    GTEST_SKIP() << "sanitizers need room of their own";
#endif
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 200000));
    const auto convert = [&](unsigned long mebibytes) {
        return RunHostUnder({.memoryLimit = mebibytes << 20},
                            {"-q", "-r", "48000", folder / "a.wav", folder / "b.flac"});
    };
    ASSERT_EQ(convert(1000).status, 0);
    const std::string expected = ReadText(folder / "b.flac");
    int done = 0;
    int failed = 0;
    for (unsigned long mebibytes = 8; mebibytes < 60; mebibytes += 2) {
        WriteText(folder / "b.flac", "precious");
        const Outcome outcome = convert(mebibytes);
        // Before the program itself begins, the loader has its own words.
        ASSERT_TRUE(outcome.status == 0 || outcome.status == 1 || outcome.status == 127)
            << mebibytes << ": " << outcome.status << outcome.err;
        EXPECT_TRUE(ReadText(folder / "b.flac") == (outcome.status == 0 ? expected : "precious"))
            << mebibytes;
        (outcome.status == 0 ? done : failed)++;
        EXPECT_EQ(folder.Names().size(), 2u) << mebibytes;
    }
    EXPECT_GT(done, 0);
    EXPECT_GT(failed, 0);
}

} // namespace
} // namespace tonekit::host::test
