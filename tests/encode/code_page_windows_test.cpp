// code_page_windows_test.cpp: the system's code page on Windows, with its own conversions next to ours.
#include "tests/encode/text_support.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>
#include <vector>
#include <windows.h>

namespace {

using tonekit::Take;
using tonekit::Utf16String;

constexpr UINT kUtf8 = 65001;

// What the system makes of a text, terminator included, with the flags that the library is to use.
Utf16String SystemsUnicode(UINT codePage, DWORD flags, const std::string &text)
{
    std::vector<wchar_t> units(4 * text.size() + 8);
    const int count =
        MultiByteToWideChar(codePage, flags, text.c_str(), -1, units.data(), static_cast<int>(units.size()));
    return count == 0 ? L"(null)" : Utf16String(units.data());
}

std::string SystemsBytes(UINT codePage, DWORD flags, const Utf16String &text)
{
    std::vector<char> bytes(8 * text.size() + 8);
    const int count = WideCharToMultiByte(codePage, flags, text.c_str(), -1, bytes.data(),
                                          static_cast<int>(bytes.size()), nullptr, nullptr);
    return count == 0 ? "(null)" : std::string(bytes.data());
}

std::string RandomBytes(tonekit::Random &random)
{
    std::string text(random.Below(40), ' ');
    for (char &byte : text)
        byte = static_cast<char>(1 + random.Below(255));
    return text;
}

Utf16String RandomUnits(tonekit::Random &random)
{
    Utf16String text(random.Below(40), L' ');
    for (wchar_t &unit : text)
        unit = static_cast<wchar_t>(1 + random.Below(random.Below(2) ? 0x400 : 0xFFFF));
    return text;
}

} // namespace

TEST(CodePage, IsTheSystemsOwn)
{
    tonekit::Random random(1);
    for (int round = 0; round < 2000; ++round) {
        const std::string bytes = RandomBytes(random);
        const Utf16String units = RandomUnits(random);
        EXPECT_EQ(Take(UNC_AnsiToUnicode(bytes.c_str())), SystemsUnicode(GetACP(), 1, bytes));
        EXPECT_EQ(Take(UNC_UnicodeToAnsi(units.c_str())), SystemsBytes(GetACP(), 544, units));
        EXPECT_EQ(Take(UNC_Utf8ToUnicode(bytes.c_str())), SystemsUnicode(kUtf8, 0, bytes));
        EXPECT_EQ(Take(UNC_UnicodeToUtf8(units.c_str())), SystemsBytes(kUtf8, 0, units));
    }
}

TEST(CodePage, TwoStepConversionsGoThroughUtf16)
{
    tonekit::Random random(2);
    for (int round = 0; round < 500; ++round) {
        const std::string bytes = RandomBytes(random);
        EXPECT_EQ(Take(UNC_AnsiToUtf8(bytes.c_str())),
                  SystemsBytes(kUtf8, 0, SystemsUnicode(GetACP(), 1, bytes)));
        EXPECT_EQ(Take(UNC_Utf8ToAnsi(bytes.c_str())),
                  SystemsBytes(GetACP(), 544, SystemsUnicode(kUtf8, 0, bytes)));
    }
}

TEST(CodePage, WesternEuropeanTextOnASystemOfThatCodePage)
{
    if (GetACP() != 1252)
        GTEST_SKIP() << "THE CODE PAGE IS " << GetACP() << ", NOT 1252";
    EXPECT_EQ(Take(UNC_AnsiToUnicode("caf\xe9 \x80 \x93quoted\x94")), L"caf\u00e9 \u20ac \u201cquoted\u201d");
    EXPECT_EQ(Take(UNC_UnicodeToAnsi(L"caf\u00e9 \u20ac \u201cquoted\u201d")), "caf\xe9 \x80 \x93quoted\x94");
    EXPECT_EQ(Take(UNC_UnicodeToAnsi(L"cafe\u0301")), "caf\xe9");
    EXPECT_EQ(Take(UNC_UnicodeToAnsi(L"\u4e2d")), "?");
    EXPECT_EQ(Take(UNC_AnsiToUtf8("caf\xe9 \x80")), "caf\xc3\xa9 \xe2\x82\xac");
    EXPECT_EQ(Take(UNC_Utf8ToAnsi("caf\xc3\xa9 \xe2\x82\xac")), "caf\xe9 \x80");
}
