// completeness.h: tells whether an audio file was cut off, by what its header promises.
#pragma once

#include "host/platform.h"

#include <cstdint>

namespace tonekit::host {

// How many bytes are missing at the end of the file; 0 if nothing is, if its header doesn't say how long it
// is, or if it is of a kind that isn't looked at here. The file's position is left anywhere.
// Throws std::system_error if the system fails.
uint64_t MissingBytes(File &file);

} // namespace tonekit::host
