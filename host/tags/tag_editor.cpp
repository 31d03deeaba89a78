// tag_editor.cpp: edits in the tags' own forms, so that what isn't touched keeps all its details.
#include "host/tags/tag_editor.h"

#include "host/audio/ogg_pages.h"
#include "host/system/failure.h"
#include "host/tags/cover.h"
#include "host/tags/tag_file.h"
#include "host/tags/tag_parts.h"
#include "host/tags/tag_reader.h"

namespace tonekit::host {

namespace {

class Editor {
public:
    Editor(TagFile &file, const TagEdit &edit, const std::string &shownName,
           std::vector<std::string> &warnings)
        : file_(file), edit_(edit), shownName_(shownName), warnings_(warnings), texts_(file.Properties())
    {}

    void Run(uint64_t end, const std::vector<Picture> &pictures)
    {
        if (edit_.removeOthers)
            RemoveAll();
        else
            TellIllFormedTexts(file_, shownName_, warnings_);
        RemoveEncrypted();
        for (const auto &[key, value] : edit_.texts)
            SetText(key, value);
        if (edit_.chapters) {
            RemoveChapters(file_, texts_);
            AddChapters(file_, texts_, *edit_.chapters, end);
        }
        for (const TagLib::String &key : file_.SetProperties(texts_))
            warnings_.push_back(shownName_ + ": the tag " + key.to8Bit(true) +
                                " can't be stored in this type of file");
        if (edit_.pictureSize != 0 && !edit_.removeOthers)
            FitPictures(pictures);
        if (edit_.cover) {
            RemovePictures(file_, [](int type) { return type == kFrontCover; });
            Add(*edit_.cover);
        }
    }

private:
    void RemoveAll()
    {
        texts_.clear();
        RemovePictures(file_, [](int) { return true; });
        RemoveAllFrames(file_);
    }

    void RemoveEncrypted()
    {
        TagLib::ID3v2::Tag *const tag = file_.id3();
        if (!tag)
            return;
        TellEncryptedFrames(*tag, shownName_, warnings_);
        for (TagLib::ID3v2::Frame *frame : EncryptedFrames(*tag))
            tag->removeFrame(frame);
    }

    void SetText(const std::string &key, const std::string &value)
    {
        texts_.erase(FromUtf8(key));
        if (!value.empty())
            texts_.insert(FromUtf8(key), TagLib::StringList(FromUtf8(value)));
    }

    void FitPictures(std::vector<Picture> pictures)
    {
        bool changed = false;
        for (Picture &picture : pictures) {
            const size_t before = picture.data.size();
            const std::string mime = picture.mime;
            FitPicture(picture, shownName_, edit_.pictureSize, edit_.pictureQuality, warnings_);
            changed = changed || picture.data.size() != before || picture.mime != mime;
        }
        if (!changed)
            return;
        RemovePictures(file_, [](int) { return true; });
        for (const Picture &picture : pictures)
            Add(picture);
    }

    void Add(const Picture &picture)
    {
        if (!AddPicture(file_, picture))
            warnings_.push_back(shownName_ +
                                ": a picture of more than 16 MiB doesn't fit into FLAC and is left out");
    }

    TagFile &file_;
    const TagEdit &edit_;
    const std::string &shownName_;
    std::vector<std::string> &warnings_;
    TagLib::PropertyMap texts_;
};

std::vector<Picture> PicturesIn(const std::filesystem::path &path, TagKind kind)
{
    const TagBlockPointer block = NewTagBlock();
    std::vector<std::string> ignored;
    TagChoice choice;
    choice.text = [](const std::string &) { return false; };
    choice.chapters = false;
    ReadTags(path, kind, choice, block.get(), ignored);
    return PicturesOf(block.get());
}

// TagLib gives pages after longer tags new numbers and checksums, and what was broken or missing would look
// whole.
void CheckPages(const std::filesystem::path &path, const std::string &shownName)
{
    File file;
    std::error_code error = file.OpenToRead(path);
    bool broken = false;
    try {
        broken = !error && PagesOfOgg(file).HasBroken();
    } catch (const std::system_error &failed) {
        error = failed.code();
    }
    if (error)
        throw Failure(shownName + ": reading the tags failed: " + error.message());
    if (broken)
        throw Failure(shownName +
                      ": the audio is damaged (a page of it is broken or missing): its tags can't "
                      "be changed");
}

} // namespace

void EditTags(const std::filesystem::path &path, TagKind kind, const TagEdit &edit, uint64_t end,
              const std::string &shownName, std::vector<std::string> &warnings)
{
    const std::vector<Picture> pictures =
        edit.pictureSize != 0 ? PicturesIn(path, kind) : std::vector<Picture>();
    if (kind == TagKind::Vorbis || kind == TagKind::Opus)
        CheckPages(path, shownName);
    TagFile file(path, kind, TagStream::Access::Change);
    file.CheckSystem(shownName);
    if (const char *const start = file.MissingStart())
        throw Failure(shownName + ": the file doesn't begin with " + start + ": its tags can't be changed");
    if (!file.IsValid())
        throw Failure(
            shownName +
            (file.IsTooLarge()  ? ": the tags need too much memory to be changed (--memory allows more)"
             : file.IsTooLong() ? ": the file is too long for its tags to be changed"
             : file.boxes() == Mp4Boxes::TooManyPlaces
                 ? ": its header counts more places of samples than it lists: its tags can't be changed"
             : file.boxes() == Mp4Boxes::TooLong
                 ? ": a box of its header is longer than the one around it: its tags can't be changed"
             : file.boxes() == Mp4Boxes::AmongTags
                 ? ": some of its sound is among its tags, which can't be changed"
                 : ": the tags are broken and can't be changed"));
    Editor(file, edit, shownName, warnings).Run(end, pictures);
    const std::error_code error =
        file.Save(edit.removeOthers ? TagFile::Forms::New : TagFile::Forms::AsFound);
    if (error == std::errc::not_supported)
        throw Failure(shownName + ": the tags could not be written");
    if (error)
        throw Failure(shownName + ": writing the tags failed: " + error.message());
    if (kind == TagKind::Mp4 && (edit.chapters || edit.removeOthers))
        StoreMp4Chapters(path, edit.chapters.value_or(std::vector<Chapter>()), shownName, warnings);
}

} // namespace tonekit::host
