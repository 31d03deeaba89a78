// pictures_test.cpp: picture items, down to the bytes.
#include "tests/support/guarded_pages.h"
#include "tests/tags/tag_functions.h"

#include <climits>
#include <cstring>

namespace tonekit {
namespace {

using namespace std::string_literals;

class PicturesTest : public TagTest {
protected:
    void Add(const char *mime, uint32_t type, const std::string &data)
    {
        tags.ID3Helper_AddImage(block, mime, type, static_cast<uint32_t>(data.size()), data.data());
    }

    // The MIME type that is stored for data that comes without one.
    std::string Sniffed(const std::string &data) const
    {
        const OwnedBlock fresh = NewBlock();
        tags.ID3Helper_AddImage(fresh.get(), nullptr, 3, static_cast<uint32_t>(data.size()), data.data());
        const char *mime = nullptr;
        uint32_t size = 0;
        const uint8_t *stored = tags.ID3Helper_GetImage(fresh.get(), 3, &mime, &size);
        EXPECT_NE(stored, nullptr);
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(stored), size), data);
        return mime;
    }
};
TONEKIT_ON_EVERY_BODY(PicturesTest);

const std::string kPng = "\x89PNG\r\n\x1A\n"s;

TEST_P(PicturesTest, APictureIsStoredAsMarkerLengthTypeMimeSizeAndData)
{
    Add("a/b", 3, "\0\1\2"s);
    EXPECT_EQ(BytesOf(block), "\x01\x0C\0\0\0\x03"s + "a/b\0"s + "\3\0\0\0"s + "\0\1\2"s);
    Add(nullptr, 4, "x");
    EXPECT_EQ(BytesOf(block).substr(17), "\x01\x07\0\0\0\x04\0\1\0\0\0x"s);
}

TEST_P(PicturesTest, TheFirstBytesTellTheMimeType)
{
    EXPECT_EQ(Sniffed("BM345678"), "image/bmp");
    EXPECT_EQ(Sniffed("\xFF\xD8"
                      "345678"),
              "image/jpeg");
    EXPECT_EQ(Sniffed(kPng), "image/png");
    EXPECT_EQ(Sniffed("GIF45678"), "image/gif");
    EXPECT_EQ(Sniffed("GIf45678"), "");
    EXPECT_EQ(Sniffed("bm345678"), "");
    EXPECT_EQ(Sniffed("\xFF\xD9"
                      "345678"),
              "");
    EXPECT_EQ(Sniffed("\x89PNG\r\n\x1A\r"), "");
    EXPECT_EQ(Sniffed(std::string(8, '\0')), "");
}

TEST_P(PicturesTest, FewerThanEightBytesTellNothing)
{
    EXPECT_EQ(Sniffed(kPng.substr(0, 7)), "");
    EXPECT_EQ(Sniffed("BM34567"), "");
    EXPECT_EQ(Sniffed("\xFF\xD8"), "");
    EXPECT_EQ(Sniffed("GIF"), "");
}

TEST_P(PicturesTest, AGivenMimeTypeIsTakenAsItStands)
{
    Add("image/png", 3, "BM34567890");
    const char *mime = nullptr;
    uint32_t size = 0;
    ASSERT_NE(tags.ID3Helper_GetImage(block, 3, &mime, &size), nullptr);
    EXPECT_STREQ(mime, "image/png");
    EXPECT_EQ(size, 10u);
    Add("no check of any kind", 4, kPng);
    ASSERT_NE(tags.ID3Helper_GetImage(block, 4, &mime, &size), nullptr);
    EXPECT_STREQ(mime, "no check of any kind");
}

TEST_P(PicturesTest, AnEmptyMimeTypeCountsAsNone)
{
    Add("", 3, kPng);
    const char *mime = nullptr;
    uint32_t size = 0;
    ASSERT_NE(tags.ID3Helper_GetImage(block, 3, &mime, &size), nullptr);
    EXPECT_STREQ(mime, "image/png");
}

TEST_P(PicturesTest, NoDataAndNoBlockStoreNothing)
{
    tags.ID3Helper_AddImage(block, "image/png", 3, 10, nullptr);
    tags.ID3Helper_AddImage(block, "image/png", 3, 0, "data");
    tags.ID3Helper_AddImage(nullptr, "image/png", 3, 4, "data");
    EXPECT_EQ(block->used, 0u);
}

