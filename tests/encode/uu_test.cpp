// uu_test.cpp: the UU packing both ways against the rules and the model.
#include "tests/encode/page_end.h"
#include "tests/encode/printable_calls.h"
#include "tests/reference/printable_model.h"
#include "tests/support/bodies.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/random.h"

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

class UU : public testing::TestWithParam<char> {
protected:
    std::optional<std::string> Encode(const void *data, int32_t length) const
    {
        return EncodedBy(encode_, data, length);
    }
    std::optional<Bytes> Decode(const char *text) const { return DecodedBy(decode_, text); }
    std::optional<Bytes> Decode(const std::string &text) const { return Decode(text.c_str()); }

private:
    decltype(UUEncode) *encode_ = Body<decltype(UUEncode)>("UUEncode", GetParam());
    decltype(UUDecode) *decode_ = Body<decltype(UUDecode)>("UUDecode", GetParam());
};

TEST_P(UU, ZerosAreSpacesAndOnesUnderscores)
{
    EXPECT_EQ(Encode("\0\0\0", 3), "    ");
    EXPECT_EQ(Encode("\xff\xff\xff", 3), "____");
}

TEST_P(UU, GathersTheTopBitsOfAGroupInItsLastCharacter)
{
    EXPECT_EQ(Encode("\x41", 1), "\x21\x30");
    EXPECT_EQ(Encode("\x41\x82", 2), "\x21\x22\x38");         // 01 10 00
    EXPECT_EQ(Encode("\x41\x82\xc3", 3), "\x21\x22\x23\x3b"); // 01 10 11
    EXPECT_EQ(Encode("\x01\x02\xc3\x41", 4), "\x21\x22\x23\x23\x21\x30");
}

TEST_P(UU, NothingGivesAnEmptyText)
{
    EXPECT_EQ(Encode("data", 0), "");
    EXPECT_EQ(Encode(nullptr, 0), "");
    EXPECT_EQ(Encode(nullptr, 5), "");
}

TEST_P(UU, ANegativeLengthGivesAnEmptyText)
{
    EXPECT_EQ(Encode("data", -1), "");
    EXPECT_EQ(Encode("data", -2147483647 - 1), "");
}

TEST_P(UU, RefusesAnEmptyText)
{
    EXPECT_FALSE(Decode(""));
    EXPECT_FALSE(Decode(static_cast<const char *>(nullptr)));
}

TEST_P(UU, ASingleCharacterGivesNoBytesAndABufferAllTheSame)
{
    EXPECT_EQ(Decode("!"), Bytes{});
    EXPECT_EQ(Decode("!\"#3!"), (Bytes{0x41, 0x02, 0xC3}));
}

TEST_P(UU, EveryLengthTo1000BothWays)
{
    Random random(62);
    for (uint32_t length = 1; length <= 1000; ++length) {
        PageEndBytes data(length);
        random.Fill(data.data(), length);
        const Bytes bytes(data.data(), data.data() + length);
        const std::string text = reference::UUText(bytes);
        ASSERT_EQ(Encode(data.data(), static_cast<int32_t>(length)), text);
        PageEndBytes input(text.size() + 1);
        std::memcpy(input.data(), text.c_str(), text.size() + 1);
        ASSERT_EQ(Decode(reinterpret_cast<const char *>(input.data())), bytes);
    }
}

TEST_P(UU, EveryByteInEveryPlaceOfAGroup)
{
    for (size_t place = 0; place < 50; ++place)
        for (int byte = 0; byte < 256; ++byte) {
            Bytes data(50, 0x5A);
            data[place] = static_cast<uint8_t>(byte);
            ASSERT_EQ(Encode(data.data(), 50), reference::UUText(data));
        }
}

// What is no character of the packing is taken as it comes: subtracted from, its high bits kept.
TEST_P(UU, EveryCharacterInEveryPlace)
{
    EXPECT_EQ(Decode("\x1f   "), (Bytes{0xFF, 0x00, 0x00}));
    EXPECT_EQ(Decode("`   "), (Bytes{0x40, 0x00, 0x00}));
    EXPECT_EQ(Decode("   \xff"), (Bytes{0x40, 0xC0, 0xC0})); // 0xDF: 01 11 11 below its two high bits
    for (size_t place = 0; place < 71; ++place)
        for (int character = 1; character < 256; ++character) {
            std::string text(71, '7');
            text[place] = static_cast<char>(character);
            ASSERT_EQ(Decode(text), reference::UUBytes(text)) << place << " " << character;
        }
}

TEST_P(UU, RandomTexts)
{
    Random random(63);
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (uint32_t length = 1 + random.Below(200); text.size() < length;)
            text += static_cast<char>(1 + random.Below(255));
        ASSERT_EQ(Decode(text), reference::UUBytes(text));
    }
}

TEST_P(UU, AThrowingAllocatorLeavesTheOutPointers)
{
    char *text = nullptr;
    void *data = nullptr;
    uint32_t length = 4711;
    FailAllocation(1);
    EXPECT_THROW(Body<decltype(UUEncode)>("UUEncode", GetParam())("data", 4, &text), std::bad_alloc);
    FailAllocation(1);
    EXPECT_THROW(Body<decltype(UUDecode)>("UUDecode", GetParam())("text", &data, &length), std::bad_alloc);
    AllowAllocations();
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(length, 4711u);
}

INSTANTIATE_TEST_SUITE_P(Bodies, UU, testing::ValuesIn(RunnableLetters()),
                         [](const auto &letter) { return std::string(1, letter.param); });

} // namespace
} // namespace tonekit
