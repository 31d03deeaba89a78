// tag_block_test.cpp: texts and walks of the tag block, down to the bytes.
#include "tests/support/failing_malloc.h"
#include "tests/tags/tag_functions.h"

#include <cstring>
#include <vector>

namespace tonekit {
namespace {

using namespace std::string_literals;

class TagBlockTest : public TagTest {
protected:
    std::vector<std::string> WalkedKeys() const
    {
        std::vector<std::string> keys;
        TagBlockItem item;
        for (bool more = ID3Helper_GetFirst(block, &item); more; more = ID3Helper_GetNext(block, &item))
            keys.emplace_back(item.key);
        return keys;
    }

    // Adds one text so that `used` becomes the given number of bytes.
    void FillTo(uint32_t used)
    {
        const size_t valueBytes = used - block->used - 5 - sizeof "fill" - 1;
        tags.ID3Helper_AddStr(block, "fill", std::string(valueBytes, 'f').c_str());
        ASSERT_EQ(block->used, used);
    }
};
TONEKIT_ON_EVERY_BODY(TagBlockTest);

TEST_P(TagBlockTest, ANewBlockHoldsNothing)
{
    EXPECT_EQ(block->capacity, 1024u);
    EXPECT_EQ(block->used, 0u);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(block->buffer), 1024), std::string(1024, '\0'));
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "key"), "");
    TagBlockItem item;
    EXPECT_FALSE(ID3Helper_GetFirst(block, &item));
    EXPECT_EQ(uint32_t{item.cursor}, 0u);
    TagBlockPicture picture;
    EXPECT_FALSE(tags.ID3Helper_GetFirstImage(block, &picture));
}

TEST_P(TagBlockTest, ATextIsStoredAsMarkerLengthKeyAndValue)
{
    tags.ID3Helper_AddStr(block, "Ab", "c");
    EXPECT_EQ(BytesOf(block), "\0\x05\0\0\0Ab\0c\0"s);
    tags.ID3Helper_AddStr(block, "k", std::string(300, 'v').c_str());
    EXPECT_EQ(BytesOf(block), "\0\x05\0\0\0Ab\0c\0\0\x2F\x01\0\0k\0"s + std::string(300, 'v') + '\0');
}

TEST_P(TagBlockTest, TheFirstValueOfAKeyStaysWhateverTheCase)
{
    tags.ID3Helper_AddStr(block, "Title", "first");
    const std::string before = BytesOf(block);
    tags.ID3Helper_AddStr(block, "TITLE", "second");
    EXPECT_EQ(BytesOf(block), before);
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "title"), "first");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "tiTLE"), "first");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "Titl"), "");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "Title "), "");
}

TEST_P(TagBlockTest, OnlyAsciiLettersHaveCase)
{
    // The neighbours of the letters differ from each other in the bit that makes the case.
    for (const char *key : {"@", "[", "\xC3\xA4", "_", "\x7F"})
        tags.ID3Helper_AddStr(block, key, key);
    for (const char *other : {"`", "{", "\xC3\x84", "\x7F\x7F", "?"})
        EXPECT_STREQ(tags.ID3Helper_GetStr(block, other), "") << other;
    for (const char *key : {"@", "[", "\xC3\xA4", "_", "\x7F"})
        EXPECT_STREQ(tags.ID3Helper_GetStr(block, key), key);
    tags.ID3Helper_AddStr(block, "AZaz", "ends of the alphabet");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "azAZ"), "ends of the alphabet");
}

TEST_P(TagBlockTest, AnEmptyValueStoresNothingAndLeavesTheKeyFree)
{
    tags.ID3Helper_AddStr(block, "key", "");
    EXPECT_EQ(block->used, 0u);
    tags.ID3Helper_AddStr(block, "key", "value");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "key"), "value");
}

