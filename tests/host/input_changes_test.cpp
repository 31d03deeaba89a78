// input_changes_test.cpp: inputs that other programs change, replace or remove while they are in work.
#include "host/file_conversion.h"
#include "host/input_changes.h"
#include "host/jobs.h"
#include "host/system/failure.h"
#include "tests/host/audio_files.h"
#include "tests/host/temporary_folder.h"

#include <chrono>
#include <functional>
#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

namespace fs = std::filesystem;
using test::ReadText;
using test::TemporaryFolder;
using test::WriteText;

class InputChangesTest : public testing::Test {
protected:
    void SetUp() override
    {
        WriteSound(folder_ / "a.wav", test::Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 3000));
        WriteSound(folder_ / "b.wav", test::Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 3000, 2));
    }

    std::string NameOf(const std::string &name) const { return Utf8Name(PathFromUtf8(folder_ / name)); }

    // Converts a file, and does something to it between its last sample and its end.
    ConversionReport Convert(const std::vector<std::string> &arguments,
                             const std::function<void()> &meanwhile)
    {
        const Options options = ParseOptions(arguments);
        const std::vector<Job> jobs = MakeJobs(options);
        const Extras extras;
        const auto file = BeginFile(options, extras, jobs[0], IgnoreProgress, Threads::One);
        meanwhile();
        return file->Finish(std::nullopt);
    }

    // What is said instead of an edit of a.wav; nothing if it is made.
    std::string Refusal(const std::function<void()> &meanwhile)
    {
        try {
            Convert({"--in-place", "--set", "TITLE=New", folder_ / "a.wav"}, meanwhile);
        } catch (const Failure &failure) {
            return failure.what();
        }
        return "";
    }

    void WriteAgain(const std::string &name) { WriteText(folder_ / name, ReadText(folder_ / name) + "more"); }

    TemporaryFolder folder_;
    const std::string refusal_ =
        NameOf("a.wav") + ": another program has changed the file meanwhile, so it is left as it is now";
};

TEST_F(InputChangesTest, AreFilesThatWereWrittenReplacedOrRemoved)
{
    WriteText(folder_ / "same", "text");
    WriteText(folder_ / "longer", "text");
    WriteText(folder_ / "rewritten", "text");
    WriteText(folder_ / "replaced", "text");
    WriteText(folder_ / "removed", "text");
    WriteText(folder_ / "other", "text");
    const fs::file_time_type time = fs::last_write_time(PathFromUtf8(folder_ / "replaced"));
    fs::last_write_time(PathFromUtf8(folder_ / "other"), time);
    std::vector<fs::path> files;
    for (const char *const name : {"same", "longer", "rewritten", "replaced", "removed"})
        files.push_back(PathFromUtf8(folder_ / name));
    const InputChanges changes(files);
    EXPECT_EQ(changes.Since(), std::vector<fs::path>());

    WriteText(folder_ / "longer", "text and text");
    fs::last_write_time(files[1], time);
    fs::last_write_time(files[2], time + std::chrono::seconds(1));
    fs::rename(PathFromUtf8(folder_ / "other"), files[3]);
    fs::remove(files[4]);
    EXPECT_EQ(changes.Since(), std::vector<fs::path>(files.begin() + 1, files.end()));
}

TEST_F(InputChangesTest, AreFilesThatWereNotThereBefore)
{
    const fs::path late = PathFromUtf8(folder_ / "late");
    const InputChanges changes({late});
    WriteText(folder_ / "late", "text");
    EXPECT_EQ(changes.Since(), std::vector{late});
    EXPECT_EQ(InputChanges().Since(), std::vector<fs::path>());
}

TEST_F(InputChangesTest, AreKeptInsteadOfAnEdit)
{
    EXPECT_EQ(Refusal([] {}), "");
    const std::string before = ReadText(folder_ / "a.wav");
    EXPECT_EQ(Refusal([&] { WriteAgain("a.wav"); }), refusal_);
    EXPECT_EQ(ReadText(folder_ / "a.wav"), before + "more");
}

TEST_F(InputChangesTest, ThatReplaceTheFileAreKept)
{
    const std::string other = ReadText(folder_ / "b.wav");
    EXPECT_EQ(Refusal([&] { fs::rename(PathFromUtf8(folder_ / "b.wav"), PathFromUtf8(folder_ / "a.wav")); }),
              refusal_);
    EXPECT_EQ(ReadText(folder_ / "a.wav"), other);
    EXPECT_EQ(folder_.Names(), std::vector<std::string>{"a.wav"});
}

TEST_F(InputChangesTest, ThatRemoveTheFileAreKept)
{
    EXPECT_NE(Refusal([&] { fs::remove(PathFromUtf8(folder_ / "a.wav")); }), "");
    EXPECT_EQ(folder_.Names(), std::vector<std::string>{"b.wav"});
}

// The other names of a file don't follow it.
TEST_F(InputChangesTest, OfOneNameOfSeveralAreToldOfTheOthers)
{
    const std::vector<std::string> arguments = {"--in-place", "--set", "TITLE=New", folder_ / "a.wav"};
    EXPECT_EQ(Convert(arguments, [] {}).warnings, std::vector<std::string>());
    const std::string before = ReadText(folder_ / "a.wav");
    fs::create_hard_link(PathFromUtf8(folder_ / "a.wav"), PathFromUtf8(folder_ / "c.wav"));
    EXPECT_EQ(Convert({"--in-place", "--set", "TITLE=Newer", folder_ / "a.wav"}, [] {}).warnings,
              std::vector<std::string>{NameOf("a.wav") +
                                       ": the file has other names (hard links), which keep what it was"});
    EXPECT_EQ(ReadText(folder_ / "c.wav"), before);
    EXPECT_NE(ReadText(folder_ / "a.wav"), before);
}

TEST_F(InputChangesTest, AreAWarningOfAConversion)
{
    const std::string warning = NameOf("a.wav") +
                                ": another program has changed the file meanwhile, so the output may "
                                "hold parts of its old and of its new content";
    EXPECT_EQ(Convert({folder_ / "a.wav", folder_ / "x.flac"}, [] {}).warnings, std::vector<std::string>());
    EXPECT_EQ(Convert({folder_ / "a.wav", folder_ / "x.flac"}, [&] { WriteAgain("a.wav"); }).warnings,
              std::vector<std::string>{warning});
    // Of all that are joined.
    EXPECT_EQ(Convert({"--join", folder_ / "b.wav", folder_ / "a.wav", folder_ / "y.flac"},
                      [&] { WriteAgain("a.wav"); })
                  .warnings,
              std::vector<std::string>{warning});
}

} // namespace
} // namespace tonekit::host
