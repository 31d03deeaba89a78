// frame_count.h: how many frames the header of an audio file counts, apart from the size of its samples.
#pragma once

#include "host/system/byte_stream.h"

#include <cstdint>

namespace tonekit::host {

struct FrameCount {
    uint64_t frames = 0;     // 0: none are counted, or by a program that didn't know them
    uint64_t frameBytes = 0; // 0: frames are coded in blocks
    // Some programs count the samples of all channels, or their bytes, where frames of WAV belong. 0: none
    // do.
    uint32_t channels = 0;

    // Whether a file with so many frames isn't whole. The byte that fills an odd number up may be counted.
    bool IsMoreThan(uint64_t held) const;
};

// Reads the count of AIFF, AIFC, WAV, RF64 and W64 headers that begin at `start`, as far as it comes before
// the samples. Leaves the stream's position anywhere; throws std::system_error if reading fails.
FrameCount CountInHeader(ByteStream &stream, uint64_t start = 0);

// Whether the samples of a WAV, RF64, W64 or AIFC file are coded in blocks: libsndfile counts these before it
// reads them, which goes wrong where the size is unknown. False for other types.
bool IsCodedInBlocks(ByteStream &stream, uint64_t start = 0);

} // namespace tonekit::host