TEST_P(PicturesTest, PicturesOfOneTypeAreAllStored)
{
    Add(nullptr, 3, "first");
    Add(nullptr, 3, "second");
    Add(nullptr, 3, "first");
    uint32_t size = 0;
    const uint8_t *found = tags.ID3Helper_GetImage(block, 3, nullptr, &size);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(found), size), "first");
    EXPECT_EQ(found, block->buffer + 11);
    TagBlockPicture picture;
    ASSERT_TRUE(tags.ID3Helper_GetFirstImage(block, &picture));
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(picture.data), picture.size), "first");
    ASSERT_TRUE(tags.ID3Helper_GetNextImage(block, &picture));
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(picture.data), picture.size), "second");
    ASSERT_TRUE(tags.ID3Helper_GetNextImage(block, &picture));
    EXPECT_FALSE(tags.ID3Helper_GetNextImage(block, &picture));
}

TEST_P(PicturesTest, TheTypeIsOneSignedByte)
{
    Add(nullptr, 255, "high");
    Add(nullptr, 259, "low byte");
    Add(nullptr, 128, "lowest");
    Add(nullptr, 127, "largest");
    TagBlockPicture picture;
    ASSERT_TRUE(tags.ID3Helper_GetFirstImage(block, &picture));
    EXPECT_EQ(int32_t{picture.type}, -1);
    ASSERT_TRUE(tags.ID3Helper_GetNextImage(block, &picture));
    EXPECT_EQ(int32_t{picture.type}, 3);
    ASSERT_TRUE(tags.ID3Helper_GetNextImage(block, &picture));
    EXPECT_EQ(int32_t{picture.type}, -128);
    ASSERT_TRUE(tags.ID3Helper_GetNextImage(block, &picture));
    EXPECT_EQ(int32_t{picture.type}, 127);
    uint32_t size = 77;
    EXPECT_EQ(tags.ID3Helper_GetImage(block, 255, nullptr, &size), nullptr);
    EXPECT_EQ(tags.ID3Helper_GetImage(block, 128, nullptr, &size), nullptr);
    EXPECT_EQ(tags.ID3Helper_GetImage(block, 259, nullptr, &size), nullptr);
    EXPECT_EQ(size, 77u);
    EXPECT_NE(tags.ID3Helper_GetImage(block, UINT_MAX, nullptr, &size), nullptr);
    EXPECT_NE(tags.ID3Helper_GetImage(block, static_cast<uint32_t>(-128), nullptr, &size), nullptr);
    EXPECT_NE(tags.ID3Helper_GetImage(block, 3, nullptr, &size), nullptr);
    EXPECT_NE(tags.ID3Helper_GetImage(block, 127, nullptr, &size), nullptr);
}

TEST_P(PicturesTest, ALookupWithoutRoomForTheSizeGivesNull)
{
    Add(nullptr, 3, "data");
    const char *mime = "untouched";
    uint32_t size = 77;
    EXPECT_EQ(tags.ID3Helper_GetImage(block, 3, &mime, nullptr), nullptr);
    EXPECT_EQ(tags.ID3Helper_GetImage(nullptr, 3, &mime, &size), nullptr);
    EXPECT_EQ(tags.ID3Helper_GetImage(block, 4, &mime, &size), nullptr);
    EXPECT_STREQ(mime, "untouched");
    EXPECT_EQ(size, 77u);
}

TEST_P(PicturesTest, AWalkOverTextsAloneFindsNothing)
{
    tags.ID3Helper_AddStr(block, "one", "1");
    tags.ID3Helper_AddStr(block, "two", "2");
    TagBlockPicture picture;
    EXPECT_FALSE(tags.ID3Helper_GetFirstImage(block, &picture));
    EXPECT_GE(uint32_t{picture.cursor}, block->used);
    EXPECT_FALSE(tags.ID3Helper_GetNextImage(block, &picture));
}

