// time_text_test.cpp: time strings out and in, compared with the C library's printf and scanf in the "C"
// locale.
#include "tags/time_text.h"
#include "tests/support/random.h"
#include "tests/tags/tag_functions.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cwchar>

namespace tonekit {
namespace {

class TimeTextTest : public TagTest {
protected:
    // Both widths, which must agree.
    bool Read(const std::string &text, uint64_t *position) const
    {
        uint64_t wide = 1;
        *position = 1;
        const Utf16String wideText(text.begin(), text.end());
        const bool read = tags.CHAPTER_HMS_String_To_Position100nS(text.c_str(), position);
        EXPECT_EQ(tags.CHAPTER_HMS_String_To_Position100nSW(wideText.c_str(), &wide), read) << text;
        EXPECT_EQ(wide, *position) << text;
        return read;
    }

    uint64_t PositionOf(const std::string &text) const
    {
        uint64_t position;
        EXPECT_TRUE(Read(text, &position)) << text;
        return position;
    }

    void ExpectRefused(const std::string &text) const
    {
        uint64_t position;
        EXPECT_FALSE(Read(text, &position)) << text;
        EXPECT_EQ(position, 0u) << text;
    }
};
TONEKIT_ON_EVERY_BODY(TimeTextTest);

std::string TimeOf(uint64_t position)
{
    char text[kMostTimeText + 1];
    WriteTime(text, position);
    return text;
}

std::string PrintedTime(uint64_t position)
{
    uint32_t hours;
    uint32_t minutes;
    double seconds;
    CHAPTER_Position100nS_To_HMS(position, &hours, &minutes, &seconds);
    char text[64];
    snprintf(text, sizeof text, "%02u:%02u:%010.7f", hours, minutes, seconds);
    return text;
}

TEST_P(TimeTextTest, PositionsHaveTheirText)
{
    EXPECT_EQ(TimeOf(0), "00:00:00.0000000");
    EXPECT_EQ(TimeOf(12345678901), "00:20:34.5678901");
    EXPECT_EQ(TimeOf(36000000000), "01:00:00.0000000");
    EXPECT_EQ(TimeOf(3600000000000), "100:00:00.0000000");
    EXPECT_EQ(TimeOf(599999999), "00:00:59.9999999");
    EXPECT_EQ(TimeOf(600000000), "00:01:00.0000000");
    EXPECT_EQ(TimeOf(35999999999), "00:59:59.9999999");
    EXPECT_EQ(TimeOf(1), "00:00:00.0000001");
    EXPECT_EQ(TimeOf(UINT64_MAX), "512409557:36:10.9551615");
}

TEST_P(TimeTextTest, TheSplitIsInWholeUnits)
{
    uint32_t hours = 1;
    uint32_t minutes = 1;
    double seconds = 1;
    CHAPTER_Position100nS_To_HMS(12345678901, &hours, &minutes, &seconds);
    EXPECT_EQ(hours, 0u);
    EXPECT_EQ(minutes, 20u);
    EXPECT_EQ(seconds, 34.5678901);
    CHAPTER_Position100nS_To_HMS(UINT64_MAX, &hours, nullptr, nullptr);
    EXPECT_EQ(hours, 512409557u);
    CHAPTER_Position100nS_To_HMS(UINT64_MAX, nullptr, &minutes, nullptr);
    EXPECT_EQ(minutes, 36u);
    CHAPTER_Position100nS_To_HMS(UINT64_MAX, nullptr, nullptr, &seconds);
    EXPECT_EQ(seconds, 10.9551615);
}

TEST_P(TimeTextTest, EveryPositionComesBackFromItsText)
{
    Random random(531);
    for (int i = 0; i < 100000; ++i) {
        const uint64_t position = random.Next() >> random.Below(64);
        const std::string text = TimeOf(position);
        ASSERT_EQ(text, PrintedTime(position));
        ASSERT_EQ(PositionOf(text), position) << text;
    }
    // Each of the seven decimals, where a rounding would show.
    for (uint64_t units = 0; units < 600000000; units += 1 + random.Below(20000)) {
        ASSERT_EQ(TimeOf(units), PrintedTime(units));
        ASSERT_EQ(PositionOf(TimeOf(units)), units);
    }
}

TEST_P(TimeTextTest, OtherFormsAreReadToo)
{
    EXPECT_EQ(PositionOf("1:2:3"), 37230000000u);
    EXPECT_EQ(PositionOf("100:00:00.0000000"), 3600000000000u);
    EXPECT_EQ(PositionOf(" \t1: 2:\n3 and more"), 37230000000u);
    EXPECT_EQ(PositionOf("+1:+2:+3"), 37230000000u);
    EXPECT_EQ(PositionOf("0:90:90.5"), uint64_t{90} * 600000000 + 905000000);
    EXPECT_EQ(PositionOf("0:0:.5"), 5000000u);
    EXPECT_EQ(PositionOf("0:0:5."), 50000000u);
    EXPECT_EQ(PositionOf("0:0:1e3"), 10000000000u);
    EXPECT_EQ(PositionOf("0:0:1E-7"), 1u);
    EXPECT_EQ(PositionOf("0:0:0x1p4"), 160000000u);
    EXPECT_EQ(PositionOf("0:0:3,5"), 30000000u);
    EXPECT_EQ(PositionOf("0:0:3e"), 30000000u);
    EXPECT_EQ(PositionOf("0:0:3e+"), 30000000u);
    EXPECT_EQ(PositionOf("4294967295:0:0"), 4294967295u * uint64_t{36000000000});
    EXPECT_EQ(PositionOf("-1:0:0"), 4294967295u * uint64_t{36000000000});
    EXPECT_EQ(PositionOf("4294967296:0:0"), 0u);
    EXPECT_EQ(PositionOf("99999999999999999999:0:0"), 4294967295u * uint64_t{36000000000});
}

TEST_P(TimeTextTest, SecondsRoundHalvesAwayFromZeroAndWrap)
{
    EXPECT_EQ(PositionOf("0:0:0.00000004"), 0u);
    EXPECT_EQ(PositionOf("0:0:0.00000005"), 1u);
    EXPECT_EQ(PositionOf("0:0:0.00000025"), 3u);
    EXPECT_EQ(PositionOf("0:0:-0.00000025"), uint64_t{0} - 3);
    EXPECT_EQ(PositionOf("0:1:-3"), 570000000u);
    EXPECT_EQ(PositionOf("0:0:922337203685.4"), 9223372036854000640u);
    EXPECT_EQ(PositionOf("0:0:1000000000000"), 10000000000000000000u);
    EXPECT_EQ(PositionOf("0:0:1e400"), uint64_t{1} << 63);
    EXPECT_EQ(PositionOf("0:0:-1e400"), uint64_t{1} << 63);
    EXPECT_EQ(PositionOf("0:0:inf"), uint64_t{1} << 63);
    EXPECT_EQ(PositionOf("0:0:-Infinity"), uint64_t{1} << 63);
    EXPECT_EQ(PositionOf("0:0:nan"), uint64_t{1} << 63);
    EXPECT_EQ(PositionOf("0:1:1844674407370.9553"), (uint64_t{1} << 63) + 600000000);
}

TEST_P(TimeTextTest, TextsOfFewerThanThreeFieldsAreRefused)
{
    for (const char *text : {"",       " ",       "abc",    "1",        "1:",     "1:2",
                             "1:2:",   "1:2: ",   "1:2:x",  "1 :2:3",   "1:2 :3", ":2:3",
                             "1::3",   "1.5:2:3", "1;2;3",  "1:2:.",    "1:2:-",  "1:2:+-3",
                             "1:2:e5", "1:2:0x",  "1:2:na", "1:2:infi", "x1:2:3", "--1:2:3"})
        ExpectRefused(text);
}

TEST_P(TimeTextTest, NullTextIsRefused)
{
    uint64_t position = 1;
    EXPECT_FALSE(tags.CHAPTER_HMS_String_To_Position100nS(nullptr, &position));
    EXPECT_EQ(position, 0u);
    position = 1;
    EXPECT_FALSE(tags.CHAPTER_HMS_String_To_Position100nSW(nullptr, &position));
    EXPECT_EQ(position, 0u);
}

TEST_P(TimeTextTest, WideDigitsAndBlanksAreThoseOfAsciiOnly)
{
    uint64_t position;
    EXPECT_FALSE(tags.CHAPTER_HMS_String_To_Position100nSW(UTF16("\u0131:2:3"), &position));
    EXPECT_FALSE(tags.CHAPTER_HMS_String_To_Position100nSW(UTF16("1:2:\u0133"), &position));
    EXPECT_FALSE(tags.CHAPTER_HMS_String_To_Position100nSW(UTF16("\uFF11:2:3"), &position));
    EXPECT_FALSE(tags.CHAPTER_HMS_String_To_Position100nSW(UTF16("\u01201:2:3"), &position));
    EXPECT_TRUE(tags.CHAPTER_HMS_String_To_Position100nSW(UTF16("1:2:3\u0131"), &position));
    EXPECT_EQ(position, 37230000000u);
}

// The C library's own reading, in the "C" locale that the test program has.
struct Scanned {
    bool read;
    uint32_t hours;
    uint32_t minutes;
    double seconds;
};

Scanned ScanNarrow(const std::string &text)
{
    Scanned scanned{};
    scanned.read = sscanf(text.c_str(), "%" SCNu32 ":%" SCNu32 ":%lf", &scanned.hours, &scanned.minutes,
                          &scanned.seconds) == 3;
    return scanned;
}

void ExpectAsScanned(const std::string &text)
{
    const Scanned expected = ScanNarrow(text);
    const Utf16String wide(text.begin(), text.end());
    TimeFields narrowFields;
    TimeFields wideFields;
    ASSERT_EQ(ReadTime(text.c_str(), &narrowFields), expected.read) << text;
    ASSERT_EQ(ReadTime(wide.c_str(), &wideFields), expected.read) << text;
    if (!expected.read)
        return;
    for (const TimeFields &fields : {narrowFields, wideFields}) {
        ASSERT_EQ(fields.hours, expected.hours) << text;
        ASSERT_EQ(fields.minutes, expected.minutes) << text;
        ASSERT_EQ(std::isnan(fields.seconds), std::isnan(expected.seconds)) << text;
        if (!std::isnan(expected.seconds)) {
            ASSERT_EQ(fields.seconds, expected.seconds) << text;
        }
        ASSERT_EQ(std::signbit(fields.seconds), std::signbit(expected.seconds)) << text;
    }
}

TEST(TimeFieldsTest, AreReadAsTheCLibraryReadsThem)
{
    static const char *const kPieces[] = {
        "0",   "1",   "9",        "17", ".",   "e",  "E", "+", "-",  "0x", "p",         "P",   " ",  "a",
        "inf", "nan", "infinity", "i",  "NaN", "00", "f", ",", "\t", "5",  "123456789", "e-3", "e30"};
    Random random(532);
    for (int i = 0; i < 300000; ++i) {
        std::string text = random.Below(4) == 0 ? "" : "1:2:";
        for (uint32_t pieces = random.Below(9); pieces > 0; --pieces)
            text += random.Below(8) == 0 ? ":" : kPieces[random.Below(sizeof kPieces / sizeof *kPieces)];
        ASSERT_NO_FATAL_FAILURE(ExpectAsScanned(text));
    }
}

TEST(TimeFieldsTest, SecondsAreTheNearestDouble)
{
    Random random(533);
    for (int i = 0; i < 20000; ++i) {
        std::string digits;
        for (uint32_t count = 1 + random.Below(random.Below(50) == 0 ? 1200 : 40); count > 0; --count)
            digits += static_cast<char>('0' + random.Below(10));
        if (random.Below(4) != 0)
            digits.insert(random.Below(static_cast<uint32_t>(digits.size())), ".");
        if (random.Below(3) == 0)
            digits += "e" + std::to_string(static_cast<int>(random.Below(700)) - 350);
        ASSERT_NO_FATAL_FAILURE(ExpectAsScanned("0:0:" + digits));
        ASSERT_NO_FATAL_FAILURE(ExpectAsScanned("0:0:0x" + digits));
    }
}

TEST(TimeFieldsTest, MidpointsOfAnyLengthRoundRight)
{
    // 2^53 + 1 lies exactly between two doubles; a digit any number of zeros after decides.
    for (const int zeros : {0, 1, 10, 740, 751, 752, 760, 770, 800, 3000})
        for (const char *last : {"", "1", "0"})
            for (const char *whole : {"9007199254740993", "9007199254740995", "00000000009007199254740993"})
                ExpectAsScanned("0:0:" + std::string(whole) + "." +
                                std::string(static_cast<size_t>(zeros), '0') + last);
    ExpectAsScanned("0:0:0x20000000000001." + std::string(900, '0') + "1");
    ExpectAsScanned("0:0:0x20000000000001." + std::string(900, '0'));
    ExpectAsScanned("0:0:" + std::string(5000, '0') + "17." + std::string(5000, '0'));
    ExpectAsScanned("0:0:0." + std::string(5000, '0') + "17e5002");
    ExpectAsScanned("0:0:17" + std::string(5000, '0') + "e-5000");
    ExpectAsScanned("0:0:2.4703282292062327e-324");
    ExpectAsScanned("0:0:2.4703282292062328e-324");
    ExpectAsScanned("0:0:1.7976931348623158e308");
    ExpectAsScanned("0:0:1.7976931348623159e308");
}

// All decimal digits of count * 2^-1075, but for a power of ten: those of count * 5^1075.
std::string DigitsOfHalves(uint64_t count)
{
    std::string reversed;
    for (; count != 0; count /= 10)
        reversed += static_cast<char>(count % 10);
    for (int power = 0; power < 1075; ++power) {
        int carry = 0;
        for (char &digit : reversed) {
            carry += 5 * digit;
            digit = static_cast<char>(carry % 10);
            carry /= 10;
        }
        for (; carry != 0; carry /= 10)
            reversed += static_cast<char>(carry % 10);
    }
    std::string digits(reversed.rbegin(), reversed.rend());
    for (char &digit : digits)
        digit += '0';
    return digits;
}

double SecondsOf(const std::string &text)
{
    TimeFields narrow{};
    TimeFields wide{};
    EXPECT_TRUE(ReadTime(("0:0:" + text).c_str(), &narrow));
    const std::string all = "0:0:" + text;
    EXPECT_TRUE(ReadTime(Utf16String(all.begin(), all.end()).c_str(), &wide));
    EXPECT_EQ(narrow.seconds, wide.seconds);
    return narrow.seconds;
}

// Between m and m + 1 times the least double, 2^-1074, lies (2 m + 1) * 2^-1075, whose digits are up to 768,
// and each of them counts.
TEST(TimeFieldsTest, LongestMidpointsRoundByTheirLastDigit)
{
    size_t lengths = 0;
    for (uint64_t scale = 1000000000; scale <= 9007199254740991;
         scale = scale < 9000000000000000 ? std::min<uint64_t>(scale * 3, 9007199254740991) : scale + 1) {
        for (const uint64_t m : {scale - 1, scale - 2}) {
            const std::string midpoint = DigitsOfHalves(2 * m + 1);
            lengths = std::max(lengths, midpoint.size());
            const double below = std::ldexp(static_cast<double>(m), -1074);
            const double above = std::ldexp(static_cast<double>(m + 1), -1074);
            std::string under = midpoint;
            ASSERT_EQ(under.back(), '5');
            under.back() = '4';
            std::string over = midpoint;
            over.back() = '6';
            EXPECT_EQ(SecondsOf(midpoint + "e-1075"), m % 2 == 0 ? below : above) << midpoint.size();
            EXPECT_EQ(SecondsOf(under + "e-1075"), below) << midpoint.size();
            EXPECT_EQ(SecondsOf(over + "e-1075"), above) << midpoint.size();
            EXPECT_EQ(SecondsOf(midpoint + std::string(40, '0') + "1e-1116"), above) << midpoint.size();
            EXPECT_EQ(SecondsOf(under + std::string(40, '9') + "e-1115"), below) << midpoint.size();
        }
    }
    EXPECT_EQ(lengths, 768u);
}

} // namespace
} // namespace tonekit
