// safe_output_posix_test.cpp: outputs and what only POSIX systems have: symbolic links, devices, permissions.
#include "host/system/failure.h"
#include "tests/host/temporary_folder.h"
#include "tests/host/write_through.h"

#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

// In the place of the system's call.
int storing = -1; // the file that the system was last asked to store
int timesAsked = 0;

} // namespace

extern "C" int sync_file_range(int file, off64_t from, off64_t size, unsigned flags)
{
    storing = from == 0 && size == 0 && flags == SYNC_FILE_RANGE_WRITE ? file : -1;
    ++timesAsked;
    return 0;
}

namespace tonekit::host {
namespace {

namespace fs = std::filesystem;
using test::ReadText;
using test::TemporaryFolder;
using test::WriteText;
using test::WriteThrough;

TEST(SafeOutput, KeepsThePermissionsOfTheOldFile)
{
    TemporaryFolder folder;
    WriteText(folder / "a.wav", "old");
    const fs::perms perms = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions(folder / "a.wav", perms);
    SafeOutput output(folder / "a.wav");
    WriteThrough(output, "new");
    output.Commit();
    EXPECT_EQ(fs::status(folder / "a.wav").permissions(), perms);
    EXPECT_EQ(ReadText(folder / "a.wav"), "new");
}

TEST(SafeOutput, KeepsTheOwnerOfTheOldFile)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only the superuser gives files away";
    TemporaryFolder folder;
    const std::string name = folder / "a.wav";
    WriteText(name, "old");
    ASSERT_EQ(chown(name.c_str(), 12345, 54321), 0);
    ASSERT_EQ(chmod(name.c_str(), 0640), 0);
    SafeOutput output(name);
    WriteThrough(output, "new");
    output.Commit();
    struct stat status;
    ASSERT_EQ(stat(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 12345u);
    EXPECT_EQ(status.st_gid, 54321u);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(ReadText(name), "new");
}

TEST(SafeOutput, KeepsTheExtendedAttributesOfTheOldFile)
{
    TemporaryFolder folder;
    const std::string name = folder / "a.wav";
    WriteText(name, "old");
    if (setxattr(name.c_str(), "user.rating", "five", 4, 0) != 0)
        GTEST_SKIP() << "this file system has no extended attributes";
    setxattr(name.c_str(), "user.empty", "", 0, 0);
    SafeOutput output(name);
    WriteThrough(output, "new");
    output.Commit();
    char value[10];
    EXPECT_EQ(getxattr(name.c_str(), "user.rating", value, sizeof(value)), 4);
    EXPECT_EQ(std::string(value, 4), "five");
    EXPECT_EQ(getxattr(name.c_str(), "user.empty", value, sizeof(value)), 0);
    EXPECT_EQ(ReadText(name), "new");
}

TEST(SafeOutput, IsNeverOpenToMoreThanTheOldFile)
{
    TemporaryFolder folder;
    const mode_t mask = umask(022);
    for (const auto &[old, allowed] : {std::pair{0600u, 0600u}, {0640u, 0640u}, {0400u, 0600u}}) {
        WriteText(folder / "a.wav", "old");
        fs::permissions(folder / "a.wav", fs::perms(old));
        if (access((folder / "a.wav").c_str(), W_OK) == 0) {
            SafeOutput output(folder / "a.wav");
            const File file = output.Create();
            EXPECT_EQ(fs::status(output.temporary()).permissions(), fs::perms(allowed));
        }
        fs::remove(folder / "a.wav");
    }
    SafeOutput output(folder / "new.wav");
    const File file = output.Create();
    EXPECT_EQ(fs::status(output.temporary()).permissions(), fs::perms(0644));
    umask(mask);
}

TEST(SafeOutput, WritesThroughASymbolicLink)
{
    TemporaryFolder folder;
    fs::create_directory(folder / "real");
    WriteText(folder / "real/a.wav", "old");
    fs::create_symlink("real/a.wav", folder / "link.wav");
    SafeOutput output(folder / "link.wav");
    WriteThrough(output, "new");
    output.Commit();
    EXPECT_TRUE(fs::is_symlink(folder / "link.wav"));
    EXPECT_EQ(ReadText(folder / "real/a.wav"), "new");
}

TEST(SafeOutput, RefusesAWriteProtectedFileOfAnOrdinaryUser)
{
    TemporaryFolder folder;
    WriteText(folder / "a.wav", "old");
    fs::permissions(folder / "a.wav", fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    fs::permissions(folder.path(), fs::perms::all);
    const auto replace = [&] {
        // Nothing is protected from root.
        constexpr uid_t kNobody = 65534;
        if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0))
            _exit(1);
        try {
            SafeOutput output(folder / "a.wav");
            WriteThrough(output, "new");
            output.Commit();
        } catch (const Failure &failure) {
            std::fprintf(stderr, "%s\n", failure.what());
            _exit(33);
        }
        _exit(0);
    };
    EXPECT_EXIT(replace(), testing::ExitedWithCode(33), "a.wav: is write-protected\n");
    EXPECT_EQ(ReadText(folder / "a.wav"), "old");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.wav"});
}

TEST(NewFile, IsStoredWhileItIsWritten)
{
    TemporaryFolder folder;
    const std::vector<char> mebibyte(size_t{1} << 20);
    File first;
    ASSERT_FALSE(first.CreateNew(folder / "a"));
    File file(std::move(first));
    timesAsked = 0;
    for (int i = 1; i <= 25; ++i) {
        storing = -1;
        ASSERT_FALSE(file.Write(mebibyte.data(), mebibyte.size()));
        EXPECT_EQ(timesAsked, i / 8) << i;
        EXPECT_EQ(storing >= 0, i % 8 == 0) << i;
    }
    File changed;
    ASSERT_FALSE(changed.OpenToChange(folder / "a"));
    for (int i = 1; i <= 10; ++i)
        ASSERT_FALSE(changed.Write(mebibyte.data(), mebibyte.size()));
    EXPECT_EQ(timesAsked, 3);
}

TEST(SafeOutput, BeginsToBeStoredWhenAsked)
{
    TemporaryFolder folder;
    SafeOutput output(folder / "a.wav");
    WriteThrough(output, "new");
    timesAsked = 0;
    storing = -1;
    output.BeginToStore();
    EXPECT_EQ(timesAsked, 1);
    EXPECT_GE(storing, 0);
    output.Store();
    output.Commit();
    EXPECT_EQ(timesAsked, 1);
    EXPECT_EQ(ReadText(folder / "a.wav"), "new");
}

TEST(SafeOutput, RefusesADevice)
{
    EXPECT_THROW(SafeOutput("/dev/null"), Failure);
}

TEST(SameFile, SeesThroughSymbolicLinks)
{
    TemporaryFolder folder;
    WriteText(folder / "a", "");
    fs::create_symlink("a", folder / "soft");
    EXPECT_TRUE(AreSameFile(folder / "a", folder / "soft"));
}

} // namespace
} // namespace tonekit::host
