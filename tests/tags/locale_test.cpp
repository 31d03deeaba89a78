// locale_test.cpp: numbers and times under a locale whose decimal point is a comma.
#include "tests/support/comma_locale.h"
#include "tests/tags/tag_functions.h"

#include <clocale>
#include <cstdio>
#include <cstring>

namespace tonekit {
namespace {

class LocaleTest : public TagTest {
protected:
    void SetUp() override
    {
        if (!locale.IsSet())
            GTEST_SKIP()
                << "NO LOCALE WITH A DECIMAL COMMA: install Debian's locales package to run this test";
        char printed[16];
        snprintf(printed, sizeof printed, "%.1f", 1.5);
        ASSERT_STREQ(printed, "1,5") << "the locale is in force";
    }

    CommaLocale locale;
};
TONEKIT_ON_EVERY_BODY(LocaleTest);

TEST_P(LocaleTest, TimesKeepTheirPoint)
{
    ID3Helper_AddChapter_UTF8(block, 1, 12345678901, "name");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "CHAPTER001"), "00:20:34.5678901");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, 1), 12345678901u);
    uint64_t position = 0;
    EXPECT_TRUE(tags.CHAPTER_HMS_String_To_Position100nS("0:0:1.5", &position));
    EXPECT_EQ(position, 15000000u);
    EXPECT_TRUE(tags.CHAPTER_HMS_String_To_Position100nSW(UTF16("0:0:1.5"), &position));
    EXPECT_EQ(position, 15000000u);
    EXPECT_TRUE(tags.CHAPTER_HMS_String_To_Position100nS("0:0:1,5", &position));
    EXPECT_EQ(position, 10000000u);
}

TEST_P(LocaleTest, NumbersAreReadAndWrittenTheSame)
{
    ID3Helper_AddDword(block, "dword", 4294967295u);
    ID3Helper_AddULongLong(block, "long", 1234567890123u);
    ID3Helper_AddFloat(block, "float", -6.5f);
    tags.ID3Helper_AddStr(block, "grouped", "1.234");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "dword"), "4294967295");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "long"), "1234567890123");
    EXPECT_EQ(ID3Helper_GetFloat(block, "float"), -6.5f);
    EXPECT_EQ(ID3Helper_GetDword(block, "grouped"), 1u);
}

TEST_P(LocaleTest, KeysFoldAsciiOnly)
{
    tags.ID3Helper_AddStr(block, "K\xC3\xB6nig", "small o");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "K\xC3\x96nig"), "");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "k\xC3\xB6NIG"), "small o");
}

TEST_P(LocaleTest, TheProcessKeepsItsLocale)
{
    const std::string before = setlocale(LC_ALL, nullptr);
    ID3Helper_AddChapter_UTF8(block, 1, 5, "name");
    tags.ID3Helper_GetChapter_Position(block, 1);
    EXPECT_EQ(setlocale(LC_ALL, nullptr), before);
}

} // namespace
} // namespace tonekit
