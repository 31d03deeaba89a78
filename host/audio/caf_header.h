// caf_header.h: CAF files with more before their samples than libsndfile reads right.
#pragma once

#include "host/system/pipe_input.h"

#include <cstdint>

namespace tonekit::host {

// Whether libsndfile would read something else as samples: it keeps 50 KiB of what comes before them, and
// looks for them in the wrong place where there is more. False for other types. Throws std::system_error if
// reading fails.
bool HasLongCafHeader(ByteStream &file, uint64_t start);

// Takes what isn't needed to read the samples out of such a header. False if it is too long all the same.
bool ShortenCafHeader(PipeInput &pipe, uint64_t start);

} // namespace tonekit::host
