// xiph_texts.h: texts of Vorbis comments that are no UTF-8.
#pragma once

#include "host/tags/tag_stream.h"

#include <cstddef>
#include <oggfile.h>

namespace tonekit::host {

// How many texts of the comment of a FLAC, Vorbis or Opus file aren't UTF-8, which their form asks for.
// TagLib drops them without a word. 0 where there is no comment, or where it is torn.
size_t IllFormedFlacTexts(TagStream &stream);
size_t IllFormedOggTexts(TagLib::Ogg::File &file);

} // namespace tonekit::host
