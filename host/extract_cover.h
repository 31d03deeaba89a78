// extract_cover.h: takes the cover out of an audio file into a file of its own.
#pragma once

#include "host/command_line/options.h"

#include <string>
#include <vector>

namespace tonekit::host {

// Writes the front cover of the input, or else its first picture, as it is, into the file that the options
// name. Returns a line that says what was written. Throws Failure; an existing file then is as it was.
std::string ExtractCover(const Options &options, std::vector<std::string> &warnings);

} // namespace tonekit::host
