// completeness_coded.h: the part of completeness for types that are read through libavformat.
#pragma once

#include "host/audio/header_bytes.h"

#include <cstdint>

namespace tonekit::host {

// How many bytes are missing at the end of an MP4, Matroska, ASF, DSF or DSDIFF file; 0 if nothing is, if its
// header doesn't say how long it is, or for other types. Throws std::system_error if the system fails.
uint64_t MissingFromCodedType(HeaderBytes &bytes);

struct WavPackFrames {
    uint64_t counted = 0; // by the first block, for the whole file
    uint64_t held = 0;    // up to the end of the last block
};
// Both are 0 if the first block counts none, if the file is too long to be looked at, or for other types.
// Throws std::system_error if the system fails.
WavPackFrames FramesOfWavPack(HeaderBytes &bytes);

} // namespace tonekit::host
