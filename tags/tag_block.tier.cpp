// tag_block.tier.cpp: adds texts to a tag block, finds them by key, and copies whole blocks.
#include "frame/tier.h"

#include <cstring>

#include "tags/item.h"
#include "tags/local_heap.h"

namespace tonekit::TONEKIT_TIER {

namespace {

// Only the letters A to Z: the bytes of UTF-8 characters beyond ASCII have no case here.
inline uint8_t FoldCase(char letter)
{
    const auto byte = static_cast<uint8_t>(letter);
    return static_cast<uint8_t>(byte - 'A') < 26 ? byte | 0x20 : byte;
}

bool SameKey(const char *one, const char *other)
{
    for (; FoldCase(*one) == FoldCase(*other); ++one, ++other)
        if (*one == 0)
            return true;
    return false;
}

} // namespace

TONEKIT_BODY(ID3Helper_GetStr, const char *, (const TagBlock *block, const char *key))
{
    if (block == nullptr || key == nullptr || *key == 0)
        return kEmptyText;
    uint64_t offset = 0;
    StringItem item;
    while (SeekMarker(block, kStringMarker, &offset) &&
           ReadStringItem(block, static_cast<uint32_t>(offset), &item)) {
        if (SameKey(item.key, key))
            return item.value;
        offset = item.next;
    }
    return kEmptyText;
}

TONEKIT_BODY(ID3Helper_AddStr, void, (TagBlock * block, const char *key, const char *value))
{
    if (block == nullptr || key == nullptr || value == nullptr || *key == 0 || *value == 0)
        return;
    if (*TONEKIT_TIER::ID3Helper_GetStr(block, key) != 0)
        return;
    const uint64_t keyBytes = uint64_t{strlen(key)} + 1;
    const uint64_t valueBytes = uint64_t{strlen(value)} + 1;
    // No block takes 4 GiB, and the length field can't tell them.
    if (keyBytes > UINT32_MAX || valueBytes > UINT32_MAX - keyBytes)
        return;
    const CallerBytes heldKey = HoldBytes(block, key);
    const CallerBytes heldValue = HoldBytes(block, value);
    AppendHeader(block, kStringMarker, static_cast<uint32_t>(keyBytes + valueBytes));
    AppendHeldPiece(block, heldKey, static_cast<uint32_t>(keyBytes));
    AppendHeldPiece(block, heldValue, static_cast<uint32_t>(valueBytes));
}

TONEKIT_BODY(ID3Helper_Copy, TagBlock *, (const TagBlock *block))
{
    if (block == nullptr)
        return nullptr;
    auto *const copy = static_cast<TagBlock *>(LocalAllocate(sizeof(TagBlock)));
    if (copy == nullptr)
        return nullptr;
    *copy = *block;
    copy->buffer = static_cast<uint8_t *>(LocalAllocate(block->capacity));
    if (copy->buffer == nullptr) {
        LocalRelease(copy);
        return nullptr;
    }
    memcpy(copy->buffer, block->buffer, block->capacity);
    return copy;
}

} // namespace tonekit::TONEKIT_TIER
