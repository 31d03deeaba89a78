// base64_test.cpp: Base64 both ways against RFC 4648, the rules and the model.
#include "tests/encode/hex.h"
#include "tests/encode/page_end.h"
#include "tests/encode/printable_calls.h"
#include "tests/reference/printable_model.h"
#include "tests/support/bodies.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/guarded_pages.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <optional>
#include <string>
#include <tonekit/encode.h>
#include <vector>

namespace tonekit {
namespace {

using reference::Bytes;

Bytes BytesOf(const std::string &text)
{
    return Bytes(text.begin(), text.end());
}

class Base64 : public testing::TestWithParam<char> {
protected:
    std::optional<std::string> Encode(const void *data, uint32_t length) const
    {
        return EncodedBy(encode_, data, length);
    }
    std::optional<Bytes> Decode(const char *text) const { return DecodedBy(decode_, text); }
    std::optional<Bytes> Decode(const std::string &text) const { return Decode(text.c_str()); }

private:
    decltype(BASE64Encode) *encode_ = Body<decltype(BASE64Encode)>("BASE64Encode", GetParam());
    decltype(BASE64Decode) *decode_ = Body<decltype(BASE64Decode)>("BASE64Decode", GetParam());
};

TEST_P(Base64, GivesTheExamplesOfTheStandardBothWays)
{
    const std::pair<const char *, const char *> examples[] = {{"f", "Zg=="},         {"fo", "Zm8="},
                                                              {"foo", "Zm9v"},       {"foob", "Zm9vYg=="},
                                                              {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
    for (const auto &[data, text] : examples) {
        EXPECT_EQ(Encode(data, static_cast<uint32_t>(std::strlen(data))), text);
        EXPECT_EQ(Decode(text), BytesOf(data));
    }
}

TEST_P(Base64, PadsOneAndTwoBytes)
{
    EXPECT_EQ(Encode("\x4d\x61", 2), "TWE=");
    EXPECT_EQ(Encode("\x4d", 1), "TQ==");
}

TEST_P(Base64, RefusesToEncodeNothing)
{
    EXPECT_FALSE(Encode("data", 0));
    EXPECT_FALSE(Encode(nullptr, 0));
    EXPECT_FALSE(Encode(nullptr, 5));
}

TEST_P(Base64, RefusesLengthsWhoseTextCannotBeReckonedIn32Bits)
{
    for (const uint32_t length :
         {0x10000000u, 0x10000001u, 0x20000000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_FALSE(Encode("never read", length)) << length;
}

TEST_P(Base64, UsesTheWholeAlphabetInOrder)
{
    Bytes data;
    for (unsigned value = 0; value < 64; value += 4) {
        const unsigned bits = value << 18 | (value + 1) << 12 | (value + 2) << 6 | (value + 3);
        data.insert(data.end(), {uint8_t(bits >> 16), uint8_t(bits >> 8), uint8_t(bits)});
    }
    const char *alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    EXPECT_EQ(Encode(data.data(), 48), alphabet);
    EXPECT_EQ(Decode(alphabet), data);
}

TEST_P(Base64, EveryLengthTo1000BothWays)
{
    Random random(4648);
    for (uint32_t length = 1; length <= 1000; ++length) {
        PageEndBytes data(length);
        random.Fill(data.data(), length);
        const Bytes bytes(data.data(), data.data() + length);
        const std::string text = reference::Base64Text(bytes);
        ASSERT_EQ(Encode(data.data(), length), text);
        PageEndBytes input(text.size() + 1);
        std::memcpy(input.data(), text.c_str(), text.size() + 1);
        ASSERT_EQ(Decode(reinterpret_cast<const char *>(input.data())), bytes);
        ASSERT_EQ(Decode(text.substr(0, text.find('='))), bytes) << "without padding";
    }
}

TEST_P(Base64, WritesOneLineHoweverLong)
{
    const Bytes data(100000, 0xFF);
    const auto text = Encode(data.data(), 100000);
    ASSERT_TRUE(text);
    EXPECT_EQ(*text, reference::Base64Text(data));
    EXPECT_EQ(text->find_first_of("\r\n"), std::string::npos);
}

TEST_P(Base64, PaddingMayBeLeftOut)
{
    EXPECT_EQ(Decode("TWE="), (Bytes{0x4D, 0x61}));
    EXPECT_EQ(Decode("TWE"), (Bytes{0x4D, 0x61}));
    EXPECT_EQ(Decode("TQ"), Bytes{0x4D});
}

TEST_P(Base64, ReadingStopsAtTheFirstPadding)
{
    EXPECT_EQ(Decode("TQ==TQ=="), Bytes{0x4D});
    EXPECT_EQ(Decode("A="), Bytes{});
    EXPECT_EQ(Decode("="), Bytes{});
    EXPECT_EQ(Decode("===="), Bytes{});
    EXPECT_EQ(Decode("=TWFu"), Bytes{});
    const std::string four = "TWFu";
    for (size_t place = 0; place < 100; ++place) {
        std::string text;
        while (text.size() < 100)
            text += four;
        text[place] = '=';
        EXPECT_EQ(Decode(text), reference::Base64Bytes(text)) << place;
        text += '-'; // looked at all the same
        EXPECT_FALSE(Decode(text));
    }
}

TEST_P(Base64, ASingleCharacterLeftGivesNothing)
{
    EXPECT_EQ(Decode("T"), Bytes{});
    EXPECT_EQ(Decode("TWFuT"), (Bytes{0x4D, 0x61, 0x6E}));
}

TEST_P(Base64, SurplusBitsAreDropped)
{
    EXPECT_EQ(Decode("TR=="), Bytes{0x4D});
    EXPECT_EQ(Decode("T/"), Bytes{0x4F});
    EXPECT_EQ(Decode("TWH"), (Bytes{0x4D, 0x61}));
}

TEST_P(Base64, RefusesAnEmptyText)
{
    EXPECT_FALSE(Decode(""));
    EXPECT_FALSE(Decode(static_cast<const char *>(nullptr)));
}

TEST_P(Base64, RefusesLineBreaksBlanksAndTheUrlAlphabet)
{
    for (const char *text :
         {"TWFu\n", "TWFu\r\nTWFu", "TW Fu", "\tTWFu", "TW-u", "TW_u", "TQ==\n", "TQ==TQ!", "caf\xc3\xa9"})
        EXPECT_FALSE(Decode(text)) << text;
}

TEST_P(Base64, EveryCharacterInEveryPlace)
{
    std::string valid;
    while (valid.size() < 75)
        valid += "Zm9vYmFyMDEyMzQ1Njc4OSsv";
    valid.resize(75);
    for (size_t place = 0; place < valid.size(); ++place)
        for (int character = 1; character < 256; ++character) {
            std::string text = valid;
            text[place] = static_cast<char>(character);
            ASSERT_EQ(Decode(text), reference::Base64Bytes(text)) << place << " " << character;
        }
}

// No character is judged by its neighbours.
TEST_P(Base64, EveryTwoCharactersNextToEachOther)
{
    std::string text;
    while (text.size() < 80)
        text += "Zm9vYmFyMDEyMzQ1Njc4OSsv";
    size_t place = 0;
    for (int first = 1; first < 256; ++first)
        for (int second = 1; second < 256; ++second) {
            place = (place + 1) % 70;
            const std::string before = text.substr(place, 2);
            text[place] = static_cast<char>(first);
            text[place + 1] = static_cast<char>(second);
            ASSERT_EQ(Decode(text), reference::Base64Bytes(text)) << first << ' ' << second << ' ' << place;
            text.replace(place, 2, before);
        }
}

// What is around the text doesn't matter, be it of the alphabet or not.
TEST_P(Base64, TextsAtEveryAddress)
{
    const std::string symbols = "Zm9vYmFyMDEyMzQ1Njc4OSsv";
    for (const char around : {'A', '!', '='})
        for (size_t start = 0; start < 64; ++start)
            for (size_t length = 1; length < 140; length += length < 36 ? 1 : 7) {
                std::string text;
                while (text.size() < length)
                    text += symbols;
                text.resize(length);
                alignas(64) char room[300];
                std::fill(std::begin(room), std::end(room), around);
                std::memcpy(room + start, text.c_str(), length + 1);
                ASSERT_EQ(Decode(room + start), reference::Base64Bytes(text)) << start << ' ' << length;
                room[start + length - 1] = '-';
                ASSERT_FALSE(Decode(room + start)) << start << ' ' << length;
            }
}

TEST_P(Base64, NothingIsReadBeforeAPage)
{
    for (size_t start = 0; start < 70; ++start) {
        GuardedPages pages(200);
        std::memcpy(pages.Begin() + start, "TWFu", 5);
        EXPECT_EQ(Decode(reinterpret_cast<const char *>(pages.Begin() + start)), (Bytes{0x4D, 0x61, 0x6E}));
    }
}

TEST_P(Base64, RandomTextsOfTheAlphabet)
{
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Random random(64);
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (uint32_t length = 1 + random.Below(200); text.size() < length;)
            text += alphabet[random.Below(64)];
        if (random.Below(4) == 0)
            text[random.Below(static_cast<uint32_t>(text.size()))] = '=';
        ASSERT_EQ(Decode(text), reference::Base64Bytes(text)) << text;
    }
}

TEST_P(Base64, AThrowingAllocatorLeavesTheOutPointers)
{
    auto *encode = Body<decltype(BASE64Encode)>("BASE64Encode", GetParam());
    auto *decode = Body<decltype(BASE64Decode)>("BASE64Decode", GetParam());
    char *text = nullptr;
    void *data = nullptr;
    uint32_t length = 4711;
    FailAllocation(1);
    EXPECT_THROW(encode("data", 4, &text), std::bad_alloc);
    FailAllocation(1);
    EXPECT_THROW(decode("TWFu", &data, &length), std::bad_alloc);
    AllowAllocations();
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(length, 4711u);
}

INSTANTIATE_TEST_SUITE_P(Bodies, Base64, testing::ValuesIn(RunnableLetters()),
                         [](const auto &letter) { return std::string(1, letter.param); });

} // namespace
} // namespace tonekit
