// tag_block.h: the library's tag block as an object, and walks over what it holds.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <tonekit/tags.h>
#include <vector>

namespace tonekit::host {

struct ReleaseTagBlock {
    void operator()(TagBlock *block) const { ID3Helper_Free(block); }
};
using TagBlockPointer = std::unique_ptr<TagBlock, ReleaseTagBlock>;

// An empty block; throws Failure if there is no memory for it.
TagBlockPointer NewTagBlock();

struct Chapter {
    uint64_t position = 0; // in 100 ns
    std::string name;      // may be empty
};

struct Picture {
    int type = 0;
    std::string mime;
    std::vector<uint8_t> data;
};

// The type of picture that players show: the front cover.
constexpr int kFrontCover = 3;

// A block keeps one value under a key. Where files keep several, they are in one value with this between
// them: the unit separator, which no text that people write contains.
constexpr char kValueSeparator = '\x1F';

// The text tags in their order, without the chapters' keys.
void ForEachText(const TagBlock *block,
                 const std::function<void(const std::string &key, const std::string &value)> &take);
std::vector<Picture> PicturesOf(const TagBlock *block);
// The chapters in the order of their numbers.
std::vector<Chapter> ChaptersOf(const TagBlock *block);

// Adds to a block. What the block has no memory for it drops without a word; here that is std::bad_alloc.
class TagBlockFiller {
public:
    explicit TagBlockFiller(TagBlock *block);

    void AddText(const std::string &key, const std::string &value);
    void AddPicture(int type, const std::string &mime, const void *data, size_t size);
    void AddPicture(const Picture &picture);
    void AddChapter(uint32_t number, uint64_t position, const std::string &name);
    // Numbered from 1.
    void AddChapters(const std::vector<Chapter> &chapters);

private:
    TagBlock *block_;
    TagBlockPicture last_; // whose cursor is where the next picture will be
};

// 00:03:21.500; as many decimals as needed, at least three and at most seven
std::string ChapterTime(uint64_t position);

} // namespace tonekit::host
