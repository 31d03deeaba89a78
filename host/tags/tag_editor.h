// tag_editor.h: changes some of the tags of an audio file and leaves all others as they are.
#pragma once

#include "host/tags/tag_block.h"
#include "host/tags/tag_kind.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::host {

struct TagEdit {
    bool removeOthers = false;                              // all that isn't named here goes
    std::vector<std::pair<std::string, std::string>> texts; // an empty value removes its tag
    std::optional<std::vector<Chapter>> chapters;           // in the place of all
    std::optional<Picture> cover;                           // in the place of the front cover
    uint32_t pictureSize = 0;                               // larger pictures are scaled to fit; 0: none is
    int pictureQuality = 90;

    bool ChangesNothing() const
    {
        return !removeOthers && texts.empty() && !chapters && !cover && pictureSize == 0;
    }
};

// Changes the tags of a complete file. `end` is the length of its audio in 100 ns; `shownName` is for
// messages. What can't be stored leaves a line in `warnings`; throws Failure if the tags are broken or can't
// be written, so that the file may be damaged.
void EditTags(const std::filesystem::path &path, TagKind kind, const TagEdit &edit, uint64_t end,
              const std::string &shownName, std::vector<std::string> &warnings);

} // namespace tonekit::host
