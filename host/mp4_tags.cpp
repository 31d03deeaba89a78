// mp4_tags.cpp: tags that TagLib has no name for, such as those of ReplayGain.
#include "host/mp4_tags.h"

namespace tonekit::host {

namespace {

// Texts of any name: this, whoever thought of the name, and the name.
constexpr const char *kFreeForm = "----:";

// What encoders leave for players, which isn't true of other encodings.
constexpr const char *kOfCoders = "ITUN";

} // namespace

TagLib::PropertyMap Mp4Properties(const TagLib::MP4::Tag &tag)
{
    TagLib::PropertyMap properties = tag.properties();
    for (const TagLib::String &item : properties.unsupportedData()) {
        const TagLib::String key = item.substr(static_cast<unsigned int>(item.rfind(":") + 1)).upper();
        if (item.startsWith(kFreeForm) && !key.isEmpty() && !key.startsWith(kOfCoders))
            properties.insert(key, tag.item(item).toStringList());
    }
    return properties;
}

} // namespace tonekit::host
