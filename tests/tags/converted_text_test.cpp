// converted_text_test.cpp: texts and chapter names given as UTF-16 or in the ANSI code page.
#include "tests/support/failing_malloc.h"
#include "tests/tags/tag_functions.h"

namespace tonekit {
namespace {

class ConvertedTextTest : public testing::Test {
protected:
    void TearDown() override { AllowAllocations(); }

    const OwnedBlock owner = NewBlock();
    TagBlock *const block = owner.get();
};

TEST_F(ConvertedTextTest, Utf16IsStoredAsUtf8)
{
    ID3Helper_AddStrUnicode(block, UTF16("K\u00F6nig"), UTF16("\u0416\u4E2D\U0001F3B5"));
    EXPECT_STREQ(ID3Helper_GetStr(block, "K\xC3\xB6nig"), "\xD0\x96\xE4\xB8\xAD\xF0\x9F\x8E\xB5");
    ID3Helper_AddStrUnicode(block, UTF16("k\u00F6NIG"), UTF16("taken"));
    EXPECT_STREQ(ID3Helper_GetStr(block, "K\xC3\xB6nig"), "\xD0\x96\xE4\xB8\xAD\xF0\x9F\x8E\xB5");
}

TEST_F(ConvertedTextTest, AnsiIsStoredAsUtf8)
{
    ID3Helper_AddStrAnsi(block, "plain", "text");
    // A process that has set no locale has windows-1252.
    ID3Helper_AddStrAnsi(block, "sharp s", "\xDF");
    EXPECT_STREQ(ID3Helper_GetStr(block, "plain"), "text");
    EXPECT_STREQ(ID3Helper_GetStr(block, "sharp s"), "\xC3\x9F");
    ID3Helper_AddStrAnsi(block, "K\xF6nig \x80", "the key is converted too");
    EXPECT_STREQ(ID3Helper_GetStr(block, "K\xC3\xB6nig \xE2\x82\xAC"), "the key is converted too");
    EXPECT_STREQ(ID3Helper_GetStr(block, "K\xF6nig \x80"), "") << "and isn't stored as it came";
}

TEST_F(ConvertedTextTest, NullAndEmptyTextsAreRefused)
{
    const int64_t before = LiveAllocations();
    ID3Helper_AddStrUnicode(block, nullptr, UTF16("value"));
    ID3Helper_AddStrUnicode(block, UTF16("key"), nullptr);
    ID3Helper_AddStrUnicode(block, UTF16(""), UTF16("value"));
    ID3Helper_AddStrUnicode(block, UTF16("key"), UTF16(""));
    ID3Helper_AddStrUnicode(nullptr, UTF16("key"), UTF16("value"));
    ID3Helper_AddStrAnsi(block, nullptr, "value");
    ID3Helper_AddStrAnsi(block, "key", nullptr);
    ID3Helper_AddStrAnsi(block, "", "value");
    ID3Helper_AddStrAnsi(block, "key", "");
    ID3Helper_AddStrAnsi(nullptr, "key", "value");
    ID3Helper_AddChapter(nullptr, 5, 0, UTF16("name"));
    EXPECT_EQ(block->used, 0u);
    EXPECT_EQ(LiveAllocations(), before) << "every converted text is released";
}

TEST_F(ConvertedTextTest, ChapterNamesAreStoredAsUtf8)
{
    ID3Helper_AddChapter(block, 7, 12345678901, UTF16("Verse \u00E4"));
    ID3Helper_AddChapter(block, 8, 36000000000, UTF16(""));
    ID3Helper_AddChapter(block, 9, 0, nullptr);
    ID3Helper_AddChapter(block, 7, 5, UTF16("taken"));
    EXPECT_STREQ(ID3Helper_GetStr(block, "CHAPTER007"), "00:20:34.5678901");
    EXPECT_STREQ(ID3Helper_GetStr(block, "CHAPTER007NAME"), "Verse \xC3\xA4");
    EXPECT_EQ(ID3Helper_GetChapterCount_Position(block), 3u);
    EXPECT_EQ(ID3Helper_GetChapterCount_Name(block), 1u);
}

TEST_F(ConvertedTextTest, WithoutMemoryIsRefusedInSilence)
{
    const int64_t before = LiveAllocations();
    for (uint64_t failing = 1; failing <= 2; ++failing) {
        FailAllocation(failing);
        EXPECT_NO_THROW(ID3Helper_AddStrUnicode(block, UTF16("key"), UTF16("value")));
        FailAllocation(failing);
        EXPECT_NO_THROW(ID3Helper_AddStrAnsi(block, "key", "value"));
        AllowAllocations();
        EXPECT_EQ(block->used, 0u);
    }
    FailAllocation(1);
    EXPECT_NO_THROW(ID3Helper_AddChapter(block, 1, 0, UTF16("name")));
    AllowAllocations();
    EXPECT_EQ(ID3Helper_GetChapterCount_Position(block), 1u);
    EXPECT_EQ(ID3Helper_GetChapterCount_Name(block), 0u);
    EXPECT_EQ(LiveAllocations(), before);
}

} // namespace
} // namespace tonekit
