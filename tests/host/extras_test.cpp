// extras_test.cpp: files of chapters.
#include "host/audio/time_text.h"
#include "host/system/failure.h"
#include "host/tags/extras.h"

#include <gtest/gtest.h>
#include <utility>

namespace tonekit::host {
namespace {

constexpr uint64_t kSecond = 10'000'000;

TEST(ChapterFile, HasATimeAndANameOnALine)
{
    const auto chapters =
        ParseChapters("0 Start\n1:30 The  middle \r\n\n  # a remark\n0:02:03.25\n1:00:00\tEnd\n", "c");
    ASSERT_EQ(chapters.size(), 4u);
    EXPECT_EQ(chapters[0].position, 0u);
    EXPECT_EQ(chapters[0].name, "Start");
    EXPECT_EQ(chapters[1].position, 90 * kSecond);
    EXPECT_EQ(chapters[1].name, "The  middle");
    EXPECT_EQ(chapters[2].position, 123 * kSecond + kSecond / 4);
    EXPECT_EQ(chapters[2].name, "");
    EXPECT_EQ(chapters[3].position, 3600 * kSecond);
    EXPECT_EQ(chapters[3].name, "End");
}

TEST(ChapterFile, MayBeginWithAByteOrderMark)
{
    EXPECT_EQ(ParseChapters("\xEF\xBB\xBF"
                            "0:05 A",
                            "c")
                  .at(0)
                  .position,
              5 * kSecond);
}

// As editors of other systems write them.
TEST(ChapterFile, MayBeInLatin1OrUtf16)
{
    using namespace std::string_literals;
    EXPECT_EQ(ParseChapters("0 J\xFCrgen\n", "c").at(0).name, "J\u00fcrgen");
    EXPECT_EQ(ParseChapters("0 J\u00fcrgen\n", "c").at(0).name, "J\u00fcrgen");
    EXPECT_EQ(ParseChapters("\xFF\xFE"
                            "0\0 \0\xFC\0\n\0"s,
                            "c")
                  .at(0)
                  .name,
              "\u00fc");
}

TEST(ChapterFile, MistakesAreNamedByLine)
{
    const auto mistake = [](const std::string &text) {
        try {
            ParseChapters(text, "c.txt");
        } catch (const Failure &failure) {
            return std::string(failure.what());
        }
        return std::string();
    };
    EXPECT_EQ(mistake("0 A\nsoon B\n"), "c.txt, line 2: begin with a time such as 0:03:21.5");
    EXPECT_EQ(mistake("0:1:2:3 A"), "c.txt, line 1: begin with a time such as 0:03:21.5");
    EXPECT_EQ(mistake("-1 A"), "c.txt, line 1: begin with a time such as 0:03:21.5");
    EXPECT_EQ(mistake("1:60 A"), "c.txt, line 1: begin with a time such as 0:03:21.5");
    EXPECT_EQ(mistake("1:00 A\n0:59 B"), "c.txt, line 2: starts before the chapter above it");
    EXPECT_EQ(mistake("\n# nothing\n"), "c.txt: holds no chapters");
}

TEST(Time, HasPartsAsAClockHasThem)
{
    uint64_t position = 0;
    for (const char *text : {"1:60", "1:99", "0:60:00", "0:00:60.5", "0:1:4294967296", "4294967296:00:00",
                             "4294967297", "100000000"})
        EXPECT_FALSE(ParseTime(text, position)) << text;
    // The first part is what it is.
    const std::pair<const char *, uint64_t> times[] = {{"90", 90 * kSecond},
                                                       {"75:59.5", 4559 * kSecond + kSecond / 2},
                                                       {"100:59:59", 363'599 * kSecond},
                                                       {"99999999:00:00", 359'999'996'400 * kSecond}};
    for (const auto &[text, expected] : times) {
        ASSERT_TRUE(ParseTime(text, position)) << text;
        EXPECT_EQ(position, expected) << text;
    }
}

TEST(ChapterTime, HasAsManyDecimalsAsNeeded)
{
    EXPECT_EQ(ChapterTime(0), "00:00:00.000");
    EXPECT_EQ(ChapterTime(12345678901), "00:20:34.5678901");
    EXPECT_EQ(ChapterTime(100 * 3600 * kSecond + kSecond / 2), "100:00:00.500");
}

} // namespace
} // namespace tonekit::host
