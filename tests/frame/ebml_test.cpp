// ebml_test.cpp: the file test for the EBML header identifier.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
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

    uint32_t Detect(const std::u16string &name, const std::string &content)
    {
        const std::filesystem::path path = folder_ / name;
        std::ofstream(path, std::ios::binary) << content;
        return Detect(path);
    }
    static uint32_t Detect(const std::filesystem::path &path)
    {
#ifdef _WIN32
        return DetectEbml(path.wstring().c_str());
#else
        return DetectEbml(path.u16string().c_str());
#endif
    }

    std::filesystem::path folder_;
};

const std::string kIdentifier = "\x1A\x45\xDF\xA3";

TEST_F(EbmlTest, TakesTheIdentifierAloneAndWithMoreBehind)
{
    EXPECT_EQ(Detect(u"exact.mkv", kIdentifier), 1u);
    EXPECT_EQ(Detect(u"longer.mkv", kIdentifier + std::string(100, 'x')), 1u);
}

TEST_F(EbmlTest, RefusesShortAndOtherFiles)
{
    EXPECT_EQ(Detect(u"empty", ""), 0u);
    EXPECT_EQ(Detect(u"three", kIdentifier.substr(0, 3)), 0u);
    EXPECT_EQ(Detect(u"wave", "RIFF----WAVE"), 0u);
    EXPECT_EQ(Detect(u"reversed", "\xA3\xDF\x45\x1A"), 0u);
    EXPECT_EQ(Detect(u"late", " " + kIdentifier), 0u);
    for (int byte = 0; byte < 4; ++byte) {
        std::string wrong = kIdentifier;
        wrong[byte] ^= 1;
        EXPECT_EQ(Detect(u"wrong", wrong), 0u) << byte;
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
    EXPECT_EQ(Detect(u"\u00E4\u4E2D\U0001F3B5.mkv", kIdentifier), 1u);
}

} // namespace
