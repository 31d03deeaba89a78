// program_folder_test.cpp: folders in, folders out.
#include "tests/host/folders.h"

#include <chrono>
#include <filesystem>

namespace tonekit::host::test {
namespace {

TEST_F(Folders, AreWalkedAndKeepTheirStructure)
{
    Run({"-t", "flac", folder / "music", folder / "out"});
    EXPECT_EQ(Tree("out"), (Names{"c.flac", "one/a.flac", "two/deep/b.flac"}));
    EXPECT_EQ(ReadSound(folder / "out/one/a.flac").samples, ReadSound(folder / "music/one/a.wav").samples);
    EXPECT_EQ(ReadText(folder / "out/two/deep/b.flac"), ReadText(folder / "music/two/deep/b.flac"));
}

TEST_F(Folders, BringWhatIsntAudioIfAsked)
{
    const Outcome outcome = Run({"-t", "flac", "--copy-others", folder / "music", folder / "out"});
    EXPECT_EQ(Tree("out"), (Names{"c.flac", "notes.txt", "one/a.flac", "one/cover.jpg", "two/deep/b.flac"}));
    EXPECT_EQ(ReadText(folder / "out/one/cover.jpg"), "picture");
    EXPECT_NE(outcome.out.find("notes.txt: copied\n"), std::string::npos) << outcome.out;
}

TEST_F(Folders, FileNamesWithoutExtensionAreKnownByTheirBytes)
{
    fs::rename(folder / "music/c.wav", folder / "music/download");
    Run({"-t", "flac", folder / "music", folder / "out"});
    EXPECT_EQ(Tree("out"), (Names{"download.flac", "one/a.flac", "two/deep/b.flac"}));
}

TEST_F(Folders, AFileWhoseTypeIsNotWrittenIsToldAndTheRestIsDone)
{
    fs::copy(folder / "music/c.wav", folder / "music/one/b.tta");
    fs::copy(folder / "music/c.wav", folder / "music/one/download");
    const Outcome outcome = RunHost({folder / "music", folder / "out"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("b.tta: no file type has the extension .tta: choose another, or add --type\n"),
              std::string::npos)
        << outcome.err;
    EXPECT_NE(outcome.err.find("download: without an extension the file type is unknown"), std::string::npos)
        << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 2);
    EXPECT_EQ(Tree("out"), (Names{"c.wav", "one/a.wav", "two/deep/b.flac"}));
    // What the command line itself names is its fault.
    EXPECT_EQ(RunHost({folder / "music/one/b.tta", folder / "out2/"}).status, 2);
}

TEST_F(Folders, UpdateDoesWhatIsOlderOrMissing)
{
    Run({"-t", "flac", folder / "music", folder / "out"});
    fs::remove(folder / "out/c.flac");
    WriteText(folder / "out/one/a.flac", "stale");
    WriteText(folder / "out/two/deep/b.flac", "fresh");
    const auto now = fs::last_write_time(folder / "music/c.wav");
    fs::last_write_time(folder / "out/one/a.flac", now - std::chrono::hours(1));
    fs::last_write_time(folder / "out/two/deep/b.flac", now + std::chrono::hours(1));
    const Outcome outcome = Run({"--update", "-t", "flac", folder / "music", folder / "out"});
    EXPECT_TRUE(fs::exists(folder / "out/c.flac"));
    EXPECT_NE(ReadText(folder / "out/one/a.flac"), "stale");
    EXPECT_EQ(ReadText(folder / "out/two/deep/b.flac"), "fresh");
    EXPECT_NE(outcome.out.find("b.flac: skipped, up to date\n"), std::string::npos) << outcome.out;
    const std::string json = Run({"--update", "--json", "-t", "flac", folder / "music", folder / "out"}).out;
    EXPECT_NE(json.find("\"skipped\": \"up to date\""), std::string::npos) << json;
}

TEST_F(Folders, UpdateSeesANewerCover)
{
    WriteText(folder / "cover.png", std::string("\x89PNG\r\n\x1A\n", 8) + "first");
    const std::vector<std::string> run = {"--update",           "--copy-others",  "--cover",
                                          folder / "cover.png", folder / "music", folder / "out"};
    Run(run);
    EXPECT_EQ(Run(run).out.find("stereo"), std::string::npos);
    WriteText(folder / "cover.png", std::string("\x89PNG\r\n\x1A\n", 8) + "second one");
    const auto written = fs::last_write_time(folder / "out/c.wav");
    fs::last_write_time(folder / "cover.png", written + std::chrono::hours(1));
    const std::string out = Run(run).out;
    EXPECT_NE(out.find("c.wav (WAV, 44100 Hz, 16 bit, stereo)"), std::string::npos) << out;
    EXPECT_NE(out.find("notes.txt: skipped, up to date\n"), std::string::npos) << out;
    EXPECT_NE(RunHost({"--info", folder / "out/c.wav"}).out.find("18 bytes"), std::string::npos);
}

TEST_F(Folders, NoClobberKeepsWhatIsThere)
{
    EXPECT_NE(Run({"--no-clobber", folder / "good.wav", folder / "old.wav"}).out.find("skipped, exists"),
              std::string::npos);
    EXPECT_EQ(ReadText(folder / "old.wav"), "precious");
    Run({"--no-clobber", folder / "good.wav", folder / "new.wav"});
    EXPECT_TRUE(fs::exists(folder / "new.wav"));
}

TEST_F(Folders, DryRunsWriteNothing)
{
    const std::vector<std::string> before = Tree(".");
    const Outcome outcome =
        Run({"--dry-run", "--copy-others", "-t", "mp3", folder / "music", folder / "out"});
    EXPECT_EQ(Tree("."), before);
    EXPECT_FALSE(fs::exists(folder / "out"));
    EXPECT_NE(outcome.out.find("a.mp3 (MP3, 44100 Hz, stereo) (dry run)\n"), std::string::npos)
        << outcome.out;
    EXPECT_NE(outcome.out.find("notes.txt: copied (dry run)\n"), std::string::npos) << outcome.out;
    Run({"--dry-run", "--in-place", "--set", "TITLE=New", folder / "music"});
    EXPECT_EQ(RunHost({"--info", folder / "music/c.wav"}).out.find("TITLE"), std::string::npos);
    EXPECT_NE(
        Run({"--json", "--dry-run", folder / "good.wav", folder / "x.flac"}).out.find("\"dryRun\": true"),
        std::string::npos);
}

TEST_F(Folders, TemplatesNameOutputsByTags)
{
    Run({"--in-place", "--set", "ARTIST=AC/DC", "--set", "ALBUM=Live?", "--set", "TITLE=One", "--set",
         "TRACKNUMBER=1/9", folder / "music/one/a.wav"});
    Run({"-t", "flac", "--name", "{albumartist}/{album}/{track:02} {title}", folder / "music",
         folder / "out"});
    EXPECT_EQ(Tree("out"), (Names{"AC_DC/Live_/01 One.flac", "Unknown Albumartist/Unknown Album/00 b.flac",
                                  "Unknown Albumartist/Unknown Album/00 c.flac"}));
    // What --set sets counts, and so does the extension of an input.
    Run({"--set", "title=Mine", "--name", "{title}", folder / "good.wav", folder / "single"});
    EXPECT_EQ(Tree("single"), Names{"Mine.wav"});
}

TEST_F(Folders, InPlaceChangesAllTheirFiles)
{
    Run({"--in-place", "--set", "ALBUM=All", folder / "music"});
    for (const char *name : {"music/one/a.wav", "music/two/deep/b.flac", "music/c.wav"})
        EXPECT_NE(RunHost({"--info", folder / name}).out.find("ALBUM       All"), std::string::npos) << name;
}

TEST_F(Folders, InfoLooksAtAllTheirAudio)
{
    const std::string out = Run({"--info", folder / "music"}).out;
    for (const char *name : {"music/one/a.wav", "music/two/deep/b.flac", "music/c.wav"}) {
        const std::string heading = fs::path(folder / name).make_preferred().string() + "\n";
        EXPECT_NE(out.find(heading), std::string::npos) << heading << out;
    }
    EXPECT_EQ(out.find("notes.txt"), std::string::npos);
}

TEST_F(Folders, OutputsInsideTheInputArentInputs)
{
    Run({"-t", "flac", folder / "music", folder / "music/flac"});
    Run({"-t", "flac", folder / "music", folder / "music/flac"});
    EXPECT_EQ(Tree("music/flac"), (Names{"c.flac", "one/a.flac", "two/deep/b.flac"}));
}

TEST_F(Folders, ReportsComeInOrderForAnyNumberOfJobs)
{
    // The first files take longest.
    for (int i = 0; i < 6; ++i)
        WriteSound(folder / ("music/" + std::to_string(i) + ".wav"),
                   Noise(kWav16, 44100, 2, static_cast<size_t>(300000 - 50000 * i)));
    WriteText(folder / "music/3.wav", "not audio");
    const auto names = [&](const char *jobs) {
        const Outcome outcome =
            RunHost({"-j", jobs, "-r", "48k", "-t", "flac", folder / "music", folder / "out"});
        EXPECT_EQ(outcome.status, 1);
        std::string places;
        for (size_t at = outcome.out.find(" -> "); at != std::string::npos;
             at = outcome.out.find(" -> ", at + 1))
            places += outcome.out.substr(at, outcome.out.find(" (", at) - at) + "\n";
        return places;
    };
    const std::string alone = names("1");
    EXPECT_NE(alone, "");
    EXPECT_EQ(names("4"), alone);
    EXPECT_LT(alone.find("0.flac"), alone.find("1.flac"));
    EXPECT_LT(alone.find("5.flac"), alone.find("two"));
}

TEST_F(Folders, ThatGiveTwoFilesOfOneNameAreRefused)
{
    WriteSound(folder / "music/one/a.aiff", Noise(SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 44100, 2, 100));
    ExpectFailure(2, "would both become", {"-t", "flac", folder / "music", folder / "out"});
    ExpectFailure(2, "would both become",
                  {"--name", "same", folder / "good.wav", folder / "music/c.wav", folder / "out"});
    // good.wav is an input, and the output of another.
    fs::create_directory(folder / "other");
    WriteSound(folder / "other/good.wav", Noise(kWav16, 44100, 2, 100));
    const std::string good = ReadText(folder / "good.wav");
    ExpectFailure(2, "which is an input too",
                  {folder / "other/good.wav", folder / "music/c.wav", folder / "good.wav", "-t", "wav",
                   "--name", "{title}", folder.path().string(), "--set", "TITLE="});
    EXPECT_EQ(ReadText(folder / "good.wav"), good);
}

TEST_F(Folders, MissingInputsAreRefusedBeforeAnythingIsWritten)
{
    ExpectFailure(1, "none.wav: no such file", {folder / "good.wav", folder / "none.wav", folder / "out"});
    EXPECT_FALSE(fs::exists(folder / "out"));
}

TEST_F(Folders, WithoutAudioAreAFailure)
{
    fs::create_directory(folder / "empty");
    ExpectFailure(1, "the folder holds no audio files", {folder / "empty", folder / "out"});
}

TEST_F(Folders, ThatHaveTheNameOfAFileAreWrongUsage)
{
    const auto refusal = [&](const std::vector<std::string> &arguments) {
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 2) << outcome.out;
        EXPECT_FALSE(fs::exists(folder / "out.flac"));
        return outcome.err;
    };
    const std::string out = folder / "out.flac";
    const std::string what = "tonekit-convert: " + out +
                             " is the name of a file, and several are made: " + "name a folder (" + out +
                             "/ if that is one)";
    EXPECT_EQ(refusal({folder / "music", out}), what + ", or --join them (see --help)\n");
    EXPECT_EQ(refusal({folder / "music/c.wav", folder / "music/one/a.wav", out}),
              what + ", or --join them (see --help)\n");
    EXPECT_EQ(refusal({"--name", "{title}", folder / "music/c.wav", out}), what + " (see --help)\n");
    // A folder it is where it is one, or is said to be.
    Run({folder / "music/c.wav", folder / "music/one/a.wav", out + "/"});
    EXPECT_EQ(Tree("out.flac"), (Names{"a.wav", "c.wav"}));
    Run({folder / "music", out});
    EXPECT_EQ(Tree("out.flac"), (Names{"a.wav", "c.wav", "one/a.wav", "two/deep/b.flac"}));
}

TEST_F(Folders, TemplatesThatLeaveTheFolderAreWrongUsage)
{
    for (const char *text : {"../{title}", "/tmp/{title}", "a/../../{title}", "{title", "{track:xx}"})
        ExpectFailure(2, "--name must ", {"--name", text, folder / "good.wav", folder / "out"});
    ExpectFailure(2, "exclude each other",
                  {"--name", "{title}", "--copy-others", folder / "music", folder / "out"});
}

} // namespace
} // namespace tonekit::host::test
