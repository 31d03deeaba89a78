// chapters.cpp: stores chapters in a tag block as pairs of a position text and a name text.
#include "tags/decimal.h"
#include "tags/tag_block.h"
#include "tags/time_text.h"

#include <cstring>

using namespace tonekit;

namespace {

const char kPrefix[] = "CHAPTER";
const char kNameSuffix[] = "NAME";
const char kTotalKey[] = "!*?ID3CHAPTER_TOTAL";
constexpr int kLeastKeyDigits = 3;

// "CHAPTER%03u" and, with the suffix, "CHAPTER%03uNAME".
class ChapterKey {
public:
    ChapterKey(uint32_t number, const char *suffix)
    {
        memcpy(text, kPrefix, sizeof kPrefix - 1);
        strcpy(WriteDecimal(text + sizeof kPrefix - 1, number, kLeastKeyDigits), suffix);
    }

    const char *Text() const { return text; }

private:
    static constexpr size_t kMostNumberDigits = 10;

    char text[sizeof kPrefix - 1 + kMostNumberDigits + sizeof kNameSuffix];
};

} // namespace

void ID3Helper_AddChapter_UTF8(TagBlock *block, uint32_t number, uint64_t position, const char *name)
{
    char time[kMostTimeText + 1];
    WriteTime(time, position);
    ID3Helper_AddStr(block, ChapterKey(number, "").Text(), time);
    ID3Helper_AddStr(block, ChapterKey(number, kNameSuffix).Text(), name);
}

void ID3Helper_SetChapterTotal(TagBlock *block, uint64_t total)
{
    ID3Helper_AddULongLong(block, kTotalKey, total);
}

uint64_t ID3Helper_GetChapterTotal(const TagBlock *block)
{
    return ID3Helper_GetULongLong(block, kTotalKey);
}
