// tag_block.cpp: walks over tag blocks.
#include "host/tags/tag_block.h"

#include "host/system/failure.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <map>
#include <new>
#include <string_view>

namespace tonekit::host {

namespace {

// A key that was taken has a value, too. No key, or no value, is never stored.
void RequireText(const TagBlock *block, const char *key, const char *value)
{
    if (*key != 0 && *value != 0 && *ID3Helper_GetStr(block, key) == 0)
        throw std::bad_alloc();
}

} // namespace

TagBlockPointer NewTagBlock()
{
    TagBlockPointer block(ID3Helper_Alloc());
    if (!block)
        throw Failure("not enough memory for tags");
    return block;
}

void ForEachText(const TagBlock *block,
                 const std::function<void(const std::string &, const std::string &)> &take)
{
    TagBlockItem item;
    for (bool found = ID3Helper_GetFirst(block, &item); found; found = ID3Helper_GetNext(block, &item)) {
        if (CHAPTER_Get_Number(item.key) == 0 && CHAPTERNAME_Get_Number(item.key) == 0)
            take(item.key, item.value);
    }
}

std::vector<Picture> PicturesOf(const TagBlock *block)
{
    std::vector<Picture> pictures;
    TagBlockPicture picture;
    for (bool found = ID3Helper_GetFirstImage(block, &picture); found;
         found = ID3Helper_GetNextImage(block, &picture))
        pictures.push_back({picture.type, picture.mime, {picture.data, picture.data + picture.size}});
    return pictures;
}

std::vector<Chapter> ChaptersOf(const TagBlock *block)
{
    std::map<uint32_t, Chapter> byNumber;
    std::map<uint32_t, std::string> names;
    TagBlockItem item;
    for (bool found = ID3Helper_GetFirst(block, &item); found; found = ID3Helper_GetNext(block, &item)) {
        const uint32_t number = CHAPTER_Get_Number(item.key);
        uint64_t position = 0;
        if (number != 0 && CHAPTER_HMS_String_To_Position100nS(item.value, &position))
            byNumber.emplace(number, Chapter{position, ""});
        // In this one walk: looking each name up would be a walk of its own.
        if (const uint32_t named = CHAPTERNAME_Get_Number(item.key))
            names.emplace(named, item.value);
    }
    for (auto &[number, chapter] : byNumber) {
        if (const auto name = names.find(number); name != names.end())
            chapter.name = name->second;
    }
    std::vector<Chapter> chapters;
    for (const auto &[number, chapter] : byNumber)
        chapters.push_back(chapter);
    return chapters;
}

TagBlockFiller::TagBlockFiller(TagBlock *block) : block_(block), last_()
{
    TagBlockPicture next = last_;
    while (ID3Helper_GetNextImage(block_, &next))
        last_ = next;
}

void TagBlockFiller::AddText(const std::string &key, const std::string &value)
{
    ID3Helper_AddStr(block_, key.c_str(), value.c_str());
    RequireText(block_, key.c_str(), value.c_str());
}

void TagBlockFiller::AddPicture(int type, const std::string &mime, const void *data, size_t size)
{
    if (size == 0)
        return;
    ID3Helper_AddImage(block_, mime.c_str(), static_cast<uint32_t>(type), static_cast<uint32_t>(size), data);
    if (!ID3Helper_GetNextImage(block_, &last_) || last_.size != size ||
        (!mime.empty() && mime.c_str() != std::string_view(last_.mime)) ||
        std::memcmp(last_.data, data, size) != 0)
        throw std::bad_alloc();
}

void TagBlockFiller::AddPicture(const Picture &picture)
{
    AddPicture(picture.type, picture.mime, picture.data.data(), picture.data.size());
}

void TagBlockFiller::AddChapter(uint32_t number, uint64_t position, const std::string &name)
{
    char key[32];
    ID3Helper_AddChapter_UTF8(block_, number, position, name.c_str());
    std::snprintf(key, sizeof(key), "CHAPTER%03" PRIu32, number);
    RequireText(block_, key, "a time");
    std::snprintf(key, sizeof(key), "CHAPTER%03" PRIu32 "NAME", number);
    RequireText(block_, key, name.c_str());
}

void TagBlockFiller::AddChapters(const std::vector<Chapter> &chapters)
{
    uint32_t number = 0;
    for (const Chapter &chapter : chapters)
        AddChapter(++number, chapter.position, chapter.name);
}

std::string ChapterTime(uint64_t position)
{
    constexpr uint64_t kSecond = 10'000'000;
    const uint64_t seconds = position / kSecond;
    char text[64];
    std::snprintf(text, sizeof(text), "%02" PRIu64 ":%02" PRIu64 ":%02" PRIu64 ".%07" PRIu64, seconds / 3600,
                  seconds / 60 % 60, seconds % 60, position % kSecond);
    std::string result = text;
    for (int spare = 4; spare > 0 && result.back() == '0'; --spare)
        result.pop_back();
    return result;
}

} // namespace tonekit::host
