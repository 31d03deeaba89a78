// file_threads_test.cpp: a file on one thread and on several.
#include "host/file_conversion.h"
#include "host/jobs.h"
#include "host/system/failure.h"
#include "tests/host/audio_files.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

using test::ReadText;
using test::TemporaryFolder;
using test::WriteSound;

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
constexpr size_t kFrames = 400000; // many blocks, and not a whole number of them

ConversionReport Convert(const std::vector<std::string> &arguments, Threads threads)
{
    const Options options = ParseOptions(arguments);
    const std::vector<Job> jobs = MakeJobs(options);
    return BeginFile(options, {}, jobs[0], IgnoreProgress, threads)->Finish(std::nullopt);
}

TEST(FileThreads, DontChangeAByte)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", test::Noise(kWav16, 44100, 2, kFrames));
    const std::vector<std::vector<std::string>> jobs = {
        {"-r", "48000", "-b", "24", "x.flac"}, {"-r", "8000", "-c", "1", "-b", "32f", "x.wav"},
        {"-b", "24", "-t", "flac", "x.bin"},   {"--vbr", "3", "x.mp3"},
        {"-r", "96000", "-b", "32", "x.caf"},  {"x.wav"}};
    for (std::vector<std::string> arguments : jobs) {
        const std::string name = arguments.back();
        arguments.pop_back();
        arguments.insert(arguments.end(), {"--replaygain", "--hash", "sha256", folder / "a.wav"});
        std::string texts[2];
        ConversionReport reports[2];
        for (const Threads threads : {Threads::One, Threads::Several}) {
            const int i = threads == Threads::One ? 0 : 1;
            std::vector<std::string> all = arguments;
            all.push_back(folder / name);
            reports[i] = Convert(all, threads);
            texts[i] = ReadText(folder / name);
        }
        EXPECT_TRUE(texts[0] == texts[1]) << name;
        EXPECT_GT(texts[0].size(), 1000u) << name;
        EXPECT_EQ(reports[0].digest->hex, reports[1].digest->hex) << name;
        EXPECT_EQ(reports[0].loudness->gain, reports[1].loudness->gain) << name;
        EXPECT_EQ(reports[0].loudness->peak, reports[1].loudness->peak) << name;
        EXPECT_EQ(reports[0].output.frames, reports[1].output.frames) << name;
    }
}

TEST(FileThreads, AnInputThatBreaksOffIsToldAndLeavesNothing)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.flac", test::Noise(SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 44100, 2, kFrames));
    const std::string whole = ReadText(folder / "a.flac");
    // A byte in the middle of the audio.
    std::string broken = whole;
    for (size_t i = 0; i < 2000; ++i)
        broken[whole.size() * 3 / 4 + i] = static_cast<char>(i * 7);
    test::WriteText(folder / "a.flac", broken);
    const std::vector<std::string> names = folder.Names();
    std::string said[2];
    for (const Threads threads : {Threads::One, Threads::Several}) {
        try {
            Convert({"-r", "48000", folder / "a.flac", folder / "b.wav"}, threads);
        } catch (const Failure &failure) {
            said[threads == Threads::One ? 0 : 1] = failure.what();
        }
        EXPECT_EQ(folder.Names(), names);
    }
    EXPECT_NE(said[0], "");
    EXPECT_EQ(said[0], said[1]);
}

} // namespace
} // namespace tonekit::host
