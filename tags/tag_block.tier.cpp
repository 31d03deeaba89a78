// tag_block.tier.cpp: adds texts to a tag block, and copies whole blocks.
#include "frame/tier.h"
#include "tags/item.h"
#include "tags/local_heap.h"

#include <cstring>

namespace tonekit::TONEKIT_TIER {

TONEKIT_EXPORTED_SIBLING(ID3Helper_GetStr);

TONEKIT_BODY(ID3Helper_AddStr, void, (TagBlock * block, const char *key, const char *value))
{
    if (!block || !key || !value || *key == 0 || *value == 0)
        return;
    if (*TONEKIT_TIER::ID3Helper_GetStr(block, key) != 0)
        return;
    const uint64_t keyBytes = uint64_t{strlen(key)} + 1;
    const uint64_t valueBytes = uint64_t{strlen(value)} + 1;
    // No block takes 4 GiB, and the length field can't hold them.
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
    if (!block)
        return nullptr;
    auto *const copy = static_cast<TagBlock *>(LocalAllocate(sizeof(TagBlock)));
    if (!copy)
        return nullptr;
    *copy = *block;
    copy->buffer = static_cast<uint8_t *>(LocalAllocate(block->capacity));
    if (!copy->buffer) {
        LocalRelease(copy);
        return nullptr;
    }
    memcpy(copy->buffer, block->buffer, block->capacity);
    return copy;
}

} // namespace tonekit::TONEKIT_TIER
