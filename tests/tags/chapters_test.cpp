// chapters_test.cpp: chapters in a tag block, and the numbers in their keys.
#include "tests/tags/tag_functions.h"

namespace tonekit {
namespace {

constexpr uint64_t kNone = UINT64_MAX;

class ChaptersTest : public TagTest {
protected:
    const char *Text(const char *key) const { return tags.ID3Helper_GetStr(block, key); }
};
TONEKIT_ON_EVERY_BODY(ChaptersTest);

TEST_P(ChaptersTest, AChapterIsTwoTexts)
{
    ID3Helper_AddChapter_UTF8(block, 7, 12345678901, "Verse \xC3\xA4");
    EXPECT_STREQ(Text("CHAPTER007"), "00:20:34.5678901");
    EXPECT_STREQ(Text("CHAPTER007NAME"), "Verse \xC3\xA4");
    ID3Helper_AddChapter_UTF8(block, 1000, 0, "Chorus");
    EXPECT_STREQ(Text("CHAPTER1000"), "00:00:00.0000000");
    EXPECT_STREQ(Text("CHAPTER1000NAME"), "Chorus");
    ID3Helper_AddChapter_UTF8(block, 4294967295u, UINT64_MAX, "last");
    EXPECT_STREQ(Text("CHAPTER4294967295"), "512409557:36:10.9551615");
    EXPECT_STREQ(Text("CHAPTER4294967295NAME"), "last");
    TagBlockItem item;
    ASSERT_TRUE(ID3Helper_GetFirst(block, &item));
    EXPECT_STREQ(item.key, "CHAPTER007");
    ASSERT_TRUE(ID3Helper_GetNext(block, &item));
    EXPECT_STREQ(item.key, "CHAPTER007NAME");
}

TEST_P(ChaptersTest, EveryPartOfAChapterKeepsItsFirstValue)
{
    ID3Helper_AddChapter_UTF8(block, 1, 10000000, "");
    ID3Helper_AddChapter_UTF8(block, 1, 20000000, "first name");
    ID3Helper_AddChapter_UTF8(block, 1, 30000000, "second name");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, 1), 10000000u);
    EXPECT_STREQ(tags.ID3Helper_GetChapter_Name(block, 1), "first name");
}

TEST_P(ChaptersTest, NullAndEmptyNamesStoreThePositionOnly)
{
    ID3Helper_AddChapter_UTF8(block, 3, 0, "");
    ID3Helper_AddChapter_UTF8(block, 4, 0, nullptr);
    ID3Helper_AddChapter_UTF8(nullptr, 5, 0, "name");
    EXPECT_EQ(tags.ID3Helper_GetChapterCount_Position(block), 2u);
    EXPECT_EQ(tags.ID3Helper_GetChapterCount_Name(block), 0u);
    EXPECT_STREQ(tags.ID3Helper_GetChapter_Name(block, 3), "");
}

TEST_P(ChaptersTest, CountsTakeEveryKeyWithANumber)
{
    EXPECT_EQ(tags.ID3Helper_GetChapterCount_Position(nullptr), 0u);
    EXPECT_EQ(tags.ID3Helper_GetChapterCount_Name(nullptr), 0u);
    EXPECT_EQ(tags.ID3Helper_GetChapterCount_Position(block), 0u);
    EXPECT_EQ(tags.ID3Helper_GetChapterCount_Name(block), 0u);
    ID3Helper_AddChapter_UTF8(block, 0, 0, "zero");
    tags.ID3Helper_AddImage(block, nullptr, 3, 12, "CHAPTER001\0x");
    ID3Helper_AddChapter_UTF8(block, 1, 0, "one");
    tags.ID3Helper_AddStr(block, "CHAPTER1", "the same number in another form");
    tags.ID3Helper_AddStr(block, "chapter2", "the prefix has case");
    tags.ID3Helper_AddStr(block, "TITLE", "CHAPTER003");
    tags.ID3Helper_AddStr(block, "CHAPTER5NAMEX", "text behind NAME");
    ID3Helper_SetChapterTotal(block, 9);
    EXPECT_EQ(tags.ID3Helper_GetChapterCount_Position(block), 2u);
    EXPECT_EQ(tags.ID3Helper_GetChapterCount_Name(block), 2u);
}

