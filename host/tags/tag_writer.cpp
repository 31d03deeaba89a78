// tag_writer.cpp: text, pictures and chapters into ID3v2 tags and Vorbis comments.
#include "host/tags/tag_writer.h"

#include "host/system/failure.h"
#include "host/tags/tag_file.h"
#include "host/tags/tag_parts.h"

namespace tonekit::host {

namespace {

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

} // namespace

void WriteTags(const std::filesystem::path &path, TagKind kind, const TagBlock *block, uint64_t end,
               const std::string &shownName, std::vector<std::string> &warnings)
{
    TagFile file(path, kind, TagStream::Access::Change);
    file.CheckSystem(shownName);
    if (!file.IsValid()) {
        warnings.push_back(shownName + ": the tags could not be written");
        return;
    }
    const std::vector<Chapter> chapters = ChaptersOf(block);
    TagLib::PropertyMap properties = TextTags(block);
    AddChapters(file, properties, chapters, end);
    for (const TagLib::String &key : file.SetProperties(properties))
        warnings.push_back(shownName + ": the tag " + key.to8Bit(true) +
                           " can't be stored in this type of file");
    for (const Picture &picture : PicturesOf(block)) {
        if (!AddPicture(file, picture))
            warnings.push_back(shownName +
                               ": a picture of more than 16 MiB doesn't fit into FLAC and is left out");
    }
    const std::error_code error = file.Save();
    if (error == std::errc::not_supported)
        warnings.push_back(shownName + ": the tags could not be written");
    else if (error)
        throw Failure(shownName + ": writing the tags failed: " + error.message());
    if (kind == TagKind::Mp4 && !chapters.empty())
        StoreMp4Chapters(path, chapters, shownName, warnings);
}

} // namespace tonekit::host
