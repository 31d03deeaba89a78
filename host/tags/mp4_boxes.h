// mp4_boxes.h: what TagLib would believe of an MP4 file's boxes without a look.
#pragma once

#include "host/tags/tag_stream.h"

namespace tonekit::host {

enum class Mp4Boxes {
    Sound,         // or such that TagLib refuses them itself
    TooDeep,       // boxes in boxes in boxes, for each of which TagLib has a function call
    TooManyPlaces, // of samples: more than the boxes that list them hold, or none of them whole
    TooLong,       // a box that ends after the one around it, or after the file
    AmongTags,     // samples in the list of boxes that holds the tags
};

// Looks at the boxes that TagLib looks at, in one pass, and leaves the stream at its beginning. Where places
// of samples are too many, TagLib would change what comes after their box when it saves; where a box is too
// long, it would replace what comes after the list of tags, be it audio, and fill up what the file lacks.
// Samples among the tags it would take for room that nothing needs. The system's errors are the stream's.
Mp4Boxes LookAtMp4Boxes(TagStream &stream);

} // namespace tonekit::host
