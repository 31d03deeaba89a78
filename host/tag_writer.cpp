// tag_writer.cpp: text, pictures and chapters into ID3v2 tags and Vorbis comments.
#include "host/tag_writer.h"

#include "host/failure.h"
#include "host/tag_file.h"

#include <algorithm>
#include <attachedpictureframe.h>
#include <chapterframe.h>
#include <cstdio>
#include <tableofcontentsframe.h>
#include <textidentificationframe.h>

namespace tonekit::host {

namespace {

TagLib::String FromUtf8(const std::string &text)
{
    return TagLib::String(text, TagLib::String::UTF8);
}

TagLib::ByteVector Bytes(const std::vector<uint8_t> &data)
{
    return TagLib::ByteVector(reinterpret_cast<const char *>(data.data()),
                              static_cast<unsigned int>(data.size()));
}

TagLib::PropertyMap TextTags(const TagBlock *block)
{
    TagLib::PropertyMap properties;
    ForEachText(block, [&](const std::string &key, const std::string &value) {
        properties.insert(
            FromUtf8(key),
            TagLib::StringList::split(FromUtf8(value), TagLib::String(std::string(1, kValueSeparator))));
    });
    return properties;
}

// The number of a chapter as its keys have it: three digits or more.
std::string ChapterKey(size_t number)
{
    char key[40];
    std::snprintf(key, sizeof(key), "CHAPTER%03zu", number);
    return key;
}

// Vorbis comments keep chapters as text tags.
void AddChapterTags(const std::vector<Chapter> &chapters, TagLib::PropertyMap &properties)
{
    for (size_t i = 0; i < chapters.size(); i++) {
        const std::string key = ChapterKey(i + 1);
        properties.insert(FromUtf8(key), FromUtf8(ChapterTime(chapters[i].position)));
        if (!chapters[i].name.empty())
            properties.insert(FromUtf8(key + "NAME"), FromUtf8(chapters[i].name));
    }
}

// ID3v2 keeps chapters as frames, which a table of contents puts in order. Times are in milliseconds.
void AddChapterFrames(const std::vector<Chapter> &chapters, uint64_t end, TagLib::ID3v2::Tag &tag)
{
    constexpr unsigned int kNoOffset = 0xFFFFFFFF;
    const auto milliseconds = [](uint64_t position) {
        return static_cast<unsigned int>(std::min<uint64_t>((position + 5000) / 10000, 0xFFFFFFFE));
    };
    if (chapters.empty())
        return;
    TagLib::ByteVectorList order;
    for (size_t i = 0; i < chapters.size(); i++) {
        const TagLib::ByteVector id = TagLib::ByteVector(("chp" + std::to_string(i)).c_str());
        const uint64_t stop =
            i + 1 < chapters.size() ? chapters[i + 1].position : std::max(end, chapters[i].position);
        auto *frame = new TagLib::ID3v2::ChapterFrame(id, milliseconds(chapters[i].position),
                                                      milliseconds(stop), kNoOffset, kNoOffset);
        if (!chapters[i].name.empty()) {
            auto *title = new TagLib::ID3v2::TextIdentificationFrame("TIT2", TagLib::String::UTF8);
            title->setText(FromUtf8(chapters[i].name));
            frame->addEmbeddedFrame(title);
        }
        tag.addFrame(frame);
        order.append(id);
    }
    auto *contents = new TagLib::ID3v2::TableOfContentsFrame("toc", order);
    contents->setIsTopLevel(true);
    contents->setIsOrdered(true);
    tag.addFrame(contents);
}

TagLib::FLAC::Picture *FlacPicture(const Picture &picture)
{
    auto *made = new TagLib::FLAC::Picture;
    made->setType(static_cast<TagLib::FLAC::Picture::Type>(picture.type & 0xFF));
    made->setMimeType(FromUtf8(picture.mime));
    made->setData(Bytes(picture.data));
    return made;
}

// The files' tags own what is added to them.
void AddPicture(TagFile &file, const Picture &picture)
{
    if (TagLib::FLAC::File *flac = file.flac()) {
        flac->addPicture(FlacPicture(picture));
    } else if (TagLib::Ogg::XiphComment *comment = file.xiph()) {
        comment->addPicture(FlacPicture(picture));
    } else {
        auto *frame = new TagLib::ID3v2::AttachedPictureFrame;
        frame->setType(static_cast<TagLib::ID3v2::AttachedPictureFrame::Type>(picture.type & 0xFF));
        frame->setMimeType(FromUtf8(picture.mime));
        frame->setPicture(Bytes(picture.data));
        file.id3()->addFrame(frame);
    }
}

// A block of FLAC metadata counts its bytes in 24 bits; the picture's own fields come on top.
bool FitsInto(TagKind kind, const Picture &picture)
{
    constexpr size_t kMostInFlac = (size_t{1} << 24) - 4096;
    return kind != TagKind::Flac || picture.data.size() < kMostInFlac;
}

} // namespace

void WriteTags(const std::filesystem::path &path, TagKind kind, const TagBlock *block, uint64_t end,
               const std::string &shownName, std::vector<std::string> &warnings)
{
    TagFile file(path, kind, TagStream::Access::Change);
    if (!file.IsValid()) {
        warnings.push_back(shownName + ": the tags could not be written");
        return;
    }
    const std::vector<Chapter> chapters = ChaptersOf(block);
    TagLib::PropertyMap properties = TextTags(block);
    if (file.xiph())
        AddChapterTags(chapters, properties);
    for (const TagLib::String &key : file.SetProperties(properties))
        warnings.push_back(shownName + ": the tag " + key.to8Bit(true) +
                           " can't be stored in this type of file");
    if (TagLib::ID3v2::Tag *tag = file.id3())
        AddChapterFrames(chapters, end, *tag);
    for (const Picture &picture : PicturesOf(block)) {
        if (FitsInto(kind, picture))
            AddPicture(file, picture);
        else
            warnings.push_back(shownName +
                               ": a picture of more than 16 MiB doesn't fit into FLAC and is left out");
    }
    const std::error_code error = file.Save();
    if (error == std::errc::not_supported)
        warnings.push_back(shownName + ": the tags could not be written");
    else if (error)
        throw Failure(shownName + ": writing the tags failed: " + error.message());
}

} // namespace tonekit::host
