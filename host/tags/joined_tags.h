// joined_tags.h: the tags of one file made of several.
#pragma once

#include "host/audio/sample_source.h"
#include "host/tags/tag_block.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::host {

struct JoinedTags {
    std::vector<std::pair<std::string, std::string>> texts; // keys in capitals
    std::vector<Chapter> chapters;
    std::vector<Picture> pictures;
};

// Texts that all files have alike, but for those about a single track, whose ALBUM is the TITLE of the whole;
// a chapter at the start of each file, called by its TITLE, or else by its name without the extension; and
// the pictures of the first file. `rate` is that of the frames at which files start. What can't be understood
// is left out, with a line in `warnings`.
JoinedTags TagsOfJoined(const std::vector<SourceFile> &files, uint32_t rate,
                        std::vector<std::string> &warnings);

} // namespace tonekit::host
