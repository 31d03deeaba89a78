// tag_parts.cpp: chapters and pictures in the forms of ID3v2, of Vorbis comments and of APE tags.
#include "host/tags/tag_parts.h"

#include "host/pictures/picture_facts.h"
#include "host/system/failure.h"
#include "host/tags/ape_tags.h"
#include "host/tags/mp4_chapters.h"
#include "host/tags/mp4_tags.h"

#include <algorithm>
#include <attachedpictureframe.h>
#include <chapterframe.h>
#include <cstdio>
#include <tableofcontentsframe.h>
#include <textidentificationframe.h>
#include <tonekit/tags.h>
#include <unknownframe.h>

namespace tonekit::host {

namespace {

TagLib::ByteVector Bytes(const std::vector<uint8_t> &data)
{
    return TagLib::ByteVector(reinterpret_cast<const char *>(data.data()),
                              static_cast<unsigned int>(data.size()));
}

// The number of a chapter as its keys have it: three digits or more.
std::string ChapterKey(size_t number)
{
    char key[40];
    std::snprintf(key, sizeof(key), "CHAPTER%03zu", number);
    return key;
}

// Vorbis comments keep chapters as text tags, and so do APE tags here, which have no form for them.
void AddChapterTags(const std::vector<Chapter> &chapters, TagLib::PropertyMap &properties)
{
    for (size_t i = 0; i < chapters.size(); ++i) {
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
    for (size_t i = 0; i < chapters.size(); ++i) {
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
    const PictureFacts facts = FactsOf(picture.data);
    made->setWidth(static_cast<int>(facts.width));
    made->setHeight(static_cast<int>(facts.height));
    made->setColorDepth(static_cast<int>(facts.depth));
    made->setNumColors(static_cast<int>(facts.colors));
    return made;
}

// A block of FLAC metadata counts its bytes in 24 bits; the picture's own fields come on top.
bool FitsInto(TagKind kind, const Picture &picture)
{
    constexpr size_t kMostInFlac = (size_t{1} << 24) - 4096;
    return kind != TagKind::Flac || picture.data.size() < kMostInFlac;
}

// What a list holds, to walk over while it shrinks. A copy of the list itself would own, and delete, too.
template <class Item>
std::vector<Item *> PointersOf(const TagLib::List<Item *> &list)
{
    return std::vector<Item *>(list.begin(), list.end());
}

} // namespace

TagLib::String FromUtf8(const std::string &text)
{
    return TagLib::String(text, TagLib::String::UTF8);
}

void AddChapters(TagFile &file, TagLib::PropertyMap &properties, const std::vector<Chapter> &chapters,
                 uint64_t end)
{
    if (file.xiph() || file.ape())
        AddChapterTags(chapters, properties);
    else if (file.id3())
        AddChapterFrames(chapters, end, *file.id3());
}

void RemoveChapters(TagFile &file, TagLib::PropertyMap &properties)
{
    TagLib::StringList keys;
    for (const auto &[key, values] : properties) {
        const std::string name = key.to8Bit(true);
        if (CHAPTER_Get_Number(name.c_str()) != 0 || CHAPTERNAME_Get_Number(name.c_str()) != 0)
            keys.append(key);
    }
    for (const TagLib::String &key : keys)
        properties.erase(key);
    if (TagLib::ID3v2::Tag *tag = file.id3()) {
        tag->removeFrames("CHAP");
        tag->removeFrames("CTOC");
    }
}

// The files' tags own what is added to them.
bool AddPicture(TagFile &file, const Picture &picture)
{
    if (!FitsInto(file.kind(), picture))
        return false;
    if (TagLib::FLAC::File *flac = file.flac()) {
        flac->addPicture(FlacPicture(picture));
    } else if (TagLib::Ogg::XiphComment *comment = file.xiph()) {
        comment->addPicture(FlacPicture(picture));
    } else if (TagLib::MP4::Tag *mp4 = file.mp4()) {
        AddMp4Picture(*mp4, picture);
    } else if (TagLib::APE::Tag *ape = file.ape()) {
        SetApePicture(*ape, picture);
    } else {
        auto *frame = new TagLib::ID3v2::AttachedPictureFrame;
        frame->setType(static_cast<TagLib::ID3v2::AttachedPictureFrame::Type>(picture.type & 0xFF));
        frame->setMimeType(FromUtf8(picture.mime));
        frame->setPicture(Bytes(picture.data));
        file.id3()->addFrame(frame);
    }
    return true;
}

void RemovePictures(TagFile &file, const std::function<bool(int type)> &goes)
{
    if (TagLib::FLAC::File *flac = file.flac()) {
        for (TagLib::FLAC::Picture *picture : PointersOf(flac->pictureList())) {
            if (goes(picture->type()))
                flac->removePicture(picture);
        }
    }
    if (TagLib::Ogg::XiphComment *comment = file.xiph()) {
        for (TagLib::FLAC::Picture *picture : PointersOf(comment->pictureList())) {
            if (goes(picture->type()))
                comment->removePicture(picture);
        }
    }
    if (TagLib::MP4::Tag *mp4 = file.mp4(); mp4 && goes(kFrontCover))
        RemoveMp4Pictures(*mp4);
    if (TagLib::APE::Tag *ape = file.ape())
        RemoveApePictures(*ape, goes);
    if (TagLib::ID3v2::Tag *tag = file.id3()) {
        for (TagLib::ID3v2::Frame *frame : PointersOf(tag->frameList("APIC"))) {
            const auto *picture = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame *>(frame);
            if (picture && goes(picture->type()))
                tag->removeFrame(frame);
        }
    }
}

void RemoveAllFrames(TagFile &file)
{
    if (TagLib::ID3v2::Tag *tag = file.id3()) {
        for (TagLib::ID3v2::Frame *frame : PointersOf(tag->frameList()))
            tag->removeFrame(frame);
    }
    if (TagLib::MP4::Tag *mp4 = file.mp4())
        RemoveAllMp4Items(*mp4);
    if (TagLib::APE::Tag *ape = file.ape())
        RemoveAllApeItems(*ape);
}

std::vector<TagLib::ID3v2::Frame *> EncryptedFrames(const TagLib::ID3v2::Tag &tag)
{
    constexpr const char *kKnown[] = {"T",    "W",    "APIC", "CHAP", "COMM", "CTOC", "ETCO", "GEOB",
                                      "OWNE", "PCST", "POPM", "PRIV", "RVA2", "SYLT", "UFID", "USLT"};
    std::vector<TagLib::ID3v2::Frame *> found;
    for (TagLib::ID3v2::Frame *frame : PointersOf(tag.frameList())) {
        const TagLib::ByteVector id = frame->frameID();
        const auto isOf = [&](const char *name) { return id.startsWith(name); };
        if (dynamic_cast<const TagLib::ID3v2::UnknownFrame *>(frame) &&
            std::any_of(std::begin(kKnown), std::end(kKnown), isOf))
            found.push_back(frame);
    }
    return found;
}

void TellEncryptedFrames(const TagLib::ID3v2::Tag &tag, const std::string &shownName,
                         std::vector<std::string> &warnings)
{
    const std::vector<TagLib::ID3v2::Frame *> frames = EncryptedFrames(tag);
    if (frames.empty())
        return;
    const TagLib::ByteVector id = frames[0]->frameID();
    const std::string others =
        frames.size() > 1 ? " and " + std::to_string(frames.size() - 1) + " more" : std::string();
    warnings.push_back(shownName + ": encrypted frames of the ID3 tag are left out: " +
                       std::string(id.data(), id.size()) + others);
}

void TellIllFormedTexts(TagFile &file, const std::string &shownName, std::vector<std::string> &warnings)
{
    const size_t count = file.IllFormedTexts();
    if (count > 0)
        warnings.push_back(shownName + ": " + std::to_string(count) +
                           (count == 1 ? " text tag isn't UTF-8 and is left out"
                                       : " text tags aren't UTF-8 and are left out"));
}

void StoreMp4Chapters(const std::filesystem::path &path, const std::vector<Chapter> &chapters,
                      const std::string &shownName, std::vector<std::string> &warnings)
{
    if (chapters.size() > kMostMp4Chapters)
        warnings.push_back(shownName + ": M4A holds 255 chapters; the others are left out");
    try {
        File file;
        std::error_code error = file.OpenToChange(path);
        if (!error) {
            SetMp4Chapters(file, chapters);
            error = file.Close();
        }
        if (error)
            throw std::system_error(error);
    } catch (const std::system_error &error) {
        throw Failure(shownName + ": writing the tags failed: " + error.code().message());
    } catch (const Failure &failure) {
        throw Failure(shownName + ": the chapters can't be written: " + failure.what());
    }
}

} // namespace tonekit::host
