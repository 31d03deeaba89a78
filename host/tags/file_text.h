// file_text.h: text files that may come from other systems.
#pragma once

#include <string>

namespace tonekit::host {

// The text of a file as UTF-8, without a byte order mark. The file is in UTF-8, in UTF-16 with such a mark,
// or else in Latin-1.
std::string TextOfFile(const std::string &bytes);

} // namespace tonekit::host