TEST_P(PicturesTest, TextsAndPicturesDoNotDisturbEachOther)
{
    Add(nullptr, 1, std::string("\0\0\0\0\0a\0b\0\1\0", 11));
    tags.ID3Helper_AddStr(block, "one", "1");
    Add("m", 2, kPng);
    tags.ID3Helper_AddStr(block, "two", "2");
    Add(nullptr, 3, "\1\1\1\1\1\1");
    TagBlockItem item;
    ASSERT_TRUE(ID3Helper_GetFirst(block, &item));
    EXPECT_STREQ(item.key, "one");
    ASSERT_TRUE(ID3Helper_GetNext(block, &item));
    EXPECT_STREQ(item.key, "two");
    EXPECT_FALSE(ID3Helper_GetNext(block, &item));
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "two"), "2");
    EXPECT_STREQ(tags.ID3Helper_GetStr(block, "a"), "");
    TagBlockPicture picture;
    ASSERT_TRUE(tags.ID3Helper_GetFirstImage(block, &picture));
    EXPECT_EQ(int32_t{picture.type}, 1);
    EXPECT_STREQ(picture.mime, "");
    ASSERT_TRUE(tags.ID3Helper_GetNextImage(block, &picture));
    EXPECT_EQ(int32_t{picture.type}, 2);
    EXPECT_STREQ(picture.mime, "m");
    ASSERT_TRUE(tags.ID3Helper_GetNextImage(block, &picture));
    EXPECT_EQ(int32_t{picture.type}, 3);
    EXPECT_FALSE(tags.ID3Helper_GetNextImage(block, &picture));
}

TEST_P(PicturesTest, TheDataPieceGrowsTheBufferByItsSize)
{
    const std::string data(100000, 'd');
    Add(nullptr, 3, data);
    EXPECT_EQ(block->capacity, 1024u + 100000u);
    EXPECT_EQ(block->used, 100000u + 11);
}

// Nothing after the bytes in use can be read here.
TEST_P(PicturesTest, APictureCutAnywhereIsReadToTheEndOfTheBytesInUseOnly)
{
    Add("a/b", 3, "data");
    const std::string whole = BytesOf(block);
    for (size_t used = 1; used < whole.size(); ++used) {
        GuardedPages pages(used);
        memcpy(pages.End() - used, whole.data(), used);
        const TagBlock cut = {pages.End() - used, static_cast<uint32_t>(used), static_cast<uint32_t>(used)};
        uint32_t size = 77;
        EXPECT_EQ(tags.ID3Helper_GetImage(&cut, 3, nullptr, &size), nullptr) << used;
        EXPECT_EQ(tags.ID3Helper_GetImage(&cut, 4, nullptr, &size), nullptr) << used;
        EXPECT_EQ(size, 77u);
        TagBlockPicture picture;
        EXPECT_FALSE(tags.ID3Helper_GetFirstImage(&cut, &picture)) << used;
        EXPECT_EQ(uint32_t{picture.cursor}, used);
    }
}

TEST_P(PicturesTest, NullBlocksAndEmptyBlocksEndWalksAtOnce)
{
    TagBlockPicture picture;
    memset(&picture, 0x5A, sizeof picture);
    TagBlockPicture before = picture;
    EXPECT_FALSE(tags.ID3Helper_GetNextImage(nullptr, &picture));
    EXPECT_EQ(memcmp(&picture, &before, sizeof picture), 0);
    before.cursor = 0;
    EXPECT_FALSE(tags.ID3Helper_GetFirstImage(nullptr, &picture));
    EXPECT_EQ(memcmp(&picture, &before, sizeof picture), 0) << "the cursor is set before any test";
    EXPECT_FALSE(tags.ID3Helper_GetFirstImage(block, &picture));
    EXPECT_EQ(memcmp(&picture, &before, sizeof picture), 0);
}

TEST_P(PicturesTest, APictureMayComeFromTheBlockItself)
{
    const std::string data(900, 'd');
    Add("image/x", 1, data);
    TagBlockPicture picture;
    ASSERT_TRUE(tags.ID3Helper_GetFirstImage(block, &picture));
    tags.ID3Helper_AddImage(block, picture.mime, 2, picture.size, picture.data);
    const char *mime = nullptr;
    uint32_t size = 0;
    const uint8_t *stored = tags.ID3Helper_GetImage(block, 2, &mime, &size);
    ASSERT_NE(stored, nullptr);
    EXPECT_STREQ(mime, "image/x");
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(stored), size), data);
}

} // namespace
} // namespace tonekit
