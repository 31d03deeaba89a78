// tag_file.h: an audio file as TagLib sees it, by the parts in which kinds of file differ.
#pragma once

#include "host/system/memory_limit.h"
#include "host/tags/mp4_boxes.h"
#include "host/tags/tag_kind.h"
#include "host/tags/tag_stream.h"

#include <apetag.h>
#include <filesystem>
#include <flacfile.h>
#include <id3v2tag.h>
#include <memory>
#include <mp4tag.h>
#include <tfile.h>
#include <tpropertymap.h>
#include <xiphcomment.h>

namespace tonekit::host {

class TagFile {
public:
    TagFile(const std::filesystem::path &path, TagKind kind, TagStream::Access access);
    // To read the tags at the beginning of a stream, whose first bytes these are.
    TagFile(std::span<const unsigned char> beginning, TagKind kind);

    // Whether TagLib understands the file.
    bool IsValid() const { return file_ && file_->isValid(); }
    bool IsTooLong() const { return tooLong_; }
    // Whether its tags need more memory than they may have.
    bool IsTooLarge() const { return tooLarge_; }
    // The four letters with which TagLib takes the file to begin, without a look, and with which it doesn't:
    // another order of bytes, or a tag before all; or that an MP3 file to be changed has its tag elsewhere.
    // Null if the file is as it should be.
    const char *MissingStart() const { return missingStart_; }
    // Of MP4 files. IsValid() is false where they are too deep, or a change would go wrong.
    Mp4Boxes boxes() const { return boxes_; }
    // Throws Failure if the system has failed so far: what TagLib makes of that looks like a broken tag.
    void CheckSystem(const std::string &shownName) const;
    TagKind kind() const { return kind_; }
    TagLib::PropertyMap Properties() const;
    // How many texts TagLib drops because they aren't UTF-8.
    size_t IllFormedTexts();

    // Where tags of this form are in the file; null for kinds that have another form.
    TagLib::ID3v2::Tag *id3() const;
    TagLib::Ogg::XiphComment *xiph() const;
    TagLib::MP4::Tag *mp4() const;
    // Of the files whose own tags have this form, not of MP3.
    TagLib::APE::Tag *ape() const;
    // FLAC files keep pictures outside their comment; null for other kinds.
    TagLib::FLAC::File *flac() const;

    // Sets the text tags, in all forms that the kind of file has, and returns those that it can't hold.
    TagLib::StringList SetProperties(const TagLib::PropertyMap &properties);
    // Whether the tags keep the forms in which they were found (older kinds besides the new one, the older
    // version of ID3v2), or have the one form that new files get.
    enum class Forms { New, AsFound };
    // Returns the error of the system, or std::errc::not_supported if TagLib refuses.
    std::error_code Save(Forms forms = Forms::New);

private:
    void Open();
    bool HasLaterTag();

    AllocationReserve reserve_; // before and after everything else
    TagKind kind_;
    TagStream stream_;
    bool tooLong_;
    bool tooLarge_ = false;
    const char *missingStart_ = nullptr;
    Mp4Boxes boxes_ = Mp4Boxes::Sound;
    std::unique_ptr<TagLib::File> file_;
};

} // namespace tonekit::host
