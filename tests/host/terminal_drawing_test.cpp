// terminal_drawing_test.cpp: lines drawn anew on a terminal that people resize.
#include "host/report/progress_lines.h"
#include "host/system/terminal_drawing.h"
#include "tests/host/screen.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

using Lines = std::vector<std::string>;
using Resizing = test::Screen::Resizing;

Lines Drawn(double done, unsigned columns)
{
    const ProgressState state = {
        12,
        3,
        done,
        100,
        2,
        {{"\u97f3\u697d\u306e\u6642\u9593 01.flac", 0.5}, {"02 A long name of a long piece.flac", done}}};
    return ProgressLines(state, {columns, 24});
}

Lines Joined(Lines a, const Lines &b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST(Screen, KeepsTheBlankAtWhichATextIsBroken)
{
    test::Screen screen(5);
    screen.Feed("four five\r\nsix  ");
    EXPECT_EQ(screen.Rows(), (Lines{"four ", "five", "six"}));
}

TEST(TerminalDrawing, TakesThePlaceOfTheLastOne)
{
    test::Screen screen(80);
    screen.Feed("$ command\r\n");
    screen.Feed(TerminalDrawing({"one", "two", "three"}));
    EXPECT_EQ(screen.Rows(), (Lines{"$ command", "one", "two", "three"}));
    screen.Feed(TerminalDrawing({"1", "2"}));
    EXPECT_EQ(screen.Rows(), (Lines{"$ command", "1", "2"}));
    screen.Feed(TerminalDrawing({}));
    EXPECT_EQ(screen.Rows(), Lines{"$ command"});
    screen.Feed("done\r\n");
    EXPECT_EQ(screen.Rows(), (Lines{"$ command", "done"}));
    EXPECT_EQ(screen.unknown, "");
}

TEST(TerminalDrawing, NothingIsTornByAnyResizing)
{
    const unsigned widths[] = {25, 40, 80, 200};
    for (const Resizing resizing : {Resizing::Breaks, Resizing::Cuts}) {
        for (const unsigned before : widths) {
            for (const unsigned after : widths) {
                test::Screen screen(before, resizing);
                const Lines above = {"a.wav -> a.flac"};
                screen.Feed(above[0] + "\r\n");
                screen.Feed(TerminalDrawing(Drawn(0.1, before)));
                ASSERT_EQ(screen.Rows(), Joined(above, Drawn(0.1, before))) << before;
                screen.Resize(after);
                screen.Feed(TerminalDrawing(Drawn(0.6, after)));
                ASSERT_EQ(screen.Rows(), Joined(above, Drawn(0.6, after))) << before << " to " << after;
                screen.Resize(before);
                screen.Feed(TerminalDrawing({}));
                ASSERT_EQ(screen.Rows(), above) << after << " to " << before;
            }
        }
    }
}

TEST(TerminalDrawing, OfAWiderTerminalThanThereIsBreaksNoLine)
{
    test::Screen screen(25);
    screen.Feed(TerminalDrawing(Drawn(0.1, 80)));
    EXPECT_EQ(screen.Rows().size(), 3u);
    screen.Feed(TerminalDrawing(Drawn(0.1, 25)));
    EXPECT_EQ(screen.Rows(), Drawn(0.1, 25));
}

} // namespace
} // namespace tonekit::host
