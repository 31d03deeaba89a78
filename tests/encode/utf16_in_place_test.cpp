// utf16_in_place_test.cpp: byte order and long-path prefixes of UTF-16 text, in every body.
#include "tests/encode/text_support.h"
#include "tests/support/bodies.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

namespace {

using tonekit::Take;
using tonekit::TextAtPageEnd;
using tonekit::Utf16String;

Utf16String WithoutPrefix(const Utf16String &path)
{
    const Utf16String before = path;
    const Utf16String result = Take(UNC_RemoveUnicodeAPIPath(path.c_str()));
    EXPECT_EQ(path, before);
    return result;
}

} // namespace

TEST(ChangeEndian, SwapsTheBytesOfEachUnit)
{
    tonekit_char16 one[] = {0x4100, 0};
    UNC_ChangeEndian(one);
    EXPECT_EQ(one[0], 0x0041);
    tonekit_char16 some[] = {0x1234, 0xFF00, 0x00FF, 0xD83D, 0x0100, 0};
    UNC_ChangeEndian(some);
    EXPECT_EQ(Utf16String(some), (Utf16String{0x3412, 0x00FF, 0xFF00, 0x3DD8, 0x0001}));
}

TEST(ChangeEndian, LeavesAnEmptyTextAndWhatStandsBehindTheEnd)
{
    tonekit_char16 units[] = {0, 0x1234};
    UNC_ChangeEndian(units);
    EXPECT_EQ(units[0], 0);
    EXPECT_EQ(units[1], 0x1234);
}

TEST(ChangeEndian, OnlyAWholeZeroUnitEndsTheText)
{
    tonekit_char16 units[] = {0x0041, 0x4100, 0x0001, 0x0100, 0, 0x0041};
    UNC_ChangeEndian(units);
    const tonekit_char16 expected[] = {0x4100, 0x0041, 0x0100, 0x0001, 0, 0x0041};
    EXPECT_EQ(std::memcmp(units, expected, sizeof units), 0);
}

TEST(ChangeEndian, EveryLengthInEveryBodyAndTwiceRestores)
{
    tonekit::Random random(31);
    for (const char letter : tonekit::RunnableLetters()) {
        auto *body = tonekit::Body<decltype(UNC_ChangeEndian)>("UNC_ChangeEndian", letter);
        ASSERT_NE(body, nullptr);
        for (size_t length = 0; length < 100; ++length) {
            Utf16String text(length, 0);
            Utf16String swapped(length, 0);
            for (size_t i = 0; i < length; ++i) {
                text[i] = static_cast<tonekit_char16>(1 + random.Below(0xFFFF));
                swapped[i] = static_cast<tonekit_char16>((text[i] & 0xFF) * 256 + text[i] / 256);
            }
            TextAtPageEnd<tonekit_char16> copy(text);
            body(copy.Get());
            ASSERT_EQ(Utf16String(copy.Get()), swapped);
            body(copy.Get());
            ASSERT_EQ(Utf16String(copy.Get()), text);
        }
    }
}

TEST(RemoveUnicodeAPIPath, TakesThePrefixesAway)
{
    EXPECT_EQ(WithoutPrefix(UTF16("\\\\?\\UNC\\server\\share")), UTF16("\\\\server\\share"));
    EXPECT_EQ(WithoutPrefix(UTF16("\\\\?\\C:\\x")), UTF16("C:\\x"));
    EXPECT_EQ(WithoutPrefix(UTF16("\\\\?\\UNC\\")), UTF16("\\\\"));
    EXPECT_EQ(WithoutPrefix(UTF16("\\\\?\\")), UTF16(""));
    EXPECT_EQ(WithoutPrefix(UTF16("\\\\?\\UNC")), UTF16("UNC"));
    EXPECT_EQ(WithoutPrefix(UTF16("\\\\?\\unc\\server")), UTF16("unc\\server"));
    EXPECT_EQ(WithoutPrefix(UTF16("\\\\?\\UNC\\\\\\?\\x")), UTF16("\\\\\\\\?\\x")); // once only
}

TEST(RemoveUnicodeAPIPath, CopiesEveryOtherPath)
{
    for (const tonekit_char16 *path :
         {UTF16(""), UTF16("\\"), UTF16("\\\\"), UTF16("\\\\?"), UTF16("\\\\.\\C:"), UTF16("\\?\\C:"),
          UTF16("C:\\x"), UTF16("x\\\\?\\C:\\x"), UTF16("//?/C:/x"),
          UTF16("\\\\server\\share\\a rather long path that is more than one block of units long")}) {
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
        const Utf16String whole = UTF16("\\\\?\\UNC\\server");
        for (size_t length = 0; length <= whole.size(); ++length) {
            TextAtPageEnd<tonekit_char16> path(whole.substr(0, length));
            const Utf16String expected = length >= 8   ? UTF16("\\") + whole.substr(7, length - 7)
                                         : length >= 4 ? whole.substr(4, length - 4)
                                                       : whole.substr(0, length);
            EXPECT_EQ(Take(body(path.Get())), expected) << length;
        }
    }
}
