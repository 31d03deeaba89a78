// ape_tags.h: pictures in APE tags, the tags of WavPack and Monkey's Audio.
#pragma once

#include "host/tags/tag_block.h"

#include <apetag.h>
#include <functional>
#include <vector>

namespace tonekit::host {

// A tag holds one picture of each type at most.
std::vector<Picture> ApePictures(const TagLib::APE::Tag &tag);
// In the place of the picture of this type, if there is one.
void SetApePicture(TagLib::APE::Tag &tag, const Picture &picture);
void RemoveApePictures(TagLib::APE::Tag &tag, const std::function<bool(int type)> &goes);
// Removes whatever is in the tag, known or not.
void RemoveAllApeItems(TagLib::APE::Tag &tag);

} // namespace tonekit::host