TEST_P(TagBlockTest, NullAndEmptyArgumentsAreRefused)
{
    tags.ID3Helper_AddStr(nullptr, "key", "value");
    tags.ID3Helper_AddStr(block, nullptr, "value");
    tags.ID3Helper_AddStr(block, "key", nullptr);
    tags.ID3Helper_AddStr(block, "", "value");
    EXPECT_EQ(block->used, 0u);
    tags.ID3Helper_AddStr(block, "key", "value");
    const char *const empty = tags.ID3Helper_GetStr(nullptr, "key");
    EXPECT_STREQ(empty, "");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, nullptr), "");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, ""), "");
    EXPECT_EQ(tags.ID3Helper_GetStr(block, "absent"), empty) << "one static empty string";
    EXPECT_EQ(tags.ID3Helper_Copy(nullptr), nullptr);
    ID3Helper_Free(nullptr);
}

TEST_P(TagBlockTest, ABlockWithoutABufferCanBeFreed)
{
    auto *const bare = static_cast<TagBlock *>(calloc(1, sizeof(TagBlock)));
    EXPECT_STREQ(tags.ID3Helper_GetStr(bare, "key"), "");
    ID3Helper_Free(bare);
}

TEST_P(TagBlockTest, AValueThatFillsTheBufferExactlyGrowsNothing)
{
    const uint8_t *const buffer = block->buffer;
    FillTo(1024);
    EXPECT_EQ(block->capacity, 1024u);
    EXPECT_EQ(block->buffer, buffer);
}

TEST_P(TagBlockTest, OneByteMoreGrows)
{
    FillTo(1025);
    // The value's piece of 1014 bytes is less than the least growth.
    EXPECT_EQ(block->capacity, 2048u);
}

TEST_P(TagBlockTest, GrowthIsByThePieceIfThatIsMoreThan1024)
{
    FillTo(1000);
    tags.ID3Helper_AddStr(block, "k", std::string(5000, 'v').c_str());
    EXPECT_EQ(block->capacity, 1024u + 5001u);
    EXPECT_EQ(block->used, 1000u + 5 + 2 + 5001);
}

TEST_P(TagBlockTest, AShortPieceGrowsBy1024)
{
    FillTo(1010);
    tags.ID3Helper_AddStr(block, "k", "ten bytes.");
    EXPECT_EQ(block->capacity, 2048u);
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "k"), "ten bytes.");
}

TEST_P(TagBlockTest, EveryPieceGrowsByItself)
{
    FillTo(1024);
    // The marker's growth by 1024 leaves too little room for the key, whose growth doesn't count the value.
    tags.ID3Helper_AddStr(block, std::string(3000, 'k').c_str(), std::string(4000, 'v').c_str());
    EXPECT_EQ(block->capacity, 1024u + 1024u + 3001u + 4001u);
}

// The capacities are made up: only whether memory is asked for matters, and none is granted.
TEST(TagBlockGrowth, EndsAt4GiBWithoutAskingForMemory)
{
    uint8_t buffer[1] = {};
    const struct {
        uint32_t capacity, piece;
        bool asks;
    } rows[] = {
        {UINT32_MAX - 1024, 1, true},    {UINT32_MAX - 1023, 1, false},    {UINT32_MAX, 1, false},
        {UINT32_MAX - 5000, 5000, true}, {UINT32_MAX - 4999, 5000, false}, {2147483648u, UINT32_MAX, false},
        {1000, UINT32_MAX, false},
    };
    for (const auto &row : rows) {
        TagBlock block = {buffer, row.capacity, row.capacity};
        FailAllocation(1);
        AppendPiece(&block, "unread", row.piece);
        EXPECT_EQ(AllocationHasFailed(), row.asks) << row.capacity << " and " << row.piece;
        AllowAllocations();
        EXPECT_EQ(block.buffer, buffer);
        EXPECT_EQ(block.capacity, row.capacity);
        EXPECT_EQ(block.used, row.capacity);
    }
}

TEST_P(TagBlockTest, TheBytesBehindTheItemsStayZero)
{
    FillTo(1020);
    tags.ID3Helper_AddStr(block, "key", "value");
    const std::string all(reinterpret_cast<char *>(block->buffer), block->capacity);
    EXPECT_EQ(all.substr(block->used), std::string(block->capacity - block->used, '\0'));
}

