// console_test.cpp: the progress line.
#include "host/console.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

TEST(ProgressLine, ShowsBarPercentageSpeedAndTimeLeft)
{
    EXPECT_EQ(ProgressLine(0.5, 100, 2, "song.flac", 100),
              "[############............]  50%  50x  0:02 left  song.flac");
    EXPECT_EQ(ProgressLine(0.25, 6, 2, "song.flac", 100),
              "[######..................]  25%  3.0x  0:06 left  song.flac");
}

TEST(ProgressLine, SaysNothingOfTheRestInTheFirstMoments)
{
    EXPECT_EQ(ProgressLine(0, 0, 0, "a", 100), "[........................]   0%  0.0x  a");
}

TEST(ProgressLine, NeverFillsTheTerminalsLine)
{
    EXPECT_EQ(ProgressLine(1, 100, 2, "song", 10), "[########");
    // Cut between characters, not inside them.
    EXPECT_EQ(ProgressLine(0, 0, 0, "\u00e4\u00f6\u00fc", 41),
              "[........................]   0%  0.0x  \u00e4");
}

TEST(ProgressLine, StaysWithinZeroAndAHundred)
{
    EXPECT_EQ(ProgressLine(1.5, 0, 0, "", 100), "[########################] 100%  0.0x  ");
}

TEST(ClockTime, HasHoursOnlyWhereNeeded)
{
    EXPECT_EQ(ClockTime(0), "0:00");
    EXPECT_EQ(ClockTime(7.4), "0:07");
    EXPECT_EQ(ClockTime(59.6), "1:00");
    EXPECT_EQ(ClockTime(3599), "59:59");
    EXPECT_EQ(ClockTime(3723), "1:02:03");
    EXPECT_EQ(ClockTime(-5), "0:00");
}

} // namespace
} // namespace tonekit::host