TEST_P(ChaptersTest, TheFirstTotalStaysAndIsHidden)
{
    EXPECT_EQ(ID3Helper_GetChapterTotal(block), 0u);
    ID3Helper_SetChapterTotal(block, UINT64_MAX);
    ID3Helper_SetChapterTotal(block, 3);
    EXPECT_EQ(ID3Helper_GetChapterTotal(block), UINT64_MAX);
    EXPECT_STREQ(Text("!*?ID3CHAPTER_TOTAL"), "18446744073709551615");
    TagBlockItem item;
    EXPECT_FALSE(ID3Helper_GetFirst(block, &item));
    ID3Helper_SetChapterTotal(nullptr, 3);
    EXPECT_EQ(ID3Helper_GetChapterTotal(nullptr), 0u);
}

TEST_P(ChaptersTest, AbsentChaptersGiveNoPositionAndAnEmptyName)
{
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(nullptr, 1), kNone);
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, 1), kNone);
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, 0), kNone);
    EXPECT_STREQ(tags.ID3Helper_GetChapter_Name(nullptr, 1), "");
    EXPECT_STREQ(tags.ID3Helper_GetChapter_Name(block, 1), "");
    ID3Helper_AddChapter_UTF8(block, 1, 5, "one");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, 2), kNone);
    EXPECT_STREQ(tags.ID3Helper_GetChapter_Name(block, 2), "");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Name(block, 2), tags.ID3Helper_GetStr(block, "absent"));
    tags.ID3Helper_AddStr(block, "CHAPTER003", "three minutes");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, 3), kNone);
}

TEST_P(ChaptersTest, TheLastPositionOfANumberWinsButOneBadTextRefusesAll)
{
    tags.ID3Helper_AddStr(block, "CHAPTER007", "0:0:7");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, 7), 70000000u);
    tags.ID3Helper_AddStr(block, "CHAPTER7", "0:0:8");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, 7), 80000000u);
    tags.ID3Helper_AddStr(block, "CHAPTER00007", "soon");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, 7), kNone);
    tags.ID3Helper_AddStr(block, "CHAPTER000007", "0:0:9");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, 7), kNone);
}

TEST_P(ChaptersTest, TheFirstNameOfANumberWins)
{
    tags.ID3Helper_AddStr(block, "CHAPTER7NAMEX", "first");
    tags.ID3Helper_AddStr(block, "CHAPTER007NAME", "second");
    EXPECT_STREQ(tags.ID3Helper_GetChapter_Name(block, 7), "first");
}

TEST_P(ChaptersTest, NumberZeroIsEveryOtherKey)
{
    ID3Helper_SetChapterTotal(block, 1);
    ID3Helper_AddChapter_UTF8(block, 1, 5, "one");
    // The name key is no position key, and its text is no time.
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, 0), kNone);
    // The position key is no name key.
    EXPECT_STREQ(tags.ID3Helper_GetChapter_Name(block, 0), "00:00:00.0000005");
    const OwnedBlock times = NewBlock();
    ID3Helper_SetChapterTotal(times.get(), 1);
    ID3Helper_AddChapter_UTF8(times.get(), 1, 5, "");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(times.get(), 0), kNone);
    tags.ID3Helper_AddStr(times.get(), "LENGTH", "1:2:3");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(times.get(), 0), 37230000000u);
    ID3Helper_AddChapter_UTF8(times.get(), 0, 9, "");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(times.get(), 0), 9u);
}

TEST_P(ChaptersTest, NumbersAreUnsignedUnderneath)
{
    ID3Helper_AddChapter_UTF8(block, 4294967295u, 5, "last");
    EXPECT_EQ(tags.ID3Helper_GetChapter_Position(block, -1), 5u);
    EXPECT_STREQ(tags.ID3Helper_GetChapter_Name(block, -1), "last");
}

