// walk.cpp: delivers the visible text items of a tag block one by one.
#include "tags/decimal.h"
#include "tags/item.h"

#include <cstring>

using namespace tonekit;

namespace {

const char kHiddenPrefix[] = "!*?ID3";
constexpr uint32_t kHiddenPrefixBytes = sizeof kHiddenPrefix - 1;

bool IsHidden(const TagBlock *block, uint64_t key)
{
    return block->used - key >= kHiddenPrefixBytes &&
           memcmp(block->buffer + key, kHiddenPrefix, kHiddenPrefixBytes) == 0;
}

bool TakeItem(const TagBlock *block, uint32_t offset, TagBlockItem *item)
{
    StringItem found;
    if (!ReadStringItem(block, offset, &found)) {
        item->cursor = block->used;
        return false;
    }
    item->key = found.key;
    item->value = found.value;
    item->dword = ParseDword(found.value);
    item->ulonglong = ParseULongLong(found.value);
    memcpy(&item->floatValue, &item->dword, sizeof item->floatValue);
    item->cursor = found.next;
    return true;
}

} // namespace

bool ID3Helper_GetFirst(const TagBlock *block, TagBlockItem *item)
{
    item->cursor = 0;
    return ID3Helper_GetNext(block, item);
}

bool ID3Helper_GetNext(const TagBlock *block, TagBlockItem *item)
{
    if (!block || item->cursor >= block->used)
        return false;
    uint64_t offset = item->cursor;
    while (SeekMarker(block, kStringMarker, &offset)) {
        const uint64_t key = offset + kHeaderBytes;
        if (key >= block->used) {
            offset = block->used;
            break;
        }
        if (!IsHidden(block, key))
            return TakeItem(block, static_cast<uint32_t>(offset), item);
        item->key = reinterpret_cast<const char *>(block->buffer + key);
        offset = NextByLength(block, static_cast<uint32_t>(offset));
    }
    item->cursor = ToCursor(offset);
    return false;
}
