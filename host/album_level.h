// album_level.h: the first of two passes over albums that are brought to one loudness.
#pragma once

#include "host/command_line/options.h"
#include "host/file_conversion.h"
#include "host/report/progress_state.h"
#include "host/tags/extras.h"

#include <vector>

namespace tonekit::host {

// Measures all albums of which a file is to be done, side by side, and returns the jobs with their levels. A
// file that can't be measured is left out; what is wrong with it is reported by its own work. Throws
// Interrupted.
std::vector<Job> WithAlbumLevels(const Options &options, const Extras &extras, const std::vector<Job> &jobs,
                                 ProgressView &view);

} // namespace tonekit::host
