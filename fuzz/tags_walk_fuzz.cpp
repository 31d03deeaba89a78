// tags_walk_fuzz.cpp: reads blocks of arbitrary bytes, adds to them, and holds every answer against the
// model.
#include "tags/tag_block.h"
#include "tests/reference/tag_block_model.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <tonekit/tags.h>

namespace {

using tonekit::reference::TagBlockModel;

// A block of a few items: the model looks every one up from the start.
constexpr size_t kLongestInput = 160;

void Require(bool condition)
{
    if (!condition)
        abort();
}

// A block whose buffer is exactly as long as its items, so that a sanitizer sees a read past them.
TagBlock *BlockOf(const uint8_t *data, size_t size)
{
    TagBlock *const block = ID3Helper_Alloc();
    free(block->buffer);
    block->buffer = static_cast<uint8_t *>(malloc(size));
    memcpy(block->buffer, data, size);
    block->capacity = static_cast<uint32_t>(size);
    block->used = static_cast<uint32_t>(size);
    return block;
}

void CheckStrings(const TagBlock *block, const TagBlockModel &model)
{
    TagBlockItem item;
    bool more = ID3Helper_GetFirst(block, &item);
    for (const auto &expected : model.VisibleStrings()) {
        Require(more && expected.key == item.key && expected.value == item.value);
        Require(model.GetStr(expected.key) == ID3Helper_GetStr(block, expected.key.c_str()));
        more = ID3Helper_GetNext(block, &item);
    }
    Require(!more && item.cursor >= block->used);
    Require(model.GetStr("absent") == ID3Helper_GetStr(block, "absent"));
}

void CheckPictures(const TagBlock *block, const TagBlockModel &model)
{
    TagBlockPicture picture;
    bool more = ID3Helper_GetFirstImage(block, &picture);
    for (const auto &expected : model.Pictures()) {
        Require(more && expected.type == picture.type && expected.mime == picture.mime);
        Require(expected.data == std::string(reinterpret_cast<const char *>(picture.data), picture.size));
        more = ID3Helper_GetNextImage(block, &picture);
    }
    Require(!more && picture.cursor >= block->used);
    for (const uint32_t type : {0u, 1u, 3u, 0xFFFFFFFFu}) {
        const char *mime = nullptr;
        uint32_t size = 0;
        const uint8_t *const data = ID3Helper_GetImage(block, type, &mime, &size);
        const auto expected = model.GetImage(type);
        Require((data != nullptr) == expected.has_value());
        if (data)
            Require(expected->data == std::string(reinterpret_cast<const char *>(data), size));
    }
}

// Chapters have no model here; they must only stay inside the block.
void ReadChapters(const TagBlock *block)
{
    const uint32_t most = ID3Helper_GetChapterCount_Position(block) + ID3Helper_GetChapterCount_Name(block);
    Require(most <= block->used);
    for (int32_t number = 0; number < 4; ++number) {
        ID3Helper_GetChapter_Position(block, number);
        Require(strlen(ID3Helper_GetChapter_Name(block, number)) < block->used + 1);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    size = std::min(size, kLongestInput);
    TagBlock *const block = BlockOf(data, size);
    TagBlockModel model;
    model.bytes.assign(reinterpret_cast<const char *>(data), size);
    model.capacity = block->capacity;
    for (const char *const key : {"", "a", "CHAPTER002"}) {
        ID3Helper_AddStr(block, key, "0:0:1");
        model.AddStr(key, "0:0:1");
        Require(model.bytes == std::string(reinterpret_cast<const char *>(block->buffer), block->used));
        CheckStrings(block, model);
        CheckPictures(block, model);
        ReadChapters(block);
    }
    ID3Helper_Free(block);
    return 0;
}
