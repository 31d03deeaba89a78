// mp4_tags.h: text tags of MP4 files, those of TagLib's names and all others.
#pragma once

#include <mp4tag.h>
#include <tpropertymap.h>

namespace tonekit::host {

TagLib::PropertyMap Mp4Properties(const TagLib::MP4::Tag &tag);

} // namespace tonekit::host
