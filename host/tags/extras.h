// extras.h: the files that the command line adds to the tags, read once for all conversions.
#pragma once

#include "host/command_line/options.h"
#include "host/tags/tag_block.h"

#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

struct Extras {
    std::optional<Picture> cover;
    std::optional<std::vector<Chapter>> chapters;
};

// Throws Failure if a file can't be read or understood.
Extras LoadExtras(const Options &options);

// The whole of a file that is small enough for memory. Throws Failure.
std::string ReadSmallFile(const std::string &name);

// A line for each chapter: a start time (seconds, minutes:seconds or hours:minutes:seconds, with a fraction),
// blanks and a name that may be missing. Empty lines and lines that begin with # are ignored. Throws
// Failure, with `name` and the line in front. The bytes are a text as TextOfFile knows them.
std::vector<Chapter> ParseChapters(const std::string &bytes, const std::string &name);

} // namespace tonekit::host
