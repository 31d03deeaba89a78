// ape_size.h: whether the size that an APE tag claims is that of its items.
#pragma once

#include "host/tags/tag_stream.h"

namespace tonekit::host {

// Whether a file ends in an APE tag, before a tag of 30 letters a field or not, whose size isn't that of its
// items. TagLib would believe the size and put the new tag into the place of as many bytes of audio. Zeros
// after the items are no mistake, nor are zeros alone behind a header. Leaves the stream at its beginning.
bool HasOddApeSize(TagStream &stream);

} // namespace tonekit::host
