// ebml_test.cpp: the file test for the EBML header identifier.
#include "tests/support/utf16.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <tonekit/frame.h>

namespace {

class EbmlTest : public testing::Test {
protected:
    void SetUp() override
    {
        folder_ = std::filesystem::path(testing::TempDir()) /
                  ("ebml_" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    uint32_t Detect(const tonekit::Utf16String &name, const std::string &content)
    {
        const std::filesystem::path path = folder_ / name;
        std::ofstream(path, std::ios::binary) << content;
        return Detect(path);
    }
    static uint32_t Detect(const std::filesystem::path &path)
    {
        return DetectEbml(path.string<tonekit_char16>().c_str());
    }

    std::filesystem::path folder_;
};

const std::string kIdentifier = "\x1A\x45\xDF\xA3";

TEST_F(EbmlTest, TakesTheIdentifierAloneAndWithMoreBehind)
{
    EXPECT_EQ(Detect(UTF16("exact.mkv"), kIdentifier), 1u);
    EXPECT_EQ(Detect(UTF16("longer.mkv"), kIdentifier + std::string(100, 'x')), 1u);
}

TEST_F(EbmlTest, RefusesShortAndOtherFiles)
{
    EXPECT_EQ(Detect(UTF16("empty"), ""), 0u);
    EXPECT_EQ(Detect(UTF16("three"), kIdentifier.substr(0, 3)), 0u);
    EXPECT_EQ(Detect(UTF16("wave"), "RIFF----WAVE"), 0u);
    EXPECT_EQ(Detect(UTF16("reversed"), "\xA3\xDF\x45\x1A"), 0u);
    EXPECT_EQ(Detect(UTF16("late"), " " + kIdentifier), 0u);
    for (size_t byte = 0; byte < 4; ++byte) {
        std::string wrong = kIdentifier;
        wrong[byte] ^= 1;
        EXPECT_EQ(Detect(UTF16("wrong"), wrong), 0u) << byte;
    }
}

TEST_F(EbmlTest, RefusesWhatCannotBeRead)
{
    EXPECT_EQ(Detect(folder_ / "missing"), 0u);
    EXPECT_EQ(Detect(folder_), 0u);
    EXPECT_EQ(DetectEbml(nullptr), 0u);
}

TEST_F(EbmlTest, OpensNamesBeyondAscii)
{
    EXPECT_EQ(Detect(UTF16("\u00E4\u4E2D\U0001F3B5.mkv"), kIdentifier), 1u);
}

} // namespace
