// tag_reader.cpp: text, pictures and chapters out of ID3v2 tags, Vorbis comments and others.
#include "host/tags/tag_reader.h"

#include "host/libav/libav_files.h"
#include "host/system/failure.h"
#include "host/system/memory_bytes.h"
#include "host/system/memory_limit.h"
#include "host/system/paths.h"
#include "host/tags/ape_tags.h"
#include "host/tags/mp4_tags.h"
#include "host/tags/tag_file.h"
#include "host/tags/tag_parts.h"

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

// Brings what a file holds into a block, as far as its count and its size stay within reason: a block is
// searched from its start for each item that is added.
class Intake {
public:
    Intake(const TagChoice &choice, TagBlock *block)
        : choice_(choice), filler_(block), pictureBytesLeft_(MemoryLimit() / 8)
    {}

    const TagChoice &choice() const { return choice_; }

    void Text(const std::string &key, const std::string &value)
    {
        if (texts_ == kMostTexts || key.size() + value.size() > textBytesLeft_) {
            ++textsLeftOut_;
            return;
        }
        ++texts_;
        textBytesLeft_ -= key.size() + value.size();
        filler_.AddText(key, value);
    }

    void Chapter(uint32_t number, uint64_t position, const std::string &title)
    {
        if (chapters_ == kMostChapters || title.size() > textBytesLeft_) {
            ++chaptersLeftOut_;
            return;
        }
        ++chapters_;
        textBytesLeft_ -= title.size();
        filler_.AddChapter(number, position, title);
    }

    void Picture(int type, const std::string &mime, const void *data, size_t size)
    {
        if (type == kFrontCover && !choice_.frontCover)
            return;
        if (size > pictureBytesLeft_) {
            ++picturesLeftOut_;
            return;
        }
        pictureBytesLeft_ -= size;
        filler_.AddPicture(type, mime, data, size);
    }

    void Picture(int type, const TagLib::String &mime, const TagLib::ByteVector &data)
    {
        Picture(type, Utf8(mime), data.data(), data.size());
    }

    void Tell(const std::string &name, std::vector<std::string> &warnings) const
    {
        const auto tell = [&](size_t count, const char *one, const char *many, const char *why) {
            if (count > 0)
                warnings.push_back(name + ": " + std::to_string(count) + " " + (count == 1 ? one : many) +
                                   why);
        };
        tell(textsLeftOut_, "text tag is", "text tags are", " left out: more than a file may have");
        tell(chaptersLeftOut_, "chapter is", "chapters are", " left out: more than a file may have");
        tell(picturesLeftOut_, "picture is", "pictures are",
             " left out: more memory than pictures may take (--memory allows more)");
    }

private:
    static constexpr size_t kMostTexts = 4096;
    static constexpr size_t kMostChapters = 4096;

    const TagChoice &choice_;
    TagBlockFiller filler_;
    size_t texts_ = 0;
    size_t chapters_ = 0;
    size_t textBytesLeft_ = size_t{16} << 20;
    uint64_t pictureBytesLeft_;
    size_t textsLeftOut_ = 0;
    size_t chaptersLeftOut_ = 0;
    size_t picturesLeftOut_ = 0;
};

void AddPictures(const TagLib::List<TagLib::FLAC::Picture *> &pictures, Intake &intake)
{
    for (const TagLib::FLAC::Picture *picture : pictures)
        intake.Picture(picture->type(), picture->mimeType(), picture->data());
}

void AddId3Pictures(const TagLib::ID3v2::Tag &tag, Intake &intake)
{
    for (const TagLib::ID3v2::Frame *frame : tag.frameList("APIC")) {
        if (const auto *picture = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame *>(frame))
            intake.Picture(picture->type(), picture->mimeType(), picture->picture());
    }
}

// Chapters of ID3v2 have times in milliseconds and no numbers.
void AddId3Chapters(const TagLib::ID3v2::Tag &tag, Intake &intake)
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
    uint32_t number = 0;
    for (const Chapter &chapter : chapters)
        intake.Chapter(++number, chapter.position, chapter.name);
}

// Text tags, and the chapters of Vorbis comments, which are pairs of text tags too.
void AddProperties(const TagLib::PropertyMap &properties, Intake &intake, std::vector<std::string> &warnings,
                   const std::string &name)
{
    for (const auto &[keyText, values] : properties) {
        const std::string key = Utf8(keyText);
        if (CHAPTERNAME_Get_Number(key.c_str()) != 0)
            continue;
        if (const uint32_t number = CHAPTER_Get_Number(key.c_str())) {
            uint64_t position = 0;
            if (!intake.choice().chapters)
                continue;
            if (!CHAPTER_HMS_String_To_Position100nS(Joined(values).c_str(), &position)) {
                warnings.push_back(name + ": the time of " + key +
                                   " can't be understood; the chapter is left out");
                continue;
            }
            const std::string title = Joined(properties[keyText + "NAME"]);
            intake.Chapter(number, position, title);
        } else if (intake.choice().text(key)) {
            intake.Text(key, Joined(values));
        }
    }
}

