// mp4_chapters.h: chapters of MP4 files, in the list that most players know.
#pragma once

#include "host/system/platform.h"
#include "host/tags/tag_block.h"

#include <vector>

namespace tonekit::host {

constexpr size_t kMostMp4Chapters = 255;

// Puts chapters in the place of all that the file has; there can be kMostMp4Chapters of them. A name is cut
// after 255 bytes. Throws Failure, without a name, if the file isn't as it should be, and std::system_error
// if the system fails; the file may be damaged then.
void SetMp4Chapters(File &file, const std::vector<Chapter> &chapters);

} // namespace tonekit::host
