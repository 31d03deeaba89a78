// completeness_rare.h: finds out whether a file of a type that is rare today was cut off.
#pragma once

#include "host/audio/header_bytes.h"
#include "host/audio/stray_bytes.h"

#include <optional>

namespace tonekit::host {

// The bytes missing at the end of a NIST, VOC, AVR, MAT4, MAT5, SDS, MPC 2000 or WVE file; none for other
// types.
std::optional<uint64_t> MissingFromRareType(HeaderBytes &bytes);

// Where in the stream the samples of a NIST or AVR file end by their count, whose header begins at `start`;
// nothing if it has none or not all of them, and for other types.
std::optional<SoundEnd> EndOfRareType(ByteStream &stream, uint64_t start);

} // namespace tonekit::host
