// tag_reader.cpp: text, pictures and chapters out of ID3v2 tags and Vorbis comments.
#include "host/tag_reader.h"

#include "host/paths.h"
#include "host/tag_file.h"

#include <algorithm>
#include <attachedpictureframe.h>
#include <chapterframe.h>
#include <id3v2header.h>

namespace tonekit::host {

namespace {

std::string Utf8(const TagLib::String &text)
{
    return text.to8Bit(true);
}

std::string Joined(const TagLib::StringList &values)
{
    std::string text;
    for (const TagLib::String &value : values)
        text += (text.empty() ? "" : std::string(1, kValueSeparator)) + Utf8(value);
    return text;
}

void AddPicture(TagBlock *block, const TagChoice &choice, int type, const TagLib::String &mime,
                const TagLib::ByteVector &data)
{
    if (type == kFrontCover && !choice.frontCover)
        return;
    ID3Helper_AddImage(block, Utf8(mime).c_str(), static_cast<uint32_t>(type), data.size(), data.data());
}

void AddPictures(const TagLib::List<TagLib::FLAC::Picture *> &pictures, const TagChoice &choice,
                 TagBlock *block)
{
    for (const TagLib::FLAC::Picture *picture : pictures)
        AddPicture(block, choice, picture->type(), picture->mimeType(), picture->data());
}

void AddId3Pictures(const TagLib::ID3v2::Tag &tag, const TagChoice &choice, TagBlock *block)
{
    for (const TagLib::ID3v2::Frame *frame : tag.frameList("APIC")) {
        if (const auto *picture = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame *>(frame))
            AddPicture(block, choice, picture->type(), picture->mimeType(), picture->picture());
    }
}

// Chapters of ID3v2 have times in milliseconds and no numbers.
void AddId3Chapters(const TagLib::ID3v2::Tag &tag, TagBlock *block)
{
    constexpr uint64_t kMillisecond = 10'000;
    std::vector<Chapter> chapters;
    for (const TagLib::ID3v2::Frame *frame : tag.frameList("CHAP")) {
        const auto *chapter = dynamic_cast<const TagLib::ID3v2::ChapterFrame *>(frame);
        if (!chapter)
            continue;
        const TagLib::ID3v2::FrameList &titles = chapter->embeddedFrameList("TIT2");
        chapters.push_back(
            {chapter->startTime() * kMillisecond, titles.isEmpty() ? "" : Utf8(titles.front()->toString())});
    }
    std::stable_sort(chapters.begin(), chapters.end(),
                     [](const Chapter &a, const Chapter &b) { return a.position < b.position; });
    AddChapters(block, chapters);
}

// Text tags, and the chapters of Vorbis comments, which are pairs of text tags too.
void AddProperties(const TagLib::PropertyMap &properties, const TagChoice &choice, TagBlock *block,
                   std::vector<std::string> &warnings, const std::string &name)
{
    for (const auto &[keyText, values] : properties) {
        const std::string key = Utf8(keyText);
        if (CHAPTERNAME_Get_Number(key.c_str()) != 0)
            continue;
        if (const uint32_t number = CHAPTER_Get_Number(key.c_str())) {
            uint64_t position = 0;
            if (!choice.chapters)
                continue;
            if (!CHAPTER_HMS_String_To_Position100nS(Joined(values).c_str(), &position)) {
                warnings.push_back(name + ": the time of " + key +
                                   " can't be understood; the chapter is left out");
                continue;
            }
            const std::string title = Joined(properties[keyText + "NAME"]);
            ID3Helper_AddChapter_UTF8(block, number, position, title.c_str());
        } else if (choice.text(key)) {
            ID3Helper_AddStr(block, key.c_str(), Joined(values).c_str());
        }
    }
}

// A tag whose header claims content, and whose content gives nothing.
bool IsBroken(const TagLib::ID3v2::Tag &tag)
{
    return tag.header() && tag.header()->tagSize() > 0 && tag.frameList().isEmpty();
}

} // namespace

void ReadTags(const std::filesystem::path &path, TagKind kind, const TagChoice &choice, TagBlock *block,
              std::vector<std::string> &warnings)
{
    if (kind == TagKind::None)
        return;
    const std::string name = Utf8Name(path);
    const TagFile file(path, kind, TagStream::Access::Read);
    file.CheckSystem(name);
    if (!file.IsValid()) {
        warnings.push_back(name + (file.IsTooLong() ? ": the file is too long for its tags to be read"
                                                    : ": the tags are broken and are left behind"));
        return;
    }
    AddProperties(file.Properties(), choice, block, warnings, name);
    if (const TagLib::ID3v2::Tag *tag = file.id3()) {
        if (IsBroken(*tag))
            warnings.push_back(name + ": the ID3 tag is broken and is left behind");
        AddId3Pictures(*tag, choice, block);
        if (choice.chapters)
            AddId3Chapters(*tag, block);
    }
    if (TagLib::Ogg::XiphComment *comment = file.xiph())
        AddPictures(comment->pictureList(), choice, block);
    if (TagLib::FLAC::File *flac = file.flac())
        AddPictures(flac->pictureList(), choice, block);
}

} // namespace tonekit::host
