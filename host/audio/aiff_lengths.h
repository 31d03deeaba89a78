// aiff_lengths.h: the lengths in the headers of AIFF files.
#pragma once

#include "host/system/platform.h"

#include <cstdint>
#include <system_error>

namespace tonekit::host {

// Sets the frames and the bytes of samples that a finished AIFF or AIFC file's headers say, where they say
// something else, and ends the file there: libsndfile counts the byte that fills an odd number of bytes up as
// a sample, and leaves the rest of a longer header after a few floats. Answers with the system's error, or
// std::errc::io_error if the headers aren't there.
std::error_code MendAiffLengths(File &file, uint64_t frames, uint32_t frameBytes);

} // namespace tonekit::host
