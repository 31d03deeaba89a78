// ansi_test.cpp: the system's code page, by the locales that a process can set.
#include "encode/character_set.h"
#include "tests/encode/text_support.h"
#include "tests/support/random.h"

#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iconv.h>
#include <vector>

namespace {

using tonekit::Take;

// Sets a locale for the length of a test.
class WithLocale {
public:
    explicit WithLocale(const char *name) : isSet_(std::setlocale(LC_ALL, name) != nullptr) {}
    ~WithLocale() { std::setlocale(LC_ALL, "C"); }
    bool IsSet() const { return isSet_; }

private:
    bool isSet_;
};

// A locale that the build has made from the system's descriptions; not set where there are none.
class WithMadeLocale : public WithLocale {
public:
    explicit WithMadeLocale(const char *name) : WithLocale((setenv("LOCPATH", TONEKIT_TEST_LOCALES, 1), name))
    {}
    ~WithMadeLocale() { unsetenv("LOCPATH"); }
};

std::u16string FromAnsi(const std::string &text)
{
    return Take(UNC_AnsiToUnicode(text.c_str()));
}

std::string ToAnsi(const std::u16string &text)
{
    return Take(UNC_UnicodeToAnsi(text.c_str()));
}

std::u16string Decoded(const char *characterSet, const std::string &text)
{
    return Take(tonekit::DecodeText(characterSet, text.c_str()));
}

std::string Encoded(const char *characterSet, const std::u16string &text)
{
    return Take(tonekit::EncodeText(characterSet, text.c_str()));
}

} // namespace

// A process that sets no locale has plain ASCII, which is taken for windows-1252.

TEST(Ansi, WithoutALocaleItIsWindows1252)
{
    EXPECT_EQ(FromAnsi("caf\xe9 \x80 \x93quoted\x94 \x96 \x85 \x99"),
              u"caf\u00e9 \u20ac \u201cquoted\u201d \u2013 \u2026 \u2122");
    EXPECT_EQ(ToAnsi(u"caf\u00e9 \u20ac \u201cquoted\u201d \u2013 \u2026 \u2122"),
              "caf\xe9 \x80 \x93quoted\x94 \x96 \x85 \x99");
    EXPECT_EQ(Take(UNC_AnsiToUtf8("caf\xe9 \x80")), "caf\xc3\xa9 \xe2\x82\xac");
    EXPECT_EQ(Take(UNC_Utf8ToAnsi("caf\xc3\xa9 \xe2\x82\xac")), "caf\xe9 \x80");
}

TEST(Ansi, EveryByteOfWindows1252HasItsCharacter)
{
    const char16_t middle[32] = {0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD,
                                 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178};
    for (unsigned byte = 1; byte < 256; ++byte) {
        const char16_t unit = byte >= 0x80 && byte < 0xA0 ? middle[byte - 0x80] : static_cast<char16_t>(byte);
        for (const size_t length : {1u, 5u, 16u, 40u}) {
            const std::string ansi(length, static_cast<char>(byte));
            const std::u16string unicode(length, unit);
            EXPECT_EQ(FromAnsi(ansi), unicode) << byte;
            EXPECT_EQ(ToAnsi(unicode), unit == 0xFFFD ? std::string(length, '?') : ansi) << byte;
        }
    }
}

TEST(Ansi, Windows1252IsThatOfTheSystemsConverter)
{
    iconv_t converter = iconv_open("UTF-16LE", "CP1252");
    if (converter == reinterpret_cast<iconv_t>(-1))
        GTEST_SKIP() << "the system has no such converter";
    for (unsigned byte = 1; byte < 256; ++byte) {
        char in = static_cast<char>(byte);
        char16_t unit = 0;
        char *from = &in;
        char *to = reinterpret_cast<char *>(&unit);
        size_t left = 1;
        size_t room = sizeof unit;
        if (iconv(converter, &from, &left, &to, &room) == static_cast<size_t>(-1))
            unit = 0xFFFD;
        EXPECT_EQ(FromAnsi(std::string(1, in)), std::u16string(1, unit)) << byte;
    }
    iconv_close(converter);
}

TEST(Ansi, WhatWindows1252LacksBecomesOneQuestionMark)
{
    EXPECT_EQ(ToAnsi(u"\u4e2d"), "?");
    EXPECT_EQ(ToAnsi(u"a\u4e2db"), "a?b");
    EXPECT_EQ(ToAnsi(u"\u0081"), "?");
    EXPECT_EQ(ToAnsi(u"\u0100\ufffd"), "??");
    EXPECT_EQ(ToAnsi(u"x\U0001F600y"), "x?y");
    EXPECT_EQ(ToAnsi({u'x', 0xD83D, u'y', 0xDE00}), "x?y?");
    EXPECT_EQ(Take(UNC_Utf8ToAnsi("\xff\xf0\x9f\x98\x80")), "??");
}