TEST_P(ChaptersTest, KeysTellTheirNumber)
{
    const struct {
        Utf16String key;
        uint32_t position;
        uint32_t name;
    } cases[] = {
        {UTF16("CHAPTER007"), 7, 0},
        {UTF16("CHAPTER0007"), 7, 0},
        {UTF16("CHAPTER7"), 7, 0},
        {UTF16("CHAPTER000"), 0, 0},
        {UTF16("CHAPTER007NAME"), 0, 7},
        {UTF16("CHAPTER007NAMEX"), 0, 7},
        {UTF16("CHAPTER007NAME8"), 0, 7},
        {UTF16("CHAPTER007NAM"), 0, 0},
        {UTF16("CHAPTER007Name"), 0, 0},
        {UTF16("CHAPTER12A"), 0, 0},
        {UTF16("CHAPTER12NAME"), 0, 12},
        {UTF16("chapter12name"), 0, 0},
        {UTF16("Chapter12"), 0, 0},
        {UTF16("CHAPTERNAME"), 0, 0},
        {UTF16("CHAPTER"), 0, 0},
        {UTF16("CHAPTE"), 0, 0},
        {UTF16("CHAPTER "), 0, 0},
        {UTF16("CHAPTER 7"), 0, 0},
        {UTF16("CHAPTER-7"), 0, 0},
        {UTF16("CHAPTER+7"), 0, 0},
        {UTF16("CHAPTER7 "), 0, 0},
        {UTF16("CHAPTER7 NAME"), 0, 0},
        {UTF16(" CHAPTER7"), 0, 0},
        {UTF16("XCHAPTER7"), 0, 0},
        {UTF16(""), 0, 0},
        {UTF16("CHAPTER4294967295"), 4294967295u, 0},
        {UTF16("CHAPTER4294967296"), 0, 0},
        {UTF16("CHAPTER4294967303"), 7, 0},
        {UTF16("CHAPTER4294967303NAME"), 0, 7},
        {UTF16("CHAPTER123456789012345678901234567890"), 1312754386u, 0},
        {UTF16("CHAPTER/"), 0, 0},
        {UTF16("CHAPTER:"), 0, 0},
    };
    for (const auto &one : cases) {
        const std::string narrow(one.key.begin(), one.key.end());
        EXPECT_EQ(tags.CHAPTER_Get_Number(narrow.c_str()), one.position) << narrow;
        EXPECT_EQ(tags.CHAPTER_Get_NumberW(one.key.c_str()), one.position) << narrow;
        EXPECT_EQ(tags.CHAPTERNAME_Get_Number(narrow.c_str()), one.name) << narrow;
        EXPECT_EQ(tags.CHAPTERNAME_Get_NumberW(one.key.c_str()), one.name) << narrow;
    }
}

TEST_P(ChaptersTest, WideUnitsAreComparedInFull)
{
    // The low byte of each is a letter of CHAPTER or a digit.
    EXPECT_EQ(tags.CHAPTER_Get_NumberW(UTF16("\u0143HAPTER7")), 0u);
    EXPECT_EQ(tags.CHAPTER_Get_NumberW(UTF16("CHAPTER\u0137")), 0u);
    EXPECT_EQ(tags.CHAPTER_Get_NumberW(UTF16("CHAPTER7\u0100")), 0u);
    EXPECT_EQ(tags.CHAPTERNAME_Get_NumberW(UTF16("CHAPTER7\u014EAME")), 0u);
    EXPECT_EQ(tags.CHAPTER_Get_Number("CHAPTER\xB7"), 0u);
}

TEST_P(ChaptersTest, NullKeysHaveNoNumber)
{
    EXPECT_EQ(tags.CHAPTER_Get_Number(nullptr), 0u);
    EXPECT_EQ(tags.CHAPTER_Get_NumberW(nullptr), 0u);
    EXPECT_EQ(tags.CHAPTERNAME_Get_Number(nullptr), 0u);
    EXPECT_EQ(tags.CHAPTERNAME_Get_NumberW(nullptr), 0u);
}

} // namespace
} // namespace tonekit
