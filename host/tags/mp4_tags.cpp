// mp4_tags.cpp: texts, also those that TagLib has no name for, such as ReplayGain's, and covers.
#include "host/tags/mp4_tags.h"

#include "host/pictures/picture_facts.h"

#include <mp4coverart.h>

namespace tonekit::host {

namespace {

// Texts of any name: this, the author of the name, and the name.
constexpr const char *kFreeForm = "----:";
constexpr const char *kOurFreeForm = "----:com.apple.iTunes:";
constexpr const char *kCovers = "covr";

// What encoders leave for players, which isn't true of other encodings.
constexpr const char *kOfCoders = "ITUN";

// The name of a text that TagLib has no name for; empty for other items.
TagLib::String FreeKey(const TagLib::String &item)
{
    if (!item.startsWith(kFreeForm))
        return {};
    const TagLib::String key = item.substr(static_cast<unsigned int>(item.rfind(":") + 1)).upper();
    return key.startsWith(kOfCoders) ? TagLib::String() : key;
}

TagLib::MP4::CoverArt::Format FormOf(PictureKind kind)
{
    using Cover = TagLib::MP4::CoverArt;
    switch (kind) {
    case PictureKind::Jpeg:
        return Cover::JPEG;
    case PictureKind::Png:
        return Cover::PNG;
    case PictureKind::Gif:
        return Cover::GIF;
    case PictureKind::Bmp:
        return Cover::BMP;
    default:
        return Cover::Unknown;
    }
}

} // namespace

TagLib::PropertyMap Mp4Properties(const TagLib::MP4::Tag &tag)
{
    TagLib::PropertyMap properties = tag.properties();
    const TagLib::StringList others = properties.unsupportedData();
    for (const TagLib::String &item : others) {
        const TagLib::String key = FreeKey(item);
        if (!key.isEmpty())
            properties.insert(key, tag.item(item).toStringList());
    }
    return properties;
}

void SetMp4Properties(TagLib::MP4::Tag &tag, const TagLib::PropertyMap &properties)
{
    const TagLib::StringList others = tag.properties().unsupportedData();
    for (const TagLib::String &item : others) {
        if (!FreeKey(item).isEmpty())
            tag.removeItem(item);
    }
    for (const auto &[key, values] : tag.setProperties(properties))
        tag.setItem(kOurFreeForm + key, TagLib::MP4::Item(values));
}

std::vector<Picture> Mp4Pictures(const TagLib::MP4::Tag &tag)
{
    std::vector<Picture> pictures;
    if (!tag.contains(kCovers))
        return pictures;
    for (const TagLib::MP4::CoverArt &cover : tag.item(kCovers).toCoverArtList()) {
        const TagLib::ByteVector data = cover.data();
        Picture picture;
        picture.type = kFrontCover;
        picture.data.assign(data.begin(), data.end());
        picture.mime = MimeTypeOf(FactsOf(picture.data).kind);
        pictures.push_back(std::move(picture));
    }
    return pictures;
}

void AddMp4Picture(TagLib::MP4::Tag &tag, const Picture &picture)
{
    TagLib::MP4::CoverArtList covers;
    if (tag.contains(kCovers))
        covers = tag.item(kCovers).toCoverArtList();
    covers.append(
        TagLib::MP4::CoverArt(FormOf(FactsOf(picture.data).kind),
                              TagLib::ByteVector(reinterpret_cast<const char *>(picture.data.data()),
                                                 static_cast<unsigned int>(picture.data.size()))));
    tag.setItem(kCovers, covers);
}

void RemoveMp4Pictures(TagLib::MP4::Tag &tag)
{
    tag.removeItem(kCovers);
}

void RemoveAllMp4Items(TagLib::MP4::Tag &tag)
{
    const TagLib::MP4::ItemMap items = tag.itemMap();
    for (const auto &[name, item] : items)
        tag.removeItem(name);
}

} // namespace tonekit::host
