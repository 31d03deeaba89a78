// tag_block.cpp: walks over tag blocks.
#include "host/tag_block.h"

#include "host/failure.h"

#include <cinttypes>
#include <cstdio>
#include <map>

namespace tonekit::host {

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

void AddChapters(TagBlock *block, const std::vector<Chapter> &chapters)
{
    uint32_t number = 0;
    for (const Chapter &chapter : chapters)
        ID3Helper_AddChapter_UTF8(block, ++number, chapter.position, chapter.name.c_str());
}

std::string ChapterTime(uint64_t position)
{
    constexpr uint64_t kSecond = 10'000'000;
    const uint64_t seconds = position / kSecond;
    char text[64];
    std::snprintf(text, sizeof(text), "%02" PRIu64 ":%02" PRIu64 ":%02" PRIu64 ".%07" PRIu64, seconds / 3600,
                  seconds / 60 % 60, seconds % 60, position % kSecond);
    std::string result = text;
    for (int spare = 4; spare > 0 && result.back() == '0'; spare--)
        result.pop_back();
    return result;
}

} // namespace tonekit::host
