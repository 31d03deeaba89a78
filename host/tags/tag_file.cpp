// tag_file.cpp: TagLib's files by kind.
#include "host/tags/tag_file.h"

#include "host/system/failure.h"
#include "host/system/memory_limit.h"
#include "host/tags/ape_size.h"
#include "host/tags/flac_walk.h"
#include "host/tags/mp4_tags.h"
#include "host/tags/xiph_texts.h"

#include <aifffile.h>
#include <apefile.h>
#include <apetag.h>
#include <asffile.h>
#include <id3v1tag.h>
#include <id3v2framefactory.h>
#include <id3v2header.h>
#include <infotag.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <new>
#include <opusfile.h>
#include <vorbisfile.h>
#include <wavfile.h>
#include <wavpackfile.h>

namespace tonekit::host {

namespace {

// Lengths and rates are libsndfile's business.
constexpr bool kReadAudioProperties = false;

std::unique_ptr<TagLib::File> OpenFile(TagStream &stream, TagKind kind)
{
    TagLib::ID3v2::FrameFactory *const frames = TagLib::ID3v2::FrameFactory::instance();
    switch (kind) {
    case TagKind::None:
    case TagKind::Libav:
        return nullptr;
    case TagKind::Wav:
        return std::make_unique<TagLib::RIFF::WAV::File>(&stream, kReadAudioProperties);
    case TagKind::Aiff:
        return std::make_unique<TagLib::RIFF::AIFF::File>(&stream, kReadAudioProperties);
    case TagKind::Flac:
        return std::make_unique<TagLib::FLAC::File>(&stream, frames, kReadAudioProperties);
    case TagKind::Vorbis:
        return std::make_unique<TagLib::Ogg::Vorbis::File>(&stream, kReadAudioProperties);
    case TagKind::Opus:
        return std::make_unique<TagLib::Ogg::Opus::File>(&stream, kReadAudioProperties);
    case TagKind::Mpeg:
        return std::make_unique<TagLib::MPEG::File>(&stream, frames, kReadAudioProperties);
    case TagKind::Mp4:
        return std::make_unique<TagLib::MP4::File>(&stream, kReadAudioProperties);
    case TagKind::WavPack:
        return std::make_unique<TagLib::WavPack::File>(&stream, kReadAudioProperties);
    case TagKind::Ape:
        return std::make_unique<TagLib::APE::File>(&stream, kReadAudioProperties);
    case TagKind::Asf:
        return std::make_unique<TagLib::ASF::File>(&stream, kReadAudioProperties);
    }
    return nullptr;
}

// The letters that TagLib passes over; null for kinds where it looks at the beginning.
const char *StartOf(TagKind kind)
{
    return kind == TagKind::Wav ? "RIFF" : kind == TagKind::Aiff ? "FORM" : nullptr;
}

// Whether the file begins with a tag whose size isn't written with 7 bits in each byte. TagLib takes such a
// size for another one than players do, and would write over audio.
bool HasOddSize(TagStream &stream)
{
    const TagLib::ByteVector header = stream.readBlock(10);
    stream.seek(0, TagLib::IOStream::Beginning);
    bool odd = false;
    for (int i = 6; i < static_cast<int>(header.size()); ++i)
        odd = odd || (static_cast<unsigned char>(header[i]) & 0x80) != 0;
    return odd && header.startsWith("ID3");
}

bool HasTooManyBlocks(TagStream &stream)
{
    unsigned size = 0;
    const FlacWalk walk = GoToFlacBlock(stream, kNoFlacBlock, size);
    stream.seek(0, TagLib::IOStream::Beginning);
    return walk == FlacWalk::TooMany;
}

bool SaveMpeg(TagLib::MPEG::File &file, TagFile::Forms forms)
{
    using Mpeg = TagLib::MPEG::File;
    // By default MP3 files would get an older tag of 30 letters a field too.
    if (forms == TagFile::Forms::New)
        return file.save(Mpeg::ID3v2);
    const auto *const header = file.hasID3v2Tag() ? file.ID3v2Tag()->header() : nullptr;
    const bool older = header && header->majorVersion() == 3;
    return file.save(
        Mpeg::ID3v2 | (file.hasID3v1Tag() ? Mpeg::ID3v1 : 0) | (file.hasAPETag() ? Mpeg::APE : 0),
        TagLib::File::StripNone, older ? TagLib::ID3v2::v3 : TagLib::ID3v2::v4, TagLib::File::DoNotDuplicate);
}

// The tag of 30 letters a field, in files that have one; null elsewhere.
TagLib::ID3v1::Tag *OlderTag(TagLib::File &file, TagKind kind)
{
    if (kind == TagKind::Mpeg)
        return static_cast<TagLib::MPEG::File &>(file).ID3v1Tag();
    if (kind == TagKind::WavPack)
        return static_cast<TagLib::WavPack::File &>(file).ID3v1Tag();
    if (kind == TagKind::Ape)
        return static_cast<TagLib::APE::File &>(file).ID3v1Tag();
    return nullptr;
}

} // namespace

TagFile::TagFile(const std::filesystem::path &path, TagKind kind, TagStream::Access access)
    : kind_(kind), stream_(path, access), tooLong_(stream_.isOpen() && stream_.IsTooLong())
{
    Open();
}

TagFile::TagFile(std::span<const unsigned char> beginning, TagKind kind)
    : kind_(kind), stream_(beginning), tooLong_(false)
{
    Open();
}

void TagFile::Open()
{
    if (!stream_.isOpen() || tooLong_)
        return;
    if (const char *const start = StartOf(kind_)) {
        if (stream_.readBlock(4) != TagLib::ByteVector(start)) {
            missingStart_ = start;
            return;
        }
        stream_.seek(0, TagLib::IOStream::Beginning);
    }
    const bool mayEndInApe = kind_ == TagKind::Mpeg || kind_ == TagKind::WavPack || kind_ == TagKind::Ape;
    if (HasOddSize(stream_) || (mayEndInApe && !stream_.readOnly() && HasOddApeSize(stream_)))
        return;
    if (kind_ == TagKind::Flac && HasTooManyBlocks(stream_))
        return;
    if (kind_ == TagKind::Mp4) {
        boxes_ = LookAtMp4Boxes(stream_);
        if (boxes_ == Mp4Boxes::TooDeep || (boxes_ != Mp4Boxes::Sound && !stream_.readOnly()))
            return;
    }
    // Tags can claim any size, and compressed frames unfold to a thousand times theirs. What comes after,
    // as pictures are copied and written, takes as much again.
    AllocationBudget budget(MemoryLimit() * 3 / 8);
    try {
        file_ = OpenFile(stream_, kind_);
    } catch (const std::bad_alloc &) {
        if (!budget.exceeded())
            throw;
        tooLarge_ = true;
        return;
    }
    if (kind_ == TagKind::Mpeg && !stream_.readOnly() && HasLaterTag()) {
        missingStart_ = "its ID3 tag";
        file_.reset();
    }
}

// Whether there is a tag after other bytes of an MP3 file. They can be audio, the tag's letters by chance.
bool TagFile::HasLaterTag()
{
    stream_.seek(0, TagLib::IOStream::Beginning);
    return static_cast<TagLib::MPEG::File &>(*file_).hasID3v2Tag() &&
           stream_.readBlock(3) != TagLib::ByteVector("ID3");
}

void TagFile::CheckSystem(const std::string &shownName) const
{
    if (stream_.error())
        throw Failure(shownName + ": reading the tags failed: " + stream_.error().message());
}

TagLib::PropertyMap TagFile::Properties() const
{
    if (kind_ == TagKind::Mp4)
        return Mp4Properties(*mp4());
    return file_->properties();
}

size_t TagFile::IllFormedTexts()
{
    if (kind_ == TagKind::Flac)
        return IllFormedFlacTexts(stream_);
    if (kind_ == TagKind::Vorbis || kind_ == TagKind::Opus)
        return IllFormedOggTexts(static_cast<TagLib::Ogg::File &>(*file_));
    return 0;
}

TagLib::ID3v2::Tag *TagFile::id3() const
{
    if (kind_ == TagKind::Wav)
        return static_cast<TagLib::RIFF::WAV::File *>(file_.get())->ID3v2Tag();
    if (kind_ == TagKind::Aiff)
        return static_cast<TagLib::RIFF::AIFF::File *>(file_.get())->tag();
    if (kind_ == TagKind::Mpeg)
        return static_cast<TagLib::MPEG::File *>(file_.get())->ID3v2Tag(true);
    return nullptr;
}

TagLib::Ogg::XiphComment *TagFile::xiph() const
{
    if (kind_ == TagKind::Flac)
        return static_cast<TagLib::FLAC::File *>(file_.get())->xiphComment(true);
    if (kind_ == TagKind::Vorbis)
        return static_cast<TagLib::Ogg::Vorbis::File *>(file_.get())->tag();
    if (kind_ == TagKind::Opus)
        return static_cast<TagLib::Ogg::Opus::File *>(file_.get())->tag();
    return nullptr;
}

TagLib::MP4::Tag *TagFile::mp4() const
{
    return kind_ == TagKind::Mp4 ? static_cast<TagLib::MP4::File *>(file_.get())->tag() : nullptr;
}

TagLib::APE::Tag *TagFile::ape() const
{
    if (kind_ == TagKind::WavPack)
        return static_cast<TagLib::WavPack::File *>(file_.get())->APETag(true);
    if (kind_ == TagKind::Ape)
        return static_cast<TagLib::APE::File *>(file_.get())->APETag(true);
    return nullptr;
}

TagLib::FLAC::File *TagFile::flac() const
{
    return kind_ == TagKind::Flac ? static_cast<TagLib::FLAC::File *>(file_.get()) : nullptr;
}

TagLib::StringList TagFile::SetProperties(const TagLib::PropertyMap &properties)
{
    if (TagLib::MP4::Tag *const tag = mp4()) {
        SetMp4Properties(*tag, properties);
        return {};
    }
    const TagLib::PropertyMap refused = id3()   ? id3()->setProperties(properties)
                                        : ape() ? ape()->setProperties(properties)
                                                : xiph()->setProperties(properties);
    // Many players of WAV files know only the few fields of the older form.
    if (kind_ == TagKind::Wav)
        static_cast<TagLib::RIFF::WAV::File *>(file_.get())
            ->InfoTag()
            ->TagLib::Tag::setProperties(properties);
    if (TagLib::ID3v1::Tag *const older = OlderTag(*file_, kind_))
        older->setProperties(properties);
    if (kind_ == TagKind::Mpeg) {
        auto *const mpeg = static_cast<TagLib::MPEG::File *>(file_.get());
        if (mpeg->APETag())
            mpeg->APETag()->setProperties(properties);
    }
    TagLib::StringList keys;
    for (const auto &[key, values] : refused)
        keys.append(key);
    return keys;
}

std::error_code TagFile::Save(Forms forms)
{
    auto *const mpeg = kind_ == TagKind::Mpeg ? static_cast<TagLib::MPEG::File *>(file_.get()) : nullptr;
    const bool done = mpeg ? SaveMpeg(*mpeg, forms) : file_->save();
    stream_.Close();
    if (stream_.error())
        return stream_.error();
    return done ? std::error_code() : std::make_error_code(std::errc::not_supported);
}

} // namespace tonekit::host
