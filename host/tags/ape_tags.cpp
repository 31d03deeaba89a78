// ape_tags.cpp: pictures as binary items, whose keys say what they show.
#include "host/tags/ape_tags.h"

#include "host/pictures/picture_facts.h"

#include <iterator>
#include <optional>
#include <string>

namespace tonekit::host {

namespace {

// By the types of pictures that ID3v2 numbers from 0 on.
constexpr const char *kKeys[] = {"Cover Art (Other)",
                                 "Cover Art (Png Icon)",
                                 "Cover Art (Icon)",
                                 "Cover Art (Front)",
                                 "Cover Art (Back)",
                                 "Cover Art (Leaflet)",
                                 "Cover Art (Media)",
                                 "Cover Art (Lead Artist)",
                                 "Cover Art (Artist)",
                                 "Cover Art (Conductor)",
                                 "Cover Art (Band)",
                                 "Cover Art (Composer)",
                                 "Cover Art (Lyricist)",
                                 "Cover Art (Recording Location)",
                                 "Cover Art (During Recording)",
                                 "Cover Art (During Performance)",
                                 "Cover Art (Video Capture)",
                                 "Cover Art (Fish)",
                                 "Cover Art (Illustration)",
                                 "Cover Art (Band Logotype)",
                                 "Cover Art (Publisher Logotype)"};
constexpr int kTypes = static_cast<int>(std::size(kKeys));

// The type of picture under a key in capitals; nothing where the key isn't one of a picture.
std::optional<int> TypeOf(const TagLib::String &key, const TagLib::APE::Item &item)
{
    if (item.type() != TagLib::APE::Item::Binary)
        return std::nullopt;
    for (int type = 0; type < kTypes; ++type) {
        if (TagLib::String(kKeys[type]).upper() == key)
            return type;
    }
    return std::nullopt;
}

// Readers know the kind of picture by the extension.
std::string NameOf(const char *key, PictureKind kind)
{
    switch (kind) {
    case PictureKind::Jpeg:
        return std::string(key) + ".jpg";
    case PictureKind::Png:
        return std::string(key) + ".png";
    case PictureKind::Gif:
        return std::string(key) + ".gif";
    case PictureKind::Bmp:
        return std::string(key) + ".bmp";
    case PictureKind::WebP:
        return std::string(key) + ".webp";
    case PictureKind::Unknown:
        return key;
    }
    return key;
}

} // namespace

std::vector<Picture> ApePictures(const TagLib::APE::Tag &tag)
{
    std::vector<Picture> pictures;
    for (const auto &[key, item] : tag.itemListMap()) {
        const std::optional<int> type = TypeOf(key, item);
        if (!type)
            continue;
        // The name of a file comes first, and ends in a zero.
        const TagLib::ByteVector data = item.binaryData();
        const int zero = data.find('\0');
        Picture picture;
        picture.type = *type;
        picture.data.assign(data.begin() + (zero + 1), data.end());
        picture.mime = MimeTypeOf(FactsOf(picture.data).kind);
        pictures.push_back(std::move(picture));
    }
    return pictures;
}

void SetApePicture(TagLib::APE::Tag &tag, const Picture &picture)
{
    const char *const key = kKeys[picture.type >= 0 && picture.type < kTypes ? picture.type : 0];
    const std::string name = NameOf(key, FactsOf(picture.data).kind);
    TagLib::ByteVector data(name.data(), static_cast<unsigned int>(name.size() + 1)); // the zero too
    data.append(TagLib::ByteVector(reinterpret_cast<const char *>(picture.data.data()),
                                   static_cast<unsigned int>(picture.data.size())));
    tag.setData(key, data);
}

void RemoveApePictures(TagLib::APE::Tag &tag, const std::function<bool(int type)> &goes)
{
    const TagLib::APE::ItemListMap items = tag.itemListMap();
    for (const auto &[key, item] : items) {
        const std::optional<int> type = TypeOf(key, item);
        if (type && goes(*type))
            tag.removeItem(key);
    }
}

void RemoveAllApeItems(TagLib::APE::Tag &tag)
{
    const TagLib::APE::ItemListMap items = tag.itemListMap();
    for (const auto &[key, item] : items)
        tag.removeItem(key);
}

} // namespace tonekit::host
