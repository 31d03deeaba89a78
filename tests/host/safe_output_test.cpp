// safe_output_test.cpp: outputs are whole or not there.
#include "host/system/failure.h"
#include "tests/host/temporary_folder.h"
#include "tests/host/write_through.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

namespace fs = std::filesystem;
using test::ReadText;
using test::TemporaryFolder;
using test::WriteText;
using test::WriteThrough;

TEST(SafeOutput, AppearsOnlyWhenCommitted)
{
    TemporaryFolder folder;
    {
        SafeOutput output(folder / "a.wav");
        WriteThrough(output, "new");
        EXPECT_FALSE(fs::exists(folder / "a.wav"));
        EXPECT_EQ(output.temporary().extension(), ".wav");
        EXPECT_EQ(output.temporary().parent_path(), folder.path());
        output.Commit();
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.wav"});
    EXPECT_EQ(ReadText(folder / "a.wav"), "new");
}

TEST(SafeOutput, IsStoredWithoutBeingInItsPlace)
{
    TemporaryFolder folder;
    WriteText(folder / "a.wav", "old");
    SafeOutput output(folder / "a.wav");
    WriteThrough(output, "new");
    output.BeginToStore();
    output.Store();
    EXPECT_EQ(ReadText(folder / "a.wav"), "old");
    output.Commit();
    EXPECT_EQ(ReadText(folder / "a.wav"), "new");
}

TEST(SafeOutput, SaysThatItCantBeStored)
{
    TemporaryFolder folder;
    SafeOutput output(folder / "a.wav");
    WriteThrough(output, "new");
    fs::remove(output.temporary());
    output.BeginToStore();
    EXPECT_THROW(output.Store(), Failure);
    EXPECT_FALSE(fs::exists(folder / "a.wav"));
}

TEST(SafeOutput, LeavesNothingWithoutCommit)
{
    TemporaryFolder folder;
    WriteText(folder / "a.wav", "old");
    {
        SafeOutput output(folder / "a.wav");
        WriteThrough(output, "half");
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.wav"});
    EXPECT_EQ(ReadText(folder / "a.wav"), "old");
}

TEST(SafeOutput, RefusesWhatIsNoPlaceForAFile)
{
    TemporaryFolder folder;
    WriteText(folder / "file", "");
    EXPECT_THROW(SafeOutput(folder.path()), Failure);
    EXPECT_THROW(SafeOutput(folder / "nowhere/a.wav"), Failure);
    EXPECT_THROW(SafeOutput(folder / "file/a.wav"), Failure);
}

TEST(SafeOutput, WorksForTheLongestName)
{
    TemporaryFolder folder;
    const std::string name = std::string(251, 'x') + ".wav";
    SafeOutput output(folder / name);
    WriteThrough(output, "new");
    output.Commit();
    EXPECT_EQ(folder.Names(), std::vector<std::string>{name});
}

TEST(SameFile, SeesThroughHardLinks)
{
    TemporaryFolder folder;
    WriteText(folder / "a", "");
    WriteText(folder / "b", "");
    fs::create_hard_link(folder / "a", folder / "hard");
    EXPECT_TRUE(AreSameFile(folder / "a", folder / "a"));
    EXPECT_TRUE(AreSameFile(folder / "a", folder / "hard"));
    EXPECT_FALSE(AreSameFile(folder / "a", folder / "b"));
    EXPECT_FALSE(AreSameFile(folder / "a", folder / "none"));
}

} // namespace
} // namespace tonekit::host