TEST(Ansi, LongTextOfWindows1252ComesBack)
{
    tonekit::Random random(21);
    for (int round = 0; round < 3000; ++round) {
        std::string ansi(random.Below(200), 0);
        const uint32_t kinds = random.Below(3);
        for (char &byte : ansi) {
            const uint32_t middle =
                random.Below(20) == 0 ? 0x82 + random.Below(10) : 0xA0 + random.Below(0x60);
            byte = static_cast<char>(random.Below(2) < kinds ? middle : 1 + random.Below(0x7F));
        }
        std::u16string unicode;
        for (const char byte : ansi)
            unicode += FromAnsi(std::string(1, byte));
        ASSERT_EQ(FromAnsi(ansi), unicode);
        ASSERT_EQ(ToAnsi(unicode), ansi);
    }
}

TEST(Ansi, LettersAndMarksAreComposedFirst)
{
    EXPECT_EQ(ToAnsi(u"cafe\u0301"), "caf\xe9");
    EXPECT_EQ(ToAnsi(u"U\u0308bergro\u00dfe A\u030angstro\u0308m"), "\xdc"
                                                                    "bergro\xdf"
                                                                    "e \xc5ngstr\xf6m");
    EXPECT_EQ(ToAnsi(u"n\u0303 c\u0327 y\u0308"), "\xf1 \xe7 \xff");
    EXPECT_EQ(ToAnsi(u"q\u0301"), "q?"); // there is no such letter
    EXPECT_EQ(ToAnsi(u"a\u0304"), "?");  // there is one, but not in the code page
    EXPECT_EQ(ToAnsi(u"\u0301e"), "?e"); // a mark without a letter
    EXPECT_EQ(ToAnsi(u"e\u0301\u0301"), "\xe9?");
    EXPECT_EQ(Take(UNC_Utf8ToAnsi("cafe\xcc\x81")), "caf\xe9");
}

// The locale is asked at each call.

TEST(Ansi, Utf8LocaleIsFollowedAtOnce)
{
    EXPECT_EQ(FromAnsi("\xc3\xa9"), u"\u00c3\u00a9");
    {
        WithLocale locale("C.UTF-8");
        if (!locale.IsSet())
            GTEST_SKIP() << "the system has no such locale";
        EXPECT_EQ(FromAnsi("\xc3\xa9"), u"\u00e9");
        EXPECT_EQ(ToAnsi(u"\u00e9\u4e2d\U0001F600"), "\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80");
        EXPECT_EQ(FromAnsi("\xff\xe4\xb8"), u"\ufffd\ufffd");
        EXPECT_EQ(ToAnsi({u'a', 0xD800}), "a\xef\xbf\xbd");
        EXPECT_EQ(ToAnsi(u"e\u0301 \U0001F600"), "\xc3\xa9 \xf0\x9f\x98\x80");
        EXPECT_EQ(Take(UNC_AnsiToUtf8("\xc3\xa9")), "\xc3\xa9");
        EXPECT_EQ(Take(UNC_Utf8ToAnsi("\xc3\xa9")), "\xc3\xa9");
    }
    EXPECT_EQ(FromAnsi("\xc3\xa9"), u"\u00c3\u00a9");
}

TEST(Ansi, LocaleOfTheThreadGoesBeforeThatOfTheProcess)
{
    locale_t locale = newlocale(LC_ALL_MASK, "C.UTF-8", nullptr);
    if (!locale)
        GTEST_SKIP() << "the system has no such locale";
    const locale_t before = uselocale(locale);
    EXPECT_EQ(FromAnsi("\xc3\xa9"), u"\u00e9");
    uselocale(before);
    freelocale(locale);
}

TEST(Ansi, OtherLocalesAreFollowed)
{
    const struct {
        const char *locale;
        const char *ansi;
        std::u16string unicode;
    } cases[] = {
        {"de_DE.ISO-8859-15", "\xa4 \xfc", u"\u20ac \u00fc"},
        {"ru_RU.KOI8-R", "\xf0\xd2\xc9\xd7\xc5\xd4", u"\u041f\u0440\u0438\u0432\u0435\u0442"},
        {"ja_JP.EUC-JP", "\xc6\xfc\xcb\xdc", u"\u65e5\u672c"},
        {"zh_CN.GB18030", "\xd6\xd0\x81\x30\x81\x30", u"\u4e2d\u0080"},
    };
    int followed = 0;
    for (const auto &one : cases) {
        WithMadeLocale locale(one.locale);
        if (!locale.IsSet())
            continue;
        ++followed;
        EXPECT_EQ(FromAnsi(one.ansi), one.unicode) << one.locale;
        EXPECT_EQ(ToAnsi(one.unicode), one.ansi) << one.locale;
    }
    if (followed == 0)
        GTEST_SKIP() << "the system has no locale descriptions";
}

