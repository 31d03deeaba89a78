// tag_changes.h: what becomes of tags that were true of other audio.
#pragma once

#include "host/file_part.h"
#include "host/tag_block.h"

#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

// The chapters of a file as those of a part of it: their positions count from the part's start. The chapter
// that the part begins in begins with it; those outside are left out.
std::vector<Chapter> ChaptersOfPart(const std::vector<Chapter> &chapters, const FilePart &part);

} // namespace tonekit::host
