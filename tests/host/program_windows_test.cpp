// program_windows_test.cpp: what differs for users of the program on Windows.
#include "tests/host/failures.h"
#include "tests/host/run_program_windows.h"

#include <chrono>
#include <thread>
#include <windows.h>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;

// As a program that lets nobody but readers at its file.
HANDLE HoldOpen(const std::string &name)
{
    return CreateFileW(PathFromUtf8(name).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                       nullptr);
}

TEST_F(Failures, OfOutputsThatAreDevices)
{
    ExpectFailure(1, "NUL", {"-t", "wav", folder / "good.wav", "NUL"});
}

TEST_F(Failures, OfAWriteProtectedOutput)
{
    fs::permissions(folder / "old.wav", fs::perms::owner_write, fs::perm_options::remove);
    ExpectFailure(1, "is write-protected", {folder / "good.wav", folder / "old.wav"});
    fs::permissions(folder / "old.wav", fs::perms::owner_write, fs::perm_options::add);
}

TEST_F(Failures, OfAnOutputThatAnotherProgramHoldsOpen)
{
    const HANDLE held = HoldOpen(folder / "old.wav");
    ExpectFailure(1, "old.wav: can't be written", {folder / "good.wav", folder / "old.wav"});
    CloseHandle(held);
}

TEST_F(Failures, OfTwoInputsWhoseNamesDifferInTheirLettersCaseAlone)
{
    fs::create_directory(folder / "a");
    fs::create_directory(folder / "b");
    fs::copy_file(folder / "good.wav", PathFromUtf8(folder / "a/\u00e4.wav"));
    fs::copy_file(folder / "good.wav", PathFromUtf8(folder / "b/\u00c4.WAV"));
    ExpectFailure(2, "would both become", {folder / "a/\u00e4.wav", folder / "b/\u00c4.WAV", folder / "out"});
    EXPECT_FALSE(fs::exists(folder / "out"));
}

TEST(Outputs, WaitForAProgramThatHoldsTheOldFileForAMoment)
{
    TemporaryFolder folder;
    const Sound sound = Noise(kWav16, 44100, 2, 1000);
    WriteSound(folder / "a.wav", sound);
    WriteText(folder / "b.wav", "old");
    const HANDLE held = HoldOpen(folder / "b.wav");
    std::jthread release([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        CloseHandle(held);
    });
    EXPECT_EQ(RunHost({folder / "a.wav", folder / "b.wav"}).err, "");
    EXPECT_EQ(ReadSound(folder / "b.wav").samples, sound.samples);
}

TEST(WildCards, AreReplacedByTheFilesThatTheyMatch)
{
    TemporaryFolder folder;
    for (const char *name : {"a1.wav", "a2.wav", "b1.wav"})
        WriteSound(folder / name, Noise(kWav16, 44100, 2, 1000));
    EXPECT_EQ(RunCommandLine("-t flac " + folder / "a?.wav" + " " + folder / "out").status, 0);
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder / "out"))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"a1.flac", "a2.flac"}));
}

TEST(WildCards, ThatMatchNothingAreToldOf)
{
    EXPECT_EQ(RunHost({"--info", "C:\\none?.wav"}).err, "tonekit-convert: C:\\none?.wav: no such file\n");
}

} // namespace
} // namespace tonekit::host::test