// Any character set, by its name.

TEST(CharacterSets, SingleByteSets)
{
    EXPECT_EQ(Decoded("ISO-8859-1", "\x80\xa4\xff"), u"\u0080\u00a4\u00ff");
    EXPECT_EQ(Encoded("ISO-8859-1", u"\u0080\u00a4\u00ff\u20ac"), "\x80\xa4\xff?");
    EXPECT_EQ(Decoded("KOI8-R", "\xc1\xc2"), u"\u0430\u0431");
    EXPECT_EQ(Encoded("CP1251", u"\u0401x"), "\xa8x");
    EXPECT_EQ(Encoded("CP1251", u"\u0415\u0308"), "\xa8"); // composed first
    EXPECT_EQ(Encoded("ISO-8859-5", u"\u0438\u0306"), "\xd9");
}

TEST(CharacterSets, MultiByteSets)
{
    EXPECT_EQ(Decoded("EUC-JP", "\xc6\xfc\xcb\xdc"), u"\u65e5\u672c");
    EXPECT_EQ(Encoded("EUC-JP", u"\u65e5\u672c\u304b\u3099"), "\xc6\xfc\xcb\xdc\xa4\xac");
    EXPECT_EQ(Decoded("SHIFT_JIS", "\x93\xfa\x96\x7b"), u"\u65e5\u672c");
    EXPECT_EQ(Encoded("SHIFT_JIS", u"\u65e5\u00e9\u672c"), "\x93\xfa?\x96\x7b");
    EXPECT_EQ(Encoded("GB18030", u"\U0001F600\u20ac"), "\x94\x39\xfc\x36\xa2\xe3");
    EXPECT_EQ(Decoded("GB18030", "\x94\x39\xfc\x36"), u"\U0001F600");
    EXPECT_EQ(Encoded("GB18030", {0xDC00, u'a'}), "\x84\x31\xa4\x37"
                                                  "a"); // it has U+FFFD
    EXPECT_EQ(Encoded("BIG5", u"\u4e2d"), "\xa4\xa4");
}

TEST(CharacterSets, SetsWithShiftStatesReturnToTheFirst)
{
    EXPECT_EQ(Encoded("ISO-2022-JP", u"a\u65e5\u672c"), "a\x1b$BF|K\\\x1b(B");
    EXPECT_EQ(Decoded("ISO-2022-JP", "a\x1b$BF|K\\\x1b(B"), u"a\u65e5\u672c");
    // The question mark is written in the state in which `?` means itself.
    EXPECT_EQ(Encoded("ISO-2022-JP", u"\u65e5\U0001F600\u672c"), "\x1b$BF|\x1b(B?\x1b$BK\\\x1b(B");
}

TEST(CharacterSets, CharactersThatTheConverterHoldsBackAreNotLost)
{
    // In these sets a letter waits for a mark that might follow, or a mark follows its letter.
    EXPECT_EQ(Decoded("BIG5-HKSCS", "\x88\x66"), u"\u00ca");
    EXPECT_EQ(Decoded("BIG5-HKSCS", "\x88\x62"), u"\u00ca\u0304");
    EXPECT_EQ(Decoded("BIG5-HKSCS", "\x88\x66\xff"
                                    "a"),
              u"\u00ca\ufffd"
              u"a");
    EXPECT_EQ(Encoded("BIG5-HKSCS", u"\u00ca"), "\x88\x66");
    EXPECT_EQ(Encoded("BIG5-HKSCS", u"\u00ca\U0001F600"), "\x88\x66?");
    EXPECT_EQ(Decoded("TCVN5712-1", "e"), u"e");
    EXPECT_EQ(Decoded("TCVN5712-1", "a\xb3"), u"\u00e1"); // a and an acute mark
    EXPECT_EQ(Decoded("CP1258", "a\xec"), u"\u00e1");
}

TEST(CharacterSets, BytesThatTheSetDoesNotKnowAreReplaced)
{
    EXPECT_EQ(Decoded("EUC-JP", "a\xff"
                                "b"),
              u"a\ufffd"
              u"b");
    EXPECT_EQ(Decoded("SHIFT_JIS", "\x93\xfa\xfd\xfe\x96\x7b"), u"\u65e5\ufffd\ufffd\u672c");
    EXPECT_EQ(Decoded("ISO-8859-7", "\xae\xd2\xe1"), u"\ufffd\ufffd\u03b1");
    EXPECT_EQ(Decoded("ISO-2022-JP", "\x1b$BF|\xff\x1b(Ba"), u"\u65e5\ufffd"
                                                             u"a");
}

