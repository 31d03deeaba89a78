// program_folder_posix_test.cpp: links and permissions in folders.
#include "host/folder_walk.h"
#include "host/system/failure.h"
#include "host/system/platform.h"
#include "tests/host/folders.h"
#include "tests/host/run_program_posix.h"

#include <csignal>
#include <unistd.h>

namespace tonekit::host::test {
namespace {

TEST_F(Folders, ALoopOfLinksIsToldAndTheRestIsDone)
{
    fs::create_directory_symlink(folder / "music", folder / "music/two/again");
    fs::create_symlink("self", folder / "music/self");
    const Outcome outcome = RunHost({"-t", "flac", folder / "music", folder / "out"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("again: the link leads back to a folder around it\n"), std::string::npos)
        << outcome.err;
    EXPECT_NE(outcome.err.find("music/self: "), std::string::npos) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 2);
    EXPECT_EQ(Tree("out"), (Names{"c.flac", "one/a.flac", "two/deep/b.flac"}));
}

// Eight folders, each with a link to each of the others. There are 13,700 ways through seven of them.
class FoldersOfLinks : public Folders {
protected:
    void SetUp() override
    {
        Folders::SetUp();
        for (int i = 0; i < kFolders; ++i)
            fs::create_directories(Place(i));
        for (int from = 0; from < kFolders; ++from) {
            for (int to = 0; to < kFolders; ++to) {
                if (from != to)
                    fs::create_directory_symlink(Place(to), Place(from) / std::to_string(to));
            }
        }
        WriteText(Utf8Name(Place(0) / "a.wav"), "");
    }

    fs::path Place(int number) const { return folder.path() / "links" / std::to_string(number); }

