// pictures.tier.cpp: stores pictures in a tag block and finds them again.
#include "frame/tier.h"
#include "tags/item.h"

#include <cstring>

namespace tonekit::TONEKIT_TIER {

namespace {

// The least data that is looked at; the longest signature has as many bytes.
constexpr uint32_t kSniffBytes = 8;

bool BeginsWith(const void *data, const char *signature, size_t bytes)
{
    return memcmp(data, signature, bytes) == 0;
}

// The MIME type that the first bytes of an image show; empty if they show none.
const char *SniffMime(const void *data, uint32_t size)
{
    if (size < kSniffBytes)
        return kEmptyText;
    if (BeginsWith(data, "\x42\x4D", 2))
        return "image/bmp";
    if (BeginsWith(data, "\xFF\xD8", 2))
        return "image/jpeg";
    if (BeginsWith(data, "\x89\x50\x4E\x47\x0D\x0A\x1A\x0A", 8))
        return "image/png";
    if (BeginsWith(data, "\x47\x49\x46", 3))
        return "image/gif";
    return kEmptyText;
}

// The type of the picture item at offset. Sign-extended, on purpose: a type of 128 or more is found as a
// negative one.
bool ReadType(const TagBlock *block, uint64_t offset, int32_t *type)
{
    if (block->used - offset <= kHeaderBytes)
        return false;
    *type = static_cast<int8_t>(block->buffer[offset + kHeaderBytes]);
    return true;
}

struct Picture {
    const char *mime;
    uint32_t size;
    const uint8_t *data;
    uint32_t next;
};

// Returns false if the picture item at offset doesn't end within the bytes in use.
bool ReadPicture(const TagBlock *block, uint64_t offset, Picture *picture)
{
    const uint64_t mime = offset + kHeaderBytes + 1;
    const uint8_t *const mimeEnd = TextEnd(block, mime);
    if (!mimeEnd)
        return false;
    const auto size = static_cast<uint32_t>(mimeEnd + 1 - block->buffer);
    if (block->used - size < sizeof picture->size)
        return false;
    const uint32_t data = size + sizeof picture->size;
    picture->size = ReadLength(block->buffer + size);
    if (block->used - data < picture->size)
        return false;
    picture->mime = reinterpret_cast<const char *>(block->buffer + mime);
    picture->data = block->buffer + data;
    picture->next = data + picture->size;
    return true;
}

} // namespace

TONEKIT_BODY(ID3Helper_AddImage, void,
             (TagBlock * block, const char *mime, uint32_t type, uint32_t size, const void *data))
{
    if (!block || !data || size == 0)
        return;
    if (!mime || *mime == 0)
        mime = SniffMime(data, size);
    const auto typeByte = static_cast<uint8_t>(type);
    const uint64_t mimeBytes = uint64_t{strlen(mime)} + 1;
    const uint64_t length = sizeof typeByte + mimeBytes + sizeof size + size;
    // No block takes 4 GiB, and the length field can't hold them.
    if (length > UINT32_MAX)
        return;
    const CallerBytes heldMime = HoldBytes(block, mime);
    const CallerBytes heldData = HoldBytes(block, data);
    AppendHeader(block, kPictureMarker, static_cast<uint32_t>(length));
    AppendPiece(block, &typeByte, sizeof typeByte);
    AppendHeldPiece(block, heldMime, static_cast<uint32_t>(mimeBytes));
    AppendPiece(block, &size, sizeof size);
    AppendHeldPiece(block, heldData, size);
}

TONEKIT_BODY(ID3Helper_GetImage, const uint8_t *,
             (const TagBlock *block, uint32_t type, const char **mime, uint32_t *size))
{
    if (!block || !size)
        return nullptr;
    uint64_t offset = 0;
    int32_t stored;
    while (SeekMarker(block, kPictureMarker, &offset) && ReadType(block, offset, &stored)) {
        if (static_cast<uint32_t>(stored) == type) {
            Picture picture;
            if (!ReadPicture(block, offset, &picture))
                return nullptr;
            if (mime)
                *mime = picture.mime;
            *size = picture.size;
            return picture.data;
        }
        offset = NextByLength(block, static_cast<uint32_t>(offset));
    }
    return nullptr;
}

TONEKIT_BODY(ID3Helper_GetNextImage, bool, (const TagBlock *block, TagBlockPicture *picture))
{
    if (!block || picture->cursor >= block->used)
        return false;
    uint64_t offset = picture->cursor;
    if (!SeekMarker(block, kPictureMarker, &offset)) {
        picture->cursor = ToCursor(offset);
        return false;
    }
    int32_t type;
    Picture found;
    if (!ReadType(block, offset, &type) || !ReadPicture(block, offset, &found)) {
        picture->cursor = block->used;
        return false;
    }
    picture->type = type;
    picture->mime = found.mime;
    picture->size = found.size;
    picture->data = found.data;
    picture->cursor = found.next;
    return true;
}

TONEKIT_BODY(ID3Helper_GetFirstImage, bool, (const TagBlock *block, TagBlockPicture *picture))
{
    picture->cursor = 0;
    return TONEKIT_TIER::ID3Helper_GetNextImage(block, picture);
}

} // namespace tonekit::TONEKIT_TIER
