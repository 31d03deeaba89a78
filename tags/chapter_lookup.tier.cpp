// chapter_lookup.tier.cpp: counts the chapters of a tag block and finds their positions and names.
#include "frame/tier.h"
#include "tags/item.h"

namespace tonekit::TONEKIT_TIER {

TONEKIT_EXPORTED_SIBLING(CHAPTER_Get_Number);
TONEKIT_EXPORTED_SIBLING(CHAPTERNAME_Get_Number);
TONEKIT_EXPORTED_SIBLING(CHAPTER_HMS_String_To_Position100nS);

namespace {

uint32_t CountKeys(const TagBlock *block, uint32_t (*numberOf)(const char *))
{
    if (!block)
        return 0;
    uint32_t count = 0;
    uint64_t offset = 0;
    StringItem item;
    while (SeekMarker(block, kStringMarker, &offset) &&
           ReadStringItem(block, static_cast<uint32_t>(offset), &item)) {
        if (numberOf(item.key) != 0)
            ++count;
        offset = item.next;
    }
    return count;
}

} // namespace

TONEKIT_BODY(ID3Helper_GetChapterCount_Position, uint32_t, (const TagBlock *block))
{
    return CountKeys(block, CHAPTER_Get_Number);
}

TONEKIT_BODY(ID3Helper_GetChapterCount_Name, uint32_t, (const TagBlock *block))
{
    return CountKeys(block, CHAPTERNAME_Get_Number);
}

TONEKIT_BODY(ID3Helper_GetChapter_Position, uint64_t, (const TagBlock *block, int32_t number))
{
    uint64_t position = UINT64_MAX;
    TagBlockItem item;
    for (bool more = ID3Helper_GetFirst(block, &item); more; more = ID3Helper_GetNext(block, &item)) {
        // No early exit: of several keys with one number the last counts.
        if (CHAPTER_Get_Number(item.key) == static_cast<uint32_t>(number) &&
            !CHAPTER_HMS_String_To_Position100nS(item.value, &position))
            return UINT64_MAX;
    }
    return position;
}

TONEKIT_BODY(ID3Helper_GetChapter_Name, const char *, (const TagBlock *block, int32_t number))
{
    TagBlockItem item;
    for (bool more = ID3Helper_GetFirst(block, &item); more; more = ID3Helper_GetNext(block, &item))
        if (CHAPTERNAME_Get_Number(item.key) == static_cast<uint32_t>(number))
            return item.value;
    return kEmptyText;
}

} // namespace tonekit::TONEKIT_TIER
