// tag_block.cpp: makes and releases tag blocks and appends pieces of items to them.
#include "tags/tag_block.h"

#include "tags/local_heap.h"

#include <cstring>

namespace tonekit {

const char kEmptyText[1] = "";

namespace {

// Moves the items to a larger buffer that takes `bytes` more. The caller releases the old buffer after a true
// result.
bool Grow(TagBlock *block, uint32_t bytes)
{
    const uint64_t capacity = uint64_t{block->capacity} + (bytes > kLeastGrowth ? bytes : kLeastGrowth);
    if (capacity > UINT32_MAX)
        return false;
    auto *const grown = static_cast<uint8_t *>(LocalAllocate(capacity));
    if (!grown)
        return false;
    if (block->used != 0)
        memcpy(grown, block->buffer, block->used);
    block->buffer = grown;
    block->capacity = static_cast<uint32_t>(capacity);
    return true;
}

} // namespace

void AppendPiece(TagBlock *block, const void *piece, uint32_t bytes)
{
    uint8_t *retired = nullptr;
    if (uint64_t{block->used} + bytes > block->capacity) {
        retired = block->buffer;
        if (!Grow(block, bytes))
            return;
    }
    // The old buffer goes last: the piece may lie in it.
    memcpy(block->buffer + block->used, piece, bytes);
    block->used += bytes;
    LocalRelease(retired);
}

void AppendHeader(TagBlock *block, uint8_t marker, uint32_t length)
{
    AppendPiece(block, &marker, sizeof marker);
    AppendPiece(block, &length, sizeof length);
}

CallerBytes HoldBytes(const TagBlock *block, const void *bytes)
{
    const uintptr_t distance =
        reinterpret_cast<uintptr_t>(bytes) - reinterpret_cast<uintptr_t>(block->buffer);
    const bool inside = distance < block->used;
    return {bytes, inside ? static_cast<uint32_t>(distance) : 0, inside};
}

void AppendHeldPiece(TagBlock *block, const CallerBytes &held, uint32_t bytes)
{
    AppendPiece(block, held.inside ? block->buffer + held.offset : held.bytes, bytes);
}

} // namespace tonekit

using namespace tonekit;

TagBlock *ID3Helper_Alloc()
{
    auto *const block = static_cast<TagBlock *>(LocalAllocate(sizeof(TagBlock)));
    if (!block)
        return nullptr;
    block->buffer = static_cast<uint8_t *>(LocalAllocate(kFirstCapacity));
    if (!block->buffer) {
        LocalRelease(block);
        return nullptr;
    }
    block->capacity = kFirstCapacity;
    return block;
}

void ID3Helper_Free(TagBlock *block)
{
    if (block) {
        LocalRelease(block->buffer);
        LocalRelease(block);
    }
}
