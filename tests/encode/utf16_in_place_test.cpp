// utf16_in_place_test.cpp: byte order and long-path prefixes of UTF-16 text, in every body.
#include <gtest/gtest.h>

#include "tests/encode/text_support.h"
#include "tests/support/bodies.h"
#include "tests/support/random.h"

namespace {

using tonekit::Take;
using tonekit::TextAtPageEnd;

std::u16string WithoutPrefix(const std::u16string &path)
{
    const std::u16string before = path;
    const std::u16string result = Take(UNC_RemoveUnicodeAPIPath(path.c_str()));
    EXPECT_EQ(path, before);
    return result;
}

} // namespace

TEST(ChangeEndian, SwapsTheBytesOfEachUnit)
{
    char16_t one[] = {0x4100, 0};
    UNC_ChangeEndian(one);
    EXPECT_EQ(one[0], 0x0041);
    char16_t some[] = {0x1234, 0xff00, 0x00ff, 0xd83d, 0x0100, 0};
    UNC_ChangeEndian(some);
    EXPECT_EQ(std::u16string(some), (std::u16string{0x3412, 0x00ff, 0xff00, 0x3dd8, 0x0001}));
}

TEST(ChangeEndian, LeavesAnEmptyTextAndWhatStandsBehindTheEnd)
{
    char16_t units[] = {0, 0x1234};
    UNC_ChangeEndian(units);
    EXPECT_EQ(units[0], 0);
    EXPECT_EQ(units[1], 0x1234);
}

TEST(ChangeEndian, OnlyAWholeZeroUnitEndsTheText)
{
    char16_t units[] = {0x0041, 0x4100, 0x0001, 0x0100, 0, 0x0041};
    UNC_ChangeEndian(units);
    const char16_t expected[] = {0x4100, 0x0041, 0x0100, 0x0001, 0, 0x0041};
    EXPECT_EQ(std::memcmp(units, expected, sizeof units), 0);
}

TEST(ChangeEndian, EveryLengthInEveryBodyAndTwiceRestores)
{
    tonekit::Random random(31);
    for (const char letter : tonekit::RunnableLetters()) {
        auto *body = tonekit::Body<decltype(UNC_ChangeEndian)>("UNC_ChangeEndian", letter);
        ASSERT_NE(body, nullptr);
        for (std::size_t length = 0; length < 100; length++) {
            std::u16string text(length, 0);
            std::u16string swapped(length, 0);
            for (std::size_t i = 0; i < length; i++) {
                text[i] = static_cast<char16_t>(1 + random.Below(0xffff));
                swapped[i] = static_cast<char16_t>((text[i] & 0xff) * 256 + text[i] / 256);
            }
            TextAtPageEnd<char16_t> copy(text);
            body(copy.Get());
            ASSERT_EQ(std::u16string(copy.Get()), swapped);
            body(copy.Get());
            ASSERT_EQ(std::u16string(copy.Get()), text);
        }
    }
}

TEST(RemoveUnicodeAPIPath, TakesThePrefixesAway)
{
    EXPECT_EQ(WithoutPrefix(u"\\\\?\\UNC\\server\\share"), u"\\\\server\\share");
    EXPECT_EQ(WithoutPrefix(u"\\\\?\\C:\\x"), u"C:\\x");
    EXPECT_EQ(WithoutPrefix(u"\\\\?\\UNC\\"), u"\\\\");
    EXPECT_EQ(WithoutPrefix(u"\\\\?\\"), u"");
    EXPECT_EQ(WithoutPrefix(u"\\\\?\\UNC"), u"UNC");
    EXPECT_EQ(WithoutPrefix(u"\\\\?\\unc\\server"), u"unc\\server");
    EXPECT_EQ(WithoutPrefix(u"\\\\?\\UNC\\\\\\?\\x"), u"\\\\\\\\?\\x"); // once only
}

TEST(RemoveUnicodeAPIPath, CopiesEveryOtherPath)
{
    for (const char16_t *path :
         {u"", u"\\", u"\\\\", u"\\\\?", u"\\\\.\\C:", u"\\?\\C:", u"C:\\x", u"x\\\\?\\C:\\x", u"//?/C:/x",
          u"\\\\server\\share\\a rather long path that is more than one block of units long"}) {
        EXPECT_EQ(WithoutPrefix(path), path);
        tonekit_char16 *copy = UNC_RemoveUnicodeAPIPath(path);
        EXPECT_NE(copy, path);
        UNC_freeWStr(copy);
    }
}

TEST(RemoveUnicodeAPIPath, ReadsNothingBehindTheEndInAnyBody)
{
    for (const char letter : tonekit::RunnableLetters()) {
        auto *body = tonekit::Body<decltype(UNC_RemoveUnicodeAPIPath)>("UNC_RemoveUnicodeAPIPath", letter);
        const std::u16string whole = u"\\\\?\\UNC\\server";
        for (std::size_t length = 0; length <= whole.size(); length++) {
            TextAtPageEnd<char16_t> path(whole.substr(0, length));
            const std::u16string expected = length >= 8   ? u"\\" + whole.substr(7, length - 7)
                                            : length >= 4 ? whole.substr(4, length - 4)
                                                          : whole.substr(0, length);
            EXPECT_EQ(Take(body(path.Get())), expected) << length;
        }
    }
}