    static constexpr int kFolders = 8;
};

TEST_F(FoldersOfLinks, AreWalkedInLinearTime)
{
    const std::vector<FoundFile> found = WalkFolder(folder.path() / "links", "");
    EXPECT_EQ(std::count_if(found.begin(), found.end(), [](const FoundFile &file) { return file.audio; }),
              16);
    EXPECT_LT(found.size(), size_t{16 * kFolders * kFolders});
    const std::string refusal = ": links have led to this folder 16 times already";
    EXPECT_TRUE(std::any_of(found.begin(), found.end(),
                            [&](const FoundFile &file) { return file.error.ends_with(refusal); }));
}

TEST_F(FoldersOfLinks, DontHoldAnInterruptUp)
{
    const auto walk = [&] {
        signal(SIGTERM, SIG_DFL);
        NoteInterrupts();
        raise(SIGTERM);
        try {
            WalkFolder(folder.path() / "links", "");
        } catch (const Interrupted &) {
            _exit(33);
        }
        _exit(0);
    };
    EXPECT_EXIT(walk(), testing::ExitedWithCode(33), "");
}

TEST_F(Folders, ThatSeveralLinksLeadToAreThereForEach)
{
    fs::create_directory_symlink(folder / "music/one", folder / "music/again");
    fs::create_directory_symlink(folder / "music/one", folder / "music/two/third");
    Run({"-t", "flac", folder / "music", folder / "out"});
    EXPECT_EQ(Tree("out"),
              (Names{"again/a.flac", "c.flac", "one/a.flac", "two/deep/b.flac", "two/third/a.flac"}));
}

TEST_F(Folders, AnUnreadableFolderIsToldAndTheRestIsDone)
{
    fs::permissions(folder / "music/one", fs::perms::none);
    std::error_code error;
    fs::directory_iterator probe(folder / "music/one", error);
    if (!error) {
        fs::permissions(folder / "music/one", fs::perms::all);
        GTEST_SKIP() << "this user may read every folder";
    }
    const Outcome outcome = RunHost({"-t", "flac", folder / "music", folder / "out"});
    fs::permissions(folder / "music/one", fs::perms::all);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("one: the folder can't be read: Permission denied\n"), std::string::npos)
        << outcome.err;
    EXPECT_EQ(Tree("out"), (Names{"c.flac", "two/deep/b.flac"}));
}

TEST_F(Folders, ALinkToAnOutputThatIsNotThereYetIsThatOutput)
{
    fs::create_directory(folder / "out");
    fs::create_symlink("c.wav", folder / "out/a.wav");
    ExpectFailure(2, "would both become",
                  {folder / "music/one/a.wav", folder / "music/c.wav", folder / "out"});
    EXPECT_FALSE(fs::exists(folder / "out/c.wav"));
}

TEST_F(Folders, NamesOfOthersStayInTheirLine)
{
    WriteText(folder / "music/one/a\nb.txt", "x");
    const Outcome outcome = RunHost({"-t", "flac", "--copy-others", folder / "music/one", folder / "out"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("one/a\\nb.txt -> "), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("out/a\\nb.txt: copied\n"), std::string::npos) << outcome.out;
    EXPECT_EQ(ReadText(folder / "out/a\nb.txt"), "x");
}

#ifndef TONEKIT_SANITIZED // sanitizers have to be loaded before all others

// As on the disks of other systems.
class CaselessFolder : public Folders {
protected:
    void SetUp() override
    {
        Folders::SetUp();
        fs::create_directory(folder / "caseless");
        for (const char *name : {"music/one/Song.wav", "music/two/song.wav"})
            fs::copy_file(folder / "good.wav", folder / name);
    }

    Outcome RunThere(const std::vector<std::string> &arguments)
    {
        return RunHostUnder({.preload = TONEKIT_CASELESS_NAMES}, arguments);
    }

    void ExpectRefused(const std::string &what, const std::vector<std::string> &arguments)
    {
        ExpectFailureOf([&] { return RunThere(arguments); }, 2, what);
    }
};

TEST_F(CaselessFolder, TakesNoTwoNamesThatDifferInCase)
{
    const std::vector<std::string> arguments = {"-t", "flac", folder / "music/one/Song.wav",
                                                folder / "music/two/song.wav", folder / "caseless"};
    WriteText(folder / "caseless/notes.txt", "");
    ExpectRefused("Song.wav and " + folder / "music/two/song.wav would both become ", arguments);
    EXPECT_EQ(Tree("caseless"), Names{"notes.txt"});
    // Elsewhere these are two.
    Run(arguments);
    EXPECT_EQ(Tree("caseless"), (Names{"Song.flac", "notes.txt", "song.flac"}));
}

TEST_F(CaselessFolder, LosesNoInputOfAnotherFile)
{
    fs::rename(folder / "music/one/Song.wav", folder / "caseless/song.wav");
    fs::rename(folder / "music/two/song.wav", folder / "music/two/SONG.wav");
    Run({"--in-place", "--set", "TITLE=New", folder / "caseless/song.wav"});
    const std::string input = ReadText(folder / "caseless/song.wav");
    ExpectRefused("song.wav, which is an input too", {"--name", "{title}", folder / "music/two/SONG.wav",
                                                      folder / "caseless/song.wav", folder / "caseless/"});
    EXPECT_EQ(Tree("caseless"), Names{"song.wav"});
    EXPECT_EQ(ReadText(folder / "caseless/song.wav"), input);
}

// What the folder makes of names shows only when they are there.
TEST_F(CaselessFolder, LosesNoFileThatWasJustWritten)
{
    fs::rename(folder / "music/one/Song.wav", folder / "music/one/\u00c4.wav");
    fs::rename(folder / "music/two/song.wav", folder / "music/two/\u00e4.wav");
    WriteSound(folder / "music/two/\u00e4.wav", Noise(kWav16, 44100, 2, 3000, 5));
    const Outcome outcome =
        RunThere({"-j", "1", "-t", "flac", folder / "music/one/\u00c4.wav", folder / "music/c.wav",
                  folder / "music/two/\u00e4.wav", folder / "caseless"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(
        outcome.err.find("is the same file as " + folder / "caseless/\u00c4.flac, which was just written"),
        std::string::npos)
        << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_EQ(Tree("caseless"), (Names{"c.flac", "\u00e4.flac"}));
    EXPECT_EQ(ReadSound(folder / "caseless/\u00e4.flac").samples, ReadSound(folder / "good.wav").samples);
}

#endif

} // namespace
} // namespace tonekit::host::test
