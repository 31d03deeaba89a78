// peak_time.h: the time of day in the headers of RF64 files.
#pragma once

#include "host/system/platform.h"

#include <system_error>

namespace tonekit::host {

// Sets the time of the peak chunk, which libsndfile writes into every RF64 file of floats, to 0, so that
// equal conversions write equal files. A finished file without that chunk is not changed. Returns the
// system's error, or std::errc::io_error if the headers end too early.
std::error_code ClearPeakTime(File &file);

} // namespace tonekit::host
