// streamed_type.h: which audio files can be read from a pipe, by how they begin.
#pragma once

#include "host/system/byte_stream.h"

#include <cstdint>

namespace tonekit::host {

enum class Streaming {
    AsItComes, // the header says all, or the samples do
    Mpeg,      // the same, if libsndfile finds its first frames
    Whole,     // libsndfile asks for the file's size, so all of it has to be there first
    Unknown    // none that libsndfile reads
};

// How libsndfile can read the type that begins at this place. Leaves the stream's position anywhere; throws
// std::system_error if reading fails.
Streaming StreamingOf(ByteStream &stream, uint64_t start);

} // namespace tonekit::host