// A tag whose header claims content, and whose content holds no frame.
bool IsBroken(const TagLib::ID3v2::Tag &tag)
{
    return tag.header() && tag.header()->tagSize() > 0 && tag.frameList().isEmpty();
}

void ReadTagsOf(TagFile &file, const std::string &name, Intake &intake, std::vector<std::string> &warnings)
{
    file.CheckSystem(name);
    if (const char *const start = file.MissingStart()) {
        warnings.push_back(name + ": the file doesn't begin with " + start + ": tags in it are not read");
        return;
    }
    if (!file.IsValid()) {
        warnings.push_back(name +
                           (file.IsTooLarge()
                                ? ": the tags need too much memory and are left out (--memory allows more)"
                            : file.IsTooLong() ? ": the file is too long for its tags to be read"
                                               : ": the tags are broken and are left out"));
        return;
    }
    TellIllFormedTexts(file, name, warnings);
    AddProperties(file.Properties(), intake, warnings, name);
    if (const TagLib::ID3v2::Tag *tag = file.id3()) {
        if (IsBroken(*tag))
            warnings.push_back(name + ": the ID3 tag is broken and is left out");
        TellEncryptedFrames(*tag, name, warnings);
        AddId3Pictures(*tag, intake);
        if (intake.choice().chapters)
            AddId3Chapters(*tag, intake);
    }
    if (TagLib::Ogg::XiphComment *comment = file.xiph())
        AddPictures(comment->pictureList(), intake);
    if (TagLib::FLAC::File *flac = file.flac())
        AddPictures(flac->pictureList(), intake);
    if (const TagLib::MP4::Tag *tag = file.mp4()) {
        for (const Picture &picture : Mp4Pictures(*tag))
            intake.Picture(picture.type, picture.mime, picture.data.data(), picture.data.size());
    }
    if (const TagLib::APE::Tag *tag = file.ape()) {
        for (const Picture &picture : ApePictures(*tag))
            intake.Picture(picture.type, picture.mime, picture.data.data(), picture.data.size());
    }
}

// What libavformat alone understands: chapters and pictures, and texts where TagLib doesn't know the type.
void ReadLibavTags(ByteStream &stream, const std::string &name, TagKind kind, Intake &intake,
                   std::vector<std::string> &warnings)
{
    LibavTags tags;
    try {
        tags = TagsThroughLibav(stream);
    } catch (const Failure &failure) {
        warnings.push_back(name + ": chapters and pictures are left out: " + failure.what());
        return;
    } catch (const std::system_error &error) {
        throw Failure(name + ": reading the tags failed: " + error.code().message());
    }
    for (const auto &[key, value] : tags.texts) {
        if (kind == TagKind::Libav && intake.choice().text(key))
            intake.Text(key, value);
    }
    for (const Picture &picture : tags.pictures) {
        if (kind != TagKind::Mp4)
            intake.Picture(picture.type, picture.mime, picture.data.data(), picture.data.size());
    }
    uint32_t number = 0;
    for (const Chapter &chapter : tags.chapters) {
        if (intake.choice().chapters)
            intake.Chapter(++number, chapter.position, chapter.name);
    }
}

} // namespace

void ReadTags(const std::filesystem::path &path, TagKind kind, const TagChoice &choice, TagBlock *block,
              std::vector<std::string> &warnings)
{
    if (kind == TagKind::None)
        return;
    const std::string name = Utf8Name(path);
    Intake intake(choice, block);
    if (kind != TagKind::Libav) {
        TagFile tags(path, kind, TagStream::Access::Read);
        ReadTagsOf(tags, name, intake, warnings);
    }
    if (IsReadThroughLibav(kind)) {
        File file;
        if (const std::error_code error = file.OpenToRead(path))
            throw Failure(name + ": " + error.message());
        ReadLibavTags(file, name, kind, intake, warnings);
    }
    intake.Tell(name, warnings);
}

void ReadTags(std::span<const unsigned char> beginning, const std::string &name, TagKind kind,
              const TagChoice &choice, TagBlock *block, std::vector<std::string> &warnings)
{
    if (kind == TagKind::None)
        return;
    Intake intake(choice, block);
    if (kind != TagKind::Libav) {
        TagFile tags(beginning, kind);
        ReadTagsOf(tags, name, intake, warnings);
    }
    if (IsReadThroughLibav(kind)) {
        MemoryBytes stream(beginning);
        ReadLibavTags(stream, name, kind, intake, warnings);
    }
    intake.Tell(name, warnings);
}

} // namespace tonekit::host