// Some converters refuse a zero byte in this place, others return nothing for it.
TEST(CharacterSets, ReplacementsComeWhateverTheConverterThinksOfZeros)
{
    EXPECT_EQ(Decoded("ISO-2022-KR", "\xff"), u"\ufffd");
    EXPECT_EQ(Decoded("ISO-2022-KR", "\x0e\xff"), u"\ufffd");
    EXPECT_EQ(Decoded("ISO-2022-KR", "a\x1b"), u"a\ufffd");
    EXPECT_EQ(Decoded("ISO-2022-JP", "\x1b$B\xff"), u"\ufffd");
}

TEST(CharacterSets, CharacterThatTheEndCutsIsReplacedOnce)
{
    EXPECT_EQ(Decoded("EUC-JP", "a\xc6"), u"a\ufffd");
    EXPECT_EQ(Decoded("SHIFT_JIS", "\x93"), u"\ufffd");
    EXPECT_EQ(Decoded("GB18030", "\x94\x39\xfc"), u"\ufffd");
}

TEST(CharacterSets, TagCharactersAreNotDropped)
{
    EXPECT_EQ(Encoded("ISO-8859-1", u"a\U000E0041b\U000E007F"), "a?b?");
    EXPECT_EQ(Encoded("EUC-JP", u"\U000E0041"), "?");
    EXPECT_EQ(Encoded("GB18030", u"\U000E0041"), "\xd3\x36\x9c\x33");
}

TEST(CharacterSets, NamesOfAsciiAndUtf8AreKnown)
{
    for (const char *name : {"ANSI_X3.4-1968", "US-ASCII", "ASCII", "ascii", "646", "ISO646-US", "iso646-us",
                             "CP1252", "windows-1252"}) {
        EXPECT_EQ(Decoded(name, "\x80"), u"\u20ac") << name;
        EXPECT_EQ(Encoded(name, u"\u20ac"), "\x80") << name;
    }
    for (const char *name : {"UTF-8", "utf-8", "UTF8", "utf8"})
        EXPECT_EQ(Decoded(name, "\xe2\x82\xac"), u"\u20ac") << name;
}

TEST(CharacterSets, EmptyTextStaysEmpty)
{
    for (const char *name : {"UTF-8", "CP1252", "ISO-8859-1", "EUC-JP", "ISO-2022-JP", "GB18030"}) {
        EXPECT_EQ(Decoded(name, ""), u"") << name;
        EXPECT_EQ(Encoded(name, u""), "") << name;
    }
}

TEST(CharacterSets, UnknownSetIsRefused)
{
    EXPECT_EQ(tonekit::DecodeText("NO-SUCH-SET", "abc"), nullptr);
    EXPECT_EQ(tonekit::EncodeText("NO-SUCH-SET", u"abc"), nullptr);
    EXPECT_EQ(tonekit::EncodeText("NO-SUCH-SET", u"e\u0301"), nullptr);
}

TEST(CharacterSets, EveryConverterIsClosed)
{
    const int64_t before = tonekit::LiveTextConverters();
    Decoded("EUC-JP", "\xc6\xfc\xff");
    EXPECT_EQ(tonekit::LiveTextConverters(), before);
    Encoded("GB18030", u"\u65e5\U000E0041");
    EXPECT_EQ(tonekit::LiveTextConverters(), before);
    tonekit::DecodeText("NO-SUCH-SET", "abc");
    tonekit::EncodeText("NO-SUCH-SET", u"abc");
    EXPECT_EQ(tonekit::LiveTextConverters(), before);
}

TEST(CharacterSets, LongTextComesBackThroughEverySet)
{
    tonekit::Random random(22);
    for (const char *name : {"UTF-8", "GB18030"}) {
        for (int round = 0; round < 300; ++round) {
            std::u16string text;
            for (uint32_t length = random.Below(3000); length > 0; --length)
                text += static_cast<char16_t>(0x4E00 + random.Below(0x5000));
            EXPECT_TRUE(Decoded(name, Encoded(name, text)) == text) << name;
        }
    }
    for (const char *name : {"ISO-8859-1", "ISO-8859-15", "KOI8-R", "CP1251", "CP1252"}) {
        std::string all;
        for (int round = 0; round < 20; ++round)
            for (unsigned byte = 1; byte < 256; ++byte)
                if (Decoded(name, std::string(1, static_cast<char>(byte))) != u"\ufffd")
                    all += static_cast<char>(byte);
        EXPECT_TRUE(Encoded(name, Decoded(name, all)) == all) << name;
    }
}
