// numbers_test.cpp: numbers as text in the tag block, and what other text counts as.
#include "tests/support/random.h"
#include "tests/tags/tag_functions.h"

#include <cmath>
#include <cstring>

namespace tonekit {
namespace {

uint32_t BitsOf(float number)
{
    uint32_t bits;
    memcpy(&bits, &number, sizeof bits);
    return bits;
}

float FloatOf(uint32_t bits)
{
    float number;
    memcpy(&number, &bits, sizeof number);
    return number;
}

class NumbersTest : public testing::Test {
protected:
    const OwnedBlock owner = NewBlock();
    TagBlock *const block = owner.get();
};

TEST_F(NumbersTest, AreStoredAsDecimalText)
{
    ID3Helper_AddDword(block, "zero", 0);
    ID3Helper_AddDword(block, "largest", 4294967295u);
    ID3Helper_AddULongLong(block, "long zero", 0);
    ID3Helper_AddULongLong(block, "long largest", UINT64_MAX);
    ID3Helper_AddFloat(block, "one", 1.0f);
    ID3Helper_AddFloat(block, "minus one", -1.0f);
    EXPECT_STREQ(ID3Helper_GetStr(block, "zero"), "0");
    EXPECT_STREQ(ID3Helper_GetStr(block, "largest"), "4294967295");
    EXPECT_STREQ(ID3Helper_GetStr(block, "long zero"), "0");
    EXPECT_STREQ(ID3Helper_GetStr(block, "long largest"), "18446744073709551615");
    EXPECT_STREQ(ID3Helper_GetStr(block, "one"), "1065353216");
    EXPECT_STREQ(ID3Helper_GetStr(block, "minus one"), "3212836864");
    EXPECT_EQ(ID3Helper_GetDword(block, "largest"), 4294967295u);
    EXPECT_EQ(ID3Helper_GetULongLong(block, "long largest"), UINT64_MAX);
}

TEST_F(NumbersTest, AbsentKeysGiveZeroAndTheMissingFloat)
{
    for (const TagBlock *none :
         {static_cast<const TagBlock *>(nullptr), static_cast<const TagBlock *>(block)}) {
        EXPECT_EQ(ID3Helper_GetDword(none, "key"), 0u);
        EXPECT_EQ(ID3Helper_GetULongLong(none, "key"), 0u);
        EXPECT_EQ(BitsOf(ID3Helper_GetFloat(none, "key")), 0x7FFFFFFFu);
    }
    ID3Helper_AddDword(nullptr, "key", 1);
    ID3Helper_AddULongLong(nullptr, "key", 1);
    ID3Helper_AddFloat(nullptr, "key", 1);
    ID3Helper_AddDword(block, nullptr, 1);
    EXPECT_EQ(block->used, 0u);
}

TEST_F(NumbersTest, TakenKeysStay)
{
    ID3Helper_AddDword(block, "key", 1);
    ID3Helper_AddDword(block, "KEY", 2);
    ID3Helper_AddULongLong(block, "key", 3);
    ID3Helper_AddFloat(block, "key", 4);
    EXPECT_STREQ(ID3Helper_GetStr(block, "key"), "1");
}

TEST_F(NumbersTest, EveryFloatKeepsItsBits)
{
    Random random(51);
    std::vector<uint32_t> patterns = {0,          0x80000000, 1,          0x7F800000, 0xFF800000, 0x7F800001,
                                      0x7FC00000, 0xFFC00001, 0x7FFFFFFF, 0xFFFFFFFF, 0x3F800000, 0x007FFFFF};
    for (int i = 0; i < 200; ++i)
        patterns.push_back(static_cast<uint32_t>(random.Next()));
    for (const uint32_t bits : patterns) {
        const OwnedBlock fresh = NewBlock();
        ID3Helper_AddFloat(fresh.get(), "gain", FloatOf(bits));
        EXPECT_EQ(BitsOf(ID3Helper_GetFloat(fresh.get(), "gain")), bits);
        TagBlockItem item;
        ASSERT_TRUE(ID3Helper_GetFirst(fresh.get(), &item));
        uint32_t walked;
        memcpy(&walked, &item.floatValue, sizeof walked);
        EXPECT_EQ(walked, bits);
        EXPECT_EQ(uint32_t{item.dword}, bits);
    }
}

TEST_F(NumbersTest, TheMissingFloatIsNotANumber)
{
    EXPECT_EQ(BitsOf(ID3Helper_GetNaN()), 0x7FFFFFFFu);
    EXPECT_TRUE(ID3Helper_IsNaN(ID3Helper_GetNaN()));
    EXPECT_TRUE(ID3Helper_IsNaN(FloatOf(0x7F800001)));
    EXPECT_TRUE(ID3Helper_IsNaN(FloatOf(0xFFC00000)));
    EXPECT_FALSE(ID3Helper_IsNaN(FloatOf(0x7F800000)));
    EXPECT_FALSE(ID3Helper_IsNaN(0));
    EXPECT_FALSE(ID3Helper_IsNaN(-1));
}

TEST_F(NumbersTest, AnyTextCanBeReadAsANumber)
{
    const struct {
        const char *text;
        uint32_t dword;
        uint64_t ulonglong;
    } cases[] = {
        {"17", 17, 17},
        {" \t\n\v\f\r17", 17, 17},
        {"+17", 17, 17},
        {"-1", 4294967295u, UINT64_MAX},
        {"-4294967295", 1, 18446744069414584321u},
        {"-4294967296", 4294967295u, 18446744069414584320u},
        {"17 apples", 17, 17},
        {"17,5", 17, 17},
        {"1.000", 1, 1},
        {"007", 7, 7},
        {"0x10", 0, 0},
        {"abc", 0, 0},
        {"+", 0, 0},
        {"- 1", 0, 0},
        {"+-1", 0, 0},
        {"\xA0"
         "5",
         0, 0},
        {"4294967294", 4294967294u, 4294967294u},
        {"4294967295", 4294967295u, 4294967295u},
        {"4294967296", 4294967295u, 4294967296u},
        {"4294967297", 4294967295u, 4294967297u},
        {"42949672950", 4294967295u, 42949672950u},
        {"18446744073709551614", 4294967295u, 18446744073709551614u},
        {"18446744073709551615", 4294967295u, 18446744073709551615u},
        {"18446744073709551616", 4294967295u, UINT64_MAX},
        {"18446744073709551620", 4294967295u, UINT64_MAX},
        {"-18446744073709551616", 4294967295u, UINT64_MAX},
        {"-18446744073709551615", 4294967295u, 1},
        {"99999999999999999999999999999999", 4294967295u, UINT64_MAX},
    };
    for (const auto &one : cases) {
        const OwnedBlock fresh = NewBlock();
        ID3Helper_AddStr(fresh.get(), "key", one.text);
        EXPECT_EQ(ID3Helper_GetDword(fresh.get(), "key"), one.dword) << one.text;
        EXPECT_EQ(ID3Helper_GetULongLong(fresh.get(), "key"), one.ulonglong) << one.text;
        EXPECT_EQ(BitsOf(ID3Helper_GetFloat(fresh.get(), "key")), one.dword) << one.text;
        TagBlockItem item;
        ASSERT_TRUE(ID3Helper_GetFirst(fresh.get(), &item));
        EXPECT_EQ(uint32_t{item.dword}, one.dword) << one.text;
        EXPECT_EQ(uint64_t{item.ulonglong}, one.ulonglong) << one.text;
    }
}

TEST_F(NumbersTest, AFloatUnderTextWithoutDigitsIsZero)
{
    ID3Helper_AddStr(block, "key", "loud");
    EXPECT_EQ(BitsOf(ID3Helper_GetFloat(block, "key")), 0u);
}

TEST_F(NumbersTest, LongNumbersReadAsTheLargestDword)
{
    ID3Helper_AddULongLong(block, "key", 4294967296u);
    EXPECT_EQ(ID3Helper_GetDword(block, "key"), 4294967295u);
}

TEST_F(NumbersTest, RandomNumbersComeBack)
{
    Random random(52);
    for (int i = 0; i < 2000; ++i) {
        const uint64_t number = random.Next() >> random.Below(64);
        const OwnedBlock fresh = NewBlock();
        ID3Helper_AddULongLong(fresh.get(), "long", number);
        ID3Helper_AddDword(fresh.get(), "short", static_cast<uint32_t>(number));
        EXPECT_EQ(ID3Helper_GetStr(fresh.get(), "long"), std::to_string(number));
        EXPECT_EQ(ID3Helper_GetULongLong(fresh.get(), "long"), number);
        EXPECT_EQ(ID3Helper_GetDword(fresh.get(), "short"), static_cast<uint32_t>(number));
    }
}

} // namespace
} // namespace tonekit
