// header_channels.h: what FLAC, CAF and AIFF headers say of their channels and libsndfile doesn't read.
#pragma once

#include "host/audio/loudspeakers.h"
#include "host/system/byte_stream.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tonekit::host {

// The comment of FLAC files that names loudspeakers, which are there for other layouts than FLAC's own, and
// its text: "0x0107"
inline constexpr const char *kChannelMaskKey = "WAVEFORMATEXTENSIBLE_CHANNEL_MASK";
std::string ChannelMaskText(Loudspeakers loudspeakers);

// Reads that comment, or the bitmap or the labels of a CAF or AIFF layout, from the header that begins at
// `start`. Nothing where none is there, or it makes no sense. Leaves the stream's position anywhere; throws
// std::system_error if reading fails.
std::optional<NamedChannels> ChannelsInHeader(ByteStream &stream, uint64_t start = 0);

} // namespace tonekit::host
