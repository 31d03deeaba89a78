// tag_block.h: the record of the tag functions, and the one way to write into its buffer.
#pragma once

#include <cstdint>
#include <tonekit/tags.h>

// Invariant: used never exceeds capacity, and the bytes from used to capacity are zero.
struct TagBlock {
    uint8_t *buffer;   // the items, one directly after the other; replaced when it grows
    uint32_t capacity; // bytes at buffer
    uint32_t used;     // bytes taken by items
};

namespace tonekit {

constexpr uint32_t kFirstCapacity = 1024;
constexpr uint32_t kLeastGrowth = 1024;

constexpr uint8_t kStringMarker = 0;
constexpr uint8_t kPictureMarker = 1;
constexpr uint32_t kHeaderBytes = 5; // marker and length

// What lookups answer when there is nothing.
extern const char kEmptyText[1];

// Appends one piece of an item. If it doesn't fit, the buffer first grows by the piece's size or
// kLeastGrowth, whichever is more; without memory for that the piece is dropped and the block stays as it is.
void AppendPiece(TagBlock *block, const void *piece, uint32_t bytes);

// Appends what every item begins with, as two pieces: the marker and the length of the rest.
void AppendHeader(TagBlock *block, uint8_t marker, uint32_t length);

// Bytes of the caller that an item is made of. They may lie in the block's own buffer, which moves when an
// earlier piece makes it grow; so such bytes are held by their offset.
struct CallerBytes {
    const void *bytes;
    uint32_t offset; // in the block's buffer, if inside
    bool inside;
};

CallerBytes HoldBytes(const TagBlock *block, const void *bytes);
void AppendHeldPiece(TagBlock *block, const CallerBytes &held, uint32_t bytes);

} // namespace tonekit
