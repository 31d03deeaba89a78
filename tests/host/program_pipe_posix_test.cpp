// program_pipe_posix_test.cpp: pipes that break, that never end, and that hold more than memory.
#include "tests/host/failures.h"
#include "tests/host/run_program_posix.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace tonekit::host::test {
namespace {

using BrokenPipes = Failures;

TEST_F(BrokenPipes, AreOneLineAndStatusOne)
{
    for (const char *type : {"wav", "flac", "mp3", "opus", "raw"}) {
        Circumstances circumstances;
        circumstances.brokenOutput = true;
        ExpectFailureOf(
            [&] {
                return RunHostUnder(circumstances, {folder / "good.wav", "-r", "48k", "-t", type, "-"});
            },
            1, "standard output: writing failed: Broken pipe");
    }
}

// Where the other end of a connection closes it without having read all, reading fails after the last byte.
TEST_F(BrokenPipes, WhoseReadingFailsAtTheirEndAreRefused)
{
    for (const char *type : {"wav", "aiff", "flac", "ogg", "opus", "mp3"}) {
        const std::string name = folder / (std::string("a.") + type);
        ASSERT_EQ(RunHost({"-q", "-r", "48k", folder / "good.wav", "--end", "0.2", name}).status, 0);
        const std::string bytes = ReadText(name);
        ExpectFailureOf(
            [&] {
                int ends[2];
                if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
                    return Outcome();
                EXPECT_EQ(send(ends[0], bytes.data(), bytes.size(), MSG_DONTWAIT),
                          static_cast<ssize_t>(bytes.size()));
                EXPECT_EQ(send(ends[1], "x", 1, MSG_DONTWAIT), 1);
                close(ends[0]);
                const Outcome outcome =
                    RunHostUnder({.in = ends[1]}, {"-", "-r", "44100", "-t", "wav", folder / "old.wav"});
                close(ends[1]);
                return outcome;
            },
            1, "Connection reset by peer");
    }
}

TEST_F(BrokenPipes, DontNeedATerminal)
{
    if (!TerminalsCanBeOpened())
        GTEST_SKIP() << "pseudo-terminals can't be opened here";
    const Outcome outcome = RunOnTerminal({folder / "good.wav", "-t", "wav", "-"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.out.find("standard output is a terminal"), std::string::npos) << outcome.out;
}

// The most memory, in KiB, that the program takes while so many MiB of samples go through.
long PeakOf(int mebibytes, const std::vector<std::string> &arguments)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return -1;
    std::jthread writer([mebibytes, end = ends[1]] {
        const std::string block(1 << 20, '\x11');
        for (int i = 0; i < mebibytes; ++i) {
            for (size_t done = 0; done < block.size();)
                done += static_cast<size_t>(write(end, block.data() + done, block.size() - done));
        }
        close(end);
    });
    long peak = 0;
    Circumstances circumstances;
    circumstances.in = ends[0];
    circumstances.out = "/dev/null";
    circumstances.peakKiB = &peak;
    EXPECT_EQ(RunHostUnder(circumstances, arguments).status, 0);
    close(ends[0]);
    return peak;
}

TEST_F(BrokenPipes, OrLongOnesTakeNoMoreMemory)
{
    const std::vector<std::string> arguments = {"-q",  "--raw",     "s16le,44100,2", "--hdcd", "auto", "-r",
                                                "48k", "--quality", "normal",        "-",      "-t",   "wav",
                                                "-"};
    const long least = PeakOf(24, arguments); // a minute is looked at for HDCD
    EXPECT_LT(PeakOf(120, arguments), least + 4096);
}

TEST_F(BrokenPipes, DontHoldAnInterruptUp)
{
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    Circumstances circumstances;
    circumstances.in = ends[0];
    circumstances.signal = SIGTERM;          // once the program waits for more
    ASSERT_EQ(write(ends[1], "RIFF", 4), 4); // and nothing else ever comes
    std::jthread later([end = ends[1]] {
        std::this_thread::sleep_for(std::chrono::seconds(20));
        close(end);
    });
    later.detach();
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome = RunHostUnder(circumstances, {"-", folder / "new.wav"});
    EXPECT_EQ(outcome.status, 128 + SIGTERM) << outcome.err;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

} // namespace
} // namespace tonekit::host::test
