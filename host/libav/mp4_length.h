// mp4_length.h: how long the audio of an MP4 file is, to the sample.
#pragma once

#include "host/audio/header_bytes.h"
#include "host/system/byte_stream.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tonekit::host {

// A length in ticks of the track's clock, which mostly are frames.
struct Mp4Length {
    uint64_t ticks = 0;
    uint32_t ticksPerSecond = 0;
};

// The length of a track after what its coder needed before the start and after the end is taken off: by
// `gapless`, the text that some encoders leave under iTunSMPB, or else by the track's edit list. Nothing if
// the file doesn't say it. Throws std::system_error if the system fails.
std::optional<Mp4Length> LengthOfMp4(ByteStream &file, uint32_t trackNumber, const std::string &gapless);

// How many bytes are missing at the end of the file. Throws std::system_error if the system fails.
uint64_t MissingFromMp4(HeaderBytes &bytes);

} // namespace tonekit::host