TEST_P(TagBlockTest, HiddenKeysAreFoundAndTakenButNotWalked)
{
    tags.ID3Helper_AddStr(block, "!*?ID3X", "hidden");
    tags.ID3Helper_AddStr(block, "!*?id3x2", "the prefix has case");
    tags.ID3Helper_AddStr(block, "!*?ID", "shorter than the prefix");
    tags.ID3Helper_AddStr(block, "!*?ID3", "nothing but the prefix");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "!*?id3X"), "hidden");
    tags.ID3Helper_AddStr(block, "!*?ID3x", "taken");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "!*?ID3X"), "hidden");
    EXPECT_EQ(WalkedKeys(), (std::vector<std::string>{"!*?id3x2", "!*?ID"}));
}

// The prefix alone hides an item, even where the bytes in use end with it.
TEST_P(TagBlockTest, ATornItemIsHiddenByItsPrefixAlone)
{
    tags.ID3Helper_AddStr(block, "!*?ID3", std::string(100, 'v').c_str());
    for (const uint32_t prefixBytes : {5u, 6u, 7u}) {
        block->used = 5 + prefixBytes;
        TagBlockItem item;
        memset(&item, 0, sizeof item);
        EXPECT_FALSE(ID3Helper_GetFirst(block, &item));
        const bool hidden = prefixBytes >= 6;
        EXPECT_EQ(item.key != nullptr, hidden) << prefixBytes;
        EXPECT_EQ(uint32_t{item.cursor}, hidden ? 5u + 7 + 101 : 5 + prefixBytes) << prefixBytes;
    }
}

TEST_P(TagBlockTest, ABlockOfHiddenKeysEndsTheWalkAtItsEnd)
{
    tags.ID3Helper_AddStr(block, "!*?ID3X", "hidden");
    TagBlockItem item;
    EXPECT_FALSE(ID3Helper_GetFirst(block, &item));
    EXPECT_GE(uint32_t{item.cursor}, block->used);
}

TEST_P(TagBlockTest, AWalkDeliversAllFieldsInTheOrderOfAdding)
{
    tags.ID3Helper_AddStr(block, "one", "17 apples");
    tags.ID3Helper_AddImage(block, nullptr, 3, 4, "\1\2\3\4");
    tags.ID3Helper_AddStr(block, "two", "99999999999");
    tags.ID3Helper_AddImage(block, nullptr, 4, 4, "\0\0\0\0");
    TagBlockItem item;
    ASSERT_TRUE(ID3Helper_GetFirst(block, &item));
    EXPECT_EQ(static_cast<const void *>(item.key), block->buffer + 5);
    EXPECT_STREQ(item.key, "one");
    EXPECT_STREQ(item.value, "17 apples");
    EXPECT_EQ(uint32_t{item.dword}, 17u);
    EXPECT_EQ(uint64_t{item.ulonglong}, 17u);
    uint32_t bits;
    memcpy(&bits, &item.floatValue, 4);
    EXPECT_EQ(bits, 17u);
    EXPECT_EQ(uint32_t{item.cursor}, 5u + 4 + 10);
    ASSERT_TRUE(ID3Helper_GetNext(block, &item));
    EXPECT_STREQ(item.key, "two");
    EXPECT_EQ(uint32_t{item.dword}, 4294967295u);
    EXPECT_EQ(uint64_t{item.ulonglong}, 99999999999u);
    EXPECT_TRUE(ID3Helper_IsNaN(item.floatValue));
    EXPECT_FALSE(ID3Helper_GetNext(block, &item));
    EXPECT_GE(uint32_t{item.cursor}, block->used);
}

