// item.h: finds the parts of an item without ever leaving the bytes in use, however torn the items are.
#pragma once

#include "tags/tag_block.h"

#include <cstring>

namespace tonekit {
namespace {

// Reads a little-endian number of an item; nothing in the buffer is aligned.
inline uint32_t ReadLength(const uint8_t *at)
{
    uint32_t length;
    memcpy(&length, at, sizeof length);
    return length;
}

// Where the item after the one at offset begins by its length field; at `used` or beyond if there is none.
inline uint64_t NextByLength(const TagBlock *block, uint32_t offset)
{
    if (block->used - offset < kHeaderBytes)
        return block->used;
    return uint64_t{offset} + kHeaderBytes + ReadLength(block->buffer + offset + 1);
}

// A next offset as a cursor; what doesn't fit lies beyond every block.
inline uint32_t ToCursor(uint64_t offset)
{
    return offset < UINT32_MAX ? static_cast<uint32_t>(offset) : UINT32_MAX;
}

// The zero byte that ends the text at offset; null if it doesn't end within the bytes in use.
inline const uint8_t *TextEnd(const TagBlock *block, uint64_t offset)
{
    if (offset >= block->used)
        return nullptr;
    return static_cast<const uint8_t *>(memchr(block->buffer + offset, 0, block->used - offset));
}

struct StringItem {
    const char *key;
    const char *value;
    uint32_t next; // where its texts end: the scan counts, not the length field
};

// False if the key or value of the string item at offset doesn't end within the bytes in use.
inline bool ReadStringItem(const TagBlock *block, uint32_t offset, StringItem *item)
{
    const uint64_t key = uint64_t{offset} + kHeaderBytes;
    const uint8_t *const keyEnd = TextEnd(block, key);
    if (!keyEnd)
        return false;
    const uint8_t *const valueEnd = TextEnd(block, static_cast<uint64_t>(keyEnd + 1 - block->buffer));
    if (!valueEnd)
        return false;
    item->key = reinterpret_cast<const char *>(block->buffer + key);
    item->value = reinterpret_cast<const char *>(keyEnd + 1);
    item->next = static_cast<uint32_t>(valueEnd + 1 - block->buffer);
    return true;
}

// Moves offset to the first item there or after with this marker, by the length fields. False: there is none.
inline bool SeekMarker(const TagBlock *block, uint8_t marker, uint64_t *offset)
{
    while (*offset < block->used && block->buffer[*offset] != marker)
        *offset = NextByLength(block, static_cast<uint32_t>(*offset));
    return *offset < block->used;
}

} // namespace
} // namespace tonekit
