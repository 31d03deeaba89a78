// mp4_tags.h: text tags of MP4 files, those of TagLib's names and all others, and pictures.
#pragma once

#include "host/tags/tag_block.h"

#include <functional>
#include <mp4tag.h>
#include <tpropertymap.h>
#include <vector>

namespace tonekit::host {

TagLib::PropertyMap Mp4Properties(const TagLib::MP4::Tag &tag);
// Sets the text tags in the place of all that there are, whatever their names.
void SetMp4Properties(TagLib::MP4::Tag &tag, const TagLib::PropertyMap &properties);

// Pictures have no types there: all are front covers.
std::vector<Picture> Mp4Pictures(const TagLib::MP4::Tag &tag);
void AddMp4Picture(TagLib::MP4::Tag &tag, const Picture &picture);
void RemoveMp4Pictures(TagLib::MP4::Tag &tag);
// Removes whatever is in the tag, known or not.
void RemoveAllMp4Items(TagLib::MP4::Tag &tag);

} // namespace tonekit::host