TEST_P(TagBlockTest, AWalkAtItsEndLeavesTheRecordAlone)
{
    tags.ID3Helper_AddStr(block, "key", "value");
    TagBlockItem item;
    memset(&item, 0x5A, sizeof item);
    item.cursor = block->used;
    TagBlockItem before = item;
    EXPECT_FALSE(ID3Helper_GetNext(block, &item));
    EXPECT_EQ(memcmp(&item, &before, sizeof item), 0);
    EXPECT_FALSE(ID3Helper_GetNext(nullptr, &item));
    EXPECT_EQ(memcmp(&item, &before, sizeof item), 0);
    before.cursor = 0;
    EXPECT_FALSE(ID3Helper_GetFirst(nullptr, &item));
    EXPECT_EQ(memcmp(&item, &before, sizeof item), 0) << "the cursor is set before any test";
}

TEST_P(TagBlockTest, AddsDuringAWalkAreSeenByIt)
{
    tags.ID3Helper_AddStr(block, "one", "1");
    TagBlockItem item;
    ASSERT_TRUE(ID3Helper_GetFirst(block, &item));
    tags.ID3Helper_AddStr(block, "two", std::string(2000, '2').c_str());
    ASSERT_TRUE(ID3Helper_GetNext(block, &item));
    EXPECT_STREQ(item.key, "two");
    EXPECT_FALSE(ID3Helper_GetNext(block, &item));
    tags.ID3Helper_AddStr(block, "three", "3");
    ASSERT_TRUE(ID3Helper_GetNext(block, &item));
    EXPECT_STREQ(item.key, "three");
}

TEST_P(TagBlockTest, KeysAndValuesMayComeFromTheBlockItself)
{
    // At the buffer's start, where the allocator writes first once the buffer has been released.
    tags.ID3Helper_AddStr(block, "k", "source");
    FillTo(1023);
    const char *const source = tags.ID3Helper_GetStr(block, "k");
    ASSERT_LT(source + strlen(source), reinterpret_cast<const char *>(block->buffer) + 16);
    // The marker fits and the length makes the buffer move, before key and value are taken.
    tags.ID3Helper_AddStr(block, source, source + 1);
    EXPECT_EQ(block->capacity, 2048u);
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "source"), "ource");
}

TEST_P(TagBlockTest, ACopyIsIndependentAndHasTheSpareRoomToo)
{
    FillTo(1500);
    const OwnedBlock copy(tags.ID3Helper_Copy(block));
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy->buffer, block->buffer);
    EXPECT_EQ(copy->capacity, block->capacity);
    EXPECT_EQ(BytesOf(copy.get()), BytesOf(block));
    EXPECT_EQ(memcmp(copy->buffer, block->buffer, block->capacity), 0);
    const std::string before = BytesOf(block);
    tags.ID3Helper_AddStr(copy.get(), "in", "the copy");
    EXPECT_EQ(BytesOf(block), before);
    const std::string copied = BytesOf(copy.get());
    tags.ID3Helper_AddStr(block, "in", "the source");
    EXPECT_EQ(BytesOf(copy.get()), copied);
    EXPECT_STREQ(tags.ID3Helper_GetStr(copy.get(), "in"), "the copy");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "in"), "the source");
}

TEST(TagBlockRecords, AreBytePacked)
{
    EXPECT_EQ(sizeof(TagBlockItem), 36u);
    EXPECT_EQ(offsetof(TagBlockItem, dword), 16u);
    EXPECT_EQ(offsetof(TagBlockItem, ulonglong), 20u);
    EXPECT_EQ(offsetof(TagBlockItem, floatValue), 28u);
    EXPECT_EQ(offsetof(TagBlockItem, cursor), 32u);
    EXPECT_EQ(sizeof(TagBlockPicture), 28u);
    EXPECT_EQ(offsetof(TagBlockPicture, mime), 4u);
    EXPECT_EQ(offsetof(TagBlockPicture, size), 12u);
    EXPECT_EQ(offsetof(TagBlockPicture, data), 16u);
    EXPECT_EQ(offsetof(TagBlockPicture, cursor), 24u);
}

} // namespace
} // namespace tonekit
