// progress_lines_test.cpp: progress in the room of a terminal.
#include "host/report/console.h"
#include "host/report/progress_lines.h"
#include "host/system/terminal_text.h"

#include <cmath>
#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

using Lines = std::vector<std::string>;

ProgressState OneFile(double done, double audioSeconds, double elapsedSeconds, const std::string &name)
{
    return {1, 0, done, audioSeconds, elapsedSeconds, {{name, done}}};
}

ProgressState Batch(std::vector<FileInWork> inWork)
{
    return {12, 3, 0.42, 350, 10, std::move(inWork)};
}

TEST(ProgressLines, OfOneFileAreABarPercentageSpeedTimeLeftAndName)
{
    EXPECT_EQ(ProgressLines(OneFile(0.5, 100, 2, "song.flac"), {100, 24}),
              Lines{"[############............]  50%  50x  0:02 left  song.flac"});
    EXPECT_EQ(ProgressLines(OneFile(0.25, 6, 2, "song.flac"), {100, 24}),
              Lines{"[######..................]  25%  3.0x  0:06 left  song.flac"});
}

TEST(ProgressLines, SayNothingOfTheRestInTheFirstMoments)
{
    EXPECT_EQ(ProgressLines(OneFile(0, 0, 0, "a"), {100, 24}),
              Lines{"[........................]   0%  0.0x  a"});
}

TEST(ProgressLines, OfABatchNameTheFilesInWorkAboveTheWhole)
{
    EXPECT_EQ(
        ProgressLines(Batch({{"a.flac", 0.5}, {"b.flac", 0}}), {80, 24}),
        (Lines{"   50%  a.flac", "    0%  b.flac", "3 of 12  [#######............]  42%  35x  0:14 left"}));
}

TEST(ProgressLines, LeaveOutWhatANarrowTerminalHasNoRoomFor)
{
    const std::vector<FileInWork> files = {{"01 A very long name of a piece.flac", 0.07}};
    EXPECT_EQ(ProgressLines(Batch(files), {25, 24}),
              (Lines{"    7%  01 A very long n", "3 of 12  42%  0:14 left"}));
    EXPECT_EQ(ProgressLines(Batch(files), {40, 24}),
              (Lines{"    7%  01 A very long name of a piece.", "3 of 12  [##.....]  42%  35x  0:14 left"}));
    EXPECT_EQ(ProgressLines(Batch(files), {200, 24}),
              (Lines{"    7%  01 A very long name of a piece.flac",
                     "3 of 12  [################........................]  42%  35x  0:14 left"}));
    EXPECT_EQ(ProgressLines(OneFile(0.5, 100, 2, "song.flac"), {25, 24}), Lines{"[###...]  50%  0:02 left"});
    EXPECT_EQ(ProgressLines(OneFile(0.5, 100, 2, "song.flac"), {10, 24}), Lines{"50%  50x "});
    EXPECT_EQ(ProgressLines(Batch(files), {1, 1}), Lines{"3"});
}

TEST(ProgressLines, CountTwoColumnsForWideCharacters)
{
    const std::vector<FileInWork> files = {
        {"\u97f3\u697d\u306e\u3042\u3044\u3046\u3048\u304a\u3000e\u0301.flac", 1}};
    EXPECT_EQ(ProgressLines(Batch(files), {25, 24})[0],
              "  100%  \u97f3\u697d\u306e\u3042\u3044\u3046\u3048\u304a");
    EXPECT_EQ(ProgressLines(Batch(files), {26, 24})[0],
              "  100%  \u97f3\u697d\u306e\u3042\u3044\u3046\u3048\u304a");
    EXPECT_EQ(ProgressLines(Batch(files), {29, 24})[0],
              "  100%  \u97f3\u697d\u306e\u3042\u3044\u3046\u3048\u304a\u3000e\u0301.");
}

TEST(ProgressLines, NeverReachTheLastColumn)
{
    const std::string name = "\U0001F3B5 \u97f3\u697d 01.flac";
    for (unsigned columns = 1; columns < 220; ++columns) {
        for (const std::string &line : ProgressLines(Batch({{name, 0.1}, {"b", 1}}), {columns, 24}))
            EXPECT_LE(ColumnsOf(line), std::max(columns, 2u) - 1) << columns;
        const Lines one = ProgressLines(OneFile(0.999, 1e9, 1e5, name), {columns, 24});
        EXPECT_LE(ColumnsOf(one[0]), std::max(columns, 2u) - 1) << columns;
    }
}

TEST(ProgressLines, LeaveTheTerminalARow)
{
    const std::vector<FileInWork> many(20, {"a", 0});
    Lines lines = ProgressLines(Batch(many), {80, 50});
    EXPECT_EQ(lines.size(), 9u);
    EXPECT_EQ(lines[7], "  and 13 more");
    lines = ProgressLines(Batch(many), {80, 5});
    EXPECT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[2], "  and 18 more");
    EXPECT_EQ(ProgressLines(Batch(many), {80, 2}).size(), 1u);
    EXPECT_EQ(ProgressLines(Batch({{"a", 0}}), {80, 3}).size(), 2u);
}

TEST(ProgressLines, StayWithinZeroAndAHundred)
{
    EXPECT_EQ(ProgressLines(OneFile(1.5, 0, 0, ""), {100, 24}),
              Lines{"[########################] 100%  0.0x  "});
}

TEST(ProgressLines, ShowNamesWithoutWhatATerminalWouldObey)
{
    EXPECT_EQ(ProgressLines(Batch({{"a\x1B[2J\n", 0}}), {80, 24})[0], "    0%  a\\x1b[2J\\n");
}

TEST(ClockTime, HasHoursOnlyWhereNeeded)
{
    EXPECT_EQ(ClockTime(0), "0:00");
    EXPECT_EQ(ClockTime(7.4), "0:07");
    EXPECT_EQ(ClockTime(59.6), "1:00");
    EXPECT_EQ(ClockTime(3599), "59:59");
    EXPECT_EQ(ClockTime(3723), "1:02:03");
    EXPECT_EQ(ClockTime(-5), "0:00");
    EXPECT_EQ(ClockTime(std::nan("")), "0:00");
    EXPECT_EQ(ClockTime(1e300), "277777777777:46:40"); // the longest that is told
}

} // namespace
} // namespace tonekit::host
