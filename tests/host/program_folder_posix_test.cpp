// program_folder_posix_test.cpp: links and permissions in folders.
#include "tests/host/folders.h"

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

} // namespace
} // namespace tonekit::host::test
