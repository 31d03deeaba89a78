// mpeg_streams.h: where the streams of an MPEG audio file begin, and what their encoders noted wrongly.
#pragma once

#include "host/audio/patched_bytes.h"
#include "host/system/byte_stream.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

struct MpegStreams {
    std::vector<uint64_t> starts; // more than one if the frames of several follow one another
    bool differ = false;          // not all frames are of one type, rate and channel count
    // What is to be read instead: with the counts of frames that are really there.
    std::vector<Patch> patches;
    std::string wrong; // which count was wrong, if that is to be said
};

// Looks at all frames of a file from `start` on. Leaves the file's position anywhere; throws
// std::system_error if the system fails, and Interrupted.
MpegStreams StreamsOfMpeg(ByteStream &file, uint64_t start);

// What an open count is read as. libmpg123 has positions of samples in a long, which can have 32 bits, and
// takes a count beyond a quarter of that for none.
inline constexpr auto kMostOpenFrames =
    static_cast<uint32_t>(std::min(long{1} << 30, std::numeric_limits<long>::max() / 4 / 1152));

// For a stream from a pipe whose first bytes these are: its first frame with a count that no decoder reaches,
// if it begins with a note that counts none. libmpg123 would make a count up.
std::optional<Patch> PatchOfOpenCount(ByteStream &stream, uint64_t start);

} // namespace tonekit::host
