// terminal_text_test.cpp: what becomes of texts on their way to a terminal.
#include "host/system/terminal_text.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

TEST(TerminalText, LeavesOrdinaryTextAlone)
{
    const std::string text = " plain \\ \"text\" \u00a0\u00e4\u65e5\U0001F3B5~";
    EXPECT_EQ(TerminalText(text), text);
    EXPECT_EQ(TerminalText(""), "");
}

TEST(TerminalText, KnowsWellFormedUtf8)
{
    for (const char *const text :
         {"", "a", "\n", "\xC3\xBC", "\xE6\x97\xA5", "\xF0\x9F\x8E\xB5x", "\xED\x9F\xBF"})
        EXPECT_TRUE(IsUtf8(text)) << text;
    for (const char *const text :
         {"\xFC", "a\xC3", "\xC3x", "\x80", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE6\x97"})
        EXPECT_FALSE(IsUtf8(text)) << text;
}

TEST(TerminalText, EscapesControlCharacters)
{
    EXPECT_EQ(TerminalText("a\nb\tc\rd\x1B[2J\x7F"), "a\\nb\\tc\\rd\\x1b[2J\\x7f");
    EXPECT_EQ(TerminalText(std::string("\0", 1)), "\\x00");
    EXPECT_EQ(TerminalText("\xC2\x80\xC2\x9B\xC2\x9F"), "\\u0080\\u009b\\u009f");
    EXPECT_EQ(TerminalText("\u202e\u2066\u2028"), "\\u202e\\u2066\\u2028");
}

TEST(TerminalText, KeepsLinesWhereAsked)
{
    EXPECT_EQ(TerminalText("a\nb\r", true), "a\nb\\r");
}

TEST(TerminalText, EscapesWhatIsNoUtf8ByteByByte)
{
    EXPECT_EQ(TerminalText("\xFF"), "\\xff");
    EXPECT_EQ(TerminalText("a\xC3"), "a\\xc3");
    EXPECT_EQ(TerminalText("\xC0\x80"), "\\xc0\\x80");
    EXPECT_EQ(TerminalText("\xED\xA0\x80"), "\\xed\\xa0\\x80");
    EXPECT_EQ(TerminalText("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
    EXPECT_EQ(TerminalText("\xE0\x80\x80x"), "\\xe0\\x80\\x80x");
    EXPECT_EQ(TerminalText("\xF0\x9F\x8E"), "\\xf0\\x9f\\x8e");
}

TEST(TerminalText, MayBeLeftWithoutWhatIsEscaped)
{
    EXPECT_EQ(WithoutOrders("a\n\x1B[0m\x7F\u009B\u202Eb"), "a__[0m___b");
    EXPECT_EQ(WithoutOrders("\xED\xA0\x80\u00E4\xC3"), "___\u00E4_");
    EXPECT_EQ(WithoutOrders(""), "");
}

TEST(TerminalText, TakesColumnsByItsCharacters)
{
    EXPECT_EQ(ColumnsOf(""), 0u);
    EXPECT_EQ(ColumnsOf("abc \u00e4\u20ac"), 6u);
    EXPECT_EQ(ColumnsOf("\u97f3\u697d\uac00\uff21\U0001F3B5\U00020000"), 12u);
    EXPECT_EQ(ColumnsOf("e\u0301\u200d"), 1u);
    EXPECT_EQ(ColumnsOf("\xff"), 1u);
}

TEST(TerminalText, IsCutBetweenCharacters)
{
    EXPECT_EQ(CutToColumns("\u00e4\u00f6\u00fc", 2), "\u00e4\u00f6");
    EXPECT_EQ(CutToColumns("a\u97f3\u697d", 2), "a");
    EXPECT_EQ(CutToColumns("a\u97f3\u697d", 3), "a\u97f3");
    EXPECT_EQ(CutToColumns("e\u0301x", 1), "e\u0301");
    EXPECT_EQ(CutToColumns("abc", 3), "abc");
    EXPECT_EQ(CutToColumns("abc", 0), "");
}

} // namespace
} // namespace tonekit::host
