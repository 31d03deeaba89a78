// flac_walk.h: over the blocks before the audio of a FLAC file, as TagLib goes over them.
#pragma once

#include "host/tags/tag_stream.h"

namespace tonekit::host {

enum class FlacWalk {
    Found,   // a block of the type
    None,    // no such block, or the file ends before
    TooMany, // blocks: TagLib would take minutes for millions of them
};

// Goes to the content of the first block of this type, whose bytes `size` then counts. No block has the type
// kNoFlacBlock, for which it goes over all of them. The system's errors are the stream's.
FlacWalk GoToFlacBlock(TagStream &stream, unsigned type, unsigned &size);
inline constexpr unsigned kNoFlacBlock = 0x100;

} // namespace tonekit::host
